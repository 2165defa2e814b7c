// Curves on anti-aliased pictures: the fit through the edge the shares of
// the pixels show, corners, the choice against the picture, shared pieces.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "OutputPictures.h"
#include "prepare/Presets.h"
#include "shapes/AreaCoverage.h"
#include "shapes/CrackLoop.h"
#include "shapes/EdgeSamples.h"

using om1::OutputOptions;
using om1::PointD;
using om1::ShapeSet;

namespace {

// Traces with the default preset (its exact regions) and builds the shapes,
// with the input picture for the curves.
void trace(const Picture& p, OutputOptions::Layout layout, ShapeSet& set) {
    OutputOptions o;
    o.layout = layout;
    o.reconcileTolerance = 0;
    ASSERT_TRUE(traceShapes(p, om1::Presets::options(om1::Presets::kDefault), o, set, true))
        << p.name;
}

// The shape nearest in colour (within 24 per channel), the first drawn
// among equals.
const om1::Shape* shapeOf(const ShapeSet& set, unsigned rgb) {
    const om1::Shape* best = nullptr;
    int bestDiff = 25;
    for (const om1::Shape& s : set.shapes) {
        if (s.role == om1::Shape::Role::Frame || s.loops.empty()) continue;
        const int d = std::max({std::abs(s.color.rgbRed - static_cast<int>(rgb >> 16)),
                                std::abs(s.color.rgbGreen - static_cast<int>((rgb >> 8) & 255)),
                                std::abs(s.color.rgbBlue - static_cast<int>(rgb & 255))});
        if (d < bestDiff) best = &s, bestDiff = d;
    }
    return best;
}

// The largest `off` over the points of the curves of `only` (of every shape
// when null) more than 2 px inside the picture (which the boundary follows);
// `points` counts them.
double farthest(const ShapeSet& set, const om1::Shape* only, const Picture& p,
                const std::function<double(const PointD&)>& off, int* points = nullptr) {
    double worst = 0;
    for (const om1::Shape& s : set.shapes)
        for (const std::vector<PointD>& c : s.curves)
            for (const PointD& q : flattened(c, 32)) {
                if ((only && &s != only) || q.x < 2 || q.y < 2 || q.x > p.w - 2 || q.y > p.h - 2)
                    continue;
                worst = std::max(worst, off(q));
                if (points) ++*points;
            }
    return worst;
}

size_t segments(const std::vector<PointD>& curve) {
    return (curve.size() - 1) / 3;
}

const unsigned kWhite = 0xffffff, kRed = 0xd02020, kBlue = 0x2040c0;

}  // namespace

// A disc becomes four segments (one ellipse) within a hundredth of a pixel
// of the true circle, in both layouts; a sharp-cornered rectangle next to
// it keeps its four exact segments.
TEST(SmoothCurves, DiscAndRectangle) {
    const double cx = 30.4, cy = 31.7, r = 20.3;
    const Picture p = antialiased("disc", 96, 64, [&](double x, double y) {
        if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r) return kRed;
        if (x >= 60 && x < 88 && y >= 12 && y < 50) return kBlue;
        return kWhite;
    });
    for (auto layout : {OutputOptions::Layout::Stacked, OutputOptions::Layout::Cutout}) {
        ShapeSet set;
        trace(p, layout, set);
        const om1::Shape* disc = shapeOf(set, kRed);
        ASSERT_NE(disc, nullptr);
        ASSERT_EQ(disc->curves.size(), 1u);
        EXPECT_EQ(segments(disc->curves[0]), 4u);
        EXPECT_LT(farthest(set, disc, p,
                           [&](const PointD& q) {
                               return std::fabs(std::hypot(q.x - cx, q.y - cy) - r);
                           }),
                  0.02);
        const om1::Shape* box = shapeOf(set, kBlue);
        ASSERT_NE(box, nullptr);
        ASSERT_EQ(box->curves.size(), 1u);
        const std::vector<PointD>& c = box->curves[0];
        ASSERT_EQ(segments(c), 4u);
        for (size_t i = 0; i < c.size(); i += 3) {
            EXPECT_EQ(c[i].x, std::round(c[i].x));
            EXPECT_EQ(c[i].y, std::round(c[i].y));
            EXPECT_TRUE(c[i].x == 60 || c[i].x == 88) << c[i].x;
            EXPECT_TRUE(c[i].y == 12 || c[i].y == 50) << c[i].y;
        }
    }
}

