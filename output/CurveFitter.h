// CurveFitter: closed cubic Bezier curves on exact boundaries, fitted by the
// library's own CurveConverter (a crack loop is a chain code between
// corners), with the same straight-line tolerance the tracer's curves use.
#pragma once

#include <vector>

#include "output/CrackLoop.h"
#include "output/Shape.h"

namespace om1 {

class CurveFitter {
public:
    // 3n + 1 points in picture coordinates. Loops the converter cannot fit
    // faithfully (too short, or a result whose area is off by more than half
    // the loop's) get their corner polygon as straight cubic segments, so
    // every loop has a curve. False when memory runs out.
    static bool fitLoop(const CrackLoop& loop, int tolerance, std::vector<PointD>& out);
    // The corner polygon of a loop as straight cubic segments.
    static void polygonCurve(const CrackLoop& loop, std::vector<PointD>& out);
    // Signed area enclosed by a closed cubic curve (positive: clockwise on a
    // y-down picture, as CrackLoop::area).
    static double area(const std::vector<PointD>& curve);
};

}  // namespace om1
