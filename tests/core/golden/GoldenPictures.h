// Generated pictures for the golden results. Integer arithmetic only, so that
// every build and every system draws the same pixels.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/WinTypes.h"

namespace golden {

struct Picture {
    int w = 0, h = 0;
    std::vector<RGBQUAD> px;
    Picture() = default;
    Picture(int w_, int h_, RGBQUAD c = RGBQUAD{0, 0, 0, 0})
        : w(w_), h(h_), px(static_cast<size_t>(w_) * h_, c) {}
    void fill(int x0, int y0, int ww, int hh, RGBQUAD c) {
        for (int y = y0; y < y0 + hh; ++y)
            for (int x = x0; x < x0 + ww; ++x) px[static_cast<size_t>(y) * w + x] = c;
    }
    void set(int x, int y, int r, int g, int b) {
        px[static_cast<size_t>(y) * w + x] =
            RGBQUAD{static_cast<BYTE>(b), static_cast<BYTE>(g), static_cast<BYTE>(r), 0};
    }
};

// A small linear congruential generator with a fixed sequence.
struct Lcg {
    uint32_t s;
    explicit Lcg(uint32_t seed) : s(seed) {}
    uint32_t next() {
        s = s * 1664525u + 1013904223u;
        return s >> 8;
    }
    int below(int n) { return static_cast<int>(next() % static_cast<uint32_t>(n)); }
};

inline int clampByte(int v) {
    return v < 0 ? 0 : v > 255 ? 255 : v;
}

// Smooth gradients with blobs and mild noise, like a photograph.
inline Picture photoLike(int w, int h, uint32_t seed) {
    Picture p(w, h);
    Lcg rng(seed);
    struct Blob {
        int cx, cy, r, red, green, blue;
    };
    std::vector<Blob> blobs;
    for (int k = 0; k < 6; ++k)
        blobs.push_back({rng.below(w), rng.below(h), 4 + rng.below(w / 4 + 1), rng.below(256),
                         rng.below(256), rng.below(256)});
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            int r = 40 + 170 * x / w;
            int g = 200 - 150 * y / h;
            int b = 60 + 120 * ((x + y) % (w / 2 + 1)) / (w / 2 + 1);
            for (const Blob& bl : blobs) {
                int dx = x - bl.cx, dy = y - bl.cy;
                if (dx * dx + dy * dy < bl.r * bl.r) {
                    // Shaded towards the blob's centre.
                    int shade = 40 * (dx * dx + dy * dy) / (bl.r * bl.r);
                    r = bl.red - shade;
                    g = bl.green - shade;
                    b = bl.blue - shade;
                }
            }
            int noise = rng.below(9) - 4;
            p.set(x, y, clampByte(r + noise), clampByte(g + noise), clampByte(b + noise));
        }
    return p;
}

// Flat shapes with smooth edges: each pixel mixes the shapes over a 4 x 4
// grid of samples.
inline Picture antiAliased(int w, int h) {
    Picture p(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            int sr = 0, sg = 0, sb = 0;
            for (int sy = 0; sy < 4; ++sy)
                for (int sx = 0; sx < 4; ++sx) {
                    // Sample position in quarter pixels.
                    int qx = 4 * x + sx, qy = 4 * y + sy;
                    int r = 250, g = 250, b = 245;
                    int dx = qx - 4 * w / 3, dy = qy - 4 * h / 2, rad = 4 * h / 3;
                    if (dx * dx + dy * dy < rad * rad) r = 200, g = 30, b = 40;
                    int ex = qx - 4 * 2 * w / 3, ey = qy - 4 * h / 3, erad = 4 * h / 4;
                    if (ex * ex + 2 * ey * ey < erad * erad) r = 20, g = 60, b = 180;
                    // A diagonal band.
                    int d = qx - 2 * qy;
                    if (d > 4 * w / 2 && d < 4 * w / 2 + 24) r = 30, g = 30, b = 30;
                    sr += r, sg += g, sb += b;
                }
            p.set(x, y, sr / 16, sg / 16, sb / 16);
        }
    return p;
}

// The picture repeated n x n times.
inline Picture mosaic(const Picture& tile, int n) {
    Picture p(tile.w * n, tile.h * n);
    for (int y = 0; y < p.h; ++y)
        for (int x = 0; x < p.w; ++x)
            p.px[static_cast<size_t>(y) * p.w + x] =
                tile.px[static_cast<size_t>(y % tile.h) * tile.w + x % tile.w];
    return p;
}

// One-pixel lines (straight, diagonal, crossing) on white.
inline Picture thinLines(int w, int h) {
    Picture p(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) p.set(x, y, 255, 255, 255);
    for (int x = 2; x < w - 2; ++x) p.set(x, h / 3, 0, 0, 0);
    for (int y = 1; y < h - 1; ++y) p.set(w / 4, y, 200, 0, 0);
    for (int i = 0; i < h && i < w; ++i) p.set(i, i, 0, 0, 200);
    for (int i = 0; i < h / 2; ++i) p.set(w - 1 - i, i * 2, 0, 150, 0);
    return p;
}

// Each pixel one of four colours at random.
inline Picture fourColourNoise(int w, int h, uint32_t seed) {
    static const int kColours[4][3] = {{255, 255, 255}, {0, 0, 0}, {220, 40, 40}, {40, 90, 220}};
    Picture p(w, h);
    Lcg rng(seed);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int* c = kColours[rng.below(4)];
            p.set(x, y, c[0], c[1], c[2]);
        }
    return p;
}

}  // namespace golden