// Corners between the pixel corners stay sharp where the anti-aliasing
// puts them: a rectangle is four straight segments with its corners within
// a tenth of a pixel, and a thin wedge ends at its tip without a loop or a
// bulge (every point of its outline within half a pixel of the wedge).
TEST(SmoothCurves, SharpCornersBetweenPixelCorners) {
    const double x0 = 20.3, x1 = 47.6, y0 = 12.8, y1 = 49.45;
    const PointD tip = {80.3, 10.6}, base0 = {66.2, 58.4}, base1 = {75.7, 58.4};
    auto side = [](PointD a, PointD b, double x, double y) {
        return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
    };
    auto inWedge = [&](double x, double y) {
        return side(tip, base1, x, y) >= 0 && side(base1, base0, x, y) >= 0 &&
               side(base0, tip, x, y) >= 0;
    };
    const Picture p = antialiased("corners", 96, 64, [&](double x, double y) {
        if (x >= x0 && x < x1 && y >= y0 && y < y1) return kBlue;
        return inWedge(x, y) ? kRed : kWhite;
    });
    ShapeSet set;
    trace(p, OutputOptions::Layout::Stacked, set);
    const om1::Shape *box = shapeOf(set, kBlue), *wedge = shapeOf(set, kRed);
    ASSERT_NE(box, nullptr);
    ASSERT_NE(wedge, nullptr);
    const std::vector<PointD>& c = box->curves[0];
    ASSERT_EQ(segments(c), 4u);
    for (size_t i = 0; i < c.size(); i += 3) {
        EXPECT_NEAR(std::min(std::fabs(c[i].x - x0), std::fabs(c[i].x - x1)), 0, 0.1) << c[i].x;
        EXPECT_NEAR(std::min(std::fabs(c[i].y - y0), std::fabs(c[i].y - y1)), 0, 0.1) << c[i].y;
    }
    auto distance = [](PointD q, PointD a, PointD b) {
        const double dx = b.x - a.x, dy = b.y - a.y;
        const double t = std::max(
            0.0, std::min(1.0, ((q.x - a.x) * dx + (q.y - a.y) * dy) / (dx * dx + dy * dy)));
        return std::hypot(q.x - a.x - t * dx, q.y - a.y - t * dy);
    };
    double outside = 0;
    for (const PointD& q : flattened(wedge->curves[0], 32))
        if (!inWedge(q.x, q.y))
            outside =
                std::max(outside, std::min({distance(q, tip, base1), distance(q, base1, base0),
                                            distance(q, base0, tip)}));
    EXPECT_LT(outside, 0.5);

    // A small feature keeps its corners too: a square of 6 px turned by 25
    // degrees is four straight segments with corners within 0.15 px, while a
    // disc of radius 3 beside it stays round (no corners: within 0.3 px of
    // its circle).
    const double turn = 25 * 3.14159265358979 / 180, half = 3;
    const PointD centre = {9.4, 54.3}, disc = {88.6, 52.2};
    const PointD ax = {std::cos(turn), std::sin(turn)}, ay = {-ax.y, ax.x};
    const Picture small = antialiased("small", 96, 64, [&](double x, double y) {
        const double dx = x - centre.x, dy = y - centre.y;
        if (std::fabs(dx * ax.x + dy * ax.y) < half && std::fabs(dx * ay.x + dy * ay.y) < half)
            return kBlue;
        return std::hypot(x - disc.x, y - disc.y) < 3 ? kRed : kWhite;
    });
    ShapeSet smallSet;
    trace(small, OutputOptions::Layout::Stacked, smallSet);
    const om1::Shape *square = shapeOf(smallSet, kBlue), *dot = shapeOf(smallSet, kRed);
    ASSERT_NE(square, nullptr);
    ASSERT_NE(dot, nullptr);
    // Filled with the colour of their inner pixels, not the mean over their
    // anti-aliased rims (which takes in some of the white).
    for (const om1::Shape* s : {box, wedge, square, dot}) {
        const unsigned rgb = s == box || s == square ? kBlue : kRed;
        EXPECT_EQ(static_cast<unsigned>(s->color.rgbRed << 16 | s->color.rgbGreen << 8 |
                                        s->color.rgbBlue),
                  rgb);
    }
    for (const PointD& p : flattened(dot->curves[0], 32))
        EXPECT_NEAR(std::hypot(p.x - disc.x, p.y - disc.y), 3, 0.3) << p.x << "," << p.y;
    const std::vector<PointD>& q = square->curves[0];
    ASSERT_EQ(segments(q), 4u);
    for (size_t i = 0; i < q.size(); i += 3) {
        double nearest = 1e9;
        for (int sx : {-1, 1})
            for (int sy : {-1, 1})
                nearest = std::min(
                    nearest, std::hypot(q[i].x - (centre.x + half * (sx * ax.x + sy * ay.x)),
                                        q[i].y - (centre.y + half * (sx * ax.y + sy * ay.y))));
        EXPECT_LT(nearest, 0.15) << q[i].x << "," << q[i].y;
    }
}

