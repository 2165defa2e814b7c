// CrackLoop: one closed boundary on pixel edges (a crack code). Pixel (x, y)
// covers [x, x+1] x [y, y+1]; the loop starts at corner (x, y) and every code
// is one unit step between corners: 0 = +x, 1 = +y, 2 = -x, 3 = -y (the chain
// code's steps, taken between corners instead of pixel centres).
//
// The area a loop bounds lies on side (d + 1) mod 4 of every step d: outer
// boundaries run clockwise as seen on the picture (y down) and have a
// positive shoelace area, holes run the other way and have a negative one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "shapes/CrackCodes.h"

namespace om1 {

struct Corner {
    int x;
    int y;
};

struct CrackLoop {
    int x = 0, y = 0;  // start corner
    CrackCodes codes;  // closed: the steps return to the start

    // The shoelace area in square pixels, positive for outer loops.
    long long area() const;
    // The corners where the direction changes, starting with the first such
    // corner at or after the start; the exact corner polygon.
    std::vector<Corner> vertices() const;
    // vertices().size(), counted without building the list.
    size_t vertexCount() const;
    // Every corner visited, start first, start not repeated at the end.
    std::vector<Corner> corners() const;
};

}  // namespace om1
