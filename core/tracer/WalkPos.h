// WalkPos: a position on the working outline (index, -10 for not found) and
// the side at a junction (-1 at a plain pixel, 0 or 1 at a junction).
#pragma once

struct WalkPos {
    int index;
    int side;
};
