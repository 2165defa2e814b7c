// Labels of the regions the trace layer's stages work on: 4-connected
// groups of pixels of exactly one key (colour, and alpha level when there is
// one), read straight from the pixels.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
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
namespace detail {

// labelRegions for keys of one kind: `Keys` gives pixel i's key.
template <class Keys>
long long labelRegionsBy(const Keys& key, int w, int h, std::vector<int32_t>& labels,
                         const std::function<bool()>& going) {
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
    for (int y = 0; y < h; ++y) {
        if (y % rows == 0) {
            if (y > 0 && going && !going()) return -1;
            labels.resize(std::min(n, static_cast<size_t>(y + rows) * w));
            parent = labels.data();
        }
        const int32_t row = y * w;
        uint32_t left = key(row);  // the key of the pixel left of x
        if (y == 0) {
            parent[0] = 0;
            for (int32_t i = 1; i < w; ++i) {
                const uint32_t k = key(i);
                parent[i] = k == left ? parent[i - 1] : i;
                left = k;
            }
            continue;
        }
        // The keys above x and above its left neighbour.
        uint32_t upLeft = key(row - w);
        parent[row] = left == upLeft ? parent[row - w] : row;
        for (int32_t i = row + 1; i < row + w; ++i) {
            const uint32_t k = key(i), up = key(i - w);
            if (k == left) {
                parent[i] = parent[i - 1];
                // Joined already through the pixel above the left one.
                if (k == up && upLeft != k) join(i - 1, i - w);
            } else {
                parent[i] = k == up ? parent[i - w] : i;
            }
            left = k;
            upLeft = up;
        }
    }
    int32_t next = 0;
    int32_t* const label = labels.data();
    auto relabel = [&](size_t i) {
        label[i] = label[i] == static_cast<int32_t>(i) ? next++ : label[label[i]];
    };
    // `going` is asked before every pixel i with i % every == every - 1.
    for (size_t i = 0; i < n;) {
        for (const size_t end = std::min(n, i | (every - 1)); i < end; ++i) relabel(i);
        if (i == n) break;
        if (going && !going()) return -1;
        relabel(i++);
    }
    return next;
}

// The colour alone as the key.
struct ColourKeys {
    const RGBQUAD* pixels;
    uint32_t operator()(size_t i) const {
        uint32_t v;
        std::memcpy(&v, pixels + i, sizeof v);
        return v & 0x00FFFFFFu;
    }
};

// The colour and the alpha level (as packKey).
struct ColourAlphaKeys {
    const RGBQUAD* pixels;
    const uint8_t* alpha;
    uint32_t operator()(size_t i) const {
        return ColourKeys{pixels}(i) | static_cast<uint32_t>(alpha[i]) << 24;
    }
};

}  // namespace detail

inline long long labelRegions(const RGBQUAD* pixels, const uint8_t* alpha, int w, int h,
                              std::vector<int32_t>& labels,
                              const std::function<bool()>& going = {}) {
    if (alpha)
        return detail::labelRegionsBy(detail::ColourAlphaKeys{pixels, alpha}, w, h, labels, going);
    return detail::labelRegionsBy(detail::ColourKeys{pixels}, w, h, labels, going);
}

}  // namespace om1
