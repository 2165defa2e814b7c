#include "prepare/AlphaPicture.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <unordered_map>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "prepare/Bands.h"
#include "prepare/PackedColour.h"

namespace om1 {

namespace {

// One bit per colour of the 2^24 (2 MB).
class ColourSet {
public:
    ColourSet() : bits_(size_t(1) << 18, 0) {}
    bool has(uint32_t c) const { return bits_[c >> 6] >> (c & 63) & 1; }
    void add(uint32_t c) { bits_[c >> 6] |= uint64_t(1) << (c & 63); }

private:
    std::vector<uint64_t> bits_;
};

uint32_t pack(int r, int g, int b) {
    return static_cast<uint32_t>(r) | static_cast<uint32_t>(g) << 8 |
           static_cast<uint32_t>(b) << 16;
}

// The colour nobody has nearest to c (largest channel difference), in a
// fixed order within each distance; c itself when it is free.
uint32_t nearestFree(const ColourSet& used, uint32_t c) {
    if (!used.has(c)) return c;
    const int r = colourChannel(c, 0), g = colourChannel(c, 1), b = colourChannel(c, 2);
    for (int d = 1; d < 256; ++d)
        for (int dr = -d; dr <= d; ++dr)
            for (int dg = -d; dg <= d; ++dg)
                for (int db = -d; db <= d; ++db) {
                    if (std::max({std::abs(dr), std::abs(dg), std::abs(db)}) != d) continue;
                    const int x = r + dr, y = g + dg, z = b + db;
                    if (x < 0 || y < 0 || z < 0 || x > 255 || y > 255 || z > 255) continue;
                    const uint32_t k = pack(x, y, z);
                    if (!used.has(k)) return k;
                }
    return c;
}

// A free colour far from every used one: the centre of the cell of a
// 32 x 32 x 32 grid (8 levels a side) farthest (in cells, largest channel
// difference) from every cell that holds a used colour; the first in cell
// order among equals.
uint32_t farthestFree(const ColourSet& used, const std::vector<uint32_t>& colours) {
    const int kSide = 32;
    std::vector<int> dist(kSide * kSide * kSide, -1);
    std::vector<int> queue;
    for (uint32_t c : colours) {
        const int cell = (colourChannel(c, 0) >> 3) + kSide * (colourChannel(c, 1) >> 3) +
                         kSide * kSide * (colourChannel(c, 2) >> 3);
        if (dist[cell] < 0) {
            dist[cell] = 0;
            queue.push_back(cell);
        }
    }
    if (queue.empty()) return 0;
    for (size_t q = 0; q < queue.size(); ++q) {
        const int cell = queue[q];
        const int x = cell % kSide, y = cell / kSide % kSide, z = cell / (kSide * kSide);
        for (int dz = -1; dz <= 1; ++dz)
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) {
                    const int nx = x + dx, ny = y + dy, nz = z + dz;
                    if (nx < 0 || ny < 0 || nz < 0 || nx >= kSide || ny >= kSide || nz >= kSide)
                        continue;
                    const int n = nx + kSide * ny + kSide * kSide * nz;
                    if (dist[n] >= 0) continue;
                    dist[n] = dist[cell] + 1;
                    queue.push_back(n);
                }
    }
    const int best = static_cast<int>(std::max_element(dist.begin(), dist.end()) - dist.begin());
    if (dist[best] > 0)
        return pack((best % kSide) * 8 + 4, (best / kSide % kSide) * 8 + 4,
                    (best / (kSide * kSide)) * 8 + 4);
    // Every cell holds a colour: the first free one.
    for (uint32_t c = 0; c < (1u << 24); ++c)
        if (!used.has(c)) return c;
    return 0;
}

}  // namespace

void AlphaPicture::settle(std::vector<RGBQUAD>& pixels, std::vector<uint8_t>& alpha, bool composite,
                          RGBQUAD background) {
    const size_t n = std::min(pixels.size(), alpha.size());
    if (composite) {
        for (size_t i = 0; i < n; ++i) {
            RGBQUAD& q = pixels[i];
            const unsigned a = alpha[i];
            q.rgbRed = over(q.rgbRed, a, background.rgbRed);
            q.rgbGreen = over(q.rgbGreen, a, background.rgbGreen);
            q.rgbBlue = over(q.rgbBlue, a, background.rgbBlue);
        }
        std::vector<uint8_t>().swap(alpha);
        return;
    }
    bool any = false;
    for (size_t i = 0; i < n && !any; ++i) any = alpha[i] != kOpaque;
    if (!any || alpha.size() != pixels.size()) {
        std::vector<uint8_t>().swap(alpha);
        return;
    }
    // The colour of a pixel nobody sees is no colour: one for all.
    for (size_t i = 0; i < n; ++i)
        if (alpha[i] == kEmpty) pixels[i].rgbRed = pixels[i].rgbGreen = pixels[i].rgbBlue = 0;
}

