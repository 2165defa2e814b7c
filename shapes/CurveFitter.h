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
    // adds 0.3 px, 0 gives 0.15 px).
    static OutlineFitter::Settings settings(int curveTolerance);

    // 3n + 1 points in picture coordinates, through `samples` (one per step
    // of the loop, EdgeSamples). True when the fit succeeded; otherwise `out`
    // is the corner polygon. Throws std::bad_alloc when memory runs out.
    static bool fitLoop(const CrackLoop& loop, const std::vector<PointD>& samples,
                        int curveTolerance, std::vector<PointD>& out);
    // The corner polygon of a loop as straight cubic segments.
    static void polygonCurve(const CrackLoop& loop, std::vector<PointD>& out);
    // Signed area enclosed by a closed cubic curve (positive: clockwise on a
    // y-down picture, as CrackLoop::area).
    static double area(const std::vector<PointD>& curve);
};

}  // namespace om1
