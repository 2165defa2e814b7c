// Labels of the regions the trace layer's stages work on: 4-connected
// groups of pixels of exactly one packed colour.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace om1 {

// 4-connected regions of one colour: labels and the count. Breadth first
// with an explicit queue.
inline long long labelRegions(const std::vector<uint32_t>& c, int w, int h,
                              std::vector<int32_t>& labels, std::vector<int32_t>& queue) {
    const size_t n = c.size();
    labels.assign(n, -1);
    queue.resize(n);
    int32_t next = 0;
    for (size_t s = 0; s < n; ++s) {
        if (labels[s] >= 0) continue;
        size_t head = 0, tail = 0;
        queue[tail++] = static_cast<int32_t>(s);
        labels[s] = next;
        while (head < tail) {
            const int32_t p = queue[head++];
            const int x = p % w, y = p / w;
            const int32_t nb[4] = {x > 0 ? p - 1 : -1, x + 1 < w ? p + 1 : -1, y > 0 ? p - w : -1,
                                   y + 1 < h ? p + w : -1};
            for (int32_t q : nb)
                if (q >= 0 && labels[q] < 0 && c[q] == c[s]) {
                    labels[q] = next;
                    queue[tail++] = q;
                }
        }
        ++next;
    }
    return next;
}

}  // namespace om1
