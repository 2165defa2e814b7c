// SvgWriter: a contour tree traced from a top-down picture as SVG in pixel
// units (viewBox 0 0 W H). Every outline node is one closed path, parents
// before their holes, so that holes are painted over their parents.
//
// The library places the centre of pixel (x, y) at (x + 1.0, y + 1.0); the
// writer subtracts 0.5 so that it lands on (x + 0.5, y + 0.5), the pixel's
// centre in SVG. Outlines run through the centres of a region's boundary
// pixels, so every path is filled and also stroked 1 pixel wide in its own
// colour: the stroke covers the outer half of the boundary pixels.
// Frames (containers without colour of their own) are not painted; their
// holes are. Nodes whose `skip` test is true are left out (their holes are
// still written).
#pragma once

#include <functional>
#include <string>

#include "companion/KvCtree.h"

class SvgWriter {
public:
    static std::string write(const KvCtree* tree, int width, int height,
                             const std::function<bool(const KvCtree*)>& skip = nullptr);
    // "%.2f" without trailing zeros ("3", "2.5", "0.25").
    static std::string number(double v);
    static std::string colour(const RGBQUAD& c);
    // The path data of one node ("M x y C ... Z"), empty without points.
    static std::string pathData(const KvCtree* node);
};
