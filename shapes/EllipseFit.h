// EllipseFit: the ellipse through a closed ring of edge samples, for round
// shapes drawn as circles and ellipses (dots, rings, eyes, wheels).
//
// A renderer draws a circle as a polygon of chords (within a tenth of a pixel
// or so), and the samples of its anti-aliased edge follow those chords: a
// spline through them bends a little at every chord, which shows when the
// outline is scaled up. An ellipse fitted to all the samples at once passes
// between the chords' corners and middles and is round everywhere.
#pragma once

#include <vector>

#include "shapes/Shape.h"

namespace om1 {

class EllipseFit {
public:
    struct Ellipse {
        PointD centre = {0, 0};
        double a = 0, b = 0;  // half axes: a along (cos angle, sin angle), b across it
        double angle = 0;
    };

    // The conic nearest the points in the least squares sense (of its
    // equation, the points centred and scaled to a unit spread), when that
    // conic is an ellipse; false for fewer than six points, a line, a
    // parabola or a hyperbola.
    static bool fit(const PointD* points, int n, Ellipse& e);

    // The largest distance of any point from the ellipse, and the root mean
    // square in `rms`. Each distance is taken to first order, the
    // equation's value over its gradient: near the ellipse it is the true
    // distance to within its square over the radius of curvature (a point
    // at r from a circle of radius R reads (r^2 - R^2) / 2r).
    static double farthest(const Ellipse& e, const PointD* points, int n, double* rms = nullptr);

    // The ellipse as a closed curve of four cubic segments (13 points, the
    // last the first), starting at the point of the ellipse nearest `start`
    // and running clockwise in picture coordinates (y down) when
    // `clockwise`, else the other way. Each segment is the standard
    // quarter-circle cubic mapped onto the ellipse: within 0.03 % of the
    // larger half axis.
    static void curve(const Ellipse& e, PointD start, bool clockwise, std::vector<PointD>& out);
};

}  // namespace om1
