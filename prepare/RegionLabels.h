// Labels of the regions the trace layer's stages work on: 4-connected
// groups of pixels of exactly one key (colour, and alpha level when there is
// one), read straight from the pixels.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "prepare/PackedColour.h"

namespace om1 {

// 4-connected regions of one key: labels and the count. A region's label
// is its rank by its first pixel in row order. Two passes over the rows with
// a union-find kept in the labels themselves, every set rooted at its first
// pixel: parents point to earlier pixels, whose labels are final by the time
// the second pass reads them. `alpha` may be null (the colour alone).
// `going`, when given, is asked about every 2^18 pixels (whole rows in the
// first pass): -1 when it answers false. The labels grow with the first pass,
// so that filling a large picture's array is spread between the checks too.
inline long long labelRegions(const RGBQUAD* pixels, const uint8_t* alpha, int w, int h,
                              std::vector<int32_t>& labels,
                              const std::function<bool()>& going = {}) {
    const size_t n = static_cast<size_t>(w) * h;
    const size_t every = size_t{1} << 18;
    const int rows = static_cast<int>(std::max<size_t>(1, every / std::max(w, 1)));
    labels.clear();
    labels.reserve(n);
    int32_t* parent = labels.data();
    auto find = [&parent](int32_t i) {
        while (parent[i] != i) i = parent[i] = parent[parent[i]];
        return i;
    };
    auto join = [&](int32_t a, int32_t b) {
        a = find(a);
        b = find(b);
        if (a < b)
            parent[b] = a;
        else if (b < a)
            parent[a] = b;
    };
    const PixelKeys key{pixels, alpha};
    for (int y = 0; y < h; ++y) {
        if (y % rows == 0) {
            if (y > 0 && going && !going()) return -1;
            labels.resize(std::min(n, static_cast<size_t>(y + rows) * w));
            parent = labels.data();
        }
        const int32_t row = y * w;
        uint32_t previous = 0;
        for (int x = 0; x < w; ++x) {
            const int32_t i = row + x;
            const uint32_t k = key(i);
            const bool left = x > 0 && k == previous;
            const bool up = y > 0 && k == key(i - w);
            if (left) {
                parent[i] = parent[i - 1];
                // Joined already through the pixel above the left one.
                if (up && key(i - w - 1) != k) join(i - 1, i - w);
            } else {
                parent[i] = up ? parent[i - w] : i;
            }
            previous = k;
        }
    }
    int32_t next = 0;
    for (size_t i = 0; i < n; ++i) {
        if ((i & (every - 1)) == every - 1 && going && !going()) return -1;
        labels[i] = labels[i] == static_cast<int32_t>(i) ? next++ : labels[labels[i]];
    }
    return next;
}

}  // namespace om1
