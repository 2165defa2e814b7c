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
const double kPlateau = 0.06;      // two shares this close are one level
const double kMinSpan = 0.3;       // levels closer than this tell nothing

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
            double outs[kReach], ins[kReach];
            int no = 0, ni = 0;
            double last = 2;
            for (int t = 0; t < kReach; ++t) {
                const int x = ox + t * nx, y = oy + t * ny;
                if (pic.label(x, y) != lo) break;
                const double a = share(pic.pixels[static_cast<size_t>(y) * pic.width + x], ci, co);
                if (a < 0 || a > last + 0.05) break;
                outs[no++] = a;
                last = a;
            }
            last = 2;
            for (int t = 0; t < kReach; ++t) {
                const int x = ix - t * nx, y = iy - t * ny;
                if (pic.label(x, y) != li) break;
                const double a = share(pic.pixels[static_cast<size_t>(y) * pic.width + x], ci, co);
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
