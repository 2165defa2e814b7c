// AreaCoverage: the exact share of every pixel that closed polygons cover,
// signed by their winding (clockwise on the picture, as an outer CrackLoop,
// counts +1). Lines are added one by one; only the pixels whose share is not
// zero are listed, so a thin polygon along a long boundary costs its length,
// not its bounding box.
#pragma once

#include <vector>

#include "shapes/Shape.h"

namespace om1 {

class AreaCoverage {
public:
    struct Cell {
        int x, y;
        double share;
    };

    void clear() { entries_.clear(); }
    // One edge of a closed polygon (or of several; their shares add up).
    void addLine(PointD a, PointD b);
    // The pixels with a share other than zero, row by row.
    void cells(std::vector<Cell>& out);

private:
    struct Entry {
        int y, x;
        double v;
        bool operator<(const Entry& o) const { return y != o.y ? y < o.y : x < o.x; }
    };
    void addPiece(int row, double x0, double y0, double x1, double y1);
    std::vector<Entry> entries_, sorted_;
    std::vector<size_t> rowStart_, rowFill_;
};

}  // namespace om1
