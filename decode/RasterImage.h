// RasterImage: a decoded picture, rows top-down: composited 32-bit pixels
// (blue, green, red, 0) plus the alpha of every pixel as it was in the file,
// or (ImageLoader::loadRgba) the file's own red, green, blue and alpha.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/WinTypes.h"

struct RasterImage {
    int width = 0;
    int height = 0;
    std::vector<RGBQUAD> pixels;  // width * height, row 0 at the top
    std::vector<uint8_t> alpha;   // width * height; 255 for formats without alpha
    std::vector<uint8_t> rgba;    // 4 * width * height, when decoded as it is
};
