// PixelAlpha: the transparency of a traced picture, per pixel, for
// ShapeBuilder. The plane has width x height bytes in the picture's row
// order and belong to the caller.
#pragma once

#include <cstdint>

namespace om1 {

struct PixelAlpha {
    // The alpha level of every pixel of the picture the tree was traced from
    // (TraceReport::preparedAlpha): 0 the empty region, which is never
    // drawn, 255 opaque, in between a region drawn with that opacity. Null:
    // an opaque picture (the shapes are built exactly as without alpha).
    const uint8_t* levels = nullptr;
};

}  // namespace om1
