// GeneralFuncs: bounding boxes and positions of chains.
#pragma once

#include "interface/Om1Export.h"
#include "platform/WinTypes.h"

class OM1_API GeneralFuncs {
public:
    // p = (pos mod width, pos / width). A width below 1 gives (0, 0).
    static void cnvPosToPoint(POINT& p, const int& pos, int width);
    // Bounding box (max x, max y, min x, min y) of the pixels of the chain
    // that starts at pos. A null chain or len 0 gives the start pixel's box.
    static void set4Bounds(int* bounds, int pos, unsigned char* codes, int len, int width);
    // True when the box `right` contains the box `left` (equal boxes too).
    static bool isLeftInRight(int* left, int* right);
};
