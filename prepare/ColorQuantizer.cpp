#include "prepare/ColorQuantizer.h"

#include <algorithm>
#include <atomic>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unordered_map>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "tracer/Ombrel.h"
#include "prepare/Bands.h"
#include "prepare/ColourTable.h"
#include "prepare/PackedColour.h"

namespace om1 {

namespace {

// The passes over the pixels ask the progress every this many plus one.
const size_t kEvery = (size_t{1} << 18) - 1;

struct Entry {
    uint32_t color;
    uint32_t count;  // at most the pixels, at most INT_MAX
};

struct Box {
    size_t begin, end;  // range of the entry array
    long long pixels;
    int widest;  // channel 0 red, 1 green, 2 blue
    int range;
};

// Bits set in v, inline: the builtin becomes a library call where the
// target has no population count instruction, and it runs once per pixel.
inline uint32_t bitsSet(uint64_t v) {
    v = v - (v >> 1 & 0x5555555555555555u);
    v = (v & 0x3333333333333333u) + (v >> 2 & 0x3333333333333333u);
    v = (v + (v >> 4)) & 0x0F0F0F0F0F0F0F0Fu;
    return static_cast<uint32_t>(v * 0x0101010101010101u >> 56);
}

void measure(const std::vector<Entry>& e, Box& b) {
    int lo[3] = {255, 255, 255}, hi[3] = {0, 0, 0};
    b.pixels = 0;
    size_t i = b.begin;
#if defined(__SSE2__)
    // Two entries at a time: the channels' least and greatest by bytes,
    // the counts added as 64-bit numbers.
    static_assert(sizeof(Entry) == 8, "two entries a vector");
    __m128i low = _mm_set1_epi8(-1), high = _mm_setzero_si128(), sum = _mm_setzero_si128();
    const __m128i counts = _mm_set_epi32(-1, 0, -1, 0);
    for (; i + 2 <= b.end; i += 2) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(&e[i]));
        low = _mm_min_epu8(low, v);
        high = _mm_max_epu8(high, v);
        sum = _mm_add_epi64(sum, _mm_srli_epi64(_mm_and_si128(v, counts), 32));
    }
    uint8_t lows[16], highs[16];
    uint64_t sums[2];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(lows), low);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(highs), high);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(sums), sum);
    b.pixels = static_cast<long long>(sums[0] + sums[1]);
    for (int c = 0; c < 3; ++c) {
        lo[c] = std::min(lows[c], lows[8 + c]);
        hi[c] = std::max(highs[c], highs[8 + c]);
    }
#endif
    for (; i < b.end; ++i) {
        b.pixels += e[i].count;
        for (int c = 0; c < 3; ++c) {
            lo[c] = std::min(lo[c], colourChannel(e[i].color, c));
            hi[c] = std::max(hi[c], colourChannel(e[i].color, c));
        }
    }
    b.widest = 0;
    for (int c = 1; c < 3; ++c)
        if (hi[c] - lo[c] > hi[b.widest] - lo[b.widest]) b.widest = c;
    b.range = hi[b.widest] - lo[b.widest];
}

// From this many pixels on, the painting looks each colour's box up in a
// table by colour.
const size_t kBoxTablePixels = size_t{1} << 21;

// From this many distinct colours on, the k-means rounds measure a colour
// only against the means that can be its nearest.
const size_t kCellColours = size_t{1} << 13;

// Pictures of at most this many pixels count their colours in a table, while
// they have at most this many.
const size_t kTablePixels = size_t{1} << 19;
const size_t kTableColours = size_t{1} << 12;

// The painting, the rounds and the count of each colour's pixels run by
// bands from this many pixels on (256 x 256).
const long long kMinBandPixels = 1LL << 16;

}  // namespace

