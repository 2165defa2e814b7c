#include "decode/PngReader.h"

#include <libdeflate.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

// From this many pixels on, a second thread expands the rows, told of every
// kRowsTold rows unfiltered.
const long long kHelperPixels = 1LL << 20;
const long long kRowsTold = 16;
// Compressed data is read this many bytes at a time.
const size_t kReadBlock = size_t{1} << 20;

uint32_t be(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) << 24 | static_cast<uint32_t>(p[1]) << 16 |
           static_cast<uint32_t>(p[2]) << 8 | p[3];
}

struct DecompressorFree {
    void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
};

// The filters by bytes a pixel, so that each channel's left neighbour stays
// in a register.
template <int B>
void sub(uint8_t* row, size_t bytes) {
    if (bytes < 2 * B) {
        for (size_t i = B; i < bytes; ++i) row[i] = static_cast<uint8_t>(row[i] + row[i - B]);
        return;
    }
    uint8_t left[B];
    for (int c = 0; c < B; ++c) left[c] = row[c];
    size_t i = B;
    for (; i + B <= bytes; i += B)
#pragma GCC unroll 8
        for (int c = 0; c < B; ++c)
            left[c] = row[i + c] = static_cast<uint8_t>(row[i + c] + left[c]);
    for (; i < bytes; ++i) row[i] = static_cast<uint8_t>(row[i] + row[i - B]);
}

template <int B>
void average(uint8_t* row, const uint8_t* prior, size_t bytes) {
    unsigned left[B];
    for (int c = 0; c < B; ++c) left[c] = row[c] = static_cast<uint8_t>(row[c] + (prior[c] >> 1));
    for (size_t i = B; i < bytes; i += B)
#pragma GCC unroll 8
        for (int c = 0; c < B; ++c)
            left[c] = row[i + c] =
                static_cast<uint8_t>(row[i + c] + ((left[c] + prior[i + c]) >> 1));
}

template <int B>
void paeth(uint8_t* row, const uint8_t* prior, size_t bytes) {
    int left[B], upLeft[B];
    for (int c = 0; c < B; ++c) {
        left[c] = row[c] = static_cast<uint8_t>(row[c] + prior[c]);
        upLeft[c] = prior[c];
    }
    size_t i = B;
#if defined(__SSE2__)
    // Three or four channels: a pixel's channels at once, as 16-bit numbers
    // (each pixel still waits for its left neighbour). Four bytes are read a
    // pixel (of three, the next one's first too, left out of the sums) while
    // four are left in the row.
    if (B >= 3 && i + 4 <= bytes) {
        const __m128i zero = _mm_setzero_si128(), low = _mm_set1_epi16(0xFF);
        auto load = [&](const uint8_t* p) {
            int32_t v;
            std::memcpy(&v, p, 4);
            return _mm_unpacklo_epi8(_mm_cvtsi32_si128(v), zero);
        };
        auto abs16 = [&](__m128i v) { return _mm_max_epi16(v, _mm_sub_epi16(zero, v)); };
        __m128i a = load(row), c = load(prior);
        for (; i + 4 <= bytes; i += B) {
            const __m128i b = load(prior + i), x = load(row + i);
            const __m128i da = _mm_sub_epi16(b, c), db = _mm_sub_epi16(a, c);
            const __m128i pa = abs16(da), pb = abs16(db), pc = abs16(_mm_add_epi16(da, db));
            // a where pa <= pb and pa <= pc; else b where pb <= pc; else c.
            const __m128i notA = _mm_or_si128(_mm_cmpgt_epi16(pa, pb), _mm_cmpgt_epi16(pa, pc));
            const __m128i notB = _mm_cmpgt_epi16(pb, pc);
            const __m128i bc = _mm_or_si128(_mm_and_si128(notB, c), _mm_andnot_si128(notB, b));
            const __m128i p = _mm_or_si128(_mm_and_si128(notA, bc), _mm_andnot_si128(notA, a));
            a = _mm_and_si128(_mm_add_epi16(x, p), low);
            c = b;
            const int32_t out = _mm_cvtsi128_si32(_mm_packus_epi16(a, zero));
            std::memcpy(row + i, &out, B);
        }
        alignas(16) int16_t lanes[8];
        _mm_store_si128(reinterpret_cast<__m128i*>(lanes), a);
        for (int k = 0; k < B; ++k) left[k] = lanes[k];
        _mm_store_si128(reinterpret_cast<__m128i*>(lanes), c);
        for (int k = 0; k < B; ++k) upLeft[k] = lanes[k];
    }
#endif
    for (; i < bytes; i += B)
#pragma GCC unroll 8
        for (int c = 0; c < B; ++c) {
            const int a = left[c], b = prior[i + c], cc = upLeft[c];
            const int pa = std::abs(b - cc), pb = std::abs(a - cc), pc = std::abs(a + b - 2 * cc);
            const int p = pa <= pb && pa <= pc ? a : pb <= pc ? b : cc;
            left[c] = row[i + c] = static_cast<uint8_t>(row[i + c] + p);
            upLeft[c] = b;
        }
}

