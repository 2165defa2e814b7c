// LeastSets: disjoint sets of the labels 0..m-1, each kept under its least
// label, and the sets numbered in the order of that label (as a labelling
// numbers regions by their first pixel, when a region's least label holds
// its first pixel).
#pragma once

#include <cstdint>
#include <vector>

namespace om1 {

class LeastSets {
public:
    // Every label of 0..m-1 a set of its own.
    void reset(int32_t m) {
        up_.resize(static_cast<size_t>(m));
        for (int32_t r = 0; r < m; ++r) up_[static_cast<size_t>(r)] = r;
    }
    // The least label of r's set.
    int32_t top(int32_t r) {
        int32_t* const up = up_.data();
        while (up[r] != r) r = up[r] = up[up[r]];
        return r;
    }
    void unite(int32_t a, int32_t b) {
        a = top(a);
        b = top(b);
        if (a < b)
            up_[static_cast<size_t>(b)] = a;
        else if (b < a)
            up_[static_cast<size_t>(a)] = b;
    }
    // number[r] (r < m) gets the number of r's set, and first[k] the entry
    // first[t] of set k's least label t (in place: k <= t); the count of
    // sets is returned. `number` may be any array of m entries.
    int32_t numbers(int32_t* number, int32_t* first) {
        const int32_t m = static_cast<int32_t>(up_.size());
        int32_t next = 0;
        for (int32_t r = 0; r < m; ++r) {
            const int32_t t = top(r);
            if (t == r) {
                first[next] = first[r];
                number[r] = next++;
            } else {
                number[r] = number[t];
            }
        }
        return next;
    }

private:
    std::vector<int32_t> up_;
};

}  // namespace om1
