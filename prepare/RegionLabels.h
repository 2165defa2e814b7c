// Labels of the regions the trace layer's stages work on: 4-connected
// groups of pixels of exactly one packed colour.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace om1 {

// 4-connected regions of one colour: labels and the count. A region's label
// is its rank by its first pixel in row order. Two passes over the rows with
// a union-find kept in the labels themselves, every set rooted at its first
// pixel: parents point to earlier pixels, whose labels are final by the time
// the second pass reads them. `scratch` is no longer needed (left empty).
// `going`, when given, is asked every 256 rows: -1 when it answers false.
inline long long labelRegions(const std::vector<uint32_t>& c, int w, int h,
                              std::vector<int32_t>& labels, std::vector<int32_t>& scratch,
                              const std::function<bool()>& going = {}) {
    const size_t n = c.size();
    scratch.clear();
    labels.resize(n);
    int32_t* parent = labels.data();
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
        if ((y & 255) == 255 && going && !going()) return -1;
        const int32_t row = y * w;
        for (int x = 0; x < w; ++x) {
            const int32_t i = row + x;
            const bool left = x > 0 && c[i] == c[i - 1];
            const bool up = y > 0 && c[i] == c[i - w];
            if (left) {
                parent[i] = parent[i - 1];
                // Joined already through the pixel above the left one.
                if (up && c[i - w - 1] != c[i]) join(i - 1, i - w);
            } else {
                parent[i] = up ? parent[i - w] : i;
            }
        }
    }
    int32_t next = 0;
    for (size_t i = 0; i < n; ++i)
        labels[i] = labels[i] == static_cast<int32_t>(i) ? next++ : labels[labels[i]];
    return next;
}

}  // namespace om1
