#include "prepare/FlatPixels.h"

#include <algorithm>
#include <new>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace om1 {

bool FlatPixels::reset(int width, int height, int bands) {
    width_ = std::max(width, 0);
    height_ = std::max(height, 0);
    words_ = (static_cast<size_t>(width_) + 63) / 64;
    lastMask_ = (width_ & 63) == 0 ? ~uint64_t{0} : (uint64_t{1} << (width_ & 63)) - 1;
    try {
        bits_.assign(words_ * static_cast<size_t>(height_), 0);
        scratch_.assign(static_cast<size_t>(std::max(bands, 1)) * 6 * words_, 0);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

// Flat is read from two bits per pixel: R, its right neighbour has its key,
// and D, the one below does (set where there is no such neighbour). With H =
// R and the left neighbour's R (the pixel's row of three alike), a pixel is
// flat when H holds in its row and the rows above and below and D in its row
// and the one above.
void FlatPixels::rowBits(const PixelKeys& key, int y, uint64_t* H, uint64_t* D) const {
    const int width = width_;
    const size_t at0 = static_cast<size_t>(y) * width;
    const bool below = y + 1 < height_;
    for (size_t j = 0; j < words_; ++j) {
        const int x0 = static_cast<int>(j * 64), x1 = std::min(width, x0 + 64);
        uint64_t r = 0, d = 0;
        int x = x0;
#if defined(__SSE2__)
        // Without alpha four pixels at a time (while a right neighbour
        // follows all four): the key is the pixel's low three bytes.
        if (!key.alpha) {
            const RGBQUAD* const pixels = key.pixels;
            const __m128i colour = _mm_set1_epi32(0x00FFFFFF);
            auto keys = [&](size_t i) {
                return _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + i)),
                                     colour);
            };
            auto bits = [](__m128i a, __m128i b) {
                return static_cast<uint64_t>(
                    _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpeq_epi32(a, b))));
            };
            for (; x + 4 <= x1 && x + 4 < width; x += 4) {
                const size_t i = at0 + x;
                const __m128i here = keys(i);
                r |= bits(here, keys(i + 1)) << (x - x0);
                d |= (below ? bits(here, keys(i + width)) : uint64_t{15}) << (x - x0);
            }
        }
#endif
        uint32_t k = key(at0 + x);
        for (; x < x1; ++x) {
            const size_t i = at0 + x;
            const uint32_t next = x + 1 < width ? key(i + 1) : ~k;
            r |= uint64_t{next == k || x + 1 == width} << (x - x0);
            d |= uint64_t{!below || key(i + width) == k} << (x - x0);
            k = next;
        }
        H[j] = r;
        D[j] = d;
    }
    uint64_t carry = 1;  // R of the pixel left of the word's first
    for (size_t j = 0; j < words_; ++j) {
        const uint64_t r = H[j];
        H[j] = r & (r << 1 | carry);
        carry = r >> 63;
    }
}

void FlatPixels::nearby(int y0, int y1, int radius, uint64_t* nearby) const {
    std::fill(nearby, nearby + words_, 0);
    y0 = std::max(y0, 0);
    y1 = std::min(y1, height_ - 1);
    for (int y = y0; y <= y1; ++y) {
        const uint64_t* bits = row(y);
        for (size_t j = 0; j < words_; ++j) nearby[j] |= bits[j];
    }
    // Widened by a pixel each way, `radius` times.
    for (int step = 0; step < radius; ++step) {
        uint64_t before = 0;  // the last word as it was
        for (size_t j = 0; j < words_; ++j) {
            const uint64_t v = nearby[j], after = j + 1 < words_ ? nearby[j + 1] : 0;
            nearby[j] = v | v << 1 | v >> 1 | before >> 63 | after << 63;
            before = v;
        }
    }
    nearby[words_ - 1] &= lastMask_;
}

void FlatPixels::find(const PixelKeys& key, int band, int y0, int y1,
                      const std::function<bool(int)>& going) {
    if (y0 >= y1) return;
    const size_t words = words_;
    // Each band keeps three rows of H and D, in turn.
    uint64_t* own = &scratch_[static_cast<size_t>(band) * 6 * words];
    uint64_t *hAbove = own, *hRow = own + words, *hBelow = own + 2 * words;
    uint64_t *dAbove = own + 3 * words, *dRow = own + 4 * words, *dBelow = own + 5 * words;
    if (y0 > 0) {
        rowBits(key, y0 - 1, hAbove, dAbove);
    } else {
        std::fill(hAbove, hAbove + words, ~uint64_t{0});
        std::fill(dAbove, dAbove + words, ~uint64_t{0});
    }
    rowBits(key, y0, hRow, dRow);
    for (int y = y0; y < y1; ++y) {
        if (going && !going(y)) return;
        if (y + 1 < height_)
            rowBits(key, y + 1, hBelow, dBelow);
        else
            std::fill(hBelow, hBelow + words, ~uint64_t{0});
        uint64_t* row = &bits_[static_cast<size_t>(y) * words];
        for (size_t j = 0; j < words; ++j)
            row[j] = hAbove[j] & hRow[j] & hBelow[j] & dAbove[j] & dRow[j];
        row[words - 1] &= lastMask_;
        std::swap(hAbove, hRow);
        std::swap(hRow, hBelow);
        std::swap(dAbove, dRow);
        std::swap(dRow, dBelow);
    }
}

}  // namespace om1
