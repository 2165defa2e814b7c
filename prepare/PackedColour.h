// A pixel's colour packed into one integer, 0x00BBGGRR (the reserved byte
// left out), as the trace layer's stages count and compare colours.
#pragma once

#include <cstddef>
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

}  // namespace om1
