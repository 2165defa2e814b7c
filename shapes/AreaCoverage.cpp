#include "shapes/AreaCoverage.h"

#include <algorithm>
#include <climits>
#include <cmath>

namespace om1 {

namespace {
constexpr double kUnit = 1099511627776.0;  // 2^40
// v in units, rounded to the nearest.
long long toUnits(double v) {
    const double u = v * kUnit;
    return static_cast<long long>(u >= 0 ? u + 0.5 : u - 0.5);
}
// A row whose columns from its leftmost entry to its rightmost are at most
// this many times its entries (plus a few) is summed column by column;
// a wider one (the two sides of a closed loop) has its entries sorted.
const size_t kDenseSpan = 4;
// std::floor and std::ceil of a coordinate as a whole number (one within
// the range of int), without the rounding calls.
int floorOf(double v) {
    const int i = static_cast<int>(v);
    return i > v ? i - 1 : i;
}
int ceilOf(double v) {
    const int i = static_cast<int>(v);
    return i < v ? i + 1 : i;
}
}  // namespace

// Each piece of an edge within one pixel row adds its height, signed, to
// every pixel right of it in that row, and the part of it right of its mean
// x to the pixel it crosses; summing along the row gives the covered share.

// A piece adds to the pixel it crosses and to the next one right. Pieces
// next to one another add to the same two pixels one after the other: those
// add up in the entry already there (one of the last two, unless held:
// back() drops those added since, not what they added).
inline void AreaCoverage::add(int row, int column, double crossed, double right) {
    const long long units = toUnits(crossed), next = toUnits(right);
    const size_t n = entries_.size();
    if (n >= held_ + 1 && entries_[n - 1].x == column && entries_[n - 1].y == row) {
        entries_[n - 1].units += units;
        entries_[n - 1].next += next;
        return;
    }
    if (n >= held_ + 2 && entries_[n - 2].x == column && entries_[n - 2].y == row) {
        entries_[n - 2].units += units;
        entries_[n - 2].next += next;
        return;
    }
    entries_.push_back({row, column, units, next});
}

inline void AreaCoverage::addPiece(int row, double x0, double y0, double x1, double y1) {
    // Walked left to right, column by column; heights keep the edge's sign.
    double sign = 1;
    if (x1 < x0) {
        std::swap(x0, x1);
        std::swap(y0, y1);
        sign = -1;
    }
    const int c0 = floorOf(x0);
    // Within one column (most pieces of a flattened curve): as the walk
    // below finds it, without the slope.
    if (x1 <= c0 + 1.0 || x1 - x0 < 1e-12) {
        const double h = sign * (y1 - y0), xm = 0.5 * (x0 + x1) - c0;
        add(row, c0, h * (1 - xm), h * xm);
        return;
    }
    const double slope = (y1 - y0) / (x1 - x0);
    double xa = x0, ya = y0;
    for (int c = c0;; ++c) {
        const double xb = std::min(x1, c + 1.0);
        const double yb = xb >= x1 ? y1 : y0 + slope * (xb - x0);
        const double h = sign * (yb - ya);
        if (h != 0) {
            const double xm = 0.5 * (xa + xb) - c;
            add(row, c, h * (1 - xm), h * xm);
        }
        xa = xb;
        ya = yb;
        if (xb >= x1) break;
    }
}

void AreaCoverage::addLine(PointD a, PointD b) {
    if (a.y == b.y) return;
    const double ylo = std::min(a.y, b.y), yhi = std::max(a.y, b.y);
    const int r0 = floorOf(ylo), r1 = ceilOf(yhi) - 1;
    // Both end rows hold a piece of the edge.
    ylo_ = std::min(ylo_, r0);
    yhi_ = std::max(yhi_, r1);
    const double dxdy = (b.x - a.x) / (b.y - a.y);
    for (int r = r0; r <= r1; ++r) {
        // The part of the edge within row r, in the edge's own direction.
        double ya = std::max(ylo, static_cast<double>(r)), yb = std::min(yhi, r + 1.0);
        if (yb <= ya) continue;
        if (b.y < a.y) std::swap(ya, yb);
        addPiece(r, a.x + (ya - a.y) * dxdy, ya, a.x + (yb - a.y) * dxdy, yb);
    }
}

void AreaCoverage::cells(std::vector<Cell>& out) {
    out.clear();
    if (entries_.empty()) return;
    // Every row between the lowest and the highest holds pieces of the
    // edges crossing it: its columns, then its sums or its sorted entries.
    const int ylo = ylo_, yhi = yhi_;
    const size_t rows = static_cast<size_t>(yhi - ylo) + 1;
    rows_.assign(rows, Row{INT_MAX, INT_MIN, 0, 0, false});
    for (const Entry& e : entries_) {
        Row& r = rows_[static_cast<size_t>(e.y - ylo)];
        r.lo = std::min(r.lo, e.x);
        r.hi = std::max(r.hi, e.x + 1);
        ++r.count;
    }
    size_t dense = 0, sparse = 0;
    for (Row& r : rows_) {
        if (r.count == 0) continue;
        const size_t span = static_cast<size_t>(static_cast<long long>(r.hi) - r.lo) + 1;
        r.dense = span <= 2 * kDenseSpan * r.count + 8;
        if (r.dense) {
            r.start = dense;
            dense += span;
        } else {
            r.start = sparse;
            sparse += 2 * r.count;
        }
    }
    sums_.assign(dense, 0);
    sorted_.resize(sparse);
    for (const Entry& e : entries_) {
        Row& r = rows_[static_cast<size_t>(e.y - ylo)];
        if (r.dense) {
            long long* s = &sums_[r.start + static_cast<size_t>(e.x - r.lo)];
            s[0] += e.units;
            s[1] += e.next;
        } else {
            // start ends past the row's columns
            sorted_[r.start++] = {e.x, e.units};
            sorted_[r.start++] = {e.x + 1, e.next};
        }
    }
    for (size_t ri = 0; ri < rows; ++ri) {
        const Row& r = rows_[ri];
        if (r.count == 0) continue;
        const int y = ylo + static_cast<int>(ri);
        // Clockwise polygons run down their right side: their cover comes
        // out negative in this sum.
        long long sum = 0;
        if (r.dense) {
            const long long* s = &sums_[r.start];
            for (int x = r.lo; x <= r.hi; ++x) {
                sum += *s++;
                const double run = static_cast<double>(sum) / kUnit;
                if (std::fabs(run) > 1e-9) out.push_back({x, y, -run});
            }
            continue;
        }
        const auto to = sorted_.begin() + static_cast<std::ptrdiff_t>(r.start);
        const auto from = to - static_cast<std::ptrdiff_t>(2 * r.count);
        std::sort(from, to, [](const Column& a, const Column& b) { return a.x < b.x; });
        for (auto i = from; i != to;) {
            const int x = i->x;
            while (i != to && i->x == x) sum += (i++)->units;
            const double run = static_cast<double>(sum) / kUnit;
            const int next = i != to ? i->x : x + 1;
            if (std::fabs(run) > 1e-9)
                for (int c = x; c < next; ++c) out.push_back({c, y, -run});
        }
    }
}

}  // namespace om1
