// ColorQuantizer: reduces a picture to a few colours.
//
// `quantize` builds a palette of at most `count` colours by median cut (the
// box of distinct colours with the largest pixel count times channel range
// is split at the pixel median of its widest channel, until there are
// `count` boxes; each box gives its pixel-weighted mean), refines it with
// up to three rounds of k-means (every distinct colour to its nearest entry
// by squared RGB distance, entries moved to the weighted means; a round that
// moves no colour ends them), and paints every pixel with its nearest entry.
// Deterministic, and the same on every platform: no random start, and the
// split sorts a box stably (colours of one channel value keep their order).
//
// `snap` paints every pixel with the nearest entry of a given palette by the
// library's own colour measure (Ombrel::GetNearestColor: the largest channel
// difference, the lowest index among equals), as palettes are merged into a
// contour tree.
#pragma once

#include <vector>

#include <functional>

#include "platform/WinTypes.h"

namespace om1 {

class ColorQuantizer {
public:
    // False when memory runs out (pixels unchanged). `palette` receives the
    // colours used (at most count, and at most 256; fewer when the picture
    // has fewer).
    // `progress`, when given, hears the share done (0..1) between the passes
    // and every few rows; false stops the work (false, pixels partly changed).
    // `threads` as in Bands::count (the same palette and pixels for any
    // number).
    static bool quantize(RGBQUAD* pixels, int width, int height, int count,
                         std::vector<RGBQUAD>& palette,
                         const std::function<bool(double)>& progress = {}, int threads = 1);
    static bool snap(RGBQUAD* pixels, int width, int height, const RGBQUAD* palette, int count);
    // The number of distinct colours (red, green, blue), counted up to
    // `stopAbove` + 1: a larger count is returned as stopAbove + 1. -1 when
    // memory runs out or `progress` (asked every few rows) answers false.
    static long long distinct(const RGBQUAD* pixels, int width, int height, long long stopAbove,
                              const std::function<bool(double)>& progress = {});
};

}  // namespace om1
