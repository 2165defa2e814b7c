// ThinLines: thin lines drawn on one flat colour, made whole again before
// the colours are reduced.
//
// An anti-aliased line a pixel or two wide on a flat background has few or
// no pixels of its own colour: most of its pixels mix it with the
// background, each in its own share, so the colour stages would break it
// into specks of in-between colours and let the background take them. Here
// a pixel that is not flat (its eight neighbours not all its colour) and
// sees flat pixels of exactly one colour B within `radius` (a square
// window), B not its own colour, belongs to a line on B. The 8-connected
// groups of such pixels on one B are the lines; a line's colour L is the
// colour of its pixel farthest from B. When every pixel of a line lies
// within `tolerance` (the largest channel difference) of the straight line
// from B to L, each takes L where it holds at least half of L (the
// projection of its colour onto B..L), else B; where two of its pixels of L
// meet only at a corner, the one of the other two pixels of that square
// that holds more of L takes L too, so the line stays one 4-connected
// region. The picture the edges are later placed from keeps its own
// colours: the shares still tell where the line's edges run.
//
// Pixels near flat pixels of two colours are left to the anti-alias
// cleanup (the band between two regions), and a group whose pixels do not
// lie on one line of colours (a detail of several colours) is left as it
// is. A picture without flat pixels (a photograph) is not changed.
#pragma once

#include <cstdint>

#include "platform/WinTypes.h"

namespace om1 {

class ThinLines {
public:
    // Changes `pixels` in place; returns the number of pixels changed, -1
    // when memory runs out (pixels unchanged).
    static long long restore(RGBQUAD* pixels, int width, int height, int radius, int tolerance);
};

}  // namespace om1
