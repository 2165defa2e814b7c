#include "shapes/EdgeSamples.h"

#include <algorithm>
#include <cmath>

namespace om1 {

namespace {

const int kDx[4] = {1, 0, -1, 0};
const int kDy[4] = {0, 1, 0, -1};
// From the corner a step leaves to the pixel outside it.
const int kOutX[4] = {0, 0, -1, -1}, kOutY[4] = {-1, 0, 0, -1};
const int kReach = 3;              // pixels counted on each side
const double kMinContrast = 24.0;  // colour distance below which nothing is told
const double kDeadZone = 0.04;     // shares this close to 0 or 1 count as 0 or 1
const double kPlateau = 0.06;      // two shares this close are one level
const double kMinSpan = 0.3;       // levels closer than this tell nothing
const double kMinSine = 0.3;       // three colours nearer one line tell nothing

}  // namespace

namespace {

// The line between two colours `in` and `out`, for the shares of many pixels
// between them.
struct ColourLine {
    RGBQUAD out;
    double dr, dg, db, dd;
    ColourLine(const RGBQUAD& in, const RGBQUAD& o)
        : out(o),
          dr(in.rgbRed - o.rgbRed),
          dg(in.rgbGreen - o.rgbGreen),
          db(in.rgbBlue - o.rgbBlue),
          dd(dr * dr + dg * dg + db * db) {}
    // Whether the colours lie far enough apart to tell shares.
    bool apart() const { return dd >= kMinContrast * kMinContrast; }
    // The share of `in` in `p` (the line apart()).
    double share(const RGBQUAD& p) const {
        const double a = ((p.rgbRed - out.rgbRed) * dr + (p.rgbGreen - out.rgbGreen) * dg +
                          (p.rgbBlue - out.rgbBlue) * db) /
                         dd;
        if (a <= kDeadZone) return 0;
        if (a >= 1 - kDeadZone) return 1;
        return a;
    }
};

}  // namespace

double EdgeSamples::share(const RGBQUAD& p, const RGBQUAD& in, const RGBQUAD& out) {
    const ColourLine line(in, out);
    return line.apart() ? line.share(p) : -1;
}

namespace {

// The share of colour `a` in a pixel of colour `p` made of `a`, `b` and
// `c` (least squares, shares summing to one, each within 0..1); false when
// the three colours lie too near one line to tell.
bool shares3(const RGBQUAD& p, const RGBQUAD& a, const RGBQUAD& b, const RGBQUAD& c,
             double& share) {
    const double u[3] = {double(a.rgbRed) - c.rgbRed, double(a.rgbGreen) - c.rgbGreen,
                         double(a.rgbBlue) - c.rgbBlue};
    const double v[3] = {double(b.rgbRed) - c.rgbRed, double(b.rgbGreen) - c.rgbGreen,
                         double(b.rgbBlue) - c.rgbBlue};
    const double q[3] = {double(p.rgbRed) - c.rgbRed, double(p.rgbGreen) - c.rgbGreen,
                         double(p.rgbBlue) - c.rgbBlue};
    const double uu = u[0] * u[0] + u[1] * u[1] + u[2] * u[2];
    const double vv = v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
    const double uv = u[0] * v[0] + u[1] * v[1] + u[2] * v[2];
    const double uq = u[0] * q[0] + u[1] * q[1] + u[2] * q[2];
    const double vq = v[0] * q[0] + v[1] * q[1] + v[2] * q[2];
    const double det = uu * vv - uv * uv;
    const double minC = kMinContrast * kMinContrast;
    if (uu < minC || vv < minC || det < kMinSine * kMinSine * uu * vv) return false;
    double sa = (uq * vv - vq * uv) / det, sb = (vq * uu - uq * uv) / det;
    sa = std::max(0.0, std::min(1.0, sa));
    sb = std::max(0.0, std::min(1.0, sb));
    if (sa + sb > 1) {
        const double k = sa + sb;
        sa /= k;
        sb /= k;
    }
    if (sa <= kDeadZone) sa = 0;
    if (sa >= 1 - kDeadZone) sa = 1;
    share = sa;
    return true;
}

}  // namespace

void EdgeSamples::sample(const CrackLoop& loop, const Picture& pic, std::vector<PointD>& out) {
    sample(loop, pic, 0, loop.codes.size(), Corner{loop.x, loop.y}, out);
}

void EdgeSamples::sample(const CrackLoop& loop, const Picture& pic, size_t first, size_t count,
                         Corner at, std::vector<PointD>& out) {
    out.clear();
    out.reserve(count);
    const size_t n = loop.codes.size();
    int cx = at.x, cy = at.y;
    for (size_t k = 0, i = first; k < count && n > 0; ++k, i = i + 1 == n ? 0 : i + 1) {
        const uint8_t d = loop.codes[i];
        const PointD mid = {cx + 0.5 * kDx[d], cy + 0.5 * kDy[d]};
        // Outward normal: the side away from the region; the pixel on that
        // side of the step, and the one inside.
        const int o = (d + 3) & 3;
        const int nx = kDx[o], ny = kDy[o];
        const int ox = cx + kOutX[d], oy = cy + kOutY[d];
        const int ix = ox - nx, iy = oy - ny;
        cx += kDx[d];
        cy += kDy[d];
        const int32_t lo = pic.label(ox, oy), li = pic.label(ix, iy);
        double offset = 0;
        if (pic.pixels && pic.colours && lo >= 0 && li >= 0 && lo != li) {
            const RGBQUAD& ci = (*pic.colours)[static_cast<size_t>(li)];
            const RGBQUAD& co = (*pic.colours)[static_cast<size_t>(lo)];
            const ColourLine line(ci, co);
            double outs[kReach], ins[kReach];
            int no = 0, ni = 0;
            // The region beyond each side's run (within reach), whose colour
            // may show in that side's pixels too (a thin band between two
            // others): there the shares come from the three colours.
            auto beyond = [&](int x, int y, int dx, int dy, int32_t own) {
                for (int t = 0; t <= kReach; ++t, x += dx, y += dy) {
                    const int32_t l = pic.label(x, y);
                    if (l != own) return l >= 0 && l != li && l != lo ? l : -1;
                }
                return -1;
            };
            const int32_t xo = beyond(ox, oy, nx, ny, lo), xi = beyond(ix, iy, -nx, -ny, li);
            // The inside colour's share in pixel (x, y); beside a third
            // region, inside pixels count all that is not the outside's.
            auto insideShare = [&](int x, int y, int32_t third, bool inside) {
                const RGBQUAD& p = pic.pixels[static_cast<size_t>(y) * pic.width + x];
                double a = -1;
                if (third >= 0) {
                    const RGBQUAD& c = (*pic.colours)[static_cast<size_t>(third)];
                    if (inside ? shares3(p, co, ci, c, a) : shares3(p, ci, co, c, a))
                        return inside ? 1 - a : a;
                }
                return line.apart() ? line.share(p) : -1;
            };
            double last = 2;
            for (int t = 0; t < kReach; ++t) {
                const int x = ox + t * nx, y = oy + t * ny;
                if (pic.label(x, y) != lo) break;
                const double a = insideShare(x, y, xo, false);
                if (a < 0 || a > last + 0.05) break;
                outs[no++] = a;
                last = a;
            }
            last = 2;
            for (int t = 0; t < kReach; ++t) {
                const int x = ix - t * nx, y = iy - t * ny;
                if (pic.label(x, y) != li) break;
                const double a = insideShare(x, y, xi, true);
                if (a < 0 || 1 - a > last + 0.05) break;
                ins[ni++] = a;
                last = 1 - a;
            }
            // Where the pixels on one side settle at a level short of their
            // region's colour (the row or column runs along another edge, as
            // beside a corner), shares count from that level.
            double low = 0, high = 1;
            if (no >= 2 && outs[no - 1] > 0 && outs[no - 2] - outs[no - 1] < kPlateau)
                low = outs[no - 1];
            if (ni >= 2 && ins[ni - 1] < 1 && ins[ni - 2] - ins[ni - 1] > -kPlateau)
                high = ins[ni - 1];
            if (high - low < kMinSpan) low = 0, high = 1;
            auto level = [&](double a) {
                return std::max(0.0, std::min(1.0, (a - low) / (high - low)));
            };
            for (int t = 0; t < no; ++t) offset += level(outs[t]);
            for (int t = 0; t < ni; ++t) offset -= 1 - level(ins[t]);
            offset = std::max(-1.0, std::min(1.0, offset));
        }
        out.push_back({mid.x + offset * nx, mid.y + offset * ny});
    }
}

}  // namespace om1
