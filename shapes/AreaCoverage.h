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
    // A share added to one pixel, in fixed point (2^-40 of a pixel): summed
    // exactly, so the shares do not depend on the order the pieces came in.
    struct Entry {
        int y, x;
        long long units;
    };
    // The pixels a row's entries fall in.
    struct Row {
        int lo, hi;    // the leftmost and rightmost column
        size_t count;  // entries
        size_t start;  // where its sums (or its entries) start
        bool dense;    // summed column by column, else its entries sorted
    };
    void addPiece(int row, double x0, double y0, double x1, double y1);
    void add(int row, int column, double v);
    std::vector<Entry> entries_, sorted_;
    std::vector<Row> rows_;
    std::vector<long long> sums_;
};

}  // namespace om1
