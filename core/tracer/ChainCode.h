// The outline records and the chain code.
//
// A chain is a start pixel and one byte per step to a 4-neighbour:
//   0 = +x, 1 = +y, 2 = -x, 3 = -y   (linear offset +1, +w, -1, -w)
// The opposite of d is (d + 2) mod 4. Chains run through the centres of a
// region's boundary pixels; every stored outline is closed and has its region
// on side (d + 3) mod 4 of every step. x is the column, y the row in memory
// order; the linear offset of (x, y) in a raster of width w is y * w + x.
// Bounding boxes are int[4]: max x, max y, min x, min y (-1 = not computed).
#pragma once

#include "tracer/AllOutLines.h"
#include "tracer/Arc_.h"
#include "tracer/BoundChain.h"
#include "tracer/ListOfOutLines.h"

namespace chaincode {

constexpr int kNotOnChain = -10;  // a pixel that is not on the chain
constexpr int kMetItself = -20;   // a walk that met itself

inline int opposite(int code) {
    return code + 2 < 4 ? code + 2 : code - 2;
}
inline int stepX(int code) {
    return code == 0 ? 1 : code == 2 ? -1 : 0;
}
inline int stepY(int code) {
    return code == 1 ? 1 : code == 3 ? -1 : 0;
}

// True when walking `len` codes from `start` ends on `start`.
inline bool isClosed(const unsigned char* codes, int len, POINT start) {
    long x = start.x, y = start.y;
    for (int i = 0; i < len; ++i) {
        x += stepX(codes[i]);
        y += stepY(codes[i]);
    }
    return x == start.x && y == start.y;
}

}  // namespace chaincode
