#include "shapes/AreaCoverage.h"

#include <algorithm>
#include <cmath>

namespace om1 {

namespace {
constexpr double kUnit = 1099511627776.0;  // 2^40
// v in units, rounded to the nearest.
long long toUnits(double v) {
    const double u = v * kUnit;
    return static_cast<long long>(u >= 0 ? u + 0.5 : u - 0.5);
}
}  // namespace

// Each piece of an edge within one pixel row adds its height, signed, to
// every pixel right of it in that row, and the part of it right of its mean
// x to the pixel it crosses; summing along the row gives the covered share.

void AreaCoverage::addPiece(int row, double x0, double y0, double x1, double y1) {
    // Walked left to right, column by column; heights keep the edge's sign.
    double sign = 1;
    if (x1 < x0) {
        std::swap(x0, x1);
        std::swap(y0, y1);
        sign = -1;
    }
    const int c0 = static_cast<int>(std::floor(x0));
    if (x1 - x0 < 1e-12) {
        const double h = sign * (y1 - y0), xm = 0.5 * (x0 + x1) - c0;
        entries_.push_back({row, c0, h * (1 - xm)});
        entries_.push_back({row, c0 + 1, h * xm});
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
            entries_.push_back({row, c, h * (1 - xm)});
            entries_.push_back({row, c + 1, h * xm});
        }
        xa = xb;
        ya = yb;
        if (xb >= x1) break;
    }
}

void AreaCoverage::addLine(PointD a, PointD b) {
    if (a.y == b.y) return;
    const double ylo = std::min(a.y, b.y), yhi = std::max(a.y, b.y);
    const int r0 = static_cast<int>(std::floor(ylo)), r1 = static_cast<int>(std::ceil(yhi)) - 1;
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
    // Bucketed by row (every row between the lowest and the highest holds
    // pieces of the edges crossing it), then each row sorted by column.
    int ylo = entries_[0].y, yhi = ylo;
    for (const Entry& e : entries_) {
        ylo = std::min(ylo, e.y);
        yhi = std::max(yhi, e.y);
    }
    const size_t rows = static_cast<size_t>(yhi - ylo) + 1;
    rowStart_.assign(rows + 1, 0);
    for (const Entry& e : entries_) ++rowStart_[static_cast<size_t>(e.y - ylo) + 1];
    for (size_t r = 0; r < rows; ++r) rowStart_[r + 1] += rowStart_[r];
    sorted_.resize(entries_.size());
    {
        std::vector<size_t>& next = rowFill_;
        next.assign(rowStart_.begin(), rowStart_.end() - 1);
        for (const Entry& e : entries_) sorted_[next[static_cast<size_t>(e.y - ylo)]++] = e;
    }
    for (size_t r = 0; r < rows; ++r) {
        const auto from = sorted_.begin() + static_cast<std::ptrdiff_t>(rowStart_[r]);
        const auto to = sorted_.begin() + static_cast<std::ptrdiff_t>(rowStart_[r + 1]);
        if (to - from <= 24) {
            for (auto i = from + 1; i < to; ++i)
                for (auto j = i; j != from && j->x < (j - 1)->x; --j) std::iter_swap(j, j - 1);
        } else {
            std::sort(from, to, [](const Entry& a, const Entry& b) { return a.x < b.x; });
        }
        const int y = ylo + static_cast<int>(r);
        // Summed in fixed point (2^-40 of a pixel), exactly, so the shares
        // do not depend on the order the pieces came in.
        long long sum = 0;
        for (auto i = from; i != to;) {
            const int x = i->x;
            while (i != to && i->x == x) sum += toUnits((i++)->v);
            const double run = static_cast<double>(sum) / kUnit;
            const int next = i != to ? i->x : x + 1;
            // Clockwise polygons run down their right side: their cover
            // comes out negative in this sum.
            if (std::fabs(run) > 1e-9)
                for (int c = x; c < next; ++c) out.push_back({c, y, -run});
        }
    }
}

}  // namespace om1
