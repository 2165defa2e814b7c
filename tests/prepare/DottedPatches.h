// A picture of blobs in four colours with specks of other colours scattered
// over them (some touching), the noisy input they were flattened from, and
// alpha levels in blocks (120 in the input, 128 flattened): what the speckle
// filter and the merging are tested on.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/WinTypes.h"

struct DottedPatches {
    // Blobs of blobW x blobH pixels, a speck where a pixel's hash is below
    // `specks` (of 256), alpha blocks of alphaW x alphaH.
    DottedPatches(int w, int h, int blobW, int blobH, uint32_t specks, int alphaW, int alphaH)
        : pixels(static_cast<size_t>(w) * h),
          input(pixels.size()),
          alpha(pixels.size()),
          inputAlpha(pixels.size()) {
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const size_t i = static_cast<size_t>(y) * w + x;
                int c = (x / blobW + y / blobH) % 4;
                const uint32_t hash = static_cast<uint32_t>(i * 2654435761u) >> 24;
                if (hash < specks) c = (c + 1 + hash % 3) % 4;
                pixels[i] =
                    RGBQUAD{static_cast<BYTE>(c * 60), static_cast<BYTE>(200 - c * 50), 9, 0};
                const BYTE noise = static_cast<BYTE>(hash >> 4);
                input[i] =
                    RGBQUAD{static_cast<BYTE>(c * 60 + noise), static_cast<BYTE>(200 - c * 50),
                            static_cast<BYTE>(9 + noise), 0};
                inputAlpha[i] = (x / alphaW + y / alphaH) % 3 == 0 ? 120 : 255;
                alpha[i] = inputAlpha[i] == 255 ? 255 : 128;
            }
    }
    std::vector<RGBQUAD> pixels, input;
    std::vector<uint8_t> alpha, inputAlpha;
};
