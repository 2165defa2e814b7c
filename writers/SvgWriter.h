// SvgWriter: a ShapeSet as SVG in pixel units (viewBox 0 0 W H), streamed.
// One <path> per shape with fill="#rrggbb" and fill-rule="evenodd" (its outer
// boundaries and the boundaries of its holes as subpaths), in drawing order;
// no stroke anywhere. A shape of partial opacity has fill-opacity="0.502"
// (its alpha / 255, up to three decimals). Frames and shapes without a boundary are left out, as
// are shapes whose `skip` test is true.
// Polygon loops are written as "M x y" and alternating H/V steps with
// integer coordinates, curves as "M x y C ..." with up to two decimals.
#pragma once

#include <functional>
#include <ostream>
#include <string>

#include "shapes/Shape.h"

namespace om1 {

class SvgWriter {
public:
    // False when the stream failed.
    static bool write(std::ostream& out, const ShapeSet& set,
                      const std::function<bool(const Shape&)>& skip = nullptr);
    // "%.2f" without trailing zeros ("3", "2.5", "0.25").
    static std::string number(double v);
    static std::string colour(const RGBQUAD& c);
    // alpha / 255 with up to three decimals ("0.502", "1").
    static std::string opacity(uint8_t alpha);
    // The path data of one shape, empty without loops.
    static void pathData(std::ostream& out, const Shape& shape);

private:
    // The same appended to `out` (the writer builds each element whole and
    // writes it at once).
    static void appendPathData(std::string& out, const Shape& shape);
};

}  // namespace om1
