// Generated pictures for the benchmarks: a photograph-like picture (smooth
// gradients, blobs and mild noise), mosaics of it, the same enlarged like a
// scaled-up photograph, and a flag of flat colours with anti-aliased edges.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "platform/WinTypes.h"

inline std::vector<RGBQUAD> photoLike(int w, int h) {
    std::vector<RGBQUAD> px(static_cast<size_t>(w) * h);
    uint32_t seed = 12345;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            seed = seed * 1664525u + 1013904223u;
            int noise = static_cast<int>((seed >> 24) % 9) - 4;
            double r = 128 + 100 * std::sin(x * 0.02) * std::cos(y * 0.015);
            double g = 128 + 90 * std::sin((x + y) * 0.01);
            double b = 128 + 80 * std::cos(std::hypot(x - w / 2.0, y - h / 2.0) * 0.03);
            for (int k = 0; k < 12; ++k) {
                double cx = (k * 97 % w), cy = (k * 57 % h), rad = 15 + (k * 13 % 40);
                if (std::hypot(x - cx, y - cy) < rad) {
                    r = 40 + k * 17 % 200;
                    g = 200 - k * 23 % 180;
                    b = 60 + k * 31 % 190;
                }
            }
            auto clamp = [](double v) { return static_cast<BYTE>(v < 0 ? 0 : v > 255 ? 255 : v); };
            px[static_cast<size_t>(y) * w + x] =
                RGBQUAD{clamp(b + noise), clamp(g + noise), clamp(r + noise), 0};
        }
    return px;
}

// The picture repeated n x n times.
inline std::vector<RGBQUAD> mosaic(const std::vector<RGBQUAD>& tile, int w, int h, int n) {
    std::vector<RGBQUAD> out(static_cast<size_t>(w) * n * h * n);
    for (int ty = 0; ty < n; ++ty)
        for (int y = 0; y < h; ++y)
            for (int tx = 0; tx < n; ++tx)
                for (int x = 0; x < w; ++x)
                    out[(static_cast<size_t>(ty) * h + y) * w * n + static_cast<size_t>(tx) * w +
                        x] = tile[static_cast<size_t>(y) * w + x];
    return out;
}

// A flag-like picture of flat colours with smooth (anti-aliased) edges:
// stripes, a disc, a diagonal band and a star-like wedge fan; each pixel
// averages a 4 x 4 grid of samples.
inline std::vector<RGBQUAD> antiAliasedFlag(int w, int h) {
    std::vector<RGBQUAD> px(static_cast<size_t>(w) * h);
    auto colourAt = [w, h](double x, double y, int& r, int& g, int& b) {
        int stripe = static_cast<int>(y * 7 / h);
        if (stripe % 2 == 0)
            r = 200, g = 30, b = 45;
        else
            r = 250, g = 250, b = 250;
        if (x < w * 0.4 && y < h * 4 / 7.0) r = 20, g = 40, b = 110;
        double cx = w * 0.2, cy = h * 2 / 7.0;
        double dx = x - cx, dy = y - cy, d = std::hypot(dx, dy);
        double ang = std::atan2(dy, dx);
        double star = h * (0.09 + 0.05 * std::cos(5 * ang));
        if (d < star) r = 250, g = 220, b = 40;
        if (std::hypot(x - w * 0.75, y - h * 0.6) < h * 0.22) r = 30, g = 140, b = 70;
        double band = x - 1.5 * y;
        if (band > w * 0.15 && band < w * 0.15 + 18) r = 10, g = 10, b = 10;
    };
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            int sr = 0, sg = 0, sb = 0;
            for (int sy = 0; sy < 4; ++sy)
                for (int sx = 0; sx < 4; ++sx) {
                    int r, g, b;
                    colourAt(x + (sx + 0.5) / 4, y + (sy + 0.5) / 4, r, g, b);
                    sr += r, sg += g, sb += b;
                }
            px[static_cast<size_t>(y) * w + x] =
                RGBQUAD{static_cast<BYTE>(sb / 16), static_cast<BYTE>(sg / 16),
                        static_cast<BYTE>(sr / 16), 0};
        }
    return px;
}

// The picture enlarged `f` times with bilinear interpolation and mild noise
// added, like a photograph scaled up.
inline std::vector<RGBQUAD> scaledUp(const std::vector<RGBQUAD>& src, int w, int h, int f) {
    int W = w * f, H = h * f;
    std::vector<RGBQUAD> out(static_cast<size_t>(W) * H);
    uint32_t seed = 777;
    for (int y = 0; y < H; ++y) {
        double sy = (y + 0.5) / f - 0.5;
        int y0 = sy < 0 ? 0 : static_cast<int>(sy);
        int y1 = y0 + 1 < h ? y0 + 1 : h - 1;
        double fy = sy < 0 ? 0 : sy - y0;
        for (int x = 0; x < W; ++x) {
            double sx = (x + 0.5) / f - 0.5;
            int x0 = sx < 0 ? 0 : static_cast<int>(sx);
            int x1 = x0 + 1 < w ? x0 + 1 : w - 1;
            double fx = sx < 0 ? 0 : sx - x0;
            const RGBQUAD& a = src[static_cast<size_t>(y0) * w + x0];
            const RGBQUAD& b = src[static_cast<size_t>(y0) * w + x1];
            const RGBQUAD& c = src[static_cast<size_t>(y1) * w + x0];
            const RGBQUAD& d = src[static_cast<size_t>(y1) * w + x1];
            seed = seed * 1664525u + 1013904223u;
            int noise = static_cast<int>((seed >> 24) % 5) - 2;
            auto mix = [&](BYTE pa, BYTE pb, BYTE pc, BYTE pd) {
                double v =
                    (pa * (1 - fx) + pb * fx) * (1 - fy) + (pc * (1 - fx) + pd * fx) * fy + noise;
                return static_cast<BYTE>(v < 0 ? 0 : v > 255 ? 255 : v);
            };
            out[static_cast<size_t>(y) * W + x] =
                RGBQUAD{mix(a.rgbBlue, b.rgbBlue, c.rgbBlue, d.rgbBlue),
                        mix(a.rgbGreen, b.rgbGreen, c.rgbGreen, d.rgbGreen),
                        mix(a.rgbRed, b.rgbRed, c.rgbRed, d.rgbRed), 0};
        }
    }
    return out;
}
