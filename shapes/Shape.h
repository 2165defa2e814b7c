// Shape and ShapeSet: the exact geometry of a traced picture, ready for the
// writers. Coordinates are the picture's: pixel (x, y) covers
// [x, x+1] x [y, y+1].
#pragma once

#include <vector>

#include "companion/KvCtree.h"
#include "shapes/CrackLoop.h"
#include "shapes/OutputOptions.h"

namespace om1 {

struct PointD {
    double x;
    double y;
};

struct Shape {
    enum class Role { Outline, Hole, Frame };
    Role role = Role::Outline;
    int parent = -1;                // index in ShapeSet::shapes, -1 for the root
    int depth = 0;                  // 0 for the root
    RGBQUAD color = {};             // unused for frames
    const KvCtree* node = nullptr;  // the tree node; null for a region added by reconcile
    long long pixels = 0;           // pixels the shape covers (its own in cutout layout)
    // The exact boundary: clockwise outer loops, counter-clockwise holes. In
    // the stacked layout the area a node is drawn with (itself and
    // everything on top of it), in the cutout layout the region's own pixels.
    std::vector<CrackLoop> loops;
    // Per loop, closed cubic Bezier curves: 3n + 1 points (start, then two
    // control points and the end point of each segment, the last end being
    // the start). Empty in polygon mode.
    std::vector<std::vector<PointD>> curves;
};

struct ShapeSet {
    int width = 0;
    int height = 0;
    OutputOptions options;
    std::vector<Shape> shapes;       // drawing order: a node, then its holes, depth first
    long long reconciledPixels = 0;  // pixels LabelRaster::reconcile moved
    long long loops = 0;             // boundary loops of all shapes
    long long curvedLoops = 0;       // loops whose fitted curve was kept (not the polygon)
};

}  // namespace om1
