// EpsWriter: a ShapeSet as Encapsulated PostScript (level 2), streamed.
// One point per pixel: %%BoundingBox 0 0 W H, and the page flips y once
// ("0 H translate 1 -1 scale") so that the paths carry the picture's
// coordinates, rounded as SvgWriter rounds them. One path per shape in
// drawing order, filled by the even-odd rule (eofill) in its exact colour;
// the prolog defines m, l, c and h, so the paths read as in the PDF. PostScript
// has no opacity: a shape of partial opacity is drawn in its colour
// composited over the background (flattened). Frames,
// shapes without a boundary and shapes whose `skip` test is true are left
// out.
#pragma once

#include <functional>
#include <ostream>

#include "shapes/Shape.h"

namespace om1 {

class EpsWriter {
public:
    // False when the stream failed.
    static bool write(std::ostream& out, const ShapeSet& set,
                      const std::function<bool(const Shape&)>& skip = nullptr);
    // The colour a shape is drawn in where a format has no opacity (EPS,
    // DXF): a shape of partial opacity composited over the background
    // (OutputOptions::background, 0xRRGGBB) as the picture would be.
    static RGBQUAD flattened(const Shape& shape, int background);
};

}  // namespace om1
