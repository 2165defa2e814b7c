#include "containment/GeneralFuncs.h"

#include "containment/Walker.h"

void GeneralFuncs::cnvPosToPoint(POINT& p, const int& pos, int width) {
    if (width < 1) {
        p.x = p.y = 0;
        return;
    }
    p.x = pos % width;
    p.y = pos / width;
}

void GeneralFuncs::set4Bounds(int* bounds, int pos, unsigned char* codes, int len, int width) {
    if (!bounds) return;
    POINT p;
    cnvPosToPoint(p, pos, width);
    Walker w(width);
    int maxX = p.x, maxY = p.y, minX = p.x, minY = p.y;
    for (int i = 0; codes && i < len; ++i) {
        int c = codes[i] & 3;
        p.x += w.dx[c];
        p.y += w.dy[c];
        if (p.x > maxX) maxX = p.x;
        if (p.y > maxY) maxY = p.y;
        if (p.x < minX) minX = p.x;
        if (p.y < minY) minY = p.y;
    }
    bounds[0] = maxX;
    bounds[1] = maxY;
    bounds[2] = minX;
    bounds[3] = minY;
}

bool GeneralFuncs::isLeftInRight(int* left, int* right) {
    if (!left || !right) return false;
    return right[0] >= left[0] && right[1] >= left[1] && right[2] <= left[2] && right[3] <= left[3];
}
