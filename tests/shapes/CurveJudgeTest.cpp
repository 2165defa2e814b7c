// CurveJudge on a worked example: two regions side by side, their edge
// running down x = 2, and a curve bulging a pixel into the right one (the
// triangle (2,0) (3,1) (2,2): half of pixels (2,0) and (2,1)).
#include "shapes/CurveJudge.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace om1 {
namespace {

// Labels 1 (in, left) and 2 (out, right) on a 4 x 2 picture; label 0 lies
// under both when they are stacked.
struct SideBySide {
    const std::vector<int32_t> labels = {1, 1, 2, 2, 1, 1, 2, 2};
    const std::vector<RGBQUAD> colours = {{0, 0, 0, 0}, {0, 0, 200, 0}, {200, 0, 0, 0}};
    // Pixel (2,0) shows the two regions half and half, (2,1) the right one.
    const std::vector<RGBQUAD> pixels = {{0, 0, 200, 0}, {0, 0, 200, 0}, {100, 0, 100, 0},
                                         {200, 0, 0, 0}, {0, 0, 200, 0}, {0, 0, 200, 0},
                                         {200, 0, 0, 0}, {200, 0, 0, 0}};
    const std::vector<int> parents = {-1, 0, 0};
    const std::vector<uint8_t> drawn = {1, 1, 1};
    const std::vector<Corner> stair = {{2, 0}, {2, 1}, {2, 2}};
    // Two straight segments (control points at the thirds).
    const std::vector<PointD> curve = {{2, 0}, {7.0 / 3, 1.0 / 3}, {8.0 / 3, 2.0 / 3},
                                       {3, 1}, {8.0 / 3, 4.0 / 3}, {7.0 / 3, 5.0 / 3},
                                       {2, 2}};

    EdgeSamples::Picture picture(bool stacked) const {
        EdgeSamples::Picture p;
        p.labels = labels.data();
        p.width = 4;
        p.height = 2;
        p.pixels = pixels.data();
        p.colours = &colours;
        if (stacked) {
            p.parents = &parents;
            p.drawn = &drawn;
        }
        return p;
    }
};

void expectErrors(const CurveJudge::Errors& e, double curve, double staircase, double area,
                  const char* what) {
    EXPECT_EQ(e.curve, curve) << what;
    EXPECT_EQ(e.staircase, staircase) << what;
    EXPECT_EQ(e.area, area) << what;
}

// The staircase shows (0,0,200) on pixel (2,0): 100^2 + 100^2 off. The curve
// gives both pixels half of each region: exact on (2,0), 100^2 + 100^2 off
// on (2,1). Stacked, the right region (drawn later) covers half of each
// pixel over the left one, which covers half of the rest over black:
// (50,0,100), 50^2 off on (2,0), 50^2 + 100^2 on (2,1).
TEST(CurveJudge, ErrorsStackedAndAlone) {
    const SideBySide s;
    AreaCoverage cov;
    std::vector<AreaCoverage::Cell> cells;
    CurveJudge::cover(s.curve, s.stair, false, cov, cells);
    ASSERT_EQ(cells.size(), 2u);
    for (const AreaCoverage::Cell& c : cells) {
        EXPECT_EQ(c.x, 2);
        EXPECT_EQ(c.share, 0.5);
    }

    CurveJudge::Errors alone;
    const CurveJudge::Errors stacked = CurveJudge::errors(cells, 1, 2, s.picture(true), &alone);
    expectErrors(stacked, 2500 + 12500, 20000, 1, "stacked");
    expectErrors(alone, 20000, 20000, 1, "alone, with the stacked");
    // Without parents the two judgements are one.
    CurveJudge::Errors flat;
    expectErrors(CurveJudge::errors(cells, 1, 2, s.picture(false), &flat), 20000, 20000, 1, "flat");
    expectErrors(flat, 20000, 20000, 1, "flat, alone");

    // No cells: nothing either way.
    alone.curve = -1;
    expectErrors(CurveJudge::errors({}, 1, 2, s.picture(true), &alone), 0, 0, 0, "none");
    expectErrors(alone, 0, 0, 0, "none, alone");
}

// The staircase's edges held once for several curves along it: each curve's
// cells as covered alone, whatever curve came before (a curve's first piece
// falls on the pixel of the staircase's last edge).
TEST(CurveJudge, HeldStaircase) {
    const SideBySide s;
    const std::vector<PointD> straight = {{2, 0}, {2, 2.0 / 3}, {2, 4.0 / 3}, {2, 2}};
    AreaCoverage alone, held;
    std::vector<AreaCoverage::Cell> expected, cells;
    CurveJudge::coverStair(s.stair, false, held);
    for (const std::vector<PointD>* curve : {&s.curve, &straight, &s.curve, &s.curve}) {
        CurveJudge::cover(*curve, s.stair, false, alone, expected);
        CurveJudge::cover(*curve, s.stair, false, held, cells, true);
        ASSERT_EQ(cells.size(), expected.size());
        for (size_t i = 0; i < cells.size(); ++i) {
            EXPECT_EQ(cells[i].x, expected[i].x);
            EXPECT_EQ(cells[i].y, expected[i].y);
            EXPECT_EQ(cells[i].share, expected[i].share);
        }
    }
    EXPECT_EQ(cells.size(), 2u);
}

}  // namespace
}  // namespace om1