// A thin band between two other colours: ochre above y = 19.6, navy to
// y = 20.9, white below. Row 19 is labelled ochre, row 20 navy (whose pixels
// hold a tenth of the white), the rest white. The navy strip's top edge
// still lands at 19.6: read as a mix of navy and ochre alone, row 20's white
// would put it 0.11 px lower.
TEST(SmoothCurves, ThinBandBetweenTwoColours) {
    const int w = 16, h = 40;
    const RGBQUAD ochre = {60, 170, 200, 0}, navy = {140, 40, 40, 0}, white = {255, 255, 255, 0};
    auto mix = [](const RGBQUAD& a, const RGBQUAD& b, double t) {
        auto c = [&](BYTE x, BYTE y) { return static_cast<BYTE>(std::lround(x + t * (y - x))); };
        return RGBQUAD{c(a.rgbBlue, b.rgbBlue), c(a.rgbGreen, b.rgbGreen), c(a.rgbRed, b.rgbRed),
                       0};
    };
    std::vector<int32_t> labels(static_cast<size_t>(w) * h);
    std::vector<RGBQUAD> pixels(labels.size());
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const size_t i = static_cast<size_t>(y) * w + x;
            labels[i] = y < 20 ? 0 : y == 20 ? 1 : 2;
            pixels[i] = y < 19    ? ochre
                        : y == 19 ? mix(ochre, navy, 0.4)
                        : y == 20 ? mix(navy, white, 0.1)
                                  : white;
        }
    const std::vector<RGBQUAD> colours = {ochre, navy, white};
    om1::EdgeSamples::Picture pic;
    pic.labels = labels.data();
    pic.width = w;
    pic.height = h;
    pic.pixels = pixels.data();
    pic.colours = &colours;
    om1::CrackLoop strip;  // round the navy row, clockwise from its top left
    strip.x = 0;
    strip.y = 20;
    strip.codes.assign(w, 0);
    strip.codes.push_back(1);
    strip.codes.insert(strip.codes.end(), w, 2);
    strip.codes.push_back(3);
    std::vector<PointD> samples;
    om1::EdgeSamples::sample(strip, pic, samples);
    ASSERT_EQ(samples.size(), strip.codes.size());
    for (int x = 2; x < w - 2; ++x) EXPECT_NEAR(samples[static_cast<size_t>(x)].y, 19.6, 0.02) << x;
    // A run of steps (one round the loop's end too) samples as the whole
    // loop does.
    const std::vector<om1::Corner> corners = strip.corners();
    const size_t n = strip.codes.size();
    for (const size_t first : {size_t{0}, size_t{5}, n - 3}) {
        std::vector<PointD> part;
        om1::EdgeSamples::sample(strip, pic, first, 7, corners[first], part);
        ASSERT_EQ(part.size(), 7u);
        for (size_t k = 0; k < 7; ++k) {
            EXPECT_EQ(part[k].x, samples[(first + k) % n].x) << first << " " << k;
            EXPECT_EQ(part[k].y, samples[(first + k) % n].y) << first << " " << k;
        }
    }
}