bool ColorQuantizer::quantize(RGBQUAD* pixels, int width, int height, int count,
                              std::vector<RGBQUAD>& palette,
                              const std::function<bool(double)>& progress, int threads) {
    palette.clear();
    auto at = [&](double share) { return !progress || progress(share); };
    // In a banded pass at item i of its part [from, to): the first band (the
    // calling thread) reports the pass's share, from `lo` over `span`; every
    // band sees a stop. False: the band returns.
    auto bandGoing = [&](std::atomic<bool>& stop, int band, long long i, long long from,
                         long long to, double lo, double span) {
        if (band == 0 && !at(lo + span * static_cast<double>(i - from) / (to - from))) stop = true;
        return !stop.load();
    };
    if (!pixels || width <= 0 || height <= 0 || count < 1) return false;
    count = std::min(count, 256);
    const size_t n = static_cast<size_t>(width) * height;
    // The passes over the pixels and over the colours run by bands (each
    // band its own counts, added after: the same result for any number):
    // the painting and the rounds from kMinBandPixels on, the colour count
    // with a bit table per band from Bands::kMinPixels on.
    const int bands = Bands::count(threads, static_cast<long long>(n), kMinBandPixels);
    const int countBands = Bands::count(threads, static_cast<long long>(n));
    try {
        // Distinct colours and their counts, in colour order. A smaller
        // picture counts them in a table (ColourTable) that then gives a
        // colour's entry. A larger one sets a bit per possible colour, and a
        // colour's entry is its rank among the set bits (counted per 64-bit
        // word). Only the words a colour falls in are read or written
        // (`words`, in order): the bits start as zero pages from calloc and
        // the ranks unset.
        bool tabled = countBands == 1 && n <= kTablePixels;
        std::unique_ptr<ColourTable> table;
        const size_t kWords = size_t{1} << 18;
        std::unique_ptr<uint64_t, void (*)(void*)> bitsOwned(nullptr, std::free);
        std::unique_ptr<uint32_t[]> rankOwned;
        uint64_t* present = nullptr;
        uint32_t* rank = nullptr;
        std::vector<uint32_t> words;
        std::vector<Entry> entries;
        std::unique_ptr<uint32_t[]> rankAt;  // each pixel's entry (see below)
        // A colour's position in colour order (its entry before the boxes
        // reorder them).
        auto rankOf = [&](uint32_t c) {
            if (tabled) return table->value(c);
            const uint64_t below = present[c >> 6] & ((uint64_t{1} << (c & 63)) - 1);
            return rank[c >> 6] + bitsSet(below);
        };
        // Runs of one colour are common: each band keeps its last answer
        // (for the table, whose lookups take long).
        struct LastEntry {
            uint32_t colour = 0xFFFFFFFFu, rank = 0;
        };
        auto entryOf = [&](size_t i, LastEntry& last) {
            const uint32_t c = packColour(pixels[i]);
            if (c != last.colour) {
                last.colour = c;
                last.rank = rankOf(c);
            }
            return last.rank;
        };
        if (!at(0.1)) return false;
        if (tabled) {
            table.reset(new ColourTable);
            // Runs of one colour are common: each is added at once. Too many
            // colours (the table's lookups missing the cache): the bits.
            uint32_t colour = packColour(pixels[0]), run = 0;
            for (size_t i = 0; i < n && tabled; ++i) {
                const uint32_t c = packColour(pixels[i]);
                if (c != colour) {
                    table->add(colour, run);
                    tabled = table->size() <= kTableColours;
                    colour = c;
                    run = 0;
                }
                ++run;
            }
            table->add(colour, run);
            if (!tabled) table.reset();
        }
        if (tabled) {
            if (!at(0.3)) return false;
            std::vector<uint32_t> colours;
            table->sorted(colours);
            entries.resize(colours.size());
            for (size_t r = 0; r < colours.size(); ++r) {
                entries[r] = {colours[r], table->value(colours[r])};
                table->set(colours[r], static_cast<uint32_t>(r));
            }
        } else {
            bitsOwned.reset(static_cast<uint64_t*>(std::calloc(kWords, sizeof(uint64_t))));
            rankOwned.reset(new uint32_t[kWords]);
            if (!bitsOwned) return false;
            present = bitsOwned.get();
            rank = rankOwned.get();
            if (countBands == 1) {
                for (size_t i = 0; i < n; ++i) {
                    if ((i & kEvery) == kEvery && !at(0.1 + 0.2 * static_cast<double>(i) / n))
                        return false;
                    const uint32_t c = packColour(pixels[i]);
                    uint64_t& word = present[c >> 6];
                    if (!word) words.push_back(c >> 6);
                    word |= uint64_t{1} << (c & 63);
                }
                if (words.size() < kWords / 64) {
                    std::sort(words.begin(), words.end());
                } else {  // many colours: a scan of every word is cheaper than the sort
                    words.clear();
                    for (size_t k = 0; k < kWords; ++k)
                        if (present[k]) words.push_back(static_cast<uint32_t>(k));
                }
            } else {
                std::vector<std::vector<uint64_t>> more(static_cast<size_t>(countBands - 1),
                                                        std::vector<uint64_t>(kWords, 0));
                std::atomic<bool> stop{false};
                Bands::run(
                    countBands, static_cast<long long>(n),
                    [&](int band, long long b, long long e) {
                        uint64_t* bits = band == 0 ? present : more[band - 1].data();
                        for (long long i = b; i < e; ++i) {
                            if (((i - b) & kEvery) == kEvery &&
                                !bandGoing(stop, band, i, b, e, 0.1, 0.2))
                                return;
                            const uint32_t c = packColour(pixels[i]);
                            bits[c >> 6] |= uint64_t{1} << (c & 63);
                        }
                    },
                    [&]() {
                        if (!stop && !at(0.29)) stop = true;
                    });
                if (stop) return false;
                for (const std::vector<uint64_t>& m : more)
                    for (size_t k = 0; k < kWords; ++k) present[k] |= m[k];
                for (size_t k = 0; k < kWords; ++k)
                    if (present[k]) words.push_back(static_cast<uint32_t>(k));
            }
            if (!at(0.3)) return false;
            uint32_t distinct = 0;
            for (uint32_t k : words) {
                rank[k] = distinct;
                distinct += bitsSet(present[k]);
            }
            entries.resize(distinct);
            size_t id = 0;
            for (uint32_t k : words)
                for (uint64_t bits = present[k]; bits; bits &= bits - 1, ++id)
                    entries[id] = {static_cast<uint32_t>(k << 6 | __builtin_ctzll(bits)), 0};
            // Every pixel's colour is looked up (three reads): the picture
            // has many colours, and a guess whether the colour changed
            // would miss too often. Below kBoxTablePixels each pixel's entry
            // is kept for the painting.
            if (n < kBoxTablePixels) rankAt.reset(new uint32_t[n]);
            uint32_t* const ranks = rankAt.get();
            if (bands == 1) {
                for (size_t i = 0; i < n; ++i) {
                    if ((i & kEvery) == kEvery && !at(0.3 + 0.2 * static_cast<double>(i) / n))
                        return false;
                    const uint32_t r = rankOf(packColour(pixels[i]));
                    if (ranks) ranks[i] = r;
                    ++entries[r].count;
                }
            } else {
                std::vector<std::vector<uint32_t>> counts(static_cast<size_t>(bands),
                                                          std::vector<uint32_t>(distinct, 0));
                std::atomic<bool> stop{false};
                Bands::run(
                    bands, static_cast<long long>(n),
                    [&](int band, long long b, long long e) {
                        uint32_t* mine = counts[band].data();
                        for (long long i = b; i < e; ++i) {
                            if (((i - b) & kEvery) == kEvery &&
                                !bandGoing(stop, band, i, b, e, 0.3, 0.2))
                                return;
                            const uint32_t r = rankOf(packColour(pixels[i]));
                            if (ranks) ranks[i] = r;
                            ++mine[r];
                        }
                    },
                    [&]() {
                        if (!stop && !at(0.49)) stop = true;
                    });
                if (stop) return false;
                for (const std::vector<uint32_t>& c : counts)
                    for (uint32_t id = 0; id < distinct; ++id) entries[id].count += c[id];
            }
        }
        if (!at(0.5)) return false;
        std::vector<Entry> sorted(entries.size());
        std::vector<Box> boxes(1);
        boxes[0].begin = 0;
        boxes[0].end = entries.size();
        measure(entries, boxes[0]);
        size_t splitSince = 0;  // entries sorted since the progress last heard
        while (static_cast<int>(boxes.size()) < count) {
            if (splitSince > kEvery / 4) {
                splitSince = 0;
                if (!at(0.5 + 0.1 * static_cast<double>(boxes.size()) / count)) return false;
            }
            int pick = -1;
            double best = 0;
            for (size_t b = 0; b < boxes.size(); ++b) {
                if (boxes[b].end - boxes[b].begin < 2 || boxes[b].range == 0) continue;
                double score = static_cast<double>(boxes[b].pixels) * boxes[b].range;
                if (score > best) {
                    best = score;
                    pick = static_cast<int>(b);
                }
            }
            if (pick < 0) break;
            Box& b = boxes[pick];
            splitSince += b.end - b.begin;
            const int ch = b.widest;
            // Counting sort by the channel, stable: colours of one channel
            // value keep their order (the same split on every platform).
            size_t at[257] = {0};
            for (size_t i = b.begin; i < b.end; ++i) ++at[colourChannel(entries[i].color, ch) + 1];
            for (int v = 0; v < 256; ++v) at[v + 1] += at[v];
            for (size_t i = b.begin; i < b.end; ++i)
                sorted[at[colourChannel(entries[i].color, ch)]++] = entries[i];
            std::copy(sorted.begin(), sorted.begin() + (b.end - b.begin),
                      entries.begin() + b.begin);
            long long half = b.pixels / 2, seen = 0;
            size_t cut = b.begin;
            while (cut < b.end - 1 && seen + entries[cut].count <= half)
                seen += entries[cut++].count;
            if (cut == b.begin) cut = b.begin + 1;
            Box second{cut, b.end, 0, 0, 0};
            b.end = cut;
            measure(entries, b);
            measure(entries, second);
            boxes.push_back(second);
        }
        std::vector<Entry>().swap(sorted);
        // Means of the boxes, then k-means rounds over the distinct colours.
        const size_t k = boxes.size();
        std::vector<double> mean(3 * k, 0.0);
        for (size_t b = 0; b < k; ++b) {
            double s[3] = {0, 0, 0};
            for (size_t i = boxes[b].begin; i < boxes[b].end; ++i)
                for (int c = 0; c < 3; ++c)
                    s[c] += colourChannel(entries[i].color, c) *
                            static_cast<long long>(entries[i].count);
            for (int c = 0; c < 3; ++c) mean[3 * b + c] = s[c] / boxes[b].pixels;
        }
        // The distance is the squared RGB distance times 16, cut to an
        // integer; the lowest entry wins among equals. Means are laid out by
        // channel so that one colour is measured against all entries at once.
        // A round that moves no colour leaves the means as they are, and
        // every later round would repeat it: the rounds stop there.
        std::vector<uint8_t> nearest(entries.size(), 0);
        std::vector<double> mr(k), mg(k), mb(k);
        // Many colours: each measured only against the means that can be
        // its nearest (by cells of colours, below).
        const bool celled = entries.size() >= kCellColours;
        std::vector<uint8_t> cellMeans(celled ? 4096 * k : 0);
        std::vector<uint16_t> cellCount(celled ? 4096 : 0), usedCells;
        std::vector<double> cellNear(k);
        auto cellOf = [](uint32_t c) {
            return static_cast<uint16_t>((c >> 4 & 15) | (c >> 12 & 15) << 4 | (c >> 20 & 15) << 8);
        };
        if (celled) {
            std::vector<uint8_t> used(4096, 0);
            for (const Entry& e : entries) used[cellOf(e.color)] = 1;
            for (uint16_t cell = 0; cell < 4096; ++cell)
                if (used[cell]) usedCells.push_back(cell);
        }
        // The rounds by bands where they measure at least kMinBandPixels
        // distances.
        const int roundBands =
            static_cast<long long>(entries.size() * k) >= kMinBandPixels ? bands : 1;
        for (int round = 0; round < 4; ++round) {
            if (!at(0.6 + 0.05 * round)) return false;
            for (size_t b = 0; b < k; ++b) {
                mr[b] = mean[3 * b];
                mg[b] = mean[3 * b + 1];
                mb[b] = mean[3 * b + 2];
            }
            if (celled) {
                // Cells of 16 x 16 x 16 colours: the means that can be the
                // nearest to some colour of the cell, in index order. A mean
                // whose nearest point of the cell is farther (by more than
                // the cut to an integer and the rounding could hide) than
                // the farthest point of the cell from another mean is never
                // the nearest there, nor equally near.
                for (uint16_t cell : usedCells) {
                    const int lo[3] = {(cell & 15) * 16, (cell >> 4 & 15) * 16, (cell >> 8) * 16};
                    double within = DBL_MAX;
                    for (size_t b = 0; b < k; ++b) {
                        double nearD = 0, farD = 0;
                        for (int c = 0; c < 3; ++c) {
                            const double m = mean[3 * b + c], l = lo[c], h = lo[c] + 15;
                            const double nearC = m < l ? l - m : m > h ? m - h : 0.0;
                            const double farC = std::max(m - l, h - m);
                            nearD += nearC * nearC;
                            farD += farC * farC;
                        }
                        cellNear[b] = nearD;
                        within = std::min(within, farD);
                    }
                    uint16_t& count = cellCount[cell];
                    count = 0;
                    for (size_t b = 0; b < k; ++b)
                        if (cellNear[b] * 16 <= within * 16 + 4)
                            cellMeans[cell * k + count++] = static_cast<uint8_t>(b);
                }
            }
            std::vector<uint8_t> movedIn(static_cast<size_t>(roundBands), round == 0);
            // Every `step` colours (about 2^20 distances) the first band
            // reports and every band looks whether to stop.
            const long long step = std::max<long long>(64, (1LL << 20) / static_cast<long long>(k));
            std::atomic<bool> stop{false};
            const double share = 0.6 + 0.05 * round;
            Bands::run(
                roundBands, static_cast<long long>(entries.size()),
                [&](int band, long long from, long long to) {
                    long long untilAsked = step - 1;  // colours before the next check
                    for (long long i = from; i < to; ++i) {
                        if (untilAsked-- == 0) {
                            untilAsked = step - 1;
                            if (!bandGoing(stop, band, i, from, to, share, 0.05)) return;
                        }
                        const uint32_t col = entries[i].color;
                        const double r = colourChannel(col, 0), g = colourChannel(col, 1),
                                     bl = colourChannel(col, 2);
                        long long bestD = LLONG_MAX;
                        uint32_t best = 0;
                        auto measure = [&](size_t b) {
                            const double v0 = r - mr[b], v1 = g - mg[b], v2 = bl - mb[b];
                            const long long d =
                                static_cast<long long>((v0 * v0 + v1 * v1 + v2 * v2) * 16);
                            if (d < bestD) {
                                bestD = d;
                                best = static_cast<uint32_t>(b);
                            }
                        };
                        if (celled) {
                            const size_t cell = cellOf(col);
                            const uint8_t* means = &cellMeans[cell * k];
                            for (uint16_t j = 0; j < cellCount[cell]; ++j) measure(means[j]);
                        } else {
                            for (size_t b = 0; b < k; ++b) measure(b);
                        }
                        if (nearest[i] != best) {
                            nearest[i] = static_cast<uint8_t>(best);
                            movedIn[band] = true;
                        }
                    }
                },
                [&]() {
                    if (!stop && !at(share + 0.049)) stop = true;
                });
            if (stop) return false;
            const bool moved =
                std::find(movedIn.begin(), movedIn.end(), uint8_t{1}) != movedIn.end();
            if (round == 3 || !moved) break;
            std::vector<double> sum(3 * k, 0.0);
            std::vector<long long> weight(k, 0);
            // Colours of one mean come in runs: their sums are kept at hand
            // while the run lasts (added in the same order).
            uint32_t runMean = nearest.empty() ? 0 : nearest[0];
            double runSum[3] = {0, 0, 0};
            long long runWeight = 0;
            auto endRun = [&]() {
                weight[runMean] += runWeight;
                for (int c = 0; c < 3; ++c) sum[3 * runMean + c] = runSum[c];
            };
            for (size_t i = 0; i < entries.size(); ++i) {
                const uint32_t b = nearest[i];
                if (b != runMean) {
                    endRun();
                    runMean = b;
                    runWeight = 0;
                    for (int c = 0; c < 3; ++c) runSum[c] = sum[3 * b + c];
                }
                runWeight += entries[i].count;
                for (int c = 0; c < 3; ++c)
                    runSum[c] += colourChannel(entries[i].color, c) *
                                 static_cast<long long>(entries[i].count);
            }
            if (!nearest.empty()) endRun();
            for (size_t b = 0; b < k; ++b)
                if (weight[b])
                    for (int c = 0; c < 3; ++c) mean[3 * b + c] = sum[3 * b + c] / weight[b];
        }
        std::vector<RGBQUAD> colours(k);
        for (size_t b = 0; b < k; ++b) {
            auto byte = [&](int c) { return static_cast<BYTE>(std::lround(mean[3 * b + c])); };
            colours[b] = RGBQUAD{byte(2), byte(1), byte(0), 0};
        }
        // Boxes number at most 256: a byte each. A large picture's colours
        // look their box up in a table by colour (16 MB, only the pages of
        // the colours present touched: worth it from kBoxTablePixels on),
        // one read where the rank takes three.
        std::vector<uint8_t> nearestOf;
        std::unique_ptr<uint8_t[]> boxOf;
        if (tabled || n < kBoxTablePixels) {
            nearestOf.resize(entries.size());
            for (size_t i = 0; i < entries.size(); ++i)
                nearestOf[rankOf(entries[i].color)] = static_cast<uint8_t>(nearest[i]);
        } else {
            boxOf.reset(new uint8_t[size_t{1} << 24]);
            for (size_t i = 0; i < entries.size(); ++i)
                boxOf[entries[i].color] = static_cast<uint8_t>(nearest[i]);
        }
        std::vector<uint8_t>().swap(nearest);
        // Every 2^20 pixels the first band reports its share and every band
        // looks whether to stop.
        // Each entry's colour bytes as a pixel holds them (reserved zero).
        std::vector<uint32_t> painted(k);
        for (size_t b = 0; b < k; ++b) std::memcpy(&painted[b], &colours[b], sizeof(uint32_t));
        std::vector<std::vector<uint8_t>> used(static_cast<size_t>(bands),
                                               std::vector<uint8_t>(k, 0));
        std::atomic<bool> stop{false};
        Bands::run(
            bands, static_cast<long long>(n),
            [&](int band, long long from, long long to) {
                LastEntry last;
                uint8_t* mine = used[band].data();
                // The pixel takes the entry's colour bytes, its reserved
                // byte kept. With the table (few colours) a run of one colour
                // looks its entry up once; otherwise (many colours) every
                // pixel looks its own up (a read, or three), which costs less
                // than a missed guess whether the colour changed.
                if (tabled) {
                    uint32_t runKey = 0xFFFFFFFFu, runColour = 0;
                    for (long long i = from; i < to; ++i) {
                        if (((i - from) & 0xFFFFF) == 0 &&
                            !bandGoing(stop, band, i, from, to, 0.8, 0.2))
                            return;
                        uint32_t v;
                        std::memcpy(&v, pixels + i, sizeof v);
                        if ((v & 0x00FFFFFFu) != runKey) {
                            runKey = v & 0x00FFFFFFu;
                            const uint32_t b = nearestOf[entryOf(static_cast<size_t>(i), last)];
                            mine[b] = 1;
                            runColour = painted[b];
                        }
                        v = (v & 0xFF000000u) | runColour;
                        std::memcpy(pixels + i, &v, sizeof v);
                    }
                    return;
                }
                for (long long i = from; i < to; ++i) {
                    if (((i - from) & 0xFFFFF) == 0 &&
                        !bandGoing(stop, band, i, from, to, 0.8, 0.2))
                        return;
                    const uint32_t b = rankAt  ? nearestOf[rankAt[i]]
                                       : boxOf ? boxOf[packColour(pixels[i])]
                                               : nearestOf[rankOf(packColour(pixels[i]))];
                    mine[b] = 1;
                    uint32_t v;
                    std::memcpy(&v, pixels + i, sizeof v);
                    v = (v & 0xFF000000u) | painted[b];
                    std::memcpy(pixels + i, &v, sizeof v);
                }
            },
            [&]() {
                if (!stop && !at(0.99)) stop = true;
            });
        if (stop) return false;
        for (size_t b = 0; b < k; ++b) {
            bool any = false;
            for (const std::vector<uint8_t>& u : used) any = any || u[b] != 0;
            if (any) palette.push_back(colours[b]);
        }
    } catch (...) {
        palette.clear();
        return false;
    }
    return true;
}

