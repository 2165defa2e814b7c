// ThinLines: thin lines drawn on one flat colour, made whole again before
// the colours are reduced.
//
// An anti-aliased line a pixel or two wide on a flat background has few or
// no pixels of its own colour: most of its pixels mix it with the
// background, each in its own share, so the colour stages would break it
// into specks of in-between colours and let the background take them. Here
// a pixel that is not flat (its eight neighbours not all its colour) and
// sees flat pixels of one colour B within `radius` (a square window), or of
// two colours A and B whose mixes it is not (farther than `tolerance`, the
// largest channel difference, from the straight line between them), none
// of them its own colour, belongs to a line on them: a line on one colour,
// or a rim or stroke along the edge between two. The 8-connected groups of
// such pixels on the same colours are the lines; a line's colour L is the
// colour of its pixel farthest from them (from the nearer of two). When
// every pixel of a line lies within `tolerance` of the straight line from
// one of them to L, each takes L where it holds at least half of L (the
// projection of its colour onto that line), else that colour; where two of
// its pixels of L meet only at a corner, the one of the other two pixels of
// that square that holds more of L takes L too, so the line stays one
// 4-connected region. The picture the edges are later placed from keeps its
// own colours: the shares still tell where the line's edges run.
//
// A pixel that is a mix of the two flat colours beside it is left to the
// anti-alias cleanup (the band between two regions), as is one near flat
// pixels of three colours or more, and a group whose pixels do not lie on
// such lines of colours (a detail of several colours) is left as it is. A
// picture without flat pixels (a photograph) is not changed.
#pragma once

#include <cstdint>

#include "platform/WinTypes.h"

namespace om1 {

class ThinLines {
public:
    // Changes `pixels` in place; returns the number of pixels changed, -1
    // when memory runs out (pixels unchanged). From 128 x 128 pixels on the
    // search runs by bands on up to `threads` threads (0: one per core), with
    // the same result for any number.
    static long long restore(RGBQUAD* pixels, int width, int height, int radius, int tolerance,
                             int threads = 1);
};

}  // namespace om1
