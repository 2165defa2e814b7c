// A pixel's colour packed into one integer, 0x00BBGGRR (the reserved byte
// left out), as the trace layer's stages count and compare colours.
#pragma once

#include <cstdint>

#include "platform/WinTypes.h"

namespace om1 {

inline uint32_t packColour(const RGBQUAD& q) {
    return q.rgbRed | q.rgbGreen << 8 | q.rgbBlue << 16;
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
