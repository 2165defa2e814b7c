// A pixel's colour packed into one integer, 0x00BBGGRR (the reserved byte
// left out), as the trace layer's stages count and compare colours.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstdint>
#include <cstring>

#include "platform/WinTypes.h"

namespace om1 {

inline uint32_t packColour(const RGBQUAD& q) {
    return q.rgbRed | q.rgbGreen << 8 | q.rgbBlue << 16;
}

// Colour and alpha as one key, 0xAABBGGRR: pixels of one colour and
// different opacity are different regions. Without alpha (null) the key is
// the colour alone.
inline uint32_t packKey(const RGBQUAD* pixels, const uint8_t* alpha, size_t i) {
    return packColour(pixels[i]) | (alpha ? static_cast<uint32_t>(alpha[i]) << 24 : 0u);
}

// Keys for telling pixels apart, read from the pixels themselves: equal
// exactly when their packKey is equal (the bytes in memory order, the
// fourth byte of a pixel, which is not a colour, left out).
struct PixelKeys {
    const RGBQUAD* pixels;
    const uint8_t* alpha;  // may be null
    uint32_t operator()(size_t i) const {
        uint32_t v;
        std::memcpy(&v, pixels + i, sizeof v);
        v &= 0x00FFFFFFu;
        return alpha ? v | static_cast<uint32_t>(alpha[i]) << 24 : v;
    }
};

// A key of PixelKeys as packKey gives it (red and blue change places).
inline uint32_t keyToPacked(uint32_t k) {
    return (k & 0xFF00FF00u) | (k & 0xFFu) << 16 | (k >> 16 & 0xFFu);
}

inline uint8_t keyAlpha(uint32_t key) {
    return static_cast<uint8_t>(key >> 24);
}

// Channel 0 is red, 1 green, 2 blue.
inline int colourChannel(uint32_t c, int channel) {
    return (c >> (8 * channel)) & 0xFF;
}

// Sets red, green and blue; the reserved byte stays.
inline void unpackColour(RGBQUAD& q, uint32_t c) {
    q.rgbRed = static_cast<BYTE>(colourChannel(c, 0));
    q.rgbGreen = static_cast<BYTE>(colourChannel(c, 1));
    q.rgbBlue = static_cast<BYTE>(colourChannel(c, 2));
}

// The largest channel difference of two packed colours.
inline int maxDiff(uint32_t a, uint32_t b) {
    int d = 0;
    for (int i = 0; i < 3; ++i)
        d = std::max(d, std::abs(colourChannel(a, i) - colourChannel(b, i)));
    return d;
}

// The channels a colour key is measured in: red, green and blue; with alpha
// (keys of packKeys) premultiplied by it, and alpha as a fourth, so that a
// pixel half covered by a shape lies half way between the shape and the
// empty region.
inline int keyChannels(uint32_t k, bool withAlpha, double* out) {
    if (!withAlpha) {
        for (int i = 0; i < 3; ++i) out[i] = colourChannel(k, i);
        return 3;
    }
    const double a = keyAlpha(k);
    for (int i = 0; i < 3; ++i) out[i] = colourChannel(k, i) * a / 255.0;
    out[3] = a;
    return 4;
}

// Distance (largest channel difference) of p from the segment a..b, and the
// parameter t of its nearest point (0 at a, 1 at b).
inline double fromSegment(uint32_t p, uint32_t a, uint32_t b, double& t, bool withAlpha = false) {
    double pa[4], pb[4], pp[4];
    const int m = keyChannels(a, withAlpha, pa);
    keyChannels(b, withAlpha, pb);
    keyChannels(p, withAlpha, pp);
    double d[4], v[4], dd = 0, dv = 0;
    for (int i = 0; i < m; ++i) {
        d[i] = pb[i] - pa[i];
        v[i] = pp[i] - pa[i];
        dd += d[i] * d[i];
        dv += d[i] * v[i];
    }
    t = dd > 0 ? std::min(std::max(dv / dd, 0.0), 1.0) : 0.0;
    double worst = 0;
    for (int i = 0; i < m; ++i) worst = std::max(worst, std::abs(v[i] - t * d[i]));
    return worst;
}

}  // namespace om1
