#include "output/CurveFitter.h"

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

bool CurveFitter::fitLoop(const CrackLoop& loop, int tolerance, std::vector<PointD>& out) {
    out.clear();
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
        const double a = area(out);
        if (!out.empty() && std::fabs(a - static_cast<double>(loopArea)) <=
                                0.5 * std::fabs(static_cast<double>(loopArea)))
            return true;
    }
    try {
        polygonCurve(loop, out);
    } catch (...) {
        return false;
    }
    return true;
}

}  // namespace om1
