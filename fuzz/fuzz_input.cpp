// Fuzzes the picture decoders (PNG, JPEG, BMP, GIF) on arbitrary bytes, read
// from memory. A decoded picture must have the size it claims, within the
// pixel limit.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "decode/ImageLoader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    FILE* f = fmemopen(const_cast<uint8_t*>(data), size, "rb");
    if (!f) return 0;
    const long long maxPixels = 1 << 20;
    RasterImage img;
    std::string error;
    if (ImageLoader::loadStream(f, maxPixels, {}, img, error)) {
        const long long n = static_cast<long long>(img.width) * img.height;
        if (img.width < 3 || img.height < 3 || n > maxPixels ||
            img.pixels.size() != static_cast<size_t>(n) || img.alpha.size() != img.pixels.size())
            abort();
    } else if (error.empty()) {
        abort();  // a refusal always says why
    }
    fclose(f);
    return 0;
}
