// The outline fit on samples that scatter about the true edge.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "OutputPictures.h"
#include "shapes/OutlineFitter.h"

using om1::OutlineFitter;
using om1::PointD;

// An arc of radius 60 over two radians, its samples scattered by up to a
// quarter pixel across it (as the shares of a rimmed or textured edge
// place them): at a tolerance of 0.3 px no segment over three samples
// keeps their mean error within a third of it, and the fit takes the
// longest segments within the tolerance rather than one every two samples,
// and stays within the tolerance of the true arc.
TEST(OutlineFitter, ScatteredSamplesTakeLongSegments) {
    const double radius = 60;
    std::vector<PointD> points;
    std::vector<uint8_t> codes;
    for (int i = 0; i <= 200; ++i) {
        const double a = i * 0.01, r = radius + 0.25 * std::sin(i * 2.7) * std::cos(i * 0.9);
        points.push_back({r * std::cos(a), r * std::sin(a)});
        codes.push_back(i % 4 == 3 ? 2 : 1);
    }
    OutlineFitter::Settings s;
    s.tolerance = 0.3;
    std::vector<PointD> out;
    ASSERT_TRUE(OutlineFitter::fitOpen(points, codes, s, out));
    const size_t segments = (out.size() - 1) / 3;
    double worst = 0;
    for (const PointD& q : flattened(out))
        worst = std::max(worst, std::fabs(std::hypot(q.x, q.y) - radius));
    EXPECT_LE(segments, 20u);  // one every two or three samples: about 70
    EXPECT_LT(worst, s.tolerance);
}

// The straight runs kept from a fit of the same path with other ends: those
// that reach an end are found again, so the fit with the ends moved is the
// one made from nothing, point for point.
TEST(OutlineFitter, RunsKeptForMovedEndsGiveTheSameFit) {
    std::vector<PointD> points;
    std::vector<uint8_t> codes;
    for (int i = 0; i <= 60; ++i) {
        points.push_back({i * 0.9, 4 * std::sin(i * 0.15)});
        codes.push_back(i % 3 == 2 ? 1 : 0);
    }
    OutlineFitter::Settings s;
    std::vector<PointD> first, kept, fresh;
    std::vector<int> runs, freshRuns;
    ASSERT_TRUE(OutlineFitter::fitOpen(points, codes, s, first, nullptr, &runs));
    const std::vector<int> firstRuns = runs;
    ASSERT_EQ(runs.size(), points.size());
    points.front() = {-1.5, 1.5};
    points.back() = {points.back().x + 1.5, points.back().y + 2.5};
    ASSERT_TRUE(OutlineFitter::fitOpen(points, codes, s, kept, nullptr, &runs));
    ASSERT_TRUE(OutlineFitter::fitOpen(points, codes, s, fresh, nullptr, &freshRuns));
    EXPECT_EQ(runs, freshRuns);
    EXPECT_NE(runs, firstRuns);  // the ends changed some runs
    ASSERT_EQ(kept.size(), fresh.size());
    for (size_t i = 0; i < kept.size(); ++i) {
        EXPECT_EQ(kept[i].x, fresh[i].x) << i;
        EXPECT_EQ(kept[i].y, fresh[i].y) << i;
    }
}

