// GeoJsonWriter: a ShapeSet as a GeoJSON FeatureCollection, streamed, one
// Feature per line.
// - Coordinates are the picture's: x to the right, y pointing down as in
//   the picture (pixel (x, y) covers [x, x+1] x [y, y+1]), no geographic
//   reference; "bbox" is [0, 0, W, H]. Rounded as SvgWriter rounds them.
// - Every shape (frames, shapes without a boundary and shapes whose `skip`
//   test is true left out) is a Feature in drawing order whose geometry is a
//   Polygon (one outer loop) or a MultiPolygon (several), each polygon its
//   outer ring followed by the rings of its holes (Polylines::holesOf).
// - Rings are closed (the first position repeated at the end). Winding
//   follows RFC 7946 in the coordinates' own plane, as a GIS reads them:
//   outer rings counter-clockwise, holes clockwise (shoelace area positive
//   for outer rings). Drawn on the picture, with y down, outer rings run
//   clockwise.
// - Curves are flattened (within Polylines::kFlatness of a pixel); polygons
//   are the exact corners.
// - Properties: "color" "#rrggbb", "role" ("outline" or "hole": the node's
//   place in the tree), "pixels" (Shape::pixels: the area the shape covers,
//   its own in the cutout layout), "depth" (0 for the root).
// In the stacked layout a shape's polygon is the area it is drawn with,
// features later in the collection lying on top; in the cutout layout the
// polygons tile the picture without overlapping.
#pragma once

#include <functional>
#include <ostream>

#include "shapes/Shape.h"

namespace om1 {

class GeoJsonWriter {
public:
    // False when the stream failed.
    static bool write(std::ostream& out, const ShapeSet& set,
                      const std::function<bool(const Shape&)>& skip = nullptr);
};

}  // namespace om1
