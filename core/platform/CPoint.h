// Stand-in for the framework's point class: a POINT with constructors.
#pragma once

#include "platform/WinTypes.h"

class CPoint : public POINT {
public:
    CPoint() {
        x = 0;
        y = 0;
    }
    CPoint(int x_, int y_) {
        x = x_;
        y = y_;
    }
    CPoint(POINT p) {
        x = p.x;
        y = p.y;
    }
    bool operator==(const POINT& o) const { return x == o.x && y == o.y; }
    bool operator!=(const POINT& o) const { return !(*this == o); }
};
