// ShapeBuilder: a traced contour tree as exact shapes (ShapeSet).
//
// The tree is painted into a LabelRaster (see there for which pixels a node
// paints), corrected against the picture when one is given and
// `reconcileTolerance` >= 0, and every region's boundary is followed on the
// pixel edges (CrackTracer):
// - stacked layout: a node's shape is every pixel whose label is the node or
//   one of its descendants, so that drawing the shapes in order (parents
//   first, holes on top) reproduces the label raster exactly;
// - cutout layout: a region's shape is its own pixels; frames get no shape.
// Curves (unless `polygon`) are fitted on these exact loops by CurveFitter;
// in the cutout layout the boundaries are cut where three or more regions or
// the raster border meet, and each piece between two regions is fitted once
// and used, reversed, by both (CutoutCurves).
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
    // `pixels` (width x height, rows in the tree's order) may be null. False
    // when memory runs out or the size is unusable; `out` is then empty.
    // `progress`, when given, hears the share done (0..1) between the steps
    // and between the shapes' curve fits; false stops the work (false).
    static bool build(const KvCtree* tree, const RGBQUAD* pixels, int width, int height,
                      const OutputOptions& options, ShapeSet& out,
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
                      const std::function<bool(double)>& progress = {});

    // The shapes of an exact region labelling (LabelRaster::assign), which
    // needs neither painting nor correcting: every region is one node, a
    // node's stacked shape is the region with its holes. With `transparent`
    // the nodes carry their alpha (LabelRaster::setAlpha), as above. False
    // when memory runs out or the raster is empty.
    static bool build(const LabelRaster& regions, bool transparent, const OutputOptions& options,
                      ShapeSet& out, const std::function<bool(double)>& progress = {});
};

}  // namespace om1