// A wave sampled once a pixel, a twentieth of a pixel of noise on it: the
// cover joins its segments where the samples' own direction points, the
// refined fit moves and turns the joins until both segments come nearer
// their samples. The segments stay as many, meet with one tangent, and the
// curve comes nearer the true wave.
TEST(OutlineFitter, RefinedJoinsComeNearerTheWave) {
    auto wave = [](double x) { return 6 * std::sin(x / 7) + 2 * std::sin(x / 3.1); };
    std::vector<PointD> points;
    std::vector<uint8_t> codes;
    for (int i = 0; i <= 120; ++i) {
        points.push_back({double(i), wave(i) + 0.05 * std::sin(i * 2.3)});
        codes.push_back(0);
    }
    OutlineFitter::Settings s;
    s.tolerance = 0.3;
    std::vector<PointD> plain, refined;
    s.refine = false;
    ASSERT_TRUE(OutlineFitter::fitOpen(points, codes, s, plain));
    s.refine = true;
    ASSERT_TRUE(OutlineFitter::fitOpen(points, codes, s, refined));
    ASSERT_EQ(plain.size(), refined.size());
    ASSERT_GE(refined.size(), 10u);  // three segments at least
    // The root mean square distance of the curve from the wave (across it).
    auto off = [&](const std::vector<PointD>& c) {
        double sum = 0;
        int count = 0;
        for (const PointD& q : flattened(c, 32)) {
            const double slope = (wave(q.x + 1e-4) - wave(q.x - 1e-4)) / 2e-4;
            const double d = (q.y - wave(q.x)) / std::sqrt(1 + slope * slope);
            sum += d * d;
            ++count;
        }
        return std::sqrt(sum / count);
    };
    const double before = off(plain), after = off(refined);
    EXPECT_LT(after, 0.7 * before);
    // One tangent at every join: the handles on either side on one line.
    for (size_t i = 3; i + 3 < refined.size(); i += 3) {
        const PointD a = refined[i - 1], j = refined[i], b = refined[i + 1];
        const double cross = (j.x - a.x) * (b.y - j.y) - (j.y - a.y) * (b.x - j.x);
        EXPECT_NEAR(
            cross, 0,
            1e-9 * (1 + std::hypot(j.x - a.x, j.y - a.y) * std::hypot(b.x - j.x, b.y - j.y)))
            << i;
    }
}

// The covers recorded by an unrefined fit, given to the refined fit of the
// same samples, give that fit point for point (open and closed, the closed
// one's polygon taken from the record too); a record of other samples is
// covered again and changes nothing.
TEST(OutlineFitter, RecordedCoversGiveTheSameRefinedFit) {
    auto same = [](const std::vector<PointD>& a, const std::vector<PointD>& b) {
        if (a.size() != b.size()) return false;
        for (size_t i = 0; i < a.size(); ++i)
            if (a[i].x != b[i].x || a[i].y != b[i].y) return false;
        return true;
    };
    std::vector<PointD> wave, ring;
    std::vector<uint8_t> waveCodes, ringCodes;
    for (int i = 0; i <= 120; ++i) {
        wave.push_back({double(i), 6 * std::sin(i / 7.0) + 0.05 * std::sin(i * 2.3)});
        waveCodes.push_back(0);
    }
    for (int i = 0; i < 240; ++i) {
        const double a = i * 6.283185307179586 / 240, r = 40 + 3 * std::sin(5 * a);
        ring.push_back({r * std::cos(a), r * std::sin(a)});
        ringCodes.push_back(static_cast<uint8_t>((i * 4 / 240 + 1) % 4));
    }
    OutlineFitter::Settings s;
    s.tolerance = 0.3;
    for (const bool closed : {false, true}) {
        const std::vector<PointD>& points = closed ? ring : wave;
        const std::vector<uint8_t>& codes = closed ? ringCodes : waveCodes;
        auto fit = [&](bool refine, OutlineFitter::Covers* covers, std::vector<PointD>& out) {
            s.refine = refine;
            return closed ? OutlineFitter::fit(points, codes.data(), s, out, covers)
                          : OutlineFitter::fitOpen(points, codes, s, out, nullptr, nullptr, covers);
        };
        OutlineFitter::Covers covers, other;
        std::vector<PointD> plain, fresh, replayed, stale;
        ASSERT_TRUE(fit(false, &covers, plain)) << closed;
        ASSERT_TRUE(fit(true, nullptr, fresh)) << closed;
        ASSERT_TRUE(fit(true, &covers, replayed)) << closed;
        EXPECT_GE(covers.segments.size(), 3u) << closed;
        EXPECT_EQ(closed, !covers.polygon.empty());
        EXPECT_FALSE(same(plain, fresh)) << closed;  // refining moved the joins
        EXPECT_TRUE(same(fresh, replayed)) << closed;
        // A record of the other path.
        s.refine = false;
        std::vector<PointD> scratch;
        if (closed)
            ASSERT_TRUE(
                OutlineFitter::fitOpen(wave, waveCodes, s, scratch, nullptr, nullptr, &other));
        else
            ASSERT_TRUE(OutlineFitter::fit(ring, ringCodes.data(), s, scratch, &other));
        other.polygon.clear();
        ASSERT_TRUE(fit(true, &other, stale)) << closed;
        EXPECT_TRUE(same(fresh, stale)) << closed;
    }
}
