// Generated pictures for the benchmarks: a photograph-like picture (smooth
// gradients, blobs and mild noise) and mosaics of it.
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
            px[static_cast<size_t>(y) * w + x] = RGBQUAD{clamp(b + noise), clamp(g + noise), clamp(r + noise), 0};
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
                    out[(static_cast<size_t>(ty) * h + y) * w * n + static_cast<size_t>(tx) * w + x] =
                        tile[static_cast<size_t>(y) * w + x];
    return out;
}
