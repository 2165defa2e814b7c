// Walker: step tables of the chain code for a raster of width w: linear
// offset deltas {1, w, -1, -w} and coordinate steps, indexed by code.
#pragma once

#include "interface/Om1Export.h"

class OM1_API Walker {
public:
    int width;
    int offset[4];
    int dx[4];
    int dy[4];

    explicit Walker(int width);
    ~Walker() {}
    Walker(const Walker&) = default;
    Walker& operator=(const Walker&) = default;
};
