// LabelRun: whether a run of labels in a row all hold one label, and where
// such a run ends, looked at four labels at a time (with SSE2 where the
// target has it). The passes over every pixel of a label raster use it to
// pass over the inside of a region, where every pixel and its neighbours
// have one label, at a few operations per pixel.
#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace om1 {

class LabelRun {
public:
    // Whether p[0] .. p[7] all equal `label`.
    static bool eight(const int32_t* p, int32_t label) {
#if defined(__SSE2__)
        const __m128i l = _mm_set1_epi32(label);
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 4));
        return _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi32(a, l), _mm_cmpeq_epi32(b, l))) ==
               0xFFFF;
#else
        int32_t differ = 0;
        for (int k = 0; k < 8; ++k) differ |= p[k] ^ label;
        return differ == 0;
#endif
    }

    // The first index from `from` on, below `end`, whose label is not
    // `label` (`end` when there is none).
    static int end(const int32_t* row, int from, int end, int32_t label) {
        int x = from;
#if defined(__SSE2__)
        const __m128i l = _mm_set1_epi32(label);
        while (x + 4 <= end &&
               _mm_movemask_epi8(_mm_cmpeq_epi32(
                   _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x)), l)) == 0xFFFF)
            x += 4;
#endif
        while (x < end && row[x] == label) ++x;
        return x;
    }
};

}  // namespace om1
