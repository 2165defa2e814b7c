// A pixel's colour packed into one integer, 0x00BBGGRR (the reserved byte
// left out), as the trace layer's stages count and compare colours.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/WinTypes.h"

namespace om1 {

inline uint32_t packColour(const RGBQUAD& q) {
    return q.rgbRed | q.rgbGreen << 8 | q.rgbBlue << 16;
}

// The colours of `n` pixels packed; throws std::bad_alloc like any vector.
inline std::vector<uint32_t> packColours(const RGBQUAD* pixels, size_t n) {
    std::vector<uint32_t> c(n);
    for (size_t i = 0; i < n; ++i) c[i] = packColour(pixels[i]);
    return c;
}

// Colour and alpha as one key, 0xAABBGGRR: pixels of one colour and
// different opacity are different regions. Without alpha (null) the key is
// the colour alone, as packColours gives it.
inline std::vector<uint32_t> packKeys(const RGBQUAD* pixels, const uint8_t* alpha, size_t n) {
    std::vector<uint32_t> c(n);
    for (size_t i = 0; i < n; ++i)
        c[i] = packColour(pixels[i]) | (alpha ? static_cast<uint32_t>(alpha[i]) << 24 : 0u);
    return c;
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
