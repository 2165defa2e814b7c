// PdfWriter: a ShapeSet as a one-page PDF, streamed. The page is the
// picture's size in points (one pixel, one point; MediaBox 0 0 W H) and its
// content flips y once ("1 0 0 -1 0 H cm"), so the paths carry the picture's
// coordinates, rounded as SvgWriter rounds them (integers for polygons, up to
// two decimals for curves). One filled path per shape in drawing order, its
// outer boundaries and the boundaries of its holes as subpaths filled by the
// even-odd rule (f*), in its exact colour (each 0..255 channel written as a
// fraction that rounds back to it); a shape of partial opacity through a
// graphics state with a constant alpha (/ca), one per alpha used, named
// /aNNN in the page's resources. Frames, shapes without a boundary and
// shapes whose `skip` test is true are left out. The content stream is not
// compressed; its length is a separate object written after it, and the
// cross-reference offsets are counted as the bytes go out.
#pragma once

#include <functional>
#include <ostream>
#include <string>

#include "shapes/Shape.h"

namespace om1 {

class PdfWriter {
public:
    // False when the stream failed.
    static bool write(std::ostream& out, const ShapeSet& set,
                      const std::function<bool(const Shape&)>& skip = nullptr);
    // The path of one shape with the operators m, l, c and h (the names the
    // EPS prolog defines as well), one subpath per loop.
    static void pathOps(std::ostream& out, const Shape& shape);
    // A colour channel as a fraction of 255 with up to four decimals.
    static std::string unit(unsigned char channel);
};

}  // namespace om1
