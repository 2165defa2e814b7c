#include "shapes/AreaCoverage.h"

#include <algorithm>
#include <cmath>

namespace om1 {

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
    std::sort(entries_.begin(), entries_.end());
    size_t i = 0;
    while (i < entries_.size()) {
        const int y = entries_[i].y;
        double run = 0;
        while (i < entries_.size() && entries_[i].y == y) {
            const int x = entries_[i].x;
            while (i < entries_.size() && entries_[i].y == y && entries_[i].x == x)
                run += entries_[i++].v;
            const int next = i < entries_.size() && entries_[i].y == y ? entries_[i].x : x + 1;
            // Clockwise polygons run down their right side: their cover
            // comes out negative in this sum.
            if (std::fabs(run) > 1e-9)
                for (int c = x; c < next; ++c) out.push_back({c, y, -run});
        }
    }
}

}  // namespace om1
