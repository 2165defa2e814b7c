#include "shapes/CurveJudge.h"

#include <algorithm>
#include <cmath>

namespace om1 {

void CurveJudge::flatten(const std::vector<PointD>& c, std::vector<PointD>& poly) {
    for (size_t i = 0; i + 3 < c.size(); i += 3) {
        const PointD &p0 = c[i], &p1 = c[i + 1], &p2 = c[i + 2], &p3 = c[i + 3];
        const double dd = std::max(std::hypot(p0.x - 2 * p1.x + p2.x, p0.y - 2 * p1.y + p2.y),
                                   std::hypot(p1.x - 2 * p2.x + p3.x, p1.y - 2 * p2.y + p3.y));
        const int k =
            std::min(64, std::max(1, static_cast<int>(std::ceil(std::sqrt(0.75 * dd / 0.02)))));
        for (int j = 1; j <= k; ++j) {
            const double t = static_cast<double>(j) / k, u = 1 - t;
            const double b0 = u * u * u, b1 = 3 * u * u * t, b2 = 3 * u * t * t, b3 = t * t * t;
            poly.push_back({b0 * p0.x + b1 * p1.x + b2 * p2.x + b3 * p3.x,
                            b0 * p0.y + b1 * p1.y + b2 * p2.y + b3 * p3.y});
        }
    }
}

CurveJudge::Errors CurveJudge::compare(const std::vector<PointD>& curve,
                                       const std::vector<Corner>& stair, bool closed, int32_t in,
                                       int32_t out, const EdgeSamples::Picture& pic,
                                       AreaCoverage& cov, std::vector<AreaCoverage::Cell>& cells) {
    Errors e;
    if (curve.size() < 4 || stair.empty()) return e;
    cov.clear();
    // The curve forwards, the staircase back: the region between them,
    // positive where the curve gives `in` more area.
    std::vector<PointD> poly;
    poly.push_back(curve[0]);
    flatten(curve, poly);
    for (size_t i = 1; i < poly.size(); ++i) cov.addLine(poly[i - 1], poly[i]);
    const size_t n = stair.size();
    auto corner = [&](size_t i) {
        return PointD{static_cast<double>(stair[i].x), static_cast<double>(stair[i].y)};
    };
    if (closed) {
        cov.addLine(poly.back(), poly.front());
        for (size_t i = 0; i < n; ++i) cov.addLine(corner((i + 1) % n), corner(i));
    } else {
        cov.addLine(poly.back(), corner(n - 1));
        for (size_t i = n - 1; i > 0; --i) cov.addLine(corner(i), corner(i - 1));
        cov.addLine(corner(0), poly.front());
    }
    cov.cells(cells);
    const std::vector<RGBQUAD>& colours = *pic.colours;
    auto sq = [](const RGBQUAD& p, double r, double g, double b) {
        const double dr = p.rgbRed - r, dg = p.rgbGreen - g, db = p.rgbBlue - b;
        return dr * dr + dg * dg + db * db;
    };
    const RGBQUAD ci = colours[static_cast<size_t>(in)];
    const RGBQUAD co = out >= 0 ? colours[static_cast<size_t>(out)] : ci;
    for (const AreaCoverage::Cell& c : cells) {
        if (c.x < 0 || c.y < 0 || c.x >= pic.width || c.y >= pic.height) continue;
        const double d = std::max(-1.0, std::min(1.0, c.share));
        e.area += std::fabs(d);
        const int32_t l = pic.labels[static_cast<size_t>(c.y) * pic.width + c.x];
        const RGBQUAD& p = pic.pixels[static_cast<size_t>(c.y) * pic.width + c.x];
        if (l != in && l != out) {
            // A third region: the curve mixes in whichever side it moved.
            const RGBQUAD base = l >= 0 ? colours[static_cast<size_t>(l)] : p;
            const RGBQUAD& m = d > 0 ? ci : co;
            const double a = std::fabs(d);
            e.staircase += sq(p, base.rgbRed, base.rgbGreen, base.rgbBlue);
            e.curve += sq(p, base.rgbRed + a * (m.rgbRed - base.rgbRed),
                          base.rgbGreen + a * (m.rgbGreen - base.rgbGreen),
                          base.rgbBlue + a * (m.rgbBlue - base.rgbBlue));
            continue;
        }
        // The share of `in` the pixel shows: all or nothing with the
        // staircase, moved by the area between them with the curve.
        const double s0 = l == in ? 1 : 0;
        const double s1 = std::max(0.0, std::min(1.0, s0 + d));
        auto mix = [&](double s, double& r, double& g, double& b) {
            r = s * ci.rgbRed + (1 - s) * co.rgbRed;
            g = s * ci.rgbGreen + (1 - s) * co.rgbGreen;
            b = s * ci.rgbBlue + (1 - s) * co.rgbBlue;
        };
        double r, g, b;
        mix(s0, r, g, b);
        e.staircase += sq(p, r, g, b);
        mix(s1, r, g, b);
        e.curve += sq(p, r, g, b);
    }
    return e;
}

}  // namespace om1