namespace {

// Row of RGBA bytes into pixels (blue, green, red, 0); returns the AND of
// their alpha bytes (255 when every pixel is opaque).
uint8_t convertRow(const uint8_t* row, int width, RGBQUAD* out) {
    uint32_t all = 0xFFFFFFFFu;
    int x = 0;
#if defined(__SSE2__)
    // Four pixels at a time: red and blue swapped by shifts, the fourth
    // byte cleared.
    const __m128i low = _mm_set1_epi32(0xFF), middle = _mm_set1_epi32(0xFF00);
    __m128i every = _mm_set1_epi32(-1);
    for (; x + 4 <= width; x += 4) {
        const __m128i v =
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + 4 * static_cast<size_t>(x)));
        every = _mm_and_si128(every, v);
        const __m128i q = _mm_or_si128(
            _mm_or_si128(_mm_and_si128(_mm_srli_epi32(v, 16), low), _mm_and_si128(v, middle)),
            _mm_slli_epi32(_mm_and_si128(v, low), 16));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), q);
    }
    uint32_t lanes[4];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(lanes), every);
    all = lanes[0] & lanes[1] & lanes[2] & lanes[3];
#endif
    for (; x < width; ++x) {
        uint32_t v;
        std::memcpy(&v, row + 4 * static_cast<size_t>(x), sizeof v);
        all &= v;
        const uint32_t q = (v >> 16 & 0xFFu) | (v & 0xFF00u) | (v & 0xFFu) << 16;
        std::memcpy(out + x, &q, sizeof q);
    }
    return static_cast<uint8_t>(all >> 24);
}

void alphaRow(const uint8_t* row, int width, uint8_t* out) {
    for (int x = 0; x < width; ++x) out[x] = row[4 * static_cast<size_t>(x) + 3];
}

}  // namespace

bool AlphaPicture::fromRgba(const uint8_t* rgba, int width, int height, size_t stride,
                            bool composite, RGBQUAD background, std::vector<RGBQUAD>& pixels,
                            std::vector<uint8_t>& alpha, const std::function<bool()>& going,
                            int threads) {
    pixels.clear();
    alpha.clear();
    if (!rgba || width <= 0 || height <= 0) return false;
    try {
        const size_t n = static_cast<size_t>(width) * height;
        // Grown row by row, so that no single step touches all the memory.
        // The alpha bytes are only kept when some pixel is not opaque (an
        // opaque picture has no alpha, composited or not).
        pixels.reserve(n);
        // A large picture: grown 256 rows at a time here, then converted by
        // bands of rows on the threads.
        const int bands = std::min(Bands::count(threads, static_cast<long long>(n)), height);
        std::vector<uint8_t> opaqueIn(static_cast<size_t>(bands), 1);
        for (int y = 0; y < height && bands > 1; y += 256) {
            if (y > 0 && going && !going()) {
                pixels.clear();
                return false;
            }
            const size_t rows = static_cast<size_t>(std::min(height, y + 256));
            pixels.resize(rows * width);
        }
        if (bands > 1)
            Bands::run(bands, height, [&](int band, long long y0, long long y1) {
                uint8_t all = 0xFF;
                for (long long y = y0; y < y1; ++y)
                    all &= convertRow(rgba + static_cast<size_t>(y) * stride, width,
                                      pixels.data() + static_cast<size_t>(y) * width);
                opaqueIn[band] = all == 0xFF;
            });
        uint8_t all = 0xFF;
        for (int y = 0; y < height && bands == 1; ++y) {
            if ((y & 255) == 255 && going && !going()) {
                pixels.clear();
                return false;
            }
            pixels.resize(pixels.size() + static_cast<size_t>(width));
            all &= convertRow(rgba + static_cast<size_t>(y) * stride, width,
                              pixels.data() + static_cast<size_t>(y) * width);
        }
        opaqueIn[0] = opaqueIn[0] && all == 0xFF;
        if (std::find(opaqueIn.begin(), opaqueIn.end(), uint8_t{0}) == opaqueIn.end()) return true;
        alpha.reserve(n);
        for (int y = 0; y < height; ++y) {
            if ((y & 255) == 255 && going && !going()) {
                pixels.clear();
                alpha.clear();
                return false;
            }
            alpha.resize(alpha.size() + static_cast<size_t>(width));
            alphaRow(rgba + static_cast<size_t>(y) * stride, width,
                     alpha.data() + static_cast<size_t>(y) * width);
        }
    } catch (...) {
        pixels.clear();
        alpha.clear();
        return false;
    }
    settle(pixels, alpha, composite, background);
    return true;
}

