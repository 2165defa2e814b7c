// DxfWriter: a ShapeSet as a DXF drawing, release 12 (AC1009), streamed, so
// that CAD programs, laser cutters and plotters of every age read it.
// - One drawing unit per pixel; y points up as CAD expects (y' = H - y), so
//   the drawing looks like the picture. $EXTMIN 0,0 and $EXTMAX W,H.
// - Every loop of a shape (outer boundary or hole) is its own closed
//   POLYLINE (flag 1, VERTEX entities, SEQEND) on the shape's layer, in
//   drawing order; the first vertex is not repeated. Outer loops run
//   counter-clockwise (y up), holes clockwise, as CAD programs expect.
// - Release 12 has no splines, so curves are flattened (within
//   Polylines::kFlatness of a pixel); polygons are the exact corners.
//   Coordinates are rounded as SvgWriter rounds them.
// - The layer of a shape is named after its colour, "RRGGBB" in upper-case
//   hexadecimal (release 12 names allow no '#'); the LAYER table lists every
//   colour once, with the nearest colour index of the standard palette as
//   its display colour (release 12 has no true colours; the palette's hues
//   are computed, within a few levels of the usual table, so the index is a
//   display hint and the name carries the exact colour).
// Frames, shapes without a boundary and shapes whose `skip` test is true are
// left out.
#pragma once

#include <functional>
#include <ostream>
#include <string>

#include "shapes/Shape.h"

namespace om1 {

class DxfWriter {
public:
    // False when the stream failed.
    static bool write(std::ostream& out, const ShapeSet& set,
                      const std::function<bool(const Shape&)>& skip = nullptr);
    static std::string layerName(const RGBQUAD& c);
    // The nearest colour index (1..255) of the standard CAD palette.
    static int colourIndex(const RGBQUAD& c);
};

}  // namespace om1
