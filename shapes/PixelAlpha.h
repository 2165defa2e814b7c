// PixelAlpha: the transparency of a traced picture, per pixel, for
// ShapeBuilder. Both planes have width x height bytes in the picture's row
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
    // The input's own alpha, the share of each pixel a shape covers where it
    // meets transparency: the boundaries between shapes and the empty region
    // run on the pixel edges where this coverage crosses one half (the
    // anti-alias cleanup decides each pixel by it); a curve fitter may read
    // it to place such an edge between the pixel corners, as it reads the
    // colours of an edge between two regions. May be null.
    const uint8_t* coverage = nullptr;
};

}  // namespace om1
