// CurveJudge: whether a fitted piece of boundary or its exact staircase
// reproduces the picture better.
//
// Both are drawn as a renderer draws them: a pixel the boundary crosses
// shows the two regions' colours in the shares of its area on each side.
// The area between the curve and the staircase (computed exactly, pixel by
// pixel, by AreaCoverage) is all that differs; over those pixels the colour
// each version predicts is compared with the picture's, as squared error.
#pragma once

#include <cstdint>
#include <vector>

#include "shapes/AreaCoverage.h"
#include "shapes/CrackLoop.h"
#include "shapes/EdgeSamples.h"

namespace om1 {

class CurveJudge {
public:
    struct Errors {
        double curve = 0;      // squared colour error with the curve
        double staircase = 0;  // with the staircase
        double area = 0;       // pixel area between them
    };

    // `curve` (3n + 1 points) runs from stair.front() to stair.back(), with
    // region `in` on its right as seen on the picture (the side a CrackLoop
    // keeps its area on) and `out` on its left; `closed`: both are whole
    // loops. `pic.pixels` must be set.
    static Errors compare(const std::vector<PointD>& curve, const std::vector<Corner>& stair,
                          bool closed, int32_t in, int32_t out, const EdgeSamples::Picture& pic,
                          AreaCoverage& scratch, std::vector<AreaCoverage::Cell>& cells);

    // compare() in two steps, for several judgements of one curve: the
    // pixels between the curve and the staircase with their signed shares
    // (positive where the curve gives `in` more area; none when the curve
    // has no segment or the staircase no corner), then the errors over them.
    // `held`: `scratch` holds the staircase's own edges (coverStair()), so
    // that several curves along one staircase add them once.
    static void cover(const std::vector<PointD>& curve, const std::vector<Corner>& stair,
                      bool closed, AreaCoverage& scratch, std::vector<AreaCoverage::Cell>& cells,
                      bool held = false);
    static void coverStair(const std::vector<Corner>& stair, bool closed, AreaCoverage& scratch);
    // `alone`, when given, gets the errors as well with the two regions
    // alone on the pixels (as without `pic.parents`), in the same pass.
    static Errors errors(const std::vector<AreaCoverage::Cell>& cells, int32_t in, int32_t out,
                         const EdgeSamples::Picture& pic, Errors* alone = nullptr);

    // Appends the curve flattened to within 0.02 px (the start point not
    // repeated) to `poly`.
    static void flatten(const std::vector<PointD>& curve, std::vector<PointD>& poly);
};

}  // namespace om1
