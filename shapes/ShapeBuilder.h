// ShapeBuilder: a traced contour tree as exact shapes (ShapeSet).
//
// The tree is painted into a LabelRaster (see there for which pixels a node
// paints), corrected against the picture when one is given and
// `reconcileTolerance` >= 0, and every region's boundary is followed on the
// pixel edges (CrackTracer):
// - stacked layout: a node's shape is every pixel whose label is the node or
//   one of its descendants, so that drawing the shapes in order (parents
//   first, holes on top) reproduces the label raster exactly; when the root
//   is a frame (no region covers the whole picture), the first region drawn
//   is drawn as the whole picture, so that no edge between regions drawn
//   later lies on the empty page;
// - cutout layout: a region's shape is its own pixels; frames get no shape.
// Curves (unless `polygon`) are fitted on these exact loops, through the
// edge the picture's anti-aliasing shows between the pixel corners, and kept
// piece by piece where they reproduce the picture better than the exact
// staircase (BoundaryCurves); in the cutout layout each piece between two
// regions is fitted once and used, reversed, by both.
#pragma once

#include <functional>

#include "companion/KvCtree.h"
#include "shapes/LabelRaster.h"
#include "shapes/OutputOptions.h"
#include "shapes/PixelAlpha.h"
#include "shapes/Shape.h"
#include "platform/WinTypes.h"

namespace om1 {

class ShapeBuilder {
public:
    // `pixels` (width x height, rows in the tree's order: the picture the
    // tree was traced from, after any preparation) may be null. `input`, the
    // picture before preparation (same size and order), places the curves
    // and judges them; null: `pixels` does. False when memory runs out or
    // the size is unusable; `out` is then empty.
    // `progress`, when given, hears the share done (0..1) between the steps
    // and between the shapes' curve fits; false stops the work (false) and
    // leaves in `out` what was built so far, unfinished, to be freed by its
    // owner later (freeing hundreds of thousands of shapes takes tens of
    // milliseconds, which a stop should not wait for).
    static bool build(const KvCtree* tree, const RGBQUAD* pixels, int width, int height,
                      const OutputOptions& options, ShapeSet& out, const RGBQUAD* input = nullptr,
                      const std::function<bool(double)>& progress = {});
    // The same for a picture traced with transparency (`pixels` are then
    // TraceReport::prepared and `alpha.levels` TraceReport::preparedAlpha):
    // every node gets the alpha level of its pixels (Shape::alpha), the
    // painted raster is also checked against the levels, and
    // - the empty region (level 0) gets no loops: it is never drawn, and no
    //   other shape covers it (a ring around a transparent hole is a ring
    //   with a hole);
    // - stacked layout: a node is drawn under the descendants it reaches
    //   through opaque nodes only, so that a region of partial opacity shows
    //   what lies behind it in the picture, not its parent.
    // With alpha.levels null this is the call above.
    static bool build(const KvCtree* tree, const RGBQUAD* pixels, const PixelAlpha& alpha,
                      int width, int height, const OutputOptions& options, ShapeSet& out,
                      const RGBQUAD* input = nullptr,
                      const std::function<bool(double)>& progress = {});

    // The shapes of an exact region labelling (LabelRaster::assign), which
    // needs neither painting nor correcting: every region is one node, a
    // node's stacked shape is the region with its holes. With `transparent`
    // the nodes carry their alpha (LabelRaster::setAlpha), as above. False
    // when memory runs out or the raster is empty.
    static bool build(const LabelRaster& regions, bool transparent, const OutputOptions& options,
                      ShapeSet& out, const RGBQUAD* input = nullptr,
                      const std::function<bool(double)>& progress = {});
};

}  // namespace om1