template <int B>
bool unfilterBy(int filter, uint8_t* row, const uint8_t* prior, size_t bytes) {
    switch (filter) {
        case 0:
            return true;
        case 1:
            sub<B>(row, bytes);
            return true;
        case 2:
            if (prior) {
                size_t i = 0;
#if defined(__SSE2__)
                for (; i + 16 <= bytes; i += 16) {
                    const __m128i r = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + i));
                    const __m128i q = _mm_loadu_si128(reinterpret_cast<const __m128i*>(prior + i));
                    _mm_storeu_si128(reinterpret_cast<__m128i*>(row + i), _mm_add_epi8(r, q));
                }
#endif
                for (; i < bytes; ++i) row[i] = static_cast<uint8_t>(row[i] + prior[i]);
            }
            return true;
        case 3:
            if (prior)
                average<B>(row, prior, bytes);
            else
                for (size_t i = B; i < bytes; ++i)
                    row[i] = static_cast<uint8_t>(row[i] + (row[i - B] >> 1));
            return true;
        case 4:
            // Above the first row everything is zero: the left neighbour.
            if (prior)
                paeth<B>(row, prior, bytes);
            else
                sub<B>(row, bytes);
            return true;
        default:
            return false;
    }
}

// One unfiltered row of `w` pixels of `channels` bytes into RGBA.
void expand(const uint8_t* in, uint8_t* out, size_t w, int channels) {
    switch (channels) {
        case 1:
            for (size_t x = 0; x < w; ++x, out += 4) {
                out[0] = out[1] = out[2] = in[x];
                out[3] = 255;
            }
            break;
        case 2:
            for (size_t x = 0; x < w; ++x, out += 4, in += 2) {
                out[0] = out[1] = out[2] = in[0];
                out[3] = in[1];
            }
            break;
        case 3:
            for (size_t x = 0; x < w; ++x, out += 4, in += 3) {
                out[0] = in[0];
                out[1] = in[1];
                out[2] = in[2];
                out[3] = 255;
            }
            break;
        default:
            std::memcpy(out, in, 4 * w);
    }
}

}  // namespace

bool PngReader::unfilter(int filter, uint8_t* row, const uint8_t* prior, size_t bytes, int bpp) {
    switch (bpp) {
        case 1:
            return unfilterBy<1>(filter, row, prior, bytes);
        case 2:
            return unfilterBy<2>(filter, row, prior, bytes);
        case 3:
            return unfilterBy<3>(filter, row, prior, bytes);
        case 4:
            return unfilterBy<4>(filter, row, prior, bytes);
        default:
            return false;
    }
}

