#include "prepare/RegionTree.h"

#include <algorithm>
#include <climits>

#include "prepare/Bands.h"
#include "prepare/RegionLabels.h"

namespace om1 {

namespace {

// Thrown inside build when the progress asks to stop; the catch there
// empties the tree as it does when memory runs out.
struct Stopped {};

// Steps between pixel corners: 0 = +x, 1 = +y, 2 = -x, 3 = -y. The pixel on
// the region's side of step d from corner (cx, cy), and the one across.
const int kDx[4] = {1, 0, -1, 0};
const int kDy[4] = {0, 1, 0, -1};
const int kInX[4] = {0, -1, -1, 0}, kInY[4] = {0, 0, -1, -1};
const int kOutX[4] = {0, 0, -1, -1}, kOutY[4] = {-1, 0, 0, -1};

// Follows the outer boundary of region `id` from the top left corner of its
// first pixel (x, y), clockwise, and marks in `outerLeft` every pixel whose
// left edge the boundary passes with the region on the left. At a corner
// where the region's pixels touch diagonally the boundary goes on to the
// diagonal pixel (it turns away from the region first), so that it separates
// the region from the one 4-connected group of other pixels that reaches the
// picture's border, and from nothing else.
long long markOuterBoundary(const int32_t* labels, int w, int h, int32_t id, int x, int y,
                            std::vector<uint64_t>& outerLeft) {
    auto at = [&](int px, int py) {
        return px < 0 || py < 0 || px >= w || py >= h ? -1
                                                      : labels[static_cast<size_t>(py) * w + px];
    };
    auto boundary = [&](int cx, int cy, int d) {
        return at(cx + kInX[d], cy + kInY[d]) == id && at(cx + kOutX[d], cy + kOutY[d]) != id;
    };
    int cx = x, cy = y, d = 0;
    long long steps = 0;
    for (;;) {
        ++steps;
        if (d == 1 && cx < w) {
            const size_t p = static_cast<size_t>(cy) * w + cx;
            outerLeft[p >> 6] |= uint64_t{1} << (p & 63);
        }
        cx += kDx[d];
        cy += kDy[d];
        const int order[3] = {(d + 3) & 3, d, (d + 1) & 3};
        int next = -1;
        for (int e : order)
            if (boundary(cx, cy, e)) {
                next = e;
                break;
            }
        // The first pixel's top left corner has no other pixel of the
        // region, so the boundary passes it once.
        if (next < 0 || (cx == x && cy == y)) break;
        d = next;
    }
    return steps;
}

}  // namespace

bool RegionTree::build(const RGBQUAD* pixels, int w, int h,
                       const std::function<bool(double)>& progress, int threads,
                       Labelling* labelled) {
    auto at = [&](double share) { return !progress || progress(share); };
    width = w;
    height = h;
    parents.clear();
    colors.clear();
    labels.clear();
    rootFrame = false;
    longestBoundary = 0;
    if (!pixels || w <= 0 || h <= 0 || static_cast<long long>(w) * h > INT_MAX) return false;
    try {
        const size_t n = static_cast<size_t>(w) * h;
        // The regions (labelRegions: numbered by first pixel) and the first
        // pixel of each. The labelling asks about every 2^18 pixels of its
        // two passes.
        const size_t every = size_t{1} << 18;
        size_t asked = 0;
        std::vector<int32_t> first;
        if (labelled && labelled->count >= 0 && labelled->labels.size() == n) {
            labels.swap(labelled->labels);
            first.swap(labelled->firsts);
            labelled->count = -1;
        } else if (labelRegions(
                       pixels, nullptr, w, h, labels,
                       [&]() {
                           asked += every;
                           return at(0.4 * std::min(1.0, static_cast<double>(asked) / (2.0 * n)));
                       },
                       threads, &first) < 0)
            throw Stopped();
        int32_t* L = labels.data();
        const int bands = std::min(Bands::count(threads, static_cast<long long>(n)), h);
        auto rowsOf = [&](int band, size_t& from, size_t& to) {
            from = static_cast<size_t>(static_cast<long long>(h) * band / bands) * w;
            to = static_cast<size_t>(static_cast<long long>(h) * (band + 1) / bands) * w;
        };
        const int32_t count = static_cast<int32_t>(first.size());

        // Pass 3: containment, region by region in label order.
        std::vector<uint64_t> outerLeft((n + 63) / 64, 0);
        std::vector<int32_t> up(static_cast<size_t>(count));
        int32_t top = 0;
        for (int32_t id = 0; id < count; ++id) {
            if ((id & 4095) == 0 && !at(0.4 + 0.4 * static_cast<double>(id) / count))
                throw Stopped();
            const int32_t s = first[id];
            const int x = s % w, y = s / w;
            if (x == 0) {
                up[id] = -1;
            } else {
                const int32_t t = L[s - 1];
                const bool outside = (outerLeft[static_cast<size_t>(s) >> 6] >> (s & 63)) & 1;
                up[id] = outside ? up[t] : t;
            }
            top += up[id] < 0;
            longestBoundary =
                std::max(longestBoundary, markOuterBoundary(L, w, h, id, x, y, outerLeft));
        }
        outerLeft = std::vector<uint64_t>();
        if (!at(0.8)) throw Stopped();

        // Children lists in label order (a virtual root `count` holds the
        // regions that lie in no other), then the drawing order depth first.
        rootFrame = top > 1;
        std::vector<int32_t> start(static_cast<size_t>(count) + 2, 0);
        for (int32_t id = 0; id < count; ++id) ++start[(up[id] < 0 ? count : up[id]) + 1];
        for (int32_t k = 0; k <= count; ++k) start[k + 1] += start[k];
        std::vector<int32_t> children(static_cast<size_t>(count));
        {
            std::vector<int32_t> fill(start.begin(), start.end() - 1);
            for (int32_t id = 0; id < count; ++id)
                children[fill[up[id] < 0 ? count : up[id]]++] = id;
        }
        std::vector<int32_t> index(static_cast<size_t>(count) + 1);
        const size_t nodes = static_cast<size_t>(count) + (rootFrame ? 1 : 0);
        parents.resize(nodes);
        colors.resize(nodes);
        std::vector<int32_t> stack;
        stack.push_back(rootFrame ? count : 0);
        int32_t k = 0;
        while (!stack.empty()) {
            const int32_t v = stack.back();
            stack.pop_back();
            index[v] = k;
            if (v == count) {
                parents[k] = -1;
                colors[k] = RGBQUAD{};
            } else {
                parents[k] = up[v] < 0 ? (rootFrame ? 0 : -1) : index[up[v]];
                colors[k] = pixels[first[v]];
                colors[k].rgbReserved = 0;
            }
            ++k;
            for (int32_t c = start[v + 1]; c > start[v];) stack.push_back(children[--c]);
        }
        if (!at(0.9)) throw Stopped();
        Bands::run(bands, bands, [&](int band, long long, long long) {
            size_t from, to;
            rowsOf(band, from, to);
            for (size_t i = from; i < to; ++i) L[i] = index[L[i]];
        });
    } catch (...) {
        parents.clear();
        colors.clear();
        labels.clear();
        rootFrame = false;
        return false;
    }
    return true;
}

}  // namespace om1
