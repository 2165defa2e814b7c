// PointD: a point in picture coordinates (pixel (x, y) covers
// [x, x+1] x [y, y+1]).
#pragma once

namespace om1 {

struct PointD {
    double x;
    double y;
};

}  // namespace om1
