#include "writers/Polylines.h"

#include <algorithm>
#include <cmath>

namespace om1 {

namespace {

const int kDx[4] = {1, 0, -1, 0};
const int kDy[4] = {0, 1, 0, -1};

// Even-odd test of a point against a corner polygon; the point is a pixel
// centre, never on an edge.
bool inside(const std::vector<Corner>& v, double px, double py) {
    bool in = false;
    for (size_t i = 0, j = v.size() - 1; i < v.size(); j = i++) {
        const Corner &a = v[i], &b = v[j];
        if ((a.y > py) != (b.y > py) && px < a.x + (b.x - a.x) * (py - a.y) / (b.y - a.y)) in = !in;
    }
    return in;
}

}  // namespace

void Polylines::loop(const Shape& shape, size_t k, std::vector<PointD>& out) {
    out.clear();
    if (k < shape.curves.size() && shape.curves[k].size() >= 4) {
        const std::vector<PointD>& c = shape.curves[k];
        out.push_back(c[0]);
        for (size_t i = 0; i + 3 < c.size(); i += 3) {
            const PointD &p0 = c[i], &p1 = c[i + 1], &p2 = c[i + 2], &p3 = c[i + 3];
            // Uniform steps: the distance to the curve is at most
            // 3/4 * max |second difference| / n^2.
            const double d = std::max(std::hypot(p0.x - 2 * p1.x + p2.x, p0.y - 2 * p1.y + p2.y),
                                      std::hypot(p1.x - 2 * p2.x + p3.x, p1.y - 2 * p2.y + p3.y));
            const int n =
                d < 1e-9
                    ? 1
                    : std::min(64, static_cast<int>(std::ceil(std::sqrt(0.75 * d / kFlatness))));
            for (int s = 1; s <= n; ++s) {
                const double t = static_cast<double>(s) / n, u = 1 - t;
                const double b0 = u * u * u, b1 = 3 * u * u * t, b2 = 3 * u * t * t, b3 = t * t * t;
                out.push_back({b0 * p0.x + b1 * p1.x + b2 * p2.x + b3 * p3.x,
                               b0 * p0.y + b1 * p1.y + b2 * p2.y + b3 * p3.y});
            }
        }
        // Rounded as the writers round, without repeated points.
        size_t n = 0;
        for (const PointD& p : out) {
            const PointD r{std::round(p.x * 100) / 100, std::round(p.y * 100) / 100};
            if (n == 0 || r.x != out[n - 1].x || r.y != out[n - 1].y) out[n++] = r;
        }
        while (n > 1 && out[n - 1].x == out[0].x && out[n - 1].y == out[0].y) --n;
        out.resize(n);
        return;
    }
    if (k >= shape.loops.size()) return;
    for (const Corner& c : shape.loops[k].vertices())
        out.push_back({static_cast<double>(c.x), static_cast<double>(c.y)});
}

std::vector<int> Polylines::holesOf(const Shape& shape) {
    const size_t n = shape.loops.size();
    std::vector<int> owner(n, -1);
    std::vector<size_t> outers;
    std::vector<long long> areas(n);
    for (size_t k = 0; k < n; ++k) {
        areas[k] = shape.loops[k].area();
        if (areas[k] > 0) outers.push_back(k);
    }
    if (outers.empty()) return owner;
    std::vector<std::vector<Corner>> outerVerts;
    if (outers.size() > 1)
        for (size_t o : outers) outerVerts.push_back(shape.loops[o].vertices());
    for (size_t k = 0; k < n; ++k) {
        if (areas[k] > 0 || shape.loops[k].codes.empty()) continue;
        if (outers.size() == 1) {
            owner[k] = static_cast<int>(outers[0]);
            continue;
        }
        // The shape lies on side (d + 1) mod 4 of every step, so the pixel on
        // the other side of the first step lies inside the hole.
        const CrackLoop& l = shape.loops[k];
        const int d = l.codes[0], side = (d + 3) % 4;
        const double px = l.x + kDx[d] * 0.5 + kDx[side] * 0.5;
        const double py = l.y + kDy[d] * 0.5 + kDy[side] * 0.5;
        long long best = 0;
        for (size_t i = 0; i < outers.size(); ++i) {
            const long long a = areas[outers[i]];
            if ((owner[k] < 0 || a < best) && inside(outerVerts[i], px, py)) {
                owner[k] = static_cast<int>(outers[i]);
                best = a;
            }
        }
    }
    return owner;
}

}  // namespace om1
