// Labels of the regions the trace layer's stages work on: 4-connected
// groups of pixels of exactly one packed colour.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace om1 {

// 4-connected regions of one colour: labels and the count. A region's label
// is its rank by its first pixel in row order. Two passes over the rows with
// a union-find whose root is always the set's first pixel (`scratch` holds
// the parents).
inline long long labelRegions(const std::vector<uint32_t>& c, int w, int h,
                              std::vector<int32_t>& labels, std::vector<int32_t>& scratch) {
    const size_t n = c.size();
    labels.resize(n);
    scratch.resize(n);
    int32_t* parent = scratch.data();
    auto find = [parent](int32_t i) {
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
        const int32_t row = y * w;
        for (int x = 0; x < w; ++x) {
            const int32_t i = row + x;
            parent[i] = i;
            if (x > 0 && c[i] == c[i - 1]) join(i, i - 1);
            if (y > 0 && c[i] == c[i - w]) join(i, i - w);
        }
    }
    int32_t next = 0;
    for (size_t i = 0; i < n; ++i) {
        const int32_t r = find(static_cast<int32_t>(i));
        labels[i] = r == static_cast<int32_t>(i) ? next++ : labels[r];
    }
    return next;
}

}  // namespace om1
