// The ellipse through a ring of points: its parameters, its distance
// measure, its curve and the rings that are no ellipse.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "OutputPictures.h"
#include "shapes/EllipseFit.h"

using om1::EllipseFit;
using om1::PointD;

namespace {

const double kPi = 3.14159265358979323846;

std::vector<PointD> ring(double cx, double cy, double a, double b, double angle, int n,
                         double wobble = 0) {
    std::vector<PointD> out;
    for (int k = 0; k < n; ++k) {
        const double t = 2 * kPi * k / n;
        // `wobble` moves every other point outwards along the radius.
        const double s = 1 + (k % 2 ? wobble / std::min(a, b) : 0);
        const double x = a * s * std::cos(t), y = b * s * std::sin(t);
        out.push_back({cx + x * std::cos(angle) - y * std::sin(angle),
                       cy + x * std::sin(angle) + y * std::cos(angle)});
    }
    return out;
}

}  // namespace

// Exact rings give back their ellipse; the half axes come back in the order
// of `angle` (a along it), so the angle is compared as a direction of a.
TEST(EllipseFit, RecoversRings) {
    struct Case {
        double cx, cy, a, b, angle;
        int n;
    } cases[] = {{31.5, 44.25, 3.9, 3.9, 0, 32},
                 {100.3, 7.7, 40, 12.5, 0.4, 200},
                 {-5, 5, 6, 9, -1.1, 24},
                 {1e4, 2e4, 2.5, 1.5, 2.0, 12}};
    for (const Case& c : cases) {
        const std::vector<PointD> pts = ring(c.cx, c.cy, c.a, c.b, c.angle, c.n);
        EllipseFit::Ellipse e;
        ASSERT_TRUE(EllipseFit::fit(pts.data(), c.n, e)) << c.a << " x " << c.b;
        EXPECT_NEAR(e.centre.x, c.cx, 1e-6);
        EXPECT_NEAR(e.centre.y, c.cy, 1e-6);
        EXPECT_NEAR(std::max(e.a, e.b), std::max(c.a, c.b), 1e-6);
        EXPECT_NEAR(std::min(e.a, e.b), std::min(c.a, c.b), 1e-6);
        if (c.a != c.b) {
            // The direction of the larger half axis, modulo a half turn.
            const double want = c.a > c.b ? c.angle : c.angle + kPi / 2;
            const double got = e.a > e.b ? e.angle : e.angle + kPi / 2;
            EXPECT_NEAR(std::sin(got - want), 0, 1e-6);
        }
        EXPECT_LT(EllipseFit::farthest(e, pts.data(), c.n), 1e-6);
    }
}

// Points a tenth of a pixel off read about a tenth (largest) and less in
// the mean; a line, a hyperbola's branch and too few points are no ellipse.
TEST(EllipseFit, DistancesAndRefusals) {
    const std::vector<PointD> wobbly = ring(20, 20, 10, 10, 0, 64, 0.1);
    EllipseFit::Ellipse e;
    ASSERT_TRUE(EllipseFit::fit(wobbly.data(), 64, e));
    double rms = 0;
    const double worst = EllipseFit::farthest(e, wobbly.data(), 64, &rms);
    EXPECT_NEAR(worst, 0.05, 0.01);
    EXPECT_NEAR(rms, 0.05, 0.01);

    std::vector<PointD> line, hyperbola;
    for (int k = 0; k < 20; ++k) {
        line.push_back({k * 1.0, 2.0 * k + 1});
        const double t = -1 + 0.1 * k;
        hyperbola.push_back({std::cosh(t) * 5, std::sinh(t) * 3});
    }
    EXPECT_FALSE(EllipseFit::fit(line.data(), 20, e));
    EXPECT_FALSE(EllipseFit::fit(hyperbola.data(), 20, e));
    EXPECT_FALSE(EllipseFit::fit(wobbly.data(), 5, e));
}

// The curve starts at the ellipse point nearest the start, closes on it,
// runs the way asked (the sign of its area) and stays on the ellipse.
TEST(EllipseFit, CurveRunsRound) {
    EllipseFit::Ellipse e;
    e.centre = {10, 20};
    e.a = 8;
    e.b = 3;
    e.angle = 0.5;
    for (bool clockwise : {true, false}) {
        std::vector<PointD> c;
        EllipseFit::curve(e, {10 + 20 * std::cos(0.5), 20 + 20 * std::sin(0.5)}, clockwise, c);
        ASSERT_EQ(c.size(), 13u);
        EXPECT_NEAR(c[0].x, 10 + 8 * std::cos(0.5), 1e-9);
        EXPECT_NEAR(c[0].y, 20 + 8 * std::sin(0.5), 1e-9);
        EXPECT_EQ(c.front().x, c.back().x);
        EXPECT_EQ(c.front().y, c.back().y);
        // (flattened closes the ring on its first point: the last chord is empty.)
        const std::vector<PointD> on = flattened(c);
        double area2 = 0;
        for (size_t i = 0; i < on.size(); ++i) {
            const PointD &p = on[i], &q = on[(i + 1) % on.size()];
            area2 += p.x * q.y - q.x * p.y;
        }
        const double worst = EllipseFit::farthest(e, on.data(), static_cast<int>(on.size()));
        EXPECT_EQ(area2 > 0, clockwise);
        EXPECT_NEAR(std::fabs(area2) / 2, kPi * 8 * 3, 0.15);  // 64 chords fall short by 0.12
        EXPECT_LT(worst, 8 * 3e-4);
    }
}
