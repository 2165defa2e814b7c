// LabelRaster: a contour tree painted into a raster of node numbers, as a
// renderer draws it: nodes in drawing order (a node, then its holes in list
// order, depth first), each pixel keeping the last node painted over it.
//
// What a node paints (the mapping from chains to pixels). A chain runs
// through pixel centres with its region on side (d + 1) mod 4 of every step
// in the contour tree's orientation:
// - the root outline, and every outline in the hole list of a frame (the
//   parts of a region the tracer cut where it touches itself, its parent or
//   the raster border), run through their own boundary pixels: they paint
//   the pixels on their chain and those inside it;
// - every other outline is a hole. Its chain is either the hole loop of the
//   region around it (through that region's pixels: the hole paints only the
//   pixels strictly inside it) or the hole region's own outer boundary
//   (through its own pixels: it paints them and those inside). Which one the
//   tracer kept depends on where it started (parts of frames come either
//   way too), so when the picture is given the chain's pixels decide: the
//   chain is the node's own boundary when more of its pixels are nearer the
//   node's colour than the colour of the node painted there before it.
//   A hole taken as its own boundary then claims each pixel of its chain
//   only where that pixel is nearer its colour than what lies there already
//   (chains of parts can run on both sides). Without the picture the parts
//   of frames are taken as own boundaries and other holes as hole loops;
// - frames (containers without colour of their own) paint nothing.
// "Inside" is the winding number of the chain polygon round the pixel centre.
// A pixel no node paints keeps label -1.
//
// The chains of regions the tracer cut into parts (parts of a region that
// touches itself, the raster border or its parent) can run through pixels of
// a neighbouring region, so a painted raster can differ from the picture in a
// few pixels. `reconcile` checks it against the picture the tree was traced
// from and corrects it; the number of pixels it moved tells how far the tree
// was from the picture.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/WinTypes.h"

#include "companion/KvCtree.h"

namespace om1 {

class LabelRaster {
public:
    struct Node {
        const KvCtree* tree;  // null for a region added by reconcile
        int parent;           // index of the parent node, -1 for the root
        int depth;            // 0 for the root
        RGBQUAD color;        // the region's colour (a frame's is unused)
        bool frame;           // a container without colour of its own
        bool ownChain;        // the chain runs through the node's own pixels
        // Opacity (see setAlpha): 0 the empty region, 255 opaque.
        uint8_t alpha = 255;
    };

    int width = 0;
    int height = 0;
    std::vector<Node> nodes;      // drawing order; a node's label is its index
    std::vector<int32_t> labels;  // width * height, row 0 first

    // Paints the tree; false when memory runs out or the size is unusable.
    // `pixels` (width x height, the picture the tree was traced from) may be
    // null. `going`, when given, is asked about every 2^18 pixels painted:
    // false when it answers false (the raster is then empty).
    bool build(const KvCtree* root, int width, int height, const RGBQUAD* pixels = nullptr,
               const std::function<bool()>& going = {});

    // Takes the regions of an exact labelling instead of painting a tree:
    // `labels` (width x height node numbers, taken over) already in drawing
    // order, parents[i] < i for every node but node 0 (whose parent is -1),
    // one colour per node, node 0 a frame when `rootFrame`. Every node's
    // subtree is then the region with its holes, so nothing needs
    // reconciling. False when the parts do not fit together (sizes, parents
    // or labels out of range) or memory runs out; the raster is then empty.
    bool assign(int width, int height, std::vector<int32_t>&& labels,
                const std::vector<int32_t>& parents, const std::vector<RGBQUAD>& colors,
                bool rootFrame);

    // True after `assign`: the pixels of every subtree are one 4-connected
    // area without holes whose first pixel in row order is the subtree
    // root's own.
    bool exact() const { return exact_; }

    // Moves every pixel whose colour differs from its label's colour by more
    // than `tolerance` (the largest difference of red, green or blue), or that
    // has no label: 4-connected groups of such pixels of one colour join a
    // neighbouring region whose colour is within the tolerance (the one they
    // touch most), or else become a new region of their own colour, a hole of
    // the region they were painted with (of the root when none). Nodes are
    // then renumbered so that drawing order (parents first, a node's holes in
    // order, added regions last among their siblings) is label order again.
    // Returns the number of pixels moved, -1 when memory runs out or when
    // `going` (asked about every 2^18 pixels looked at) answers false.
    //
    // With `levels` (every pixel's alpha level, after setAlpha) a pixel is
    // also moved when its level and its label's differ by more than the
    // tolerance, or when one of them is empty and the other not; a region
    // added takes the level of its pixels.
    long long reconcile(const RGBQUAD* pixels, int tolerance, const uint8_t* levels = nullptr,
                        const std::function<bool()>& going = {});

    // Gives every node the alpha level of the pixels of its colour in
    // `pixels` (each colour of a prepared picture has one level, see
    // AlphaPicture), or else the level most of its painted pixels have.
    // False when memory runs out.
    bool setAlpha(const RGBQUAD* pixels, const uint8_t* levels);

    // The index one past the last descendant of node i: the subtree of i is
    // the labels i .. end(i) - 1.
    int subtreeEnd(int i) const;

    // The pixels node i paints, as a mask over its chain's bounding box
    // (clipped to the raster): mask[(y - y0) * w + (x - x0)] is 2 for a pixel
    // on its chain, 1 for one inside, 0 for others. Empty (w = 0) when it
    // paints nothing. False when memory runs out.
    bool paintMask(int i, std::vector<uint8_t>& mask, int& x0, int& y0, int& w, int& h) const;

private:
    std::vector<int> ends_;  // subtreeEnd of every node
    bool exact_ = false;
    void computeEnds();
    bool renumber();
};

}  // namespace om1