bool ColorQuantizer::snap(RGBQUAD* pixels, int width, int height, const RGBQUAD* palette,
                          int count) {
    if (!pixels || width <= 0 || height <= 0 || !palette || count < 1) return false;
    const size_t n = static_cast<size_t>(width) * height;
    std::vector<RGBQUAD> table(palette, palette + std::min(count, 256));
    try {
        std::unordered_map<uint32_t, BYTE> cache;
        for (size_t i = 0; i < n; ++i) {
            const uint32_t c = packColour(pixels[i]);
            auto it = cache.find(c);
            BYTE idx;
            if (it != cache.end()) {
                idx = it->second;
            } else {
                idx = Ombrel::GetNearestColor(c, table.data(), static_cast<DWORD>(table.size()));
                cache.emplace(c, idx);
            }
            const BYTE reserved = pixels[i].rgbReserved;
            pixels[i] = table[idx];
            pixels[i].rgbReserved = reserved;
        }
    } catch (...) {
        return false;
    }
    return true;
}

long long ColorQuantizer::distinct(const RGBQUAD* pixels, int width, int height,
                                   long long stopAbove,
                                   const std::function<bool(double)>& progress) {
    if (!pixels || width <= 0 || height <= 0) return 0;
    const size_t n = static_cast<size_t>(width) * height;
    // One bit per colour of the 2^24 (2 MB), runs of one colour tested once.
    std::vector<uint64_t> seen;
    try {
        seen.assign(size_t(1) << 18, 0);
    } catch (...) {
        return -1;
    }
    long long count = 0;
    uint32_t last = 0xFFFFFFFFu;
    for (size_t i = 0; i < n; ++i) {
        if ((i & kEvery) == kEvery && progress && !progress(static_cast<double>(i) / n)) return -1;
        const uint32_t c = packColour(pixels[i]);
        if (c == last) continue;
        last = c;
        uint64_t& word = seen[c >> 6];
        const uint64_t bit = uint64_t(1) << (c & 63);
        if (word & bit) continue;
        word |= bit;
        if (++count > stopAbove) break;
    }
    return count;
}

}  // namespace om1