// A slanted anti-aliased edge lands within 0.1 px of its true position,
// between the pixel corners, at several slopes and offsets.
TEST(SmoothCurves, SlantedEdgeWithinATenth) {
    struct Edge {
        double slope, offset;
    };
    for (const Edge e : {Edge{0.3, 20.37}, Edge{-0.62, 40.81}, Edge{1.9, -20.2}}) {
        // Red below the line y = offset + slope * x.
        const Picture p = antialiased("slant", 64, 64, [&](double x, double y) {
            return y > e.offset + e.slope * x ? kRed : kWhite;
        });
        ShapeSet set;
        trace(p, OutputOptions::Layout::Stacked, set);
        int checked = 0;
        const double worst = farthest(
            set, nullptr, p,
            [&](const PointD& q) {
                return std::fabs(q.y - e.offset - e.slope * q.x) / std::hypot(1.0, e.slope);
            },
            &checked);
        EXPECT_GT(checked, 10);
        EXPECT_LT(worst, 0.1) << "slope " << e.slope;
    }
}

// A wavy edge half a pixel deep: between strong colours its curve
// follows the waves, which the pixels show; between close colours, where
// the waves change the pixels little, a looser fit with fewer segments is
// kept, and still within the depth of the waves of the true edge.
TEST(SmoothCurves, SoftEdgesTakeFewerSegments) {
    size_t counts[2] = {};
    double worst[2] = {};
    const unsigned lower[2] = {kRed, 0x92999f};
    for (int k = 0; k < 2; ++k) {
        auto edge = [](double x) { return 24.3 + 0.25 * std::sin(x / 2.5); };
        const Picture p = antialiased(
            "wave", 96, 48, [&](double x, double y) { return y > edge(x) ? lower[k] : 0x808890u; });
        ShapeSet set;
        trace(p, OutputOptions::Layout::Stacked, set);
        worst[k] =
            farthest(set, nullptr, p, [&](const PointD& q) { return std::fabs(q.y - edge(q.x)); });
        const om1::Shape* s = shapeOf(set, lower[k]);
        ASSERT_NE(s, nullptr);
        for (const std::vector<PointD>& c : s->curves) counts[k] += segments(c);
    }
    EXPECT_LT(counts[1] * 2, counts[0]);
    EXPECT_LT(worst[0], 0.3);
    EXPECT_LT(worst[1], 0.6);
}

// A shape thinning to a tip along the picture's border reaches its tip,
// though the pixels there hold too little of it to be its own: a white
// sliver above the line y = 0.08 (x - 20) is labelled white only from
// x = 27 on, and its outline still runs to within half a pixel of (20, 0),
// every point of it within 0.2 px of the sliver's edges.
TEST(SmoothCurves, TipsAlongTheBorderReachOn) {
    auto sliver = [](double x) { return 0.08 * (x - 20); };
    const Picture p = antialiased("sliver", 64, 40, [&](double x, double y) {
        return x > 20 && y < sliver(x) ? kWhite : kBlue;
    });
    ShapeSet set;
    trace(p, OutputOptions::Layout::Stacked, set);
    const om1::Shape* white = shapeOf(set, kWhite);
    ASSERT_NE(white, nullptr);
    double left = 1e9, worst = 0;
    for (const std::vector<PointD>& c : white->curves)
        for (const PointD& q : flattened(c, 32)) {
            left = std::min(left, q.x);
            const double off = std::min({std::fabs(q.y), std::fabs(q.x - p.w),
                                         std::fabs(q.y - sliver(q.x)) / std::hypot(1.0, 0.08)});
            worst = std::max(worst, off);
        }
    EXPECT_NEAR(left, 20, 0.5);
    EXPECT_LT(worst, 0.2);
}

