#include "prepare/RegionMerger.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <new>
#include <type_traits>
#include <vector>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "prepare/Bands.h"
#include "prepare/LeastSets.h"
#include "prepare/PackedColour.h"
#include "prepare/RegionLabels.h"

namespace om1 {

namespace {

// The passes over the pixels run by bands from this many pixels on (256 x
// 256) where the regions are few (at most one in 64 pixels): a band's cost
// is its rows, its regions' sums and its pairs (many regions' pairs kept
// by band cost more than two bands save below Bands::kMinPixels).
const long long kMinBandPixels = 1LL << 16;

// The sizes and colour sums of an opaque picture's regions, from its pixels
// in order: each run of one label is added up in whole numbers first (sums
// of whole numbers, exact in doubles in any order), into `size` and `sum`
// (three a region); `squares` gets the squared channels' sum.
struct RunSums {
    const int32_t* label;
    const RGBQUAD* original;
    double* size;
    double* sum;
    int32_t run;
    unsigned long long runSize = 0, runSum[3] = {0, 0, 0}, squares = 0;
    void add(size_t i) {
        if (label[i] != run) {
            end();
            run = label[i];
            runSize = runSum[0] = runSum[1] = runSum[2] = 0;
        }
        const unsigned red = original[i].rgbRed, green = original[i].rgbGreen,
                       blue = original[i].rgbBlue;
        ++runSize;
        runSum[0] += red;
        runSum[1] += green;
        runSum[2] += blue;
        squares += red * red + green * green + blue * blue;
    }
    // The run so far added in (at the end of the pixels).
    void end() {
        size[run] += static_cast<double>(runSize);
        for (int k = 0; k < 3; ++k)
            sum[3 * static_cast<size_t>(run) + k] += static_cast<double>(runSum[k]);
    }
};

// A priced union of one region (its batch's, see below) with `other`.
struct Priced {
    double cost;
    int32_t other;
    uint32_t stamp;  // the other region's when priced
    // The order of the pairs (cost, lower region, higher region): with one
    // region in common, the other region's order.
    bool operator>(const Priced& o) const {
        if (cost != o.cost) return cost > o.cost;
        return other > o.other;
    }
};

// A batch's cheapest pair is found by a scan for its first kScans - 1 pairs,
// then the rest is made a heap: most batches go stale before their second
// pair is wanted, and few give more than a few.
const uint32_t kScans = 4;

// The pairs one region priced at once in [begin, end) of the batches'
// store, its cheapest first, the rest in no order before `drops` (the pairs
// gone) reaches kScans, a heap after; valid while the region is a root of
// that stamp.
struct Batch {
    size_t begin, end;
    int32_t self;
    uint32_t stamp;
    uint32_t drops;
};

// A batch's cheapest pair, regions a < b.
struct Top {
    double cost;
    int32_t a, b;
    uint32_t batch;
    bool operator>(const Top& o) const {
        if (cost != o.cost) return cost > o.cost;
        if (a != o.a) return a > o.a;
        return b > o.b;
    }
};

}  // namespace

long long RegionMerger::merge(RGBQUAD* pixels, const RGBQUAD* original, int width, int height,
                              double cost, double budget, double growth, bool means, uint8_t* alpha,
                              const uint8_t* originalAlpha,
                              const std::function<bool(double)>& progress, int threads,
                              Labelling* labelled, Labelling* handed) {
    if (!pixels || !original || width <= 0 || height <= 0) return 0;
    if (!originalAlpha) alpha = nullptr;
    auto at = [&](double share) { return !progress || progress(share); };
    // Inside the passes over the pixels: every 256 rows or every
    // (kEvery + 1) pixels, at the share of the pass.
    double share = 0.1;
    const std::function<bool()> going = [&]() { return at(share); };
    const size_t kEvery = (size_t{1} << 18) - 1;
    const size_t n = static_cast<size_t>(width) * height;
    // Channels: red, green, blue; with alpha premultiplied, and alpha.
    const int K = alpha ? 4 : 3;
    try {
        std::vector<int32_t> labels, first;
        long long regions = -1;
        if (labelled && labelled->count >= 0) {
            labels.swap(labelled->labels);
            first.swap(labelled->firsts);
            regions = labelled->count;
            labelled->count = -1;
        } else {
            regions = labelRegions(pixels, alpha, width, height, labels, going, threads, &first);
        }
        if (regions < 0) return -1;
        const int32_t m = static_cast<int32_t>(regions);
        if (!at(0.2)) return -1;
        share = 0.25;
        std::vector<double> size(m, 0), sum(K * static_cast<size_t>(m), 0);
        // A region's colour (and level): its first pixel's.
        std::vector<uint32_t> paint(m);
        for (int32_t r = 0; r < m; ++r)
            paint[r] = packKey(pixels, alpha, static_cast<size_t>(first[r]));
        // Kept for the labelling handed on (without alpha).
        const bool handOn = handed && !alpha;
        if (!handOn) std::vector<int32_t>().swap(first);
        // Per region with alpha: 0 empty, 255 opaque, else partial.
        std::vector<uint8_t> level(alpha ? m : 0);
        double squares = 0;
        // The passes over the pixels by bands of rows on the threads. The
        // sums of a picture without alpha are sums of whole numbers, exact
        // in any order: each band adds its own, for at most one region in 64
        // pixels (their memory).
        const bool few = static_cast<size_t>(m) <= n / 64;
        const int bands = std::min(Bands::count(threads, static_cast<long long>(n),
                                                few ? kMinBandPixels : Bands::kMinPixels),
                                   height);
        auto rowsOf = [&](int band, int& y0, int& y1) {
            y0 = static_cast<int>(static_cast<long long>(height) * band / bands);
            y1 = static_cast<int>(static_cast<long long>(height) * (band + 1) / bands);
        };
        const bool summed = !alpha && bands > 1 && few;
        if (summed) {
            struct Part {
                std::vector<double> size, sum;
                double squares = 0;
            };
            std::vector<Part> parts(static_cast<size_t>(bands));
            for (Part& p : parts) {
                p.size.assign(m, 0);
                p.sum.assign(3 * static_cast<size_t>(m), 0);
            }
            std::atomic<bool> stop{false};
            Bands::run(bands, bands, [&](int band, long long, long long) {
                Part& p = parts[band];
                int y0, y1;
                rowsOf(band, y0, y1);
                const size_t from = static_cast<size_t>(y0) * width;
                RunSums runs{labels.data(), original, p.size.data(), p.sum.data(), labels[from]};
                for (int y = y0; y < y1; ++y) {
                    if ((y - y0) % 256 == 255 && (band == 0 ? !going() : stop.load())) {
                        stop = true;
                        return;
                    }
                    for (size_t i = static_cast<size_t>(y) * width,
                                e = static_cast<size_t>(y + 1) * width;
                         i < e; ++i)
                        runs.add(i);
                }
                runs.end();
                p.squares = static_cast<double>(runs.squares);
            });
            if (stop) return -1;
            for (int32_t r = 0; r < m; ++r)
                for (Part& p : parts) {
                    size[r] += p.size[r];
                    for (int k = 0; k < 3; ++k) sum[3 * r + k] += p.sum[3 * r + k];
                }
            for (Part& p : parts) squares += p.squares;
        }
        if (!summed && !alpha) {
            RunSums runs{labels.data(), original, size.data(), sum.data(), labels[0]};
            // `going` is asked at every pixel i with i % (kEvery + 1) == kEvery.
            for (size_t i = 0; i < n;) {
                for (const size_t end = std::min(n, i | kEvery); i < end; ++i) runs.add(i);
                if (i == n) break;
                if (!going()) return -1;
                runs.add(i++);
            }
            runs.end();
            squares = static_cast<double>(runs.squares);
        }
        for (size_t i = 0; i < n && !summed && alpha; ++i) {
            if ((i & kEvery) == kEvery && !going()) return -1;
            const int32_t r = labels[i];
            double red = original[i].rgbRed, green = original[i].rgbGreen,
                   blue = original[i].rgbBlue;
            size[r] += 1;
            if (alpha) {
                const double a = originalAlpha[i];
                red *= a / 255.0;
                green *= a / 255.0;
                blue *= a / 255.0;
                sum[K * r + 3] += a;
                squares += a * a;
                level[r] = alpha[i];
            }
            sum[K * r] += red;
            sum[K * r + 1] += green;
            sum[K * r + 2] += blue;
            squares += red * red + green * green + blue * blue;
        }
        // The squared error of the picture painted in region means.
        double error = squares;
        for (int32_t r = 0; r < m; ++r)
            for (int k = 0; k < K; ++k) error -= sum[K * r + k] * sum[K * r + k] / size[r];
        const double bound = growth * error;
        // With alpha the empty region joins nothing but regions of partial
        // opacity (which then become empty), and opaque regions join
        // nothing empty.
        auto allowed = [&](int32_t a, int32_t b) {
            if (!alpha) return true;
            const bool partialA = level[a] != 0 && level[a] != 255;
            const bool partialB = level[b] != 0 && level[b] != 255;
            return (level[a] != 0 || partialB) && (level[b] != 0 || partialA);
        };
        // Neighbour pairs as found (a pair met again at once is left out),
        // by band, then bucketed by their lower region and made unique there
        // by marks. A band's list is made here, not on its thread (whose
        // memory would stay with that thread's heap), and sorted and thinned
        // in place when full before it grows.
        if (!at(0.3)) return -1;
        share = 0.35;
        std::vector<std::vector<uint64_t>> bandPairs(static_cast<size_t>(bands));
        for (int b = 0; b < bands && bands > 1; ++b)
            bandPairs[b].reserve(std::max<size_t>(4096, n / bands / 32));
        std::atomic<bool> stop{false}, failed{false};
        Bands::run(bands, bands, [&](int band, long long, long long) {
            try {
                std::vector<uint64_t>& pairs = bandPairs[band];
                int y0, y1;
                rowsOf(band, y0, y1);
                for (int y = y0; y < y1; ++y) {
                    if ((y & 255) == 255 && (band == 0 ? !going() : stop.load())) {
                        stop = true;
                        return;
                    }
                    const int32_t* const row = &labels[static_cast<size_t>(y) * width];
                    // The row below; the last row's pixels are their own.
                    const int32_t* const down = y + 1 < height ? row + width : row;
                    auto add = [&](int32_t a, int32_t b) {
                        const uint64_t pair = static_cast<uint64_t>(std::min(a, b)) << 32 |
                                              static_cast<uint32_t>(std::max(a, b));
                        if (!pairs.empty() && pairs.back() == pair) return;
                        if (pairs.size() == pairs.capacity() && bands > 1) {
                            std::sort(pairs.begin(), pairs.end());
                            pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
                        }
                        pairs.push_back(pair);
                    };
                    int x = 0;
                    while (x < width) {
#if defined(__SSE2__)
                        // Four pixels at a time while each has the label of
                        // its right and lower neighbours.
                        for (; x + 4 < width; x += 4) {
                            const __m128i a =
                                _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x));
                            const __m128i r =
                                _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x + 1));
                            const __m128i d =
                                _mm_loadu_si128(reinterpret_cast<const __m128i*>(down + x));
                            const __m128i same =
                                _mm_and_si128(_mm_cmpeq_epi32(a, r), _mm_cmpeq_epi32(a, d));
                            if (_mm_movemask_epi8(same) != 0xFFFF) break;
                        }
#endif
                        // Up to four pixels one by one (or the rest of the row).
                        for (const int stop = std::min(width, x + 4); x < stop; ++x) {
                            const int32_t a = row[x];
                            if (x + 1 < width && row[x + 1] != a) add(a, row[x + 1]);
                            if (down[x] != a) add(a, down[x]);
                        }
                    }
                }
            } catch (...) {
                failed = true;  // memory ran out
                stop = true;
            }
        });
        if (failed) throw std::bad_alloc();
        if (stop || !at(0.4)) return -1;
        std::vector<std::vector<int32_t>> adjacent(m);
        {
            // The higher regions of each lower one, at `start`: counted,
            // placed, then each lower region's made unique (marked by it).
            std::vector<size_t> start(static_cast<size_t>(m) + 1, 0);
            for (const std::vector<uint64_t>& pairs : bandPairs)
                for (const uint64_t p : pairs) ++start[static_cast<size_t>(p >> 32) + 1];
            for (int32_t r = 0; r < m; ++r) start[r + 1] += start[r];
            std::vector<int32_t> higher(start[m]);
            {
                std::vector<size_t> place(start.begin(), start.end() - 1);
                for (std::vector<uint64_t>& pairs : bandPairs) {
                    for (const uint64_t p : pairs)
                        higher[place[static_cast<size_t>(p >> 32)]++] = static_cast<int32_t>(p);
                    std::vector<uint64_t>().swap(pairs);
                }
            }
            std::vector<int32_t> degree(m, 0), mark(m, -1);
            size_t w = 0;
            for (int32_t a = 0; a < m; ++a) {
                const size_t from = start[a], to = start[a + 1];
                start[a] = w;
                for (size_t i = from; i < to; ++i) {
                    const int32_t b = higher[i];
                    if (mark[b] == a) continue;
                    mark[b] = a;
                    higher[w++] = b;
                    ++degree[b];
                }
                degree[a] += static_cast<int32_t>(w - start[a]);
            }
            start[m] = w;
            // Each list made once at its length.
            for (int32_t r = 0; r < m; ++r) adjacent[r].reserve(degree[r]);
            for (int32_t a = 0; a < m; ++a)
                for (size_t i = start[a]; i < start[a + 1]; ++i) {
                    const int32_t b = higher[i];
                    adjacent[a].push_back(b);
                    adjacent[b].push_back(a);
                }
        }

        std::vector<int32_t> parent(m);
        std::vector<uint32_t> stamp(m, 0);
        for (int32_t r = 0; r < m; ++r) parent[r] = r;
        auto find = [&](int32_t r) {
            while (parent[r] != r) r = parent[r] = parent[parent[r]];
            return r;
        };
        // Each region's mean (its sums over its size), kept with them.
        std::vector<double> mean(sum.size());
        auto measure = [&](int32_t r) {
            for (int k = 0; k < K; ++k) mean[K * r + k] = sum[K * r + k] / size[r];
        };
        for (int32_t r = 0; r < m; ++r) measure(r);
        // The candidate unions by batches: the pairs a region priced at once
        // (with its higher neighbours at the start, after a union with the
        // neighbours it gained or all of them). A batch goes as a whole when
        // its region is joined to another or prices its pairs anew, a pair
        // when the other region does; `tops` holds each batch's cheapest
        // pair, so the pairs come out in their order (cost, lower region,
        // higher region) as from one heap of all, with far fewer stale ones.
        std::vector<Priced> store;
        std::vector<Batch> batches;
        std::vector<Top> tops;
        // The batches with pairs in the store, in the store's order; the
        // store drops the others' pairs when it has doubled.
        std::vector<uint32_t> held;
        size_t compacted = 0;
        const std::greater<Priced> pricedAfter;
        const std::greater<Top> topAfter;
        auto live = [&](const Batch& t) {
            return parent[t.self] == t.self && stamp[t.self] == t.stamp;
        };
        auto compact = [&]() {
            size_t w = 0, kept = 0;
            for (const uint32_t id : held) {
                Batch& t = batches[id];
                if (t.begin < t.end && live(t)) {
                    const size_t length = t.end - t.begin;
                    std::copy(store.begin() + static_cast<std::ptrdiff_t>(t.begin),
                              store.begin() + static_cast<std::ptrdiff_t>(t.end),
                              store.begin() + static_cast<std::ptrdiff_t>(w));
                    t.begin = w;
                    t.end = w += length;
                    held[kept++] = id;
                } else {
                    t.begin = t.end = 0;
                }
            }
            held.resize(kept);
            store.resize(w);
            compacted = w;
        };
        // The cheapest of `count` pairs at `p` to the front.
        auto least = [&](Priced* p, size_t count) {
            size_t best = 0;
            for (size_t i = 1; i < count; ++i)
                if (pricedAfter(p[best], p[i])) best = i;
            std::swap(p[0], p[best]);
        };
        // The batch's cheapest pair goes.
        auto drop = [&](Batch& t) {
            Priced* const p = store.data();
            if (t.drops >= kScans) {
                std::pop_heap(p + t.begin, p + t.end, pricedAfter);
                --t.end;
            } else {
                ++t.begin;
                if (++t.drops == kScans)
                    std::make_heap(p + t.begin, p + t.end, pricedAfter);
                else if (t.begin < t.end)
                    least(p + t.begin, t.end - t.begin);
            }
        };
        // The batch's cheapest pair whose other region is still as priced
        // onto the tops (`heaped`: keeping them a heap); the others go.
        auto offer = [&](uint32_t id, bool heaped) {
            Batch& t = batches[id];
            for (; t.begin < t.end; drop(t)) {
                const Priced& e = store[t.begin];
                if (parent[e.other] == e.other && stamp[e.other] == e.stamp) {
                    tops.push_back(
                        {e.cost, std::min(t.self, e.other), std::max(t.self, e.other), id});
                    if (heaped) std::push_heap(tops.begin(), tops.end(), topAfter);
                    return;
                }
            }
        };
        // The pairs priced at `p` (their count), the cheapest first: the
        // cost of a union (the same both ways round, to the bit) for
        // `channels` (K) channels.
        auto price = [&](auto channels, int32_t self, const std::vector<int32_t>& list,
                         int32_t floor, Priced* p) {
            constexpr int C = decltype(channels)::value;
            const double* const own = &mean[C * static_cast<size_t>(self)];
            const double ownSize = size[self];
            size_t count = 0, best = 0;
            for (const int32_t r : list) {
                if (r <= floor || r == self) continue;
                const double* const other = &mean[C * static_cast<size_t>(r)];
                // Channel by channel, written out.
                double d2 = 0;
                const double red = own[0] - other[0], green = own[1] - other[1],
                             blue = own[2] - other[2];
                d2 += red * red;
                d2 += green * green;
                d2 += blue * blue;
                if (C == 4) {
                    const double opacity = own[3] - other[3];
                    d2 += opacity * opacity;
                }
                const double otherSize = size[r];
                p[count] = {ownSize * otherSize / (ownSize + otherSize) * d2, r, stamp[r]};
                if (pricedAfter(p[best], p[count])) best = count;
                ++count;
            }
            if (count > 0) std::swap(p[0], p[best]);
            return count;
        };
        // A batch of the pairs of `self` with the regions of `list` above
        // `floor` (roots; self left out).
        auto open = [&](int32_t self, const std::vector<int32_t>& list, int32_t floor,
                        bool heaped) {
            if (store.size() >= 2 * compacted + 65536) compact();
            const size_t begin = store.size();
            store.resize(begin + list.size());
            Priced* const p = store.data() + begin;
            const size_t count =
                K == 3 ? price(std::integral_constant<int, 3>(), self, list, floor, p)
                       : price(std::integral_constant<int, 4>(), self, list, floor, p);
            store.resize(begin + count);
            if (count == 0) return;
            const uint32_t id = static_cast<uint32_t>(batches.size());
            batches.push_back({begin, store.size(), self, stamp[self], 0});
            held.push_back(id);
            offer(id, heaped);
        };
        // The neighbour list of `self` as roots, each once (in no order: the
        // pairs' order is their own). `seen` marks the roots met in the
        // current pass.
        std::vector<uint32_t> seen(m, 0);
        uint32_t pass = 0;
        auto normalise = [&](std::vector<int32_t>& list, int32_t self) {
            seen[self] = ++pass;
            size_t kept = 0;
            for (const int32_t r : list) {
                const int32_t root = find(r);
                if (seen[root] == pass) continue;
                seen[root] = pass;
                list[kept++] = root;
            }
            list.resize(kept);
        };
        // Size and list length of each region when its pairs were last priced.
        std::vector<double> pricedSize(size);
        std::vector<size_t> pricedList(m);
        for (int32_t r = 0; r < m; ++r) pricedList[r] = adjacent[r].size();
        batches.reserve(m);
        held.reserve(m);
        tops.reserve(m);
        for (int32_t a = 0; a < m; ++a) {
            if ((a & 0xFFFF) == 0xFFFF && !at(0.55)) return -1;
            open(a, adjacent[a], a, false);
        }
        std::make_heap(tops.begin(), tops.end(), topAfter);
        long long left = m;
        if (!at(0.6)) return -1;
        // Every 4096 candidates (the share: regions merged of those there were).
        for (unsigned step = 1; !tops.empty(); ++step) {
            if ((step & 4095) == 0 && !at(0.6 + 0.3 * static_cast<double>(m - left) / m)) return -1;
            const Top top = tops.front();
            const bool cheap = top.cost <= cost && (growth <= 0 || error + top.cost <= bound);
            if (!cheap && error + top.cost > budget) break;
            std::pop_heap(tops.begin(), tops.end(), topAfter);
            tops.pop_back();
            {
                Batch& t = batches[top.batch];
                if (!live(t)) continue;
                const Priced e = store[t.begin];
                drop(t);
                if (parent[e.other] != e.other || stamp[e.other] != e.stamp ||
                    !allowed(top.a, top.b)) {
                    offer(top.batch, true);
                    continue;
                }
            }
            error += top.cost;
            // The region with more neighbours keeps its list.
            int32_t keep = top.a, gone = top.b;
            if (adjacent[keep].size() < adjacent[gone].size()) std::swap(keep, gone);
            bool small = size[gone] * 16 <= size[keep];
            if (alpha) {
                // Empty wins; else the larger part's opacity class.
                const uint8_t joined = level[keep] == 0 || level[gone] == 0 ? 0
                                       : size[gone] > size[keep]            ? level[gone]
                                                                            : level[keep];
                if (joined != level[keep]) small = false;  // its pairs change
                level[keep] = joined;
            }
            parent[gone] = keep;
            if (size[gone] > size[keep]) paint[keep] = paint[gone];
            size[keep] += size[gone];
            for (int k = 0; k < K; ++k) sum[K * keep + k] += sum[K * gone + k];
            measure(keep);
            --left;
            std::vector<int32_t>& list = adjacent[keep];
            std::vector<int32_t>& added = adjacent[gone];
            for (int32_t& r : added) r = find(r);
            if (small && size[keep] <= 1.25 * pricedSize[keep]) {
                // A small region joined a large one whose mean barely moved:
                // the large one's pairs keep their prices; only the small
                // one's neighbours are priced anew. (Without this a large
                // background that swallows speckles one by one would price
                // all its neighbours again every time.)
                open(keep, added, -1, true);
                list.insert(list.end(), added.begin(), added.end());
                if (list.size() > 2 * pricedList[keep] + 16) {
                    normalise(list, keep);
                    pricedList[keep] = list.size();
                }
            } else {
                ++stamp[keep];
                pricedSize[keep] = size[keep];
                list.insert(list.end(), added.begin(), added.end());
                normalise(list, keep);
                pricedList[keep] = list.size();
                open(keep, list, -1, true);
            }
            std::vector<int32_t>().swap(added);
            // The rest of the batch the pair came from, while it holds.
            if (live(batches[top.batch])) offer(top.batch, true);
        }
        if (!at(0.9)) return -1;
        // Every pixel in its region's colour (and level), by bands: the
        // roots first, as the bands only read them.
        // The regions of the repainted picture (as labelRegions numbers
        // them), for the labelling handed on: the unions, each one colour
        // and one piece, joined where two that touch took one colour (their
        // neighbour lists hold every union that touches them). Sets keep
        // their least label, whose first pixel is theirs: `number` gets each
        // region's number by its label before, `first` the first pixels.
        auto labelsAfter = [&](std::vector<int32_t>& number) {
            LeastSets joined;
            joined.reset(m);
            auto unite = [&](int32_t x, int32_t y) { joined.unite(x, y); };
            for (int32_t r = 0; r < m; ++r) {
                const int32_t root = find(r);
                if (root != r) {
                    unite(r, root);
                    continue;
                }
                for (int32_t q : adjacent[r]) {
                    const int32_t other = find(q);
                    if (other != r && paint[other] == paint[r]) unite(r, other);
                }
            }
            number.resize(m);
            return static_cast<long long>(joined.numbers(number.data(), first.data()));
        };
        // With `number` (a region's label after the repaint, by its label
        // before) the labels are renumbered as they are read.
        std::vector<int32_t> number;
        auto repaint = [&]() {
            for (int32_t r = 0; r < m; ++r) parent[r] = find(r);
            const int32_t* const renumber = number.empty() ? nullptr : number.data();
            Bands::run(bands, bands, [&](int band, long long, long long) {
                int y0, y1;
                rowsOf(band, y0, y1);
                for (int y = y0; y < y1; ++y) {
                    if ((y & 255) == 255 && (band == 0 ? !going() : stop.load())) {
                        stop = true;
                        return;
                    }
                    for (size_t i = static_cast<size_t>(y) * width,
                                e = static_cast<size_t>(y + 1) * width;
                         i < e; ++i) {
                        const int32_t l = labels[i];
                        const uint32_t v = paint[parent[l]];
                        unpackColour(pixels[i], v);
                        if (alpha) alpha[i] = keyAlpha(v);
                        if (renumber) labels[i] = renumber[l];
                    }
                }
            });
            return !stop.load();
        };
        if (alpha) {
            for (int32_t r = 0; r < m; ++r) {
                if (parent[r] != r) continue;
                const double a = sum[K * r + 3];
                uint32_t v = paint[r] & 0xFFFFFF;
                if (level[r] == 0) {
                    v = 0;
                } else if (means && a > 0) {
                    v = 0;
                    for (int k = 0; k < 3; ++k)
                        v |=
                            static_cast<uint32_t>(std::min(255.0, sum[K * r + k] * 255.0 / a + 0.5))
                            << (8 * k);
                }
                // Opaque and empty stay so; partial takes the mean alpha.
                uint32_t l = level[r];
                if (l != 0 && l != 255 && means)
                    l = static_cast<uint32_t>(std::min(254.0, std::max(1.0, a / size[r] + 0.5)));
                else if (l != 0 && l != 255)
                    l = keyAlpha(paint[r]);
                paint[r] = v | l << 24;
            }
            share = 0.95;
            if (!repaint()) return -1;
            return left;
        }
        if (means)
            for (int32_t r = 0; r < m; ++r) {
                if (parent[r] != r) continue;
                uint32_t v = 0;
                for (int k = 0; k < 3; ++k)
                    v |= static_cast<uint32_t>(sum[3 * r + k] / size[r] + 0.5) << (8 * k);
                paint[r] = v;
            }
        share = 0.95;
        long long after = -1;
        if (handOn) after = labelsAfter(number);
        if (!repaint()) return -1;
        if (handOn) {
            first.resize(static_cast<size_t>(after));
            handed->labels.swap(labels);
            handed->firsts.swap(first);
            handed->count = after;
        }
        return left;
    } catch (...) {
        return -1;
    }
}

}  // namespace om1
