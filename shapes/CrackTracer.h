// CrackTracer: the exact boundaries of the regions of a label raster, as
// closed crack loops (CrackLoop) in picture coordinates.
//
// Every pixel edge between two different labels (and every edge on the
// raster's border) is a boundary step of the label on its inner side. At a
// corner where a label's pixels touch only diagonally the loop turns towards
// its own pixel, so regions are followed as 4-connected areas: two pixels that
// touch at a corner get two loops that meet at that corner.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "shapes/CrackLoop.h"
#include "shapes/LoopList.h"

namespace om1 {

class CrackTracer {
public:
    struct Labelled {
        int32_t label;
        CrackLoop loop;
    };

    // Loops of every label >= 0 of a width x height raster whose pixel (0, 0)
    // lies at (offsetX, offsetY) of the picture. Order: by the first top edge
    // met row by row, so a label's outer loop comes before its holes. False
    // when memory runs out.
    static bool trace(const int32_t* labels, int width, int height, int offsetX, int offsetY,
                      std::vector<Labelled>& out);

    // The one loop that starts on the top edge of pixel (x, y) round the
    // pixels whose label lies in [lo, hi): the loop `trace` gives first for
    // an area whose first pixel in row order is (x, y). Empty when that edge
    // is no boundary of the area. False when memory runs out. `scratch`, when
    // given, holds the steps while they are followed, so that a caller tracing
    // many loops allocates each loop's steps once, at their final size.
    static bool traceRange(const int32_t* labels, int width, int height, int32_t lo, int32_t hi,
                           int x, int y, CrackLoop& out, std::vector<uint8_t>* scratch = nullptr);

    // Working memory that a caller tracing many masks passes to every call,
    // so that it is allocated once.
    struct Scratch {
        std::vector<uint8_t> used, steps;
    };

    // Loops of the pixels whose mask byte is non-zero, appended to `out`.
    // `going` (may be empty) is asked every 256 rows; false when it answers
    // false or memory runs out.
    static bool traceMask(const uint8_t* mask, int width, int height, int offsetX, int offsetY,
                          LoopList& out, const std::function<bool()>& going = {},
                          Scratch* scratch = nullptr);
};

}  // namespace om1
