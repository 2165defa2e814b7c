#include "shapes/CurveFitter.h"

#include <algorithm>
#include <cmath>

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

OutlineFitter::Settings CurveFitter::settings(int curveTolerance, int width, int height) {
    OutlineFitter::Settings s;
    s.tolerance = curveTolerance <= 0 ? 0.15 : 0.3 * curveTolerance;
    const double side = std::sqrt(static_cast<double>(std::max(width, 0)) * std::max(height, 0));
    s.tolerance *= std::max(0.5, std::min(1.0, side / 256));
    return s;
}

bool CurveFitter::fitLoop(const CrackLoop& loop, const std::vector<PointD>& samples,
                          const OutlineFitter::Settings& settings, std::vector<PointD>& out,
                          OutlineFitter::Covers* covers) {
    out.clear();
    if (loop.codes.size() >= 8 && samples.size() == loop.codes.size() &&
        OutlineFitter::fit(samples, loop.codes.data(), settings, out, covers)) {
        // A fit that turned inside out or lost most of the area is no fit.
        const double a = static_cast<double>(loop.area());
        if (std::fabs(area(out) - a) <= 0.5 * std::fabs(a)) return true;
    }
    polygonCurve(loop, out);
    return false;
}

}  // namespace om1
