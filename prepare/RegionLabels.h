// Labels of the regions the trace layer's stages work on: 4-connected
// groups of pixels of exactly one key (colour, and alpha level when there is
// one), read straight from the pixels.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

#include "prepare/Bands.h"
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
// A picture of at least `least` pixels is labelled by bands on up to
// `threads` threads (0: one per core), with the same labels for any number.
// Labels already at least the picture's size are written over in place.
namespace detail {

// One row of the first pass, from its first pixel `row`, `w` pixels: a
// pixel's parent is its left or upper neighbour of the same key (else the
// pixel itself), and where both are of its key their sets join. `top`: no
// row above counts (the picture's or a band's first). Returns the number of
// pixels that start a set of their own (0 unless `kCount`).
template <bool kCount = false, class Keys, class Join>
inline int32_t scanRow(const Keys& key, int32_t* parent, int32_t row, int32_t w, bool top,
                       const Join& join) {
    int32_t made = 1;
    uint32_t left = key(row);  // the key of the pixel left of i
    if (top) {
        parent[row] = row;
        for (int32_t i = row + 1; i < row + w; ++i) {
            const uint32_t k = key(i);
            parent[i] = k == left ? parent[i - 1] : i;
            if (kCount) made += k != left;
            left = k;
        }
        return kCount ? made : 0;
    }
    // The keys above i and above its left neighbour.
    uint32_t upLeft = key(row - w);
    made = left != upLeft;
    parent[row] = left == upLeft ? parent[row - w] : row;
    for (int32_t i = row + 1; i < row + w; ++i) {
        const uint32_t k = key(i), up = key(i - w);
        if (k == left) {
            parent[i] = parent[i - 1];
            // Joined already through the pixel above the left one.
            if (k == up && upLeft != k) join(i - 1, i - w);
        } else {
            parent[i] = k == up ? parent[i - w] : i;
            if (kCount) made += k != up;
        }
        left = k;
        upLeft = up;
    }
    return kCount ? made : 0;
}

template <class Keys>
long long labelRegionsInBands(const Keys& key, int w, int h, std::vector<int32_t>& labels,
                              const std::function<bool()>& going, int bands,
                              std::vector<int32_t>* firsts = nullptr);

// labelRegions for keys of one kind: `Keys` gives pixel i's key.
template <class Keys>
long long labelRegionsBy(const Keys& key, int w, int h, std::vector<int32_t>& labels,
                         const std::function<bool()>& going, int threads = 1,
                         std::vector<int32_t>* firsts = nullptr,
                         long long least = Bands::kMinPixels) {
    const size_t n = static_cast<size_t>(w) * h;
    const int bands = std::min(Bands::count(threads, static_cast<long long>(n), least), h);
    if (bands > 1) return labelRegionsInBands(key, w, h, labels, going, bands, firsts);
    if (firsts) firsts->clear();
    const size_t every = size_t{1} << 18;
    const int rows = static_cast<int>(std::max<size_t>(1, every / std::max(w, 1)));
    // Labels held already (a stage labelling again) are written over as
    // they are; else they grow with the pass.
    const bool held = labels.size() >= n;
    if (held) {
        labels.resize(n);
    } else {
        labels.clear();
        labels.reserve(n);
    }
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
            if (!held) {
                labels.resize(std::min(n, static_cast<size_t>(y + rows) * w));
                parent = labels.data();
            }
        }
        scanRow(key, parent, y * w, w, y == 0, join);
    }
    int32_t next = 0;
    int32_t* const label = labels.data();
    auto relabel = [&](size_t i) {
        if (label[i] != static_cast<int32_t>(i)) {
            label[i] = label[label[i]];
            return;
        }
        if (firsts) firsts->push_back(static_cast<int32_t>(i));
        label[i] = next++;
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

// The same by bands of rows, each on a thread of its own: every band is
// labelled as a picture of its own (its sets rooted at their first pixel in
// the band), counting by row the roots it leaves; then the sets that meet
// across the rows between two bands are joined (parents still point to
// earlier pixels, a set's root is its first pixel in the picture), each
// join taking a root from its row's count. The counts give every row's
// first number, and every band numbers its own rows. The pixels whose
// parent the joining changed point to their set's root; those roots'
// numbers (from an earlier band: its row's first number and the roots
// before it in the row) are looked up, all others come from the band
// itself. The labels are those of one band. `going` is asked by the first
// band every 2^18 pixels (whole rows); the others stop with it.
template <class Keys>
long long labelRegionsInBands(const Keys& key, int w, int h, std::vector<int32_t>& labels,
                              const std::function<bool()>& going, int bands,
                              std::vector<int32_t>* firsts) {
    const size_t n = static_cast<size_t>(w) * h;
    const size_t every = size_t{1} << 18;
    if (labels.size() >= n) {
        labels.resize(n);  // written over as they are
    } else {
        labels.clear();
        labels.reserve(n);
        // Grown between the checks, as one band grows it.
        for (size_t size = 0; size < n;) {
            if (size > 0 && going && !going()) return -1;
            size = std::min(n, size + every);
            labels.resize(size);
        }
    }
    int32_t* const parent = labels.data();
    std::vector<int> firstRow(static_cast<size_t>(bands) + 1);
    for (int b = 0; b <= bands; ++b)
        firstRow[b] = static_cast<int>(static_cast<long long>(h) * b / bands);
    // The roots of every row, then the number of every row's first root.
    std::vector<int32_t> rowRoots(static_cast<size_t>(h) + 1, 0);
    std::atomic<bool> stop{false};
    const int rows = static_cast<int>(std::max<size_t>(1, every / std::max(w, 1)));
    auto goingOn = [&](int band) {
        if (band == 0 && going && !going()) stop = true;
        return !stop.load();
    };
    auto find = [parent](int32_t i, std::vector<int32_t>* changed) {
        while (parent[i] != i) {
            if (changed && parent[parent[i]] != parent[i]) {
                parent[i] = parent[parent[i]];
                changed->push_back(i);
            }
            i = parent[i];
        }
        return i;
    };
    Bands::run(bands, bands, [&](int band, long long, long long) {
        const int y0 = firstRow[band], y1 = firstRow[band + 1];
        int32_t* const roots = rowRoots.data();
        auto join = [&](int32_t a, int32_t b) {
            while (parent[a] != a) a = parent[a] = parent[parent[a]];
            while (parent[b] != b) b = parent[b] = parent[parent[b]];
            if (a == b) return;
            const int32_t lo = std::min(a, b), hi = std::max(a, b);
            parent[hi] = lo;
            --roots[hi / w];
        };
        for (int y = y0; y < y1; ++y) {
            if ((y - y0) % rows == rows - 1 && !goingOn(band)) return;
            roots[y] += scanRow<true>(key, parent, y * w, w, y == y0, join);
        }
    });
    if (stop) return -1;
    // The seams, top to bottom; `changed` collects every pixel whose parent
    // moved (those may now point into an earlier band).
    std::vector<int32_t> changed;
    for (int b = 1; b < bands; ++b) {
        const int32_t row = firstRow[b] * w;
        for (int32_t i = row; i < row + w; ++i) {
            if (key(i) != key(i - w)) continue;
            // The same two sets as the pixel to the left.
            if (i > row && key(i - 1) == key(i) && key(i - 1 - w) == key(i)) continue;
            const int32_t a = find(i - w, &changed), c = find(i, &changed);
            if (a == c) continue;
            const int32_t lo = std::min(a, c), hi = std::max(a, c);
            parent[hi] = lo;
            changed.push_back(hi);
            --rowRoots[hi / w];
        }
    }
    int32_t total = 0;
    for (int y = 0; y <= h; ++y) {
        const int32_t roots = rowRoots[y];
        rowRoots[y] = total;
        total += roots;
    }
    // Every changed pixel straight to its root; the roots so pointed to,
    // sorted, numbered from their rows.
    std::vector<int32_t> targets;
    for (int32_t q : changed) {
        parent[q] = find(q, nullptr);
        targets.push_back(parent[q]);
    }
    std::sort(targets.begin(), targets.end());
    targets.erase(std::unique(targets.begin(), targets.end()), targets.end());
    std::vector<int32_t> numberOf(targets.size());
    for (size_t t = 0; t < targets.size();) {
        const int32_t y = targets[t] / w;
        int32_t next = rowRoots[y];
        for (int32_t i = y * w; t < targets.size() && targets[t] < (y + 1) * w; ++i) {
            if (i == targets[t]) numberOf[t++] = next;
            next += parent[i] == i;
        }
    }
    if (firsts) firsts->assign(static_cast<size_t>(total), 0);
    Bands::run(bands, bands, [&](int band, long long, long long) {
        const int y0 = firstRow[band], y1 = firstRow[band + 1];
        const int32_t from = y0 * w;
        int32_t next = rowRoots[y0];
        int32_t* const label = parent;
        for (int y = y0; y < y1; ++y) {
            if ((y - y0) % rows == rows - 1 && !goingOn(band)) return;
            for (int32_t i = y * w, end = i + w; i < end; ++i) {
                const int32_t v = label[i];
                if (v == i) {
                    if (firsts) (*firsts)[static_cast<size_t>(next)] = i;
                    label[i] = next++;
                } else if (v >= from) {
                    label[i] = label[v];
                } else {
                    label[i] = numberOf[static_cast<size_t>(
                        std::lower_bound(targets.begin(), targets.end(), v) - targets.begin())];
                }
            }
        }
    });
    if (stop) return -1;
    return total;
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

// A picture's labelling (labelRegions's, with the firsts), handed by a stage
// that ends with it to the next stage that reads the same pixels.
struct Labelling {
    std::vector<int32_t> labels, firsts;
    long long count = -1;  // -1: none held
};

// `firsts`, when given, gets every region's first pixel (by its label).
inline long long labelRegions(const RGBQUAD* pixels, const uint8_t* alpha, int w, int h,
                              std::vector<int32_t>& labels, const std::function<bool()>& going = {},
                              int threads = 1, std::vector<int32_t>* firsts = nullptr,
                              long long least = Bands::kMinPixels) {
    if (alpha)
        return detail::labelRegionsBy(detail::ColourAlphaKeys{pixels, alpha}, w, h, labels, going,
                                      threads, firsts, least);
    return detail::labelRegionsBy(detail::ColourKeys{pixels}, w, h, labels, going, threads, firsts,
                                  least);
}

}  // namespace om1
