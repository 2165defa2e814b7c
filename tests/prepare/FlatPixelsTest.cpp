// FlatPixels against a plain reading of the pixels: the flags (found in two
// bands, with and without alpha, across 64-bit words), the rows' windows
// widened by a radius, and a window's reads covering every flat key.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <vector>

#include "prepare/FlatPixels.h"

namespace {

// Blocks of a few colours with noise, 70 pixels wide (a row takes two
// words, the second in part).
struct Picture {
    int w = 70, h = 23;
    std::vector<RGBQUAD> pixels;
    std::vector<uint8_t> alpha;
    Picture() {
        pixels.resize(static_cast<size_t>(w) * h);
        alpha.resize(pixels.size());
        uint32_t seed = 7;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                seed = seed * 1103515245u + 12345u;
                const size_t i = static_cast<size_t>(y) * w + x;
                const BYTE block = static_cast<BYTE>((x / 9 + y / 5) % 3 * 80);
                const bool noise = (seed >> 16) % 11 == 0;
                pixels[i] = {block, static_cast<BYTE>(noise ? 1 : 0), 0, 0};
                pixels[i].rgbReserved = static_cast<BYTE>(seed >> 24);  // not part of a key
                alpha[i] = x >= 60 && y < 4 ? 128 : 255;
            }
    }
    bool flat(const om1::PixelKeys& key, int x, int y) const {
        for (int v = std::max(0, y - 1); v <= std::min(h - 1, y + 1); ++v)
            for (int u = std::max(0, x - 1); u <= std::min(w - 1, x + 1); ++u)
                if (key(static_cast<size_t>(v) * w + u) != key(static_cast<size_t>(y) * w + x))
                    return false;
        return true;
    }
};

}  // namespace

TEST(FlatPixels, FlagsWindowsAndReadsMatchThePixels) {
    const Picture p;
    for (const uint8_t* alpha : {static_cast<const uint8_t*>(nullptr), p.alpha.data()}) {
        const om1::PixelKeys key{p.pixels.data(), alpha};
        om1::FlatPixels flat;
        ASSERT_TRUE(flat.reset(p.w, p.h, 2));
        ASSERT_EQ(flat.words(), 2u);
        flat.find(key, 0, 0, 11);
        flat.find(key, 1, 11, p.h);
        int flats = 0;
        for (int y = 0; y < p.h; ++y)
            for (int x = 0; x < p.w; ++x) {
                const bool bit = flat.run(x, 1, y) != 0;
                ASSERT_EQ(bit, p.flat(key, x, y)) << x << "," << y;
                flats += bit;
            }
        EXPECT_GT(flats, p.w * p.h / 6);
        EXPECT_EQ(flat.row(0)[1] >> (p.w - 64), 0u);  // nothing past the last pixel

        std::vector<uint64_t> nearby(flat.words());
        for (int radius : {1, 3, 8}) {
            for (int y = 0; y < p.h; ++y) {
                flat.nearby(y - radius, y + radius, radius, nearby.data());
                for (int x = 0; x < p.w; ++x) {
                    bool any = false;
                    for (int v = std::max(0, y - radius); v <= std::min(p.h - 1, y + radius); ++v)
                        for (int u = std::max(0, x - radius); u <= std::min(p.w - 1, x + radius);
                             ++u)
                            any = any || p.flat(key, u, v);
                    ASSERT_EQ(om1::FlatPixels::run(nearby.data(), x, 1) != 0, any)
                        << radius << ": " << x << "," << y;
                }
                EXPECT_EQ(nearby[1] >> (p.w - 64), 0u);
            }
            // Every window: the keys read are the flat keys, the first read
            // in row order first.
            for (int y = 0; y < p.h; ++y)
                for (int x = 0; x < p.w; ++x) {
                    const int x0 = std::max(0, x - radius), x1 = std::min(p.w - 1, x + radius);
                    const int y0 = std::max(0, y - radius), y1 = std::min(p.h - 1, y + radius);
                    std::vector<uint32_t> all, read;
                    om1::FlatPixels::Window window(flat, x0, x1 - x0 + 1, y0);
                    for (int v = y0; v <= y1; ++v) {
                        const uint64_t fresh = window.next();
                        for (int u = x0; u <= x1; ++u) {
                            const uint32_t k = key(static_cast<size_t>(v) * p.w + u);
                            if (p.flat(key, u, v) &&
                                std::find(all.begin(), all.end(), k) == all.end())
                                all.push_back(k);
                            if (fresh >> (u - x0) & 1) {
                                ASSERT_TRUE(p.flat(key, u, v));
                                if (std::find(read.begin(), read.end(), k) == read.end())
                                    read.push_back(k);
                            }
                        }
                    }
                    ASSERT_EQ(read, all) << radius << ": " << x << "," << y;
                }
        }
    }
}
