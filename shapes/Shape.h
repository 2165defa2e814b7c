// Shape and ShapeSet: the exact geometry of a traced picture, ready for the
// writers. Coordinates are the picture's: pixel (x, y) covers
// [x, x+1] x [y, y+1].
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "companion/KvCtree.h"
#include "shapes/CrackLoop.h"
#include "shapes/CurveList.h"
#include "shapes/LoopList.h"
#include "shapes/OutputOptions.h"
#include "shapes/PointD.h"

namespace om1 {

struct Shape {
    enum class Role : uint8_t { Outline, Hole, Frame };
    Role role = Role::Outline;
    // Opacity: 255 opaque, 1..254 drawn with that opacity, 0 the empty
    // region of a picture with transparency (no loops: never drawn).
    uint8_t alpha = 255;
    int parent = -1;                // index in ShapeSet::shapes, -1 for the root
    int depth = 0;                  // 0 for the root
    RGBQUAD color = {};             // unused for frames
    const KvCtree* node = nullptr;  // the tree node; null for a region added by reconcile
    long long pixels = 0;           // pixels the shape covers (its own in cutout layout)
    // The exact boundary: clockwise outer loops, counter-clockwise holes. In
    // the stacked layout the area a node is drawn with (itself and
    // everything on top of it), in the cutout layout the region's own pixels.
    LoopList loops;
    // Per loop, closed cubic Bezier curves: 3n + 1 points (start, then two
    // control points and the end point of each segment, the last end being
    // the start). Empty in polygon mode.
    CurveList curves;
};

struct ShapeSet {
    int width = 0;
    int height = 0;
    OutputOptions options;
    std::vector<Shape> shapes;       // drawing order: a node, then its holes, depth first
    long long reconciledPixels = 0;  // pixels LabelRaster::reconcile moved
    long long loops = 0;             // boundary loops of all shapes
    long long curvedLoops = 0;       // loops whose fitted curve was kept (not the polygon)
    // Traced with transparency (PixelAlpha given): shapes carry their alpha,
    // and the writers say it (SVG fill-opacity, PDF /ca, JSON, GeoJSON).
    bool transparent = false;
    // What a stopped build leaves to be freed with the set (its working
    // state: a large picture's takes tens of milliseconds to free, which a
    // stop does not wait for). Null once built.
    std::shared_ptr<void> unfinished;
};

}  // namespace om1
