// CurveFitter: closed cubic Bezier curves on exact boundaries, fitted by the
// library's own CurveConverter (a crack loop is a chain code between
// corners), with the same straight-line tolerance the tracer's curves use.
#pragma once

#include <vector>

#include "shapes/CrackLoop.h"
#include "shapes/Shape.h"

namespace om1 {

class CurveFitter {
public:
    // 3n + 1 points in picture coordinates. Loops the converter cannot fit
    // faithfully get their corner polygon as straight cubic segments, so
    // every loop has a curve: loops of fewer than 8 steps, fits whose area is
    // off by more than half the loop's, and fits whose areaError exceeds
    // maxAreaErrorPerStep per step of the loop (negative: no such limit) (a staircase of one-pixel
    // steps merged into a slanted line, pixel-sized detail smoothed away). False when memory runs
    // out. `fitted` (when given) is set to whether the converter's curve was kept.
    static bool fitLoop(const CrackLoop& loop, int tolerance, std::vector<PointD>& out,
                        bool* fitted = nullptr, double maxAreaErrorPerStep = kMaxAreaErrorPerStep);
    static constexpr double kMaxAreaErrorPerStep = 0.05;
    // The area (square pixels) inside the loop and not inside the curve or
    // the other way round, sampled 4 x 4 per pixel (the curve flattened,
    // even-odd rule).
    static double areaError(const CrackLoop& loop, const std::vector<PointD>& curve);
    // The corner polygon of a loop as straight cubic segments.
    static void polygonCurve(const CrackLoop& loop, std::vector<PointD>& out);
    // Signed area enclosed by a closed cubic curve (positive: clockwise on a
    // y-down picture, as CrackLoop::area).
    static double area(const std::vector<PointD>& curve);
};

}  // namespace om1
