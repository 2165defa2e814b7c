#include "shapes/EdgeSamples.h"

#include <algorithm>
#include <cmath>

namespace om1 {

namespace {

const int kDx[4] = {1, 0, -1, 0};
const int kDy[4] = {0, 1, 0, -1};
const int kReach = 3;              // pixels counted on each side
const double kMinContrast = 24.0;  // colour distance below which nothing is told
const double kDeadZone = 0.04;     // shares this close to 0 or 1 count as 0 or 1

}  // namespace

double EdgeSamples::share(const RGBQUAD& p, const RGBQUAD& in, const RGBQUAD& out) {
    const double dr = in.rgbRed - out.rgbRed, dg = in.rgbGreen - out.rgbGreen,
                 db = in.rgbBlue - out.rgbBlue;
    const double dd = dr * dr + dg * dg + db * db;
    if (dd < kMinContrast * kMinContrast) return -1;
    const double a = ((p.rgbRed - out.rgbRed) * dr + (p.rgbGreen - out.rgbGreen) * dg +
                      (p.rgbBlue - out.rgbBlue) * db) /
                     dd;
    if (a <= kDeadZone) return 0;
    if (a >= 1 - kDeadZone) return 1;
    return a;
}

void EdgeSamples::sample(const CrackLoop& loop, const Picture& pic, std::vector<PointD>& out) {
    out.clear();
    out.reserve(loop.codes.size());
    int cx = loop.x, cy = loop.y;
    for (uint8_t d : loop.codes) {
        const PointD mid = {cx + 0.5 * kDx[d], cy + 0.5 * kDy[d]};
        cx += kDx[d];
        cy += kDy[d];
        // Outward normal: the side away from the region.
        const int o = (d + 3) & 3;
        const int nx = kDx[o], ny = kDy[o];
        const int ox = static_cast<int>(std::floor(mid.x + 0.5 * nx)),
                  oy = static_cast<int>(std::floor(mid.y + 0.5 * ny));
        const int ix = ox - nx, iy = oy - ny;
        const int32_t lo = pic.label(ox, oy), li = pic.label(ix, iy);
        double offset = 0;
        if (pic.pixels && pic.colours && lo >= 0 && li >= 0 && lo != li) {
            const RGBQUAD& ci = (*pic.colours)[static_cast<size_t>(li)];
            const RGBQUAD& co = (*pic.colours)[static_cast<size_t>(lo)];
            double last = 2;
            for (int t = 0; t < kReach; ++t) {
                const int x = ox + t * nx, y = oy + t * ny;
                if (pic.label(x, y) != lo) break;
                const double a = share(pic.pixels[static_cast<size_t>(y) * pic.width + x], ci, co);
                if (a < 0 || a > last + 0.05) break;
                offset += a;
                last = a;
            }
            last = 2;
            for (int t = 0; t < kReach; ++t) {
                const int x = ix - t * nx, y = iy - t * ny;
                if (pic.label(x, y) != li) break;
                const double a = share(pic.pixels[static_cast<size_t>(y) * pic.width + x], ci, co);
                if (a < 0 || 1 - a > last + 0.05) break;
                offset -= 1 - a;
                last = 1 - a;
            }
            offset = std::max(-1.0, std::min(1.0, offset));
        }
        out.push_back({mid.x + offset * nx, mid.y + offset * ny});
    }
}

}  // namespace om1
