// JsonWriter: a ShapeSet as JSON, streamed. The format (also in the README):
//
//   {"width": W, "height": H, "layout": "stacked" | "cutout",
//    "geometry": "curves" | "polygon", "tree": NODE or null}
//   NODE = {"role": "outline" | "hole" | "frame", "color": "#rrggbb",
//           "pixels": N,
//           "boundary": [LOOP, ...],   exact corner polygons: [[x, y], ...]
//           "curves": [CURVE, ...],    per loop, 3n + 1 Bezier points [[x, y], ...]
//           "holes": [NODE, ...]}      the node's holes, nested
//
// Coordinates are the picture's (pixel (x, y) covers [x, x+1] x [y, y+1]);
// outer loops run clockwise on the picture, the loops of holes the other way.
// In the stacked layout a node's boundary is the area it is drawn with (holes
// are drawn on top); in the cutout layout it is the region's own area. Nodes
// added where the tree was corrected against the picture are holes. The
// JSON nests as deep as the tree; it is written without recursion.
#pragma once

#include <ostream>

#include "shapes/Shape.h"

namespace om1 {

class JsonWriter {
public:
    // False when the stream failed.
    static bool write(std::ostream& out, const ShapeSet& set);
};

}  // namespace om1
