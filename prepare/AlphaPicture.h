// AlphaPicture: a picture's transparency made ready for the trace.
//
// A picture whose alpha channel has any pixel below 255 is traced with its
// transparency instead of being composited away. Every pixel then carries an
// alpha level beside its colour, and the stages treat colour and level as
// one key (a region is a 4-connected group of one colour and one level):
//   0        the empty region: never drawn (the background around a shape,
//            or a real hole in it); no stage paints an empty pixel, and no
//            stage mixes it with an opaque one;
//   255      opaque;
//   1..254   a region drawn with that opacity (a shadow, a glow, glass).
// An edge pixel against transparency is an anti-aliased edge like any other:
// the anti-alias cleanup gives it to the shape when the shape covers at least
// half of it, else to the empty region.
//
// The tracer sees colours only, so the prepared picture is handed to it in
// stand-in colours (standIns): opaque regions keep their own colour (a
// picture without transparency is traced exactly as before), a region of
// partial opacity keeps its colour unless an opaque region or another level
// has it (it then takes the nearest colour nobody has), and the empty region
// takes the free colour farthest from every other, so that no colour
// tolerance joins it to a neighbour.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "platform/WinTypes.h"

namespace om1 {

class AlphaPicture {
public:
    static const uint8_t kEmpty = 0;
    static const uint8_t kOpaque = 255;

    // One channel composited over a background channel: (c a + b (255 - a)) / 255,
    // rounded (as the decoders composite).
    static BYTE over(unsigned c, unsigned a, unsigned b) {
        return static_cast<BYTE>((c * a + b * (255 - a) + 127) / 255);
    }

    // RGBA bytes (red, green, blue, alpha; rows `stride` bytes apart, row 0
    // first) as the trace takes them. With `composite` every pixel is
    // composited over `background` and `alpha` is left empty: the picture is
    // opaque. Otherwise the straight colours are kept, and `alpha` receives
    // every pixel's alpha when any is below 255 (and stays empty when none
    // is: the picture is traced as an opaque one). False when memory runs out.
    // `going`, when given, is asked every 256 rows: false when it answers
    // false (nothing kept).
    // A large picture is converted by bands on up to `threads` threads (0:
    // one per core).
    static bool fromRgba(const uint8_t* rgba, int width, int height, size_t stride, bool composite,
                         RGBQUAD background, std::vector<RGBQUAD>& pixels,
                         std::vector<uint8_t>& alpha, const std::function<bool()>& going = {},
                         int threads = 1);
    // The same on decoded pixels with straight colours and their alpha, in
    // place.
    static void settle(std::vector<RGBQUAD>& pixels, std::vector<uint8_t>& alpha, bool composite,
                       RGBQUAD background);

    // Maps every alpha to the nearest of 0, 255 and at most `levels` levels
    // between them, chosen by k-means over the picture's partial alphas
    // (evenly spaced to start, the weighted mean of their values each round;
    // deterministic). With `levels` 0 a pixel becomes opaque from 128 up and
    // empty below. False when memory runs out.
    static bool quantizeLevels(uint8_t* alpha, size_t n, int levels);

    // The colours the tracer is given for prepared pixels (colours with their
    // alpha levels), as described above; `out` has n pixels. False when
    // memory runs out.
    static bool standIns(const RGBQUAD* colours, const uint8_t* alpha, size_t n,
                         std::vector<RGBQUAD>& out);
};

}  // namespace om1