// A sharp tip where three colours meet reaches its point: a red wedge
// whose tip lies on the line between white and blue ends within half a
// pixel of it (the pixels there, mixes of three colours, cut it short by
// more than a pixel), in both layouts, and its sides stay on the wedge's.
// (A corner cut short by a pixel at most is still placed from the pixels.)
TEST(SmoothCurves, TipsAtThreeColoursReachOn) {
    const PointD tip = {40.3, 30.4}, upper = {10, 24}, lower = {10, 36.8};
    auto side = [](PointD a, PointD b, double x, double y) {
        return (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
    };
    const Picture p = antialiased("tip", 64, 48, [&](double x, double y) {
        if (x >= 10 && side(upper, tip, x, y) >= 0 && side(tip, lower, x, y) >= 0) return kRed;
        return y < tip.y ? kWhite : kBlue;
    });
    for (auto layout : {OutputOptions::Layout::Stacked, OutputOptions::Layout::Cutout}) {
        ShapeSet set;
        trace(p, layout, set);
        const om1::Shape* red = shapeOf(set, kRed);
        ASSERT_NE(red, nullptr);
        double right = 0, off = 0;
        for (const PointD& q : flattened(red->curves[0], 32)) {
            right = std::max(right, q.x);
            if (q.x > 12 && q.x < tip.x - 2)
                off = std::max(off, std::min(std::fabs(side(upper, tip, q.x, q.y)),
                                             std::fabs(side(tip, lower, q.x, q.y))) /
                                        std::hypot(tip.x - upper.x, tip.y - upper.y));
        }
        EXPECT_NEAR(right, tip.x, 0.5);
        // (Stacked, the one drawn first reaches under its neighbour.)
        if (layout == OutputOptions::Layout::Cutout) {
            EXPECT_LT(off, 0.3);
        }
    }
}

// Stacked siblings along a slanted edge: the one drawn later keeps the
// curve on the true edge, the one drawn first reaches under it (so that the
// page under both does not show through the soft edge) but never onto the
// white around both at the edge's ends, and both keep their curves.
TEST(SmoothCurves, EarlierSiblingReachesUnderTheLater) {
    auto line = [](double y) { return 20.3 + 0.4 * y; };  // red left of it, blue right
    const Picture p = antialiased("siblings", 64, 48, [&](double x, double y) {
        if (y < 8 || y > 40 || x > 56) return kWhite;
        return x < line(y) ? kRed : kBlue;
    });
    ShapeSet set;
    trace(p, OutputOptions::Layout::Stacked, set);
    const om1::Shape *red = shapeOf(set, kRed), *blue = shapeOf(set, kBlue);
    ASSERT_NE(red, nullptr);
    ASSERT_NE(blue, nullptr);
    const bool redFirst = red < blue;
    const om1::Shape *first = redFirst ? red : blue, *later = redFirst ? blue : red;
    // Signed distance from the edge towards the later one's side.
    const double norm = std::hypot(1.0, 0.4);
    auto towardsLater = [&](const PointD& q) {
        return (q.x - line(q.y)) / norm * (redFirst ? 1 : -1);
    };
    double lo = 1e9, hi = -1e9, worst = 0;
    int onWhite = 0;  // points of the first one moved under the later onto white
    for (const om1::Shape* s : {first, later})
        for (const std::vector<PointD>& c : s->curves)
            for (const PointD& q : flattened(c, 32)) {
                if (s == first && towardsLater(q) > 0.3 && std::fabs(towardsLater(q)) < 3)
                    onWhite += q.y < 8 || q.y > 40 || q.x > 56;
                if (q.y < 12 || q.y > 36 || std::fabs(towardsLater(q)) > 3) continue;
                if (s == later) {
                    worst = std::max(worst, std::fabs(towardsLater(q)));
                } else {
                    lo = std::min(lo, towardsLater(q));
                    hi = std::max(hi, towardsLater(q));
                }
            }
    EXPECT_LT(worst, 0.15);
    EXPECT_GE(lo, 0.6);
    EXPECT_LE(hi, 1.8);
    EXPECT_EQ(onWhite, 0);
    EXPECT_GE(set.curvedLoops, 2);
}

// Pieces that meet on one line (here along the border, where a band across
// the picture meets it) are one segment: the region drawn first, as the
// whole picture, is four, the band a few.
TEST(SmoothCurves, PiecesAlongOneLineJoin) {
    const Picture p = antialiased("band", 64, 48, [&](double x, double y) {
        return x >= 20.3 + 0.4 * y && x < 36.6 + 0.4 * y ? kRed : kWhite;
    });
    ShapeSet set;
    trace(p, OutputOptions::Layout::Stacked, set);
    const om1::Shape *red = shapeOf(set, kRed), *base = shapeOf(set, kWhite);
    ASSERT_NE(red, nullptr);
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(segments(base->curves[0]), 4u);
    EXPECT_LE(segments(red->curves[0]), 8u);
}

// Neighbours share every piece in the cutout layout, fitted or not: no
// pixel centre is left uncovered or covered twice on anti-aliased pictures.
TEST(SmoothCurves, CutoutSeamsStayZero) {
    const Picture pictures[] = {
        antialiased("rings", 80, 70,
                    [](double x, double y) {
                        const double d = std::hypot(x - 37.3, y - 33.9);
                        return d < 9.2 ? kBlue : d < 21.6 ? kRed : d < 30.1 ? 0x20a040u : kWhite;
                    }),
        antialiased("star", 72, 72,
                    [](double x, double y) {
                        const double a = std::atan2(y - 36, x - 36), d = std::hypot(x - 36, y - 36);
                        const double rim = 16 + 12 * std::cos(5 * a);
                        return d < rim ? kRed : (x + y < 60 ? kBlue : kWhite);
                    }),
        // Discs touching the border, and a sliver thinning along it.
        antialiased("tangent", 80, 48,
                    [](double x, double y) {
                        if (std::hypot(x - 24.3, y - 20) < 20) return kRed;
                        if (std::hypot(x - 60.5, y - 32.4) < 15.6) return kBlue;
                        return y < 0.1 * (x - 40) ? 0x20a040u : kWhite;
                    }),
    };
    for (const Picture& p : pictures) {
        ShapeSet set;
        trace(p, OutputOptions::Layout::Cutout, set);
        const Coverage c = coverage(set, true);
        EXPECT_EQ(c.seams, 0) << p.name;
        EXPECT_EQ(c.overlaps, 0) << p.name;
        EXPECT_GT(set.curvedLoops, 0) << p.name;
    }
}

// The share of a pixel's colour between two region colours, and exact
// signed pixel coverage of a polygon.
TEST(SmoothCurves, SharesAndCoverage) {
    const RGBQUAD in = {0, 0, 200, 0}, out = {255, 255, 255, 0};
    EXPECT_DOUBLE_EQ(om1::EdgeSamples::share(in, in, out), 1.0);
    EXPECT_DOUBLE_EQ(om1::EdgeSamples::share(out, in, out), 0.0);
    const RGBQUAD half = {128, 128, 228, 0};
    EXPECT_NEAR(om1::EdgeSamples::share(half, in, out), 0.5, 0.01);
    EXPECT_EQ(om1::EdgeSamples::share(in, in, RGBQUAD{5, 5, 205, 0}), -1);  // too close to tell

    // A clockwise triangle (0,0) (2,0) (0,2) on the picture: the pixels on
    // its diagonal are half covered, the one in the corner fully.
    om1::AreaCoverage cov;
    const PointD t[3] = {{0, 0}, {2, 0}, {0, 2}};
    for (int i = 0; i < 3; ++i) cov.addLine(t[i], t[(i + 1) % 3]);
    std::vector<om1::AreaCoverage::Cell> cells;
    cov.cells(cells);
    double total = 0;
    for (const auto& c : cells) {
        total += c.share;
        const double want = c.x + c.y == 0 ? 1.0 : c.x + c.y == 1 ? 0.5 : 0.0;
        EXPECT_NEAR(c.share, want, 1e-12) << c.x << "," << c.y;
    }
    EXPECT_NEAR(total, 2.0, 1e-12);
}

// An anti-aliased line 1.4 px wide on white, slanted, comes back whole: one
// shape of its colour whose edges run along the line's, not specks.
TEST(SmoothCurves, ThinLineStaysWhole) {
    const double width = 1.4, slope = 0.23, offset = 9.3;
    const Picture p = antialiased("line", 80, 40, [&](double x, double y) {
        const double d = std::fabs(y - offset - slope * x) / std::hypot(1.0, slope);
        return x >= 4 && x <= 76 && d <= width / 2 ? kBlue : kWhite;
    });
    ShapeSet set;
    trace(p, OutputOptions::Layout::Stacked, set);
    std::vector<const om1::Shape*> lines;
    for (const om1::Shape& s : set.shapes)
        if (s.role != om1::Shape::Role::Frame && !s.loops.empty() && s.color.rgbRed < 200)
            lines.push_back(&s);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_LT(farthest(set, lines[0], p,
                       [&](const PointD& q) {
                           if (q.x < 8 || q.x > 72) return 0.0;  // the ends are round
                           return std::fabs(std::fabs(q.y - offset - slope * q.x) /
                                                std::hypot(1.0, slope) -
                                            width / 2);
                       }),
              0.2);
}
