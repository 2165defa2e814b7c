#include "shapes/CrackTracer.h"

#include <functional>
#include <new>

namespace om1 {

namespace {

const int kDx[4] = {1, 0, -1, 0};
const int kDy[4] = {0, 1, 0, -1};
// Offsets from a corner to the pixel on the inner (left in travel terms:
// side (d + 1) mod 4) and outer side of the step d that starts there.
const int kInX[4] = {0, -1, -1, 0}, kInY[4] = {0, 0, -1, -1};
const int kOutX[4] = {0, 0, -1, -1}, kOutY[4] = {-1, 0, 0, -1};

struct Grid {
    const int32_t* labels;
    int w, h;
    int32_t at(int x, int y) const {
        return x < 0 || y < 0 || x >= w || y >= h ? -1 : labels[static_cast<size_t>(y) * w + x];
    }
};

// A mask read as labels: 0 where set, -1 elsewhere.
struct MaskGrid {
    const uint8_t* mask;
    int w, h;
    int32_t at(int x, int y) const {
        return x < 0 || y < 0 || x >= w || y >= h || !mask[static_cast<size_t>(y) * w + x] ? -1 : 0;
    }
};

// The pixels of one label.
template <class G>
struct OneLabel {
    const G& g;
    int32_t l;
    bool operator()(int x, int y) const { return g.at(x, y) == l; }
};

// The pixels whose label lies in [lo, hi).
struct LabelRange {
    const Grid& g;
    int32_t lo, hi;
    bool operator()(int x, int y) const {
        const int32_t l = g.at(x, y);
        return l >= lo && l < hi;
    }
};

// True when step d from corner (cx, cy) is a boundary step of the area.
template <class Area>
bool boundaryStep(const Area& in, int cx, int cy, int d) {
    return in(cx + kInX[d], cy + kInY[d]) && !in(cx + kOutX[d], cy + kOutY[d]);
}

// The four pixels round a corner as bits: 1 up left, 2 up right, 4 down
// left, 8 down right of it; set where the pixel is the area's.
int cornerBit(int dx, int dy) {
    return 1 << ((dy + 1) * 2 + (dx + 1));
}

template <class Area>
int cornerBits(const Area& in, int cx, int cy) {
    return (in(cx - 1, cy - 1) ? 1 : 0) | (in(cx, cy - 1) ? 2 : 0) | (in(cx - 1, cy) ? 4 : 0) |
           (in(cx, cy) ? 8 : 0);
}

// The step that follows step d at a corner whose pixels are `bits`: the
// first boundary step turning towards the region, then straight on, then
// away (-1: none), for every d and bits.
struct NextSteps {
    int8_t next[4][16];
    NextSteps() {
        for (int d = 0; d < 4; ++d)
            for (int bits = 0; bits < 16; ++bits) {
                auto in = [&](int dx, int dy) { return (bits & cornerBit(dx, dy)) != 0; };
                next[d][bits] = -1;
                for (int e : {(d + 1) & 3, d, (d + 3) & 3})
                    if (in(kInX[e], kInY[e]) && !in(kOutX[e], kOutY[e])) {
                        next[d][bits] = static_cast<int8_t>(e);
                        break;
                    }
            }
    }
};
const NextSteps kNext;

// Follows the loop that starts with step 0 at corner (x, y) into `steps`
// (a scratch buffer, cleared first), then copies them to the loop at their
// final size; `mark` is told every step. May throw std::bad_alloc.
// The pixels round each corner are carried along: a step keeps the two
// pixels beside it and looks up the two ahead.
template <class Area, class Mark>
void follow(const Area& in, int x, int y, std::vector<uint8_t>& steps, CrackLoop& loop, Mark mark) {
    steps.clear();
    int cx = x, cy = y, d = 0;
    int bits = cornerBits(in, cx, cy);
    for (;;) {
        mark(cx, cy, d);
        steps.push_back(static_cast<uint8_t>(d));
        cx += kDx[d];
        cy += kDy[d];
        switch (d) {
            case 0:  // right: the right column becomes the left one
                bits = (bits >> 1 & 5) | (in(cx, cy - 1) ? 2 : 0) | (in(cx, cy) ? 8 : 0);
                break;
            case 1:  // down: the lower row becomes the upper one
                bits = (bits >> 2) | (in(cx - 1, cy) ? 4 : 0) | (in(cx, cy) ? 8 : 0);
                break;
            case 2:  // left: the left column becomes the right one
                bits = (bits << 1 & 10) | (in(cx - 1, cy - 1) ? 1 : 0) | (in(cx - 1, cy) ? 4 : 0);
                break;
            default:  // up: the upper row becomes the lower one
                bits = (bits << 2 & 12) | (in(cx - 1, cy - 1) ? 1 : 0) | (in(cx, cy - 1) ? 2 : 0);
                break;
        }
        const int next = kNext.next[d][bits];
        if (next < 0) break;  // cannot happen on a label raster
        if (cx == x && cy == y && next == 0) break;
        d = next;
    }
    loop.codes.assign(steps.data(), steps.data() + steps.size());
}

// Every loop of a grid's labels, in the order of CrackTracer::trace, each
// followed into the loop `emit(label)` gives; `going` (may be empty) is asked
// every 256 rows: false stops with false. `used` and `steps` are scratch.
template <class G, class Emit>
bool traceGrid(const G& g, int offsetX, int offsetY, Emit emit, const std::function<bool()>& going,
               std::vector<uint8_t>& used, std::vector<uint8_t>& steps) {
    const int width = g.w, height = g.h;
    const size_t cw = static_cast<size_t>(width) + 1;
    try {
        used.assign(cw * (static_cast<size_t>(height) + 1), 0);
    } catch (...) {
        return false;
    }
    for (int y = 0; y < height; ++y) {
        if ((y & 255) == 255 && going && !going()) return false;
        for (int x = 0; x < width; ++x) {
            const int32_t l = g.at(x, y);
            if (l < 0 || (used[y * cw + x] & 1)) continue;
            const OneLabel<G> in{g, l};
            if (!boundaryStep(in, x, y, 0)) continue;
            try {
                CrackLoop& loop = emit(l);
                loop.x = x + offsetX;
                loop.y = y + offsetY;
                follow(in, x, y, steps, loop, [&](int cx, int cy, int d) {
                    used[cy * cw + cx] |= static_cast<uint8_t>(1u << d);
                });
            } catch (...) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace

bool CrackTracer::trace(const int32_t* labels, int width, int height, int offsetX, int offsetY,
                        std::vector<Labelled>& out) {
    if (!labels || width <= 0 || height <= 0) return true;
    std::vector<uint8_t> used, steps;
    return traceGrid(
        Grid{labels, width, height}, offsetX, offsetY,
        [&](int32_t label) -> CrackLoop& {
            out.push_back(Labelled{label, CrackLoop()});
            return out.back().loop;
        },
        {}, used, steps);
}

bool CrackTracer::traceRange(const int32_t* labels, int width, int height, int32_t lo, int32_t hi,
                             int x, int y, CrackLoop& out, std::vector<uint8_t>* scratch) {
    out = CrackLoop();
    if (!labels || x < 0 || y < 0 || x >= width || y >= height) return true;
    const Grid g{labels, width, height};
    const LabelRange in{g, lo, hi};
    if (!boundaryStep(in, x, y, 0)) return true;
    out.x = x;
    out.y = y;
    try {
        std::vector<uint8_t> own;
        follow(in, x, y, scratch ? *scratch : own, out, [](int, int, int) {});
    } catch (...) {
        out = CrackLoop();
        return false;
    }
    return true;
}

bool CrackTracer::traceMask(const uint8_t* mask, int width, int height, int offsetX, int offsetY,
                            LoopList& out, const std::function<bool()>& going, Scratch* scratch) {
    if (!mask || width <= 0 || height <= 0) return true;
    Scratch own;
    Scratch& s = scratch ? *scratch : own;
    return traceGrid(
        MaskGrid{mask, width, height}, offsetX, offsetY,
        [&](int32_t) -> CrackLoop& { return out.emplace_back(); }, going, s.used, s.steps);
}

}  // namespace om1