bool PngReader::read(FILE* f, long long maxPixels, int& width, int& height,
                     std::vector<uint8_t>& rgba) {
    try {
        unsigned char head[8];
        auto chunkHead = [&]() { return fread(head, 1, sizeof(head), f) == sizeof(head); };
        // The checksum of the chunk type and `data`, against the stored one
        // (libdeflate's checksum of a null buffer is the starting value, not
        // the one given).
        auto checked = [&](const uint8_t* data, size_t size) {
            unsigned char stored[4];
            uint32_t crc = static_cast<uint32_t>(libdeflate_crc32(0, head + 4, 4));
            if (size > 0) crc = static_cast<uint32_t>(libdeflate_crc32(crc, data, size));
            return fread(stored, 1, 4, f) == 4 && be(stored) == crc;
        };
        if (!chunkHead() || std::memcmp(head, "\x89PNG\r\n\x1a\n", 8) != 0) return false;
        unsigned char ihdr[13];
        if (!chunkHead() || be(head) != 13 || std::memcmp(head + 4, "IHDR", 4) != 0 ||
            fread(ihdr, 1, sizeof(ihdr), f) != sizeof(ihdr) || !checked(ihdr, sizeof(ihdr)))
            return false;
        const long long w = be(ihdr), h = be(ihdr + 4);
        // Depth 8, deflate, the adaptive filters, not interlaced.
        if (ihdr[8] != 8 || ihdr[10] != 0 || ihdr[11] != 0 || ihdr[12] != 0) return false;
        const int channels = ihdr[9] == 0   ? 1
                             : ihdr[9] == 4 ? 2
                             : ihdr[9] == 2 ? 3
                             : ihdr[9] == 6 ? 4
                                            : 0;
        if (channels == 0 || w < 3 || h < 3 || w > INT_MAX || h > INT_MAX || w * h > maxPixels)
            return false;

        // The compressed data: every IDAT, then IEND and the file's end.
        std::vector<uint8_t> z;
        struct stat st = {};
        if (fstat(fileno(f), &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0 &&
            st.st_size < (1LL << 32))
            z.reserve(static_cast<size_t>(st.st_size));
        for (;;) {
            if (!chunkHead()) return false;
            const uint32_t length = be(head);
            if (std::memcmp(head + 4, "IEND", 4) == 0) {
                if (length != 0 || z.empty() || !checked(nullptr, 0) || fgetc(f) != EOF)
                    return false;
                break;
            }
            if (std::memcmp(head + 4, "IDAT", 4) != 0 || length > 0x7FFFFFFFu) return false;
            // Read in blocks: a length the file does not hold ends at its end,
            // not after taking (and zeroing) the memory it claims.
            const size_t at = z.size();
            for (size_t left = length; left > 0;) {
                const size_t block = std::min<size_t>(left, kReadBlock), from = z.size();
                z.resize(from + block);
                if (fread(z.data() + from, 1, block, f) != block) return false;
                left -= block;
            }
            if (!checked(z.data() + at, length)) return false;
        }

        const size_t rowBytes = static_cast<size_t>(w) * channels;
        const size_t total = static_cast<size_t>(h) * (rowBytes + 1);
        std::unique_ptr<uint8_t[]> raw(new uint8_t[total]);
        // A large picture's RGBA rows are made on a second thread: the
        // memory is taken (zeroed, its pages mapped) while the data is
        // inflated here, then each row is expanded once this thread has
        // unfiltered it (`ready` rows, told every kRowsTold rows and at the
        // end). `stop` ends the helper early.
        std::vector<uint8_t> pixels;
        std::mutex lock;
        std::condition_variable told;
        long long ready = 0;  // under `lock`, as `stop`
        bool stop = false;
        std::atomic<bool> noMemory{false};
        const size_t outRow = static_cast<size_t>(w) * 4;
        auto expandRows = [&]() {
            try {
                pixels.resize(outRow * static_cast<size_t>(h));
            } catch (const std::bad_alloc&) {
                noMemory = true;
                return;
            }
            for (long long y = 0; y < h;) {
                long long upTo;
                {
                    std::unique_lock<std::mutex> hold(lock);
                    told.wait(hold, [&]() { return ready > y || stop; });
                    if (stop) return;
                    upTo = ready;
                }
                for (; y < upTo; ++y)
                    expand(raw.get() + static_cast<size_t>(y) * (rowBytes + 1) + 1,
                           pixels.data() + static_cast<size_t>(y) * outRow, static_cast<size_t>(w),
                           channels);
            }
        };
        std::thread helper;
        if (w * h >= kHelperPixels) {
            try {
                helper = std::thread(expandRows);
            } catch (const std::system_error&) {
            }
        }
        // Told to stop and joined on every way out.
        struct Joined {
            std::thread& t;
            std::mutex& lock;
            std::condition_variable& told;
            bool& stop;
            ~Joined() {
                if (!t.joinable()) return;
                {
                    const std::lock_guard<std::mutex> hold(lock);
                    stop = true;
                }
                told.notify_one();
                t.join();
            }
        } joined{helper, lock, told, stop};
        {
            std::unique_ptr<libdeflate_decompressor, DecompressorFree> d(
                libdeflate_alloc_decompressor());
            size_t in = 0, out = 0;
            if (!d ||
                libdeflate_zlib_decompress_ex(d.get(), z.data(), z.size(), raw.get(), total, &in,
                                              &out) != LIBDEFLATE_SUCCESS ||
                in != z.size() || out != total)
                return false;
        }
        std::vector<uint8_t>().swap(z);
        const bool helped = helper.joinable();
        if (!helped) pixels.resize(outRow * static_cast<size_t>(h));
        const uint8_t* prior = nullptr;
        for (long long y = 0; y < h; ++y) {
            uint8_t* row = raw.get() + static_cast<size_t>(y) * (rowBytes + 1);
            if (!unfilter(row[0], row + 1, prior, rowBytes, channels)) return false;
            if (helped && ((y + 1) % kRowsTold == 0 || y + 1 == h)) {
                {
                    const std::lock_guard<std::mutex> hold(lock);
                    ready = y + 1;
                }
                told.notify_one();
            } else if (!helped) {
                expand(row + 1, pixels.data() + static_cast<size_t>(y) * outRow,
                       static_cast<size_t>(w), channels);
            }
            prior = row + 1;
        }
        if (helped) helper.join();  // (it ends once it has expanded row h - 1)
        if (noMemory) return false;
        width = static_cast<int>(w);
        height = static_cast<int>(h);
        rgba.swap(pixels);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}
