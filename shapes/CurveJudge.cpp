#include "shapes/CurveJudge.h"

#include <algorithm>
#include <cmath>

namespace om1 {

namespace {

// Every point of the curve flattened to within 0.02 px (the start point not
// repeated), in order, to `visit`.
template <typename Visit>
void flattened(const std::vector<PointD>& c, Visit&& visit) {
    for (size_t i = 0; i + 3 < c.size(); i += 3) {
        const PointD &p0 = c[i], &p1 = c[i + 1], &p2 = c[i + 2], &p3 = c[i + 3];
        const double dd =
            std::max(std::fabs(p0.x - 2 * p1.x + p2.x) + std::fabs(p0.y - 2 * p1.y + p2.y),
                     std::fabs(p1.x - 2 * p2.x + p3.x) + std::fabs(p1.y - 2 * p2.y + p3.y));
        const int k =
            std::min(64, std::max(1, static_cast<int>(std::ceil(std::sqrt(0.75 * dd / 0.02)))));
        for (int j = 1; j <= k; ++j) {
            const double t = static_cast<double>(j) / k, u = 1 - t;
            const double b0 = u * u * u, b1 = 3 * u * u * t, b2 = 3 * u * t * t, b3 = t * t * t;
            visit(PointD{b0 * p0.x + b1 * p1.x + b2 * p2.x + b3 * p3.x,
                         b0 * p0.y + b1 * p1.y + b2 * p2.y + b3 * p3.y});
        }
    }
}

}  // namespace

void CurveJudge::flatten(const std::vector<PointD>& c, std::vector<PointD>& poly) {
    flattened(c, [&](PointD p) { poly.push_back(p); });
}

CurveJudge::Errors CurveJudge::compare(const std::vector<PointD>& curve,
                                       const std::vector<Corner>& stair, bool closed, int32_t in,
                                       int32_t out, const EdgeSamples::Picture& pic,
                                       AreaCoverage& cov, std::vector<AreaCoverage::Cell>& cells) {
    cover(curve, stair, closed, cov, cells);
    return errors(cells, in, out, pic);
}

namespace {

PointD cornerAt(const std::vector<Corner>& stair, size_t i) {
    return PointD{static_cast<double>(stair[i].x), static_cast<double>(stair[i].y)};
}

}  // namespace

void CurveJudge::coverStair(const std::vector<Corner>& stair, bool closed, AreaCoverage& cov) {
    cov.clear();
    // The staircase back, against the curve forwards (cover()).
    const size_t n = stair.size();
    if (closed) {
        for (size_t i = 0; i < n; ++i)
            cov.addLine(cornerAt(stair, (i + 1) % n), cornerAt(stair, i));
    } else {
        for (size_t i = n; i > 1; --i) cov.addLine(cornerAt(stair, i - 1), cornerAt(stair, i - 2));
    }
    cov.hold();
}

void CurveJudge::cover(const std::vector<PointD>& curve, const std::vector<Corner>& stair,
                       bool closed, AreaCoverage& cov, std::vector<AreaCoverage::Cell>& cells,
                       bool held) {
    cells.clear();
    if (curve.size() < 4 || stair.empty()) return;
    // The curve forwards, the staircase back: the region between them,
    // positive where the curve gives `in` more area. The shares are summed
    // exactly, so the order the edges come in does not count.
    if (held)
        cov.back();
    else
        coverStair(stair, closed, cov);
    PointD last = curve[0];
    flattened(curve, [&](PointD p) {
        cov.addLine(last, p);
        last = p;
    });
    const size_t n = stair.size();
    if (closed) {
        cov.addLine(last, curve[0]);
    } else {
        cov.addLine(last, cornerAt(stair, n - 1));
        cov.addLine(cornerAt(stair, 0), curve[0]);
    }
    cov.cells(cells);
}

CurveJudge::Errors CurveJudge::errors(const std::vector<AreaCoverage::Cell>& cells, int32_t in,
                                      int32_t out, const EdgeSamples::Picture& pic, Errors* alone) {
    Errors e;
    if (alone) *alone = e;
    if (cells.empty()) return e;
    const std::vector<RGBQUAD>& colours = *pic.colours;
    auto sq = [](const RGBQUAD& p, double r, double g, double b) {
        const double dr = p.rgbRed - r, dg = p.rgbGreen - g, db = p.rgbBlue - b;
        return dr * dr + dg * dg + db * db;
    };
    const RGBQUAD ci = colours[static_cast<size_t>(in)];
    const RGBQUAD co = out >= 0 ? colours[static_cast<size_t>(out)] : ci;
    // Stacked siblings: the one drawn later covers its share s of a pixel on
    // the one drawn earlier, which covers 1 - s of it on what lies under
    // both (the nearest drawn region around both).
    const RGBQUAD* under = nullptr;
    if (pic.parents && pic.drawn && out >= 0) {
        const std::vector<int>& par = *pic.parents;
        auto ancestorOf = [&](int a, int b) {
            for (int k = par[static_cast<size_t>(b)]; k >= 0; k = par[static_cast<size_t>(k)])
                if (k == a) return true;
            return false;
        };
        if (!ancestorOf(in, out) && !ancestorOf(out, in) && in != pic.base && out != pic.base) {
            int k = par[static_cast<size_t>(in)];
            while (k >= 0 && !ancestorOf(k, out)) k = par[static_cast<size_t>(k)];
            while (k >= 0 && !(*pic.drawn)[static_cast<size_t>(k)]) k = par[static_cast<size_t>(k)];
            if (k < 0) k = pic.base;
            if (k >= 0) under = &colours[static_cast<size_t>(k)];
        }
    }
    const bool inLater = in > out;
    const RGBQUAD &top = inLater ? ci : co, &low = inLater ? co : ci;
    // The colour a pixel showing the share s of `in` takes: the two
    // regions mixed, or the later one over the earlier one over what lies
    // under both.
    auto mix = [&](double s, double& r, double& g, double& b) {
        r = s * ci.rgbRed + (1 - s) * co.rgbRed;
        g = s * ci.rgbGreen + (1 - s) * co.rgbGreen;
        b = s * ci.rgbBlue + (1 - s) * co.rgbBlue;
    };
    auto mixUnder = [&](double s, double& r, double& g, double& b) {
        const double t = inLater ? s : 1 - s, l = 1 - t;
        auto one = [&](double ct, double cl, double cu) {
            return t * ct + (1 - t) * (l * cl + (1 - l) * cu);
        };
        r = one(top.rgbRed, low.rgbRed, under->rgbRed);
        g = one(top.rgbGreen, low.rgbGreen, under->rgbGreen);
        b = one(top.rgbBlue, low.rgbBlue, under->rgbBlue);
    };
    // Without a region under both, the two judgements are one.
    const bool both = alone && under;
    double aloneCurve = 0;
    for (const AreaCoverage::Cell& c : cells) {
        if (c.x < 0 || c.y < 0 || c.x >= pic.width || c.y >= pic.height) continue;
        const double d = std::max(-1.0, std::min(1.0, c.share));
        e.area += std::fabs(d);
        const size_t at = static_cast<size_t>(c.y) * pic.width + c.x;
        const int32_t l = pic.labels[at];
        const RGBQUAD& p = pic.pixels[at];
        if (l != in && l != out) {
            // A third region: the curve mixes in whichever side it moved.
            const RGBQUAD base = l >= 0 ? colours[static_cast<size_t>(l)] : p;
            const RGBQUAD& m = d > 0 ? ci : co;
            const double a = std::fabs(d);
            e.staircase += sq(p, base.rgbRed, base.rgbGreen, base.rgbBlue);
            const double curve = sq(p, base.rgbRed + a * (m.rgbRed - base.rgbRed),
                                    base.rgbGreen + a * (m.rgbGreen - base.rgbGreen),
                                    base.rgbBlue + a * (m.rgbBlue - base.rgbBlue));
            e.curve += curve;
            aloneCurve += curve;
            continue;
        }
        // The share of `in` the pixel shows: all or nothing with the
        // staircase (the pixel's own region's colour, either way), moved by
        // the area between them with the curve.
        const RGBQUAD& own = l == in ? ci : co;
        e.staircase += sq(p, own.rgbRed, own.rgbGreen, own.rgbBlue);
        const double s0 = l == in ? 1 : 0;
        const double s1 = std::max(0.0, std::min(1.0, s0 + d));
        double r, g, b;
        if (!under) {
            mix(s1, r, g, b);
            e.curve += sq(p, r, g, b);
            continue;
        }
        mixUnder(s1, r, g, b);
        e.curve += sq(p, r, g, b);
        if (both) {
            mix(s1, r, g, b);
            aloneCurve += sq(p, r, g, b);
        }
    }
    if (alone) {
        *alone = e;
        if (both) alone->curve = aloneCurve;
    }
    return e;
}

}  // namespace om1
