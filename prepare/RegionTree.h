// RegionTree: the regions of a picture at colour tolerance 0 (4-connected
// sets of pixels of exactly one colour, red, green and blue compared) and
// which region lies in which, in time proportional to the pixels and the
// boundary length, however many regions there are.
//
// A region lies in another when it lies in one of the other's holes: a
// 4-connected group of pixels not of the other region that does not reach
// the picture's border. Every region is in the node list once; a region's
// parent is the smallest region it lies in. The regions that lie in no other
// hang from the root: the region itself when there is only one (it then
// covers the whole picture with its holes), otherwise a frame (a container
// without pixels, node 0).
//
// How: a union-find over the pixels (kept in the label array itself, every
// set rooted at its first pixel in row order) gives the regions numbered by
// first pixel. Then, in that order, each region's outer boundary is followed
// once on the pixel edges. The pixel left of a region S's first pixel belongs
// to a region T met earlier; S lies in a hole of T exactly when the edge
// between them is not on T's outer boundary, and otherwise S has T's parent.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/WinTypes.h"

namespace om1 {

struct Labelling;

class RegionTree {
public:
    int width = 0;
    int height = 0;
    // Nodes in drawing order: a node, then its children (by first pixel in
    // row order), depth first. parents[0] is -1; every other parent comes
    // before its child.
    std::vector<int32_t> parents;
    std::vector<RGBQUAD> colors;  // per node; a frame's is all zero
    bool rootFrame = false;       // node 0 is a frame that owns no pixel
    std::vector<int32_t> labels;  // width * height node numbers, row 0 first
    // Pixel edges round the longest outer boundary of a region (a chain
    // through the boundary pixels' centres has 4 steps fewer when the
    // region has no one-pixel spurs).
    long long longestBoundary = 0;

    // Labels width x height pixels (rows in memory order). False when the
    // size is unusable (nothing, or more than INT_MAX pixels) or memory runs
    // out; the tree is then empty. `progress`, when given, hears the share
    // done (0..1) every few hundred rows of a pass and every few thousand
    // regions; false stops the work (false, the tree empty).
    // The labelling of a large picture runs by bands on up to `threads`
    // threads (0: one per core), with the same result for any number.
    // `labelled`, when it holds a labelling of `pixels` (labelRegions's
    // without alpha, with the firsts; count 0 or more), is taken (and left
    // empty) instead of labelling them again.
    bool build(const RGBQUAD* pixels, int width, int height,
               const std::function<bool(double)>& progress = {}, int threads = 1,
               Labelling* labelled = nullptr);

    // Regions (nodes that are not the frame).
    int regions() const { return static_cast<int>(parents.size()) - (rootFrame ? 1 : 0); }
};

}  // namespace om1