bool AlphaPicture::quantizeLevels(uint8_t* alpha, size_t n, int levels) {
    if (!alpha) return false;
    uint8_t map[256];
    if (levels <= 0) {
        for (int v = 0; v < 256; ++v) map[v] = v >= 128 ? kOpaque : kEmpty;
    } else {
        double count[256] = {};
        for (size_t i = 0; i < n; ++i) count[alpha[i]] += 1;
        levels = std::min(levels, 254);
        std::vector<double> level(static_cast<size_t>(levels) + 2);
        level[0] = 0;
        level[levels + 1] = 255;
        for (int j = 1; j <= levels; ++j) level[j] = 255.0 * j / (levels + 1);
        std::vector<int> nearest(256, 0);
        auto assign = [&]() {
            for (int v = 0; v < 256; ++v) {
                int best = 0;
                for (int j = 1; j < levels + 2; ++j)
                    if (std::abs(v - level[j]) < std::abs(v - level[best])) best = j;
                nearest[v] = best;
            }
        };
        for (int round = 0; round < 16; ++round) {
            assign();
            std::vector<double> sum(level.size(), 0), weight(level.size(), 0);
            for (int v = 1; v < 255; ++v) {
                sum[nearest[v]] += v * count[v];
                weight[nearest[v]] += count[v];
            }
            bool moved = false;
            for (int j = 1; j <= levels; ++j) {
                if (weight[j] <= 0) continue;
                const double m = sum[j] / weight[j];
                if (m != level[j]) moved = true;
                level[j] = m;
            }
            if (!moved) break;
        }
        assign();
        for (int v = 0; v < 256; ++v) {
            const long r = std::lround(level[nearest[v]]);
            map[v] =
                static_cast<uint8_t>(nearest[v] == 0            ? kEmpty
                                     : nearest[v] == levels + 1 ? kOpaque
                                                                : std::min(254L, std::max(1L, r)));
        }
    }
    for (size_t i = 0; i < n; ++i) alpha[i] = map[alpha[i]];
    return true;
}

bool AlphaPicture::standIns(const RGBQUAD* colours, const uint8_t* alpha, size_t n,
                            std::vector<RGBQUAD>& out) {
    try {
        out.assign(colours, colours + n);
        if (!alpha) return true;
        ColourSet used;
        std::vector<uint32_t> distinct;  // used colours, each once
        bool anyEmpty = false;
        for (size_t i = 0; i < n; ++i) {
            if (alpha[i] == kEmpty) anyEmpty = true;
            if (alpha[i] != kOpaque) continue;
            const uint32_t c = packColour(colours[i]);
            if (!used.has(c)) {
                used.add(c);
                distinct.push_back(c);
            }
        }
        // Partial levels in row order of their first pixel.
        std::unordered_map<uint32_t, uint32_t> partial;
        for (size_t i = 0; i < n; ++i) {
            if (alpha[i] == kEmpty || alpha[i] == kOpaque) continue;
            const uint32_t key = packColour(colours[i]) | static_cast<uint32_t>(alpha[i]) << 24;
            auto it = partial.find(key);
            if (it == partial.end()) {
                const uint32_t s = nearestFree(used, key & 0xFFFFFF);
                used.add(s);
                distinct.push_back(s);
                it = partial.emplace(key, s).first;
            }
            unpackColour(out[i], it->second);
        }
        if (anyEmpty) {
            const uint32_t e = farthestFree(used, distinct);
            for (size_t i = 0; i < n; ++i)
                if (alpha[i] == kEmpty) unpackColour(out[i], e);
        }
    } catch (...) {
        out.clear();
        return false;
    }
    return true;
}

}  // namespace om1
