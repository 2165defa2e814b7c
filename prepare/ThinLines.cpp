#include "prepare/ThinLines.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "prepare/Bands.h"
#include "prepare/FlatPixels.h"
#include "prepare/PackedColour.h"

namespace om1 {

namespace {

// The passes over the pixels run by bands from this many pixels on (128 x
// 128): each pixel near a flat one costs a window's work.
const long long kMinBandPixels = 1LL << 14;

const int kMinContrast = 48;
const uint32_t kNone =
    0xFFFFFFFFu;  // no colour (keys are 24-bit)  // a line this close to its background is no line

// Bits of a pixel's mark.
const uint8_t kCandidate = 2, kSeen = 4;

// A pixel's colour as a key (PixelKeys without alpha): equal keys, equal
// colours.
inline uint32_t keyAt(const RGBQUAD* p, size_t i) {
    uint32_t v;
    std::memcpy(&v, p + i, sizeof v);
    return v & 0x00FFFFFFu;
}

// The share (0..1) of colour l in colour p on the line from b to l; `off`
// gets p's distance from that line (fromSegment's), rounded.
double shareOf(uint32_t p, uint32_t b, uint32_t l, int& off) {
    double t = 0;
    off = static_cast<int>(fromSegment(p, b, l, t) + 0.5);
    return t;
}

// The flat colours in the window of `radius` round pixel (x, y): one, or
// two (sorted) where the pixel is not a mix of those two (farther than
// `tolerance`); false for none, more, or the pixel's own colour among them.
// Flat pixels side by side have one colour: only those with none before them
// in the window are read (FlatPixels::Window).
bool background(const RGBQUAD* pixels, const FlatPixels& flat, int width, int height, int radius,
                int tolerance, int x, int y, uint32_t& b1, uint32_t& b2) {
    const size_t w = static_cast<size_t>(width);
    const int x0 = std::max(0, x - radius), x1 = std::min(width - 1, x + radius);
    const int y0 = std::max(0, y - radius), y1 = std::min(height - 1, y + radius);
    b1 = b2 = kNone;
    // Adds the colour of pixel i; false for a third.
    auto add = [&](size_t i) {
        const uint32_t c = keyAt(pixels, i);
        if (c == b1 || c == b2) return true;
        if (b1 == kNone) {
            b1 = c;
        } else if (b2 == kNone) {
            b2 = c;
        } else {
            return false;
        }
        return true;
    };
    const int len = x1 - x0 + 1;
    if (len <= 64) {
        FlatPixels::Window window(flat, x0, len, y0);
        size_t at = static_cast<size_t>(y0) * w + x0;
        for (int v = y0; v <= y1; ++v, at += w)
            for (uint64_t fresh = window.next(); fresh; fresh &= fresh - 1)
                if (!add(at + __builtin_ctzll(fresh))) return false;
    } else {
        for (int v = y0; v <= y1; ++v) {
            const uint64_t* row = flat.row(v);
            // By 64 pixels (a run across two parts is read twice).
            for (int u = x0; u <= x1; u += 64) {
                const uint64_t bits = FlatPixels::run(row, u, std::min(64, x1 - u + 1));
                const size_t at = static_cast<size_t>(v) * w + u;
                for (uint64_t starts = bits & ~(bits << 1); starts; starts &= starts - 1)
                    if (!add(at + __builtin_ctzll(starts))) return false;
            }
        }
    }
    const uint32_t own = keyAt(pixels, static_cast<size_t>(y) * w + x);
    if (b1 == kNone || own == b1 || own == b2) return false;
    if (b2 == kNone) return true;
    if (b2 < b1) std::swap(b1, b2);
    int off = 0;
    shareOf(own, b1, b2, off);
    return off > tolerance;
}

}  // namespace

long long ThinLines::restore(RGBQUAD* pixels, int width, int height, int radius, int tolerance,
                             int threads) {
    if (!pixels || width < 3 || height < 3 || radius < 1) return 0;
    const size_t n = static_cast<size_t>(width) * height;
    const size_t w = static_cast<size_t>(width);
    try {
        std::vector<uint8_t> mark(n, 0);
        // Flat pixels (by FlatPixels: its eight neighbours of its colour)
        // and their number in each row. Both passes over the pixels run by
        // bands of rows, from an icon's size on; each band writes only its
        // own rows.
        const int bands = Bands::count(threads, static_cast<long long>(n), kMinBandPixels);
        FlatPixels flat;
        if (!flat.reset(width, height, bands)) return -1;
        const size_t words = flat.words();
        std::vector<int> rowFlats(static_cast<size_t>(height), 0);
        Bands::run(bands, height, [&](int band, long long from, long long to) {
            const int y0 = static_cast<int>(from), y1 = static_cast<int>(to);
            flat.find(PixelKeys{pixels, nullptr}, band, y0, y1);
            for (int y = y0; y < y1; ++y) {
                const uint64_t* row = flat.row(y);
                int flats = 0;
                for (size_t j = 0; j < words; ++j) flats += __builtin_popcountll(row[j]);
                rowFlats[static_cast<size_t>(y)] = flats;
            }
        });
        if (std::all_of(rowFlats.begin(), rowFlats.end(), [](int f) { return f == 0; })) return 0;
        // The candidates: pixels that are not flat with a flat pixel in
        // their window, found from the flat bits of the window's rows joined
        // (a row whose window holds none at all, as in most of a
        // photograph, costs nothing). Each band keeps its own candidates,
        // joined in band order.
        struct Found {
            std::vector<uint64_t> nearby;  // FlatPixels::nearby of a row
            std::vector<size_t> candidates;
            std::vector<uint64_t> backs;
            bool failed = false;
        };
        std::vector<Found> found(static_cast<size_t>(bands));
        for (Found& f : found) f.nearby.assign(words, 0);
        Bands::run(bands, height, [&](int band, long long from, long long to) {
            Found& f = found[static_cast<size_t>(band)];
            uint64_t* const nearby = f.nearby.data();
            const int cols = width, rows = height, r = radius, tol = tolerance;
            const RGBQUAD* const px = pixels;
            const int* const flats = rowFlats.data();
            const int y0 = static_cast<int>(from), y1 = static_cast<int>(to);
            int windowFlats = 0;  // flat pixels in the window's rows
            for (int v = std::max(0, y0 - r); v <= std::min(y0 + r, rows - 1); ++v)
                windowFlats += flats[v];
            try {
                for (int y = y0; y < y1; ++y) {
                    if (y > y0) {
                        const int add = y + r, drop = y - r - 1;
                        if (add < rows) windowFlats += flats[add];
                        if (drop >= 0) windowFlats -= flats[drop];
                    }
                    if (windowFlats == 0) continue;
                    // Only pixels with a flat pixel in their window.
                    flat.nearby(y - r, y + r, r, nearby);
                    const uint64_t* own = flat.row(y);
                    for (size_t j = 0; j < words; ++j) {
                        for (uint64_t open = ~own[j] & nearby[j]; open; open &= open - 1) {
                            const int x = static_cast<int>(j * 64) + __builtin_ctzll(open);
                            uint32_t b1 = 0, b2 = 0;
                            if (!background(px, flat, cols, rows, r, tol, x, y, b1, b2)) continue;
                            const size_t i = static_cast<size_t>(y) * w + x;
                            f.candidates.push_back(i);
                            f.backs.push_back(static_cast<uint64_t>(b1) << 32 | b2);
                        }
                    }
                }
            } catch (const std::bad_alloc&) {
                f.failed = true;
            }
        });
        std::vector<size_t> candidates;
        std::vector<uint64_t> backs;
        for (Found& f : found) {
            if (f.failed) return -1;
            candidates.insert(candidates.end(), f.candidates.begin(), f.candidates.end());
            backs.insert(backs.end(), f.backs.begin(), f.backs.end());
        }
        for (size_t i : candidates) mark[i] |= kCandidate;
        auto backOf = [&](size_t i) {
            const size_t k = static_cast<size_t>(
                std::lower_bound(candidates.begin(), candidates.end(), i) - candidates.begin());
            return backs[k];
        };
        // The lines: 8-connected groups of candidates on one background.
        std::vector<size_t> group, stack;
        std::vector<double> share;
        std::vector<uint32_t> which;
        long long changed = 0;
        for (size_t g = 0; g < candidates.size(); ++g) {
            const size_t start = candidates[g];
            if (mark[start] & kSeen) continue;
            const uint64_t bb = backs[g];
            const uint32_t b = static_cast<uint32_t>(bb >> 32), bOther = static_cast<uint32_t>(bb);
            group.clear();
            stack.assign(1, start);
            mark[start] |= kSeen;
            while (!stack.empty()) {
                const size_t i = stack.back();
                stack.pop_back();
                group.push_back(i);
                const int x = static_cast<int>(i % w), y = static_cast<int>(i / w);
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx) {
                        const int u = x + dx, v = y + dy;
                        if (u < 0 || v < 0 || u >= width || v >= height) continue;
                        const size_t j = static_cast<size_t>(v) * w + u;
                        if ((mark[j] & (kCandidate | kSeen)) != kCandidate || backOf(j) != bb)
                            continue;
                        mark[j] |= kSeen;
                        stack.push_back(j);
                    }
            }
            std::sort(group.begin(), group.end());
            // Its colour: the pixel farthest from the background (from the
            // nearer of two).
            auto dist2 = [](uint32_t c, uint32_t d) {
                long long s2 = 0;
                for (int ch = 0; ch < 3; ++ch) {
                    const long long e = colourChannel(c, ch) - colourChannel(d, ch);
                    s2 += e * e;
                }
                return s2;
            };
            uint32_t l = b;
            long long farthest = -1;
            for (size_t i : group) {
                const uint32_t c = keyAt(pixels, i);
                long long d = dist2(c, b);
                if (bOther != kNone) d = std::min(d, dist2(c, bOther));
                if (d > farthest) farthest = d, l = c;
            }
            if (maxDiff(l, b) < kMinContrast) continue;
            if (bOther != kNone && maxDiff(l, bOther) < kMinContrast) continue;
            share.resize(group.size());
            which.resize(group.size());
            bool line = true;
            for (size_t k = 0; k < group.size() && line; ++k) {
                int off = 0;
                share[k] = shareOf(keyAt(pixels, group[k]), b, l, off);
                which[k] = b;
                if (bOther != kNone) {
                    int off2 = 0;
                    const double s2 = shareOf(keyAt(pixels, group[k]), bOther, l, off2);
                    if (off2 < off) off = off2, share[k] = s2, which[k] = bOther;
                }
                line = off <= tolerance;
            }
            if (!line) continue;
            // Keys and packed colours differ only in the order of red and
            // blue; the pixels take the key's bytes as they are.
            auto paint = [&](size_t i, uint32_t key) {
                if (keyAt(pixels, i) == key) return;
                const BYTE reserved = pixels[i].rgbReserved;
                std::memcpy(pixels + i, &key, sizeof key);
                pixels[i].rgbReserved = reserved;
                ++changed;
            };
            // Shares were read before any pixel changes; the group's
            // squares are judged on the painted pixels.
            for (size_t k = 0; k < group.size(); ++k)
                paint(group[k], share[k] >= 0.5 ? l : which[k]);
            // Two pixels of the line that meet only at a corner: of the other
            // two pixels of their square, the one holding more of the line
            // joins it (its share from its colour before the painting is
            // lost for members: a member there holds less than half).
            for (size_t k = 0; k < group.size(); ++k) {
                const size_t i = group[k];
                if (share[k] < 0.5) continue;
                const int x = static_cast<int>(i % w), y = static_cast<int>(i / w);
                if (y + 1 >= height) continue;
                for (int dx = -1; dx <= 1; dx += 2) {
                    const int u = x + dx;
                    if (u < 0 || u >= width) continue;
                    const size_t diag = static_cast<size_t>(y + 1) * w + u;
                    const size_t side = static_cast<size_t>(y) * w + u;
                    const size_t below = i + w;
                    if (keyAt(pixels, diag) != l || keyAt(pixels, side) == l ||
                        keyAt(pixels, below) == l)
                        continue;
                    auto held = [&](size_t j) {
                        const auto it = std::lower_bound(group.begin(), group.end(), j);
                        return it != group.end() && *it == j
                                   ? share[static_cast<size_t>(it - group.begin())]
                                   : -1.0;
                    };
                    const double a = held(side), c = held(below);
                    if (a < 0 && c < 0) continue;
                    paint(a >= c ? side : below, l);
                }
            }
        }
        return changed;
    } catch (const std::bad_alloc&) {
        return -1;
    }
}

}  // namespace om1
