#include "shapes/CurveFitter.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "curves/CurveConverter.h"

namespace om1 {

void CurveFitter::polygonCurve(const CrackLoop& loop, std::vector<PointD>& out) {
    out.clear();
    const std::vector<Corner> v = loop.vertices();
    if (v.empty()) return;
    out.reserve(3 * v.size() + 1);
    out.push_back({static_cast<double>(v[0].x), static_cast<double>(v[0].y)});
    for (size_t i = 0; i < v.size(); ++i) {
        const Corner& a = v[i];
        const Corner& b = v[(i + 1) % v.size()];
        out.push_back({a.x + (b.x - a.x) / 3.0, a.y + (b.y - a.y) / 3.0});
        out.push_back({a.x + 2.0 * (b.x - a.x) / 3.0, a.y + 2.0 * (b.y - a.y) / 3.0});
        out.push_back({static_cast<double>(b.x), static_cast<double>(b.y)});
    }
}

double CurveFitter::area(const std::vector<PointD>& c) {
    // Shoelace over the curve flattened into 16 chords a segment.
    double a = 0;
    PointD prev = c.empty() ? PointD{0, 0} : c[0];
    for (size_t i = 0; i + 3 < c.size(); i += 3) {
        for (int k = 1; k <= 16; ++k) {
            const double t = k / 16.0, u = 1 - t;
            const double b0 = u * u * u, b1 = 3 * u * u * t, b2 = 3 * u * t * t, b3 = t * t * t;
            const PointD p = {b0 * c[i].x + b1 * c[i + 1].x + b2 * c[i + 2].x + b3 * c[i + 3].x,
                              b0 * c[i].y + b1 * c[i + 1].y + b2 * c[i + 2].y + b3 * c[i + 3].y};
            a += prev.x * p.y - p.x * prev.y;
            prev = p;
        }
    }
    return a / 2;
}

namespace {

const int kSub = 4;  // samples per pixel and axis when comparing areas

// Crossings of the horizontal sample lines (y + (j + 0.5) / kSub) with a
// closed polyline, per sample row from row y0 on.
// A crossing of an outline with a sample row: the row, where, and which
// outline (0 the exact one, 1 the fitted one).
struct Crossing {
    int row;
    double x;
    int which;
    bool operator<(const Crossing& o) const {
        return row != o.row ? row < o.row : x != o.x ? x < o.x : which < o.which;
    }
};

// Appends where the polygon's edges cross the sample rows (kSub per pixel
// row from y0, `rows` pixel rows).
void crossings(const std::vector<PointD>& poly, int y0, int rows, int which,
               std::vector<Crossing>& out) {
    for (size_t i = 0; i < poly.size(); ++i) {
        const PointD a = poly[i], b = poly[(i + 1) % poly.size()];
        const double lo = std::min(a.y, b.y), hi = std::max(a.y, b.y);
        int r = std::max(0, static_cast<int>(std::ceil((lo - y0) * kSub - 0.5)));
        for (; r < rows * kSub; ++r) {
            const double cy = y0 + (r + 0.5) / kSub;
            if (cy >= hi) break;
            if (cy < lo) continue;
            out.push_back({r, a.x + (b.x - a.x) * (cy - a.y) / (b.y - a.y), which});
        }
    }
}

}  // namespace

double CurveFitter::areaError(const CrackLoop& loop, const std::vector<PointD>& curve) {
    std::vector<PointD> exact, fitted;
    for (const Corner& c : loop.vertices())
        exact.push_back({static_cast<double>(c.x), static_cast<double>(c.y)});
    if (exact.empty() || curve.size() < 4) return 0;
    fitted.push_back(curve[0]);
    double minY = 1e300, maxY = -1e300;
    for (size_t i = 0; i + 3 < curve.size(); i += 3)
        for (int k = 1; k <= 16; ++k) {
            const double t = k / 16.0, u = 1 - t;
            const double b0 = u * u * u, b1 = 3 * u * u * t, b2 = 3 * u * t * t, b3 = t * t * t;
            fitted.push_back(
                {b0 * curve[i].x + b1 * curve[i + 1].x + b2 * curve[i + 2].x + b3 * curve[i + 3].x,
                 b0 * curve[i].y + b1 * curve[i + 1].y + b2 * curve[i + 2].y +
                     b3 * curve[i + 3].y});
        }
    for (const PointD& p : exact) minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
    for (const PointD& p : fitted) minY = std::min(minY, p.y), maxY = std::max(maxY, p.y);
    const int y0 = static_cast<int>(std::floor(minY)) - 1;
    const int rows = static_cast<int>(std::ceil(maxY)) + 1 - y0;
    // Both outlines' crossings, row by row in order along the row (one sort
    // instead of a list per row).
    std::vector<Crossing> ev;
    crossings(exact, y0, rows, 0, ev);
    crossings(fitted, y0, rows, 1, ev);
    std::sort(ev.begin(), ev.end());
    // Samples inside one outline and not the other (even-odd rule on both).
    long long wrong = 0;
    const Crossing* const last = ev.data() + ev.size();
    for (const Crossing* start = ev.data(); start != last;) {
        const Crossing* end = start;
        while (end != last && end->row == start->row) ++end;
        bool in[2] = {false, false};
        for (const Crossing* a = start; a + 1 < end; ++a) {
            in[a->which] = !in[a->which];
            if (in[0] != in[1]) {
                const double lo = std::ceil(a->x * kSub - 0.5);
                const double hi = std::ceil(a[1].x * kSub - 0.5);
                if (hi > lo) wrong += static_cast<long long>(hi - lo);
            }
        }
        start = end;
    }
    return static_cast<double>(wrong) / (kSub * kSub);
}

bool CurveFitter::fitLoop(const CrackLoop& loop, int tolerance, std::vector<PointD>& out,
                          bool* fitted, double maxAreaErrorPerStep) {
    out.clear();
    if (fitted) *fitted = false;
    const long long loopArea = loop.area();
    if (loop.codes.size() >= 8) {
        CurveConverter* cv = new (std::nothrow) CurveConverter(static_cast<double>(tolerance));
        if (!cv) return false;
        std::vector<unsigned char> codes(loop.codes.begin(), loop.codes.end());
        POINT start = {loop.x, loop.y};
        bool ok = cv->getCurveData(codes.data(), static_cast<int>(codes.size()), start);
        if (ok) {
            cv->dropSmartMedian();
            cv->editStraightLines();
        }
        const int n = ok ? cv->getSegmentCount() : 0;
        const BezierSegment* s = cv->getSegments();
        if (n > 0 && s) {
            // The converter places corner (x, y) at (x + 1, y + 1).
            try {
                out.reserve(3 * static_cast<size_t>(n) + 1);
                out.push_back({s[0].p0.x - 1.0, s[0].p0.y - 1.0});
                for (int k = 0; k < n; ++k) {
                    out.push_back({s[k].p1.x - 1.0, s[k].p1.y - 1.0});
                    out.push_back({s[k].p2.x - 1.0, s[k].p2.y - 1.0});
                    out.push_back({s[k].p3.x - 1.0, s[k].p3.y - 1.0});
                }
            } catch (...) {
                delete cv;
                return false;
            }
        }
        delete cv;
        // A fit that moves too much area across the exact boundary changes
        // the picture visibly; the exact polygon is kept instead.
        if (!out.empty() &&
            std::fabs(area(out) - static_cast<double>(loopArea)) <=
                0.5 * std::fabs(static_cast<double>(loopArea)) &&
            (maxAreaErrorPerStep < 0 ||
             areaError(loop, out) <=
                 maxAreaErrorPerStep * static_cast<double>(loop.codes.size()))) {
            if (fitted) *fitted = true;
            return true;
        }
    }
    try {
        polygonCurve(loop, out);
    } catch (...) {
        return false;
    }
    return true;
}

}  // namespace om1
