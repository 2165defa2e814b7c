// CurveFitter: the closed cubic curve of one exact boundary, fitted through
// its edge samples by OutlineFitter; boundaries too small or too thin for it
// get their corner polygon.
#pragma once

#include <vector>

#include "shapes/CrackLoop.h"
#include "shapes/OutlineFitter.h"
#include "shapes/Shape.h"

namespace om1 {

class CurveFitter {
public:
    // The fit's settings for a curve tolerance (OutputOptions::curveTolerance,
    // 1 by default: samples within 0.3 px of the curve; every further unit
    // adds 0.3 px, 0 gives 0.15 px) on a picture of width x height pixels.
    // A picture smaller than 256 x 256 (by the square root of its area) is
    // seen enlarged, as icons are: its tolerance shrinks in proportion, down
    // to half at 128 x 128 and below.
    static OutlineFitter::Settings settings(int curveTolerance, int width, int height);

    // 3n + 1 points in picture coordinates, through `samples` (one per step
    // of the loop, EdgeSamples), fitted with `settings`. True when the fit
    // succeeded; otherwise `out` is the corner polygon. Throws std::bad_alloc
    // when memory runs out. `covers` as in OutlineFitter::fit.
    static bool fitLoop(const CrackLoop& loop, const std::vector<PointD>& samples,
                        const OutlineFitter::Settings& settings, std::vector<PointD>& out,
                        OutlineFitter::Covers* covers = nullptr);
    // The corner polygon of a loop as straight cubic segments.
    static void polygonCurve(const CrackLoop& loop, std::vector<PointD>& out);
    // Signed area enclosed by a closed cubic curve (positive: clockwise on a
    // y-down picture, as CrackLoop::area).
    static double area(const std::vector<PointD>& curve);
};

}  // namespace om1
