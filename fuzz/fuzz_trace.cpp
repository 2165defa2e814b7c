// Fuzzes the pixel-buffer entry points, plain and left-top: a picture of up
// to 64 x 64 pixels drawn from a palette of up to 16 colours (so that the
// fuzzer finds regions, not noise), every parameter over its whole range,
// and the result's invariants checked after each call.
//
// Bytes: width, height, flags, palette size, then the parameters (see
// FuzzInput::parameter), the palette (3 bytes a colour), and one byte per
// pixel (palette index; the pattern repeats when the bytes run out).
#include <cstdint>
#include <vector>

#include "FuzzInput.h"
#include "TraceInvariants.h"
#include "interface/om1.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    const int w = 1 + in.byte() % 64, h = 1 + in.byte() % 64;
    const uint8_t flags = in.byte();
    const int colours = 1 + in.byte() % 16;
    const int tolerance = in.parameter(100);
    const int minLength = in.parameter(16);
    const int maxOutlines = in.parameter(10000);
    const int curveTolerance = in.parameter(8);
    std::vector<RGBQUAD> palette(colours);
    for (RGBQUAD& c : palette) {
        c.rgbRed = in.byte();
        c.rgbGreen = in.byte();
        c.rgbBlue = in.byte();
        c.rgbReserved = 0;
    }
    std::vector<uint8_t> pattern;
    while (in.left() > 0 && pattern.size() < static_cast<size_t>(w) * h)
        pattern.push_back(in.byte());
    if (pattern.empty()) pattern.push_back(0);
    std::vector<RGBQUAD> pixels(static_cast<size_t>(w) * h);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = palette[pattern[i % pattern.size()] % colours];

    const bool leftTop = flags & 1;
    KvCtree* tree = nullptr;
    int r;
    if (leftTop) {
        // A caller's palette of nearby colours to merge the result into.
        std::vector<RGBQUAD> merge(palette.begin(), palette.begin() + (flags >> 1) % (colours + 1));
        r = om1_kvTrace1BmpLeftTop(
            tree, pixels.data(), w, h, tolerance, merge.empty() ? nullptr : merge.data(),
            static_cast<int>(merge.size()), minLength, maxOutlines, curveTolerance, 0.0);
    } else {
        r = om1_kvTrace1Bmp(tree, pixels.data(), w, h, tolerance, minLength, maxOutlines,
                            curveTolerance, 0.0);
    }
    if (r == OM1_TRACE_DONE && tree) TraceInvariants::check(tree, w, h, leftTop, curveTolerance);
    om1_delKvCTree(tree);
    return 0;
}
