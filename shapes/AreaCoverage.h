// AreaCoverage: the exact share of every pixel that closed polygons cover,
// signed by their winding (clockwise on the picture, as an outer CrackLoop,
// counts +1). Lines are added one by one; only the pixels whose share is not
// zero are listed, so a thin polygon along a long boundary costs its length,
// not its bounding box.
#pragma once

#include <climits>
#include <vector>

#include "shapes/Shape.h"

namespace om1 {

class AreaCoverage {
public:
    struct Cell {
        int x, y;
        double share;
    };

    void clear() {
        entries_.clear();
        held_ = 0;
        ylo_ = INT_MAX;
        yhi_ = INT_MIN;
    }
    // The edges added so far stay through back(), which drops those added
    // after: the edges many polygons share are added once.
    void hold() {
        held_ = entries_.size();
        heldLo_ = ylo_;
        heldHi_ = yhi_;
    }
    void back() {
        entries_.resize(held_);
        ylo_ = heldLo_;
        yhi_ = heldHi_;
    }
    // One edge of a closed polygon (or of several; their shares add up).
    void addLine(PointD a, PointD b);
    // The pixels with a share other than zero, row by row.
    void cells(std::vector<Cell>& out);

private:
    // The shares a row's pieces add to a pixel and to the next one right,
    // in fixed point (2^-40 of a pixel): summed exactly, so the shares do
    // not depend on the order the pieces came in.
    struct Entry {
        int y, x;
        long long units, next;
    };
    // A share added to one column of a row.
    struct Column {
        int x;
        long long units;
    };
    // The pixels a row's entries fall in.
    struct Row {
        int lo, hi;    // the leftmost and rightmost column
        size_t count;  // entries
        size_t start;  // where its sums (or its columns) start
        bool dense;    // summed column by column, else its columns sorted
    };
    void addPiece(int row, double x0, double y0, double x1, double y1);
    void add(int row, int column, double crossed, double right);
    std::vector<Entry> entries_;
    std::vector<Column> sorted_;
    size_t held_ = 0;
    // The rows the entries lie in (of those held).
    int ylo_ = INT_MAX, yhi_ = INT_MIN, heldLo_ = INT_MAX, heldHi_ = INT_MIN;
    std::vector<Row> rows_;
    std::vector<long long> sums_;
};

}  // namespace om1
