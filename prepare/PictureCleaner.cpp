#include "prepare/PictureCleaner.h"
#include "prepare/Bands.h"
#include "prepare/FlatPixels.h"
#include "prepare/LeastSets.h"
#include "prepare/PackedColour.h"
#include "prepare/RegionLabels.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

namespace om1 {

namespace {

// The anti-alias cleanup runs by bands from this many pixels on (128 x 128):
// its passes cost more a pixel than the other stages'.
const long long kMinCleanPixels = 1LL << 14;

// The speckle filter's labellings and passes run by bands from this many
// pixels on (256 x 256).
const long long kMinSpecklePixels = 1LL << 16;

// Squared distance of two packed colours.
int colourDistance(uint32_t a, uint32_t b) {
    int d = 0;
    for (int i = 0; i < 3; ++i) {
        const int c = colourChannel(a, i) - colourChannel(b, i);
        d += c * c;
    }
    return d;
}

// A speckle's edge to a region that was at least the area when the pass
// began outweighs any number of edges to speckles merged before it.
const long long kLargeEdge = 1LL << 32;

// The largest channel difference of two keys, measured as fromSegment does.
double keyDiff(uint32_t a, uint32_t b, bool withAlpha) {
    if (!withAlpha) return maxDiff(a, b);
    double pa[4], pb[4];
    const int m = keyChannels(a, withAlpha, pa);
    keyChannels(b, withAlpha, pb);
    double d = 0;
    for (int i = 0; i < m; ++i) d = std::max(d, std::abs(pa[i] - pb[i]));
    return d;
}

// Passes over the pixels ask the progress every this many plus one.
const size_t kEvery = (size_t{1} << 18) - 1;

int luminance(const RGBQUAD& q) {
    return (299 * q.rgbRed + 587 * q.rgbGreen + 114 * q.rgbBlue) / 1000;
}

}  // namespace

int PictureCleaner::otsuThreshold(const RGBQUAD* pixels, int width, int height) {
    if (!pixels || width <= 0 || height <= 0) return 128;
    const size_t n = static_cast<size_t>(width) * height;
    double hist[256] = {};
    for (size_t i = 0; i < n; ++i) hist[luminance(pixels[i])] += 1;
    double total = 0;
    for (int v = 0; v < 256; ++v) total += v * hist[v];
    double below = 0, belowSum = 0, best = -1;
    int pick = 128;
    // Threshold t: class 0 is luminance < t.
    for (int t = 1; t < 256; ++t) {
        below += hist[t - 1];
        belowSum += (t - 1) * hist[t - 1];
        const double above = static_cast<double>(n) - below;
        if (below == 0 || above == 0) continue;
        const double m0 = belowSum / below, m1 = (total - belowSum) / above;
        const double between = below * above * (m0 - m1) * (m0 - m1);
        if (between > best) {
            best = between;
            pick = t;
        }
    }
    return pick;
}

bool PictureCleaner::threshold(RGBQUAD* pixels, int width, int height, int threshold,
                               const std::function<bool()>& going) {
    if (!pixels || width <= 0 || height <= 0) return true;
    if (threshold > 255) threshold = otsuThreshold(pixels, width, height);
    if (going && !going()) return false;
    const size_t n = static_cast<size_t>(width) * height;
    for (size_t i = 0; i < n; ++i) {
        if ((i & kEvery) == kEvery && going && !going()) return false;
        RGBQUAD& q = pixels[i];
        const int lum = luminance(q);
        const BYTE v = lum < threshold ? 0 : 255;
        q.rgbRed = q.rgbGreen = q.rgbBlue = v;
    }
    return true;
}

long long PictureCleaner::antialias(RGBQUAD* pixels, int width, int height, int radius,
                                    int tolerance, uint8_t* alpha,
                                    const std::function<bool(double)>& progress, int threads) {
    if (!pixels || width <= 0 || height <= 0) return 0;
    // Both passes run by bands of rows, from an icon's size on (each pixel
    // costs a window's work; a band no more than its rows). Every 4 rows of
    // each pass the first band reports its share (the others go as fast) and
    // every band looks whether to stop.
    const int bands =
        Bands::count(threads, static_cast<long long>(width) * height, kMinCleanPixels);
    std::atomic<bool> stop{false};
    auto at = [&](int pass, int band, int y, int y0, int y1) {
        if (((y - y0) & 3) != 0) return true;
        if (band == 0 && progress &&
            !progress((pass + static_cast<double>(y - y0) / (y1 - y0)) / 2))
            stop = true;
        return !stop;
    };
    radius = std::max(1, std::min(radius, 8));
    const bool withAlpha = alpha != nullptr;
    // A pixel is flat when its 3 x 3 neighbourhood has one key; flat pixels
    // keep theirs, so the second pass reads their keys from the pixels. The
    // flags are bits, each row starting a word.
    const PixelKeys key{pixels, alpha};
    FlatPixels flat;
    if (!flat.reset(width, height, bands)) return -1;
    const size_t words = flat.words();
    auto findFlat = [&](int band, long long y0, long long y1) {
        flat.find(key, band, static_cast<int>(y0), static_cast<int>(y1), [&](int y) {
            return at(0, band, y, static_cast<int>(y0), static_cast<int>(y1));
        });
    };
    Bands::run(bands, height, findFlat, [&]() {
        if (progress && !stop && !progress(0.45)) stop = true;
    });
    if (stop) return -1;
    // Only pixels that are not flat change, each by its own window.
    std::vector<long long> changedBy(static_cast<size_t>(bands), 0);
    std::vector<uint64_t> nearbyBits;
    try {
        nearbyBits.assign(static_cast<size_t>(bands) * words, 0);
    } catch (...) {
        return -1;
    }
    auto clean = [&](int band, long long y0, long long y1) {
        long long changed = 0;
        uint32_t cand[16];
        uint64_t* const nearby = &nearbyBits[static_cast<size_t>(band) * words];
        for (int y = static_cast<int>(y0); y < y1; ++y) {
            if (!at(1, band, y, static_cast<int>(y0), static_cast<int>(y1))) return;
            const uint64_t* flatRow = flat.row(y);
            // Only pixels with a flat pixel in their window can change.
            flat.nearby(y - radius, y + radius, radius, nearby);
            for (size_t j = 0; j < words; ++j) {
                uint64_t open = ~flatRow[j] & nearby[j];
                for (; open; open &= open - 1) {
                    const int x = static_cast<int>(j * 64) + __builtin_ctzll(open);
                    const size_t i = static_cast<size_t>(y) * width + x;
                    // An empty pixel stays empty.
                    if (withAlpha && alpha[i] == 0) continue;
                    // The distinct keys of the window's flat pixels, in row order.
                    // A flat pixel has the key of a flat neighbour (its own 3 x 3
                    // is one key), so only those with none before them in the
                    // window are read (FlatPixels::Window).
                    int k = 0;
                    const int x0 = std::max(x - radius, 0), x1 = std::min(x + radius, width - 1);
                    const int y0 = std::max(y - radius, 0), y1 = std::min(y + radius, height - 1);
                    FlatPixels::Window window(flat, x0, x1 - x0 + 1, y0);
                    for (int ny = y0; ny <= y1 && k < 16; ++ny) {
                        const size_t rowStart = static_cast<size_t>(ny) * width + x0;
                        for (uint64_t bits = window.next(); bits && k < 16; bits &= bits - 1) {
                            const uint32_t v = key(rowStart + __builtin_ctzll(bits));
                            if (k > 0 && v == cand[k - 1]) continue;
                            if (std::find(cand, cand + k, v) == cand + k) cand[k++] = v;
                        }
                    }
                    if (k < 2) continue;
                    for (int a = 0; a < k; ++a) cand[a] = keyToPacked(cand[a]);
                    const uint32_t p = packKey(pixels, alpha, i);
                    double best = tolerance + 0.5;
                    uint32_t to = p;
                    for (int a = 0; a < k; ++a)
                        for (int b = a + 1; b < k; ++b) {
                            double t = 0;
                            const double d = fromSegment(p, cand[a], cand[b], t, withAlpha);
                            if (d < best) {
                                best = d;
                                to = t < 0.5 ? cand[a] : cand[b];
                                // Equally near both ends: the one nearer by the colour measure.
                                if (t == 0.5 &&
                                    keyDiff(p, cand[b], withAlpha) < keyDiff(p, cand[a], withAlpha))
                                    to = cand[b];
                            }
                        }
                    if (to != p) {
                        unpackColour(pixels[i], to);
                        if (withAlpha) alpha[i] = keyAlpha(to);
                        ++changed;
                    }
                }
            }
        }
        changedBy[band] = changed;
    };
    Bands::run(bands, height, clean, [&]() {
        if (progress && !stop && !progress(0.95)) stop = true;
    });
    if (stop) return -1;
    long long changed = 0;
    for (long long c : changedBy) changed += c;
    return changed;
}

long long PictureCleaner::regions(const RGBQUAD* pixels, int width, int height,
                                  const uint8_t* alpha) {
    if (!pixels || width <= 0 || height <= 0) return 0;
    try {
        std::vector<int32_t> labels;
        return labelRegions(pixels, alpha, width, height, labels);
    } catch (...) {
        return -1;
    }
}

bool PictureCleaner::restitute(RGBQUAD* pixels, const RGBQUAD* original, int width, int height,
                               uint8_t* alpha, const uint8_t* originalAlpha) {
    if (!pixels || !original || width <= 0 || height <= 0) return false;
    if (alpha && originalAlpha)
        return restituteWithAlpha(pixels, original, width, height, alpha, originalAlpha);
    const size_t n = static_cast<size_t>(width) * height;
    try {
        std::vector<int32_t> labels;
        const long long m = labelRegions(pixels, nullptr, width, height, labels);
        std::vector<long long> sum(3 * m, 0), count(m, 0);
        for (size_t i = 0; i < n; ++i) {
            const int32_t r = labels[i];
            ++count[r];
            sum[3 * r] += original[i].rgbRed;
            sum[3 * r + 1] += original[i].rgbGreen;
            sum[3 * r + 2] += original[i].rgbBlue;
        }
        for (size_t i = 0; i < n; ++i) {
            const int32_t r = labels[i];
            const long long k = count[r];
            pixels[i].rgbRed = static_cast<BYTE>((sum[3 * r] + k / 2) / k);
            pixels[i].rgbGreen = static_cast<BYTE>((sum[3 * r + 1] + k / 2) / k);
            pixels[i].rgbBlue = static_cast<BYTE>((sum[3 * r + 2] + k / 2) / k);
        }
    } catch (...) {
        return false;
    }
    return true;
}

bool PictureCleaner::restituteWithAlpha(RGBQUAD* pixels, const RGBQUAD* original, int width,
                                        int height, uint8_t* alpha, const uint8_t* originalAlpha) {
    const size_t n = static_cast<size_t>(width) * height;
    try {
        std::vector<int32_t> labels;
        const long long m = labelRegions(pixels, alpha, width, height, labels);
        // Colours weighted by their alpha, and the alpha.
        std::vector<double> sum(4 * m, 0);
        std::vector<long long> count(m, 0);
        for (size_t i = 0; i < n; ++i) {
            const int32_t r = labels[i];
            const double a = originalAlpha[i];
            ++count[r];
            sum[4 * r] += original[i].rgbRed * a;
            sum[4 * r + 1] += original[i].rgbGreen * a;
            sum[4 * r + 2] += original[i].rgbBlue * a;
            sum[4 * r + 3] += a;
        }
        for (size_t i = 0; i < n; ++i) {
            const int32_t r = labels[i];
            const uint8_t level = alpha[i];
            if (level == 0 || sum[4 * r + 3] <= 0) continue;  // the empty region stays
            auto channel = [&](int k) {
                return static_cast<BYTE>(std::min(255.0, sum[4 * r + k] / sum[4 * r + 3] + 0.5));
            };
            pixels[i].rgbRed = channel(0);
            pixels[i].rgbGreen = channel(1);
            pixels[i].rgbBlue = channel(2);
            if (level != 255) {
                const double mean = sum[4 * r + 3] / static_cast<double>(count[r]);
                alpha[i] = static_cast<uint8_t>(std::min(254.0, std::max(1.0, mean + 0.5)));
            }
        }
    } catch (...) {
        return false;
    }
    return true;
}

long long PictureCleaner::speckle(RGBQUAD* pixels, int width, int height, int area, uint8_t* alpha,
                                  const std::function<bool(double)>& progress, int threads,
                                  Labelling* labelled) {
    if (!pixels || width <= 0 || height <= 0) return 0;
    // Between the steps of each pass: a pass takes at most half of what was left.
    double share = 0;
    auto at = [&](double part) { return !progress || progress(share + (1 - share) * part / 2); };
    double part = 0;  // where a long step is, for the checks inside it
    const std::function<bool()> going = [&]() { return at(part); };
    const size_t n = static_cast<size_t>(width) * height;
    try {
        // Reused by every pass (a pass has no more regions than the last).
        // A region's colour is its first pixel's until the pass repaints.
        std::vector<int32_t> labels, first, size, parent, small, touched, members, source;
        std::vector<std::vector<int32_t>> meets;
        LeastSets joined;
        long long count = labelRegions(pixels, alpha, width, height, labels, going, threads, &first,
                                       kMinSpecklePixels);
        if (count < 0) return -1;
        std::vector<long long> shared;
        std::vector<uint8_t> large;
        auto colour = [&](int32_t r) { return packKey(pixels, alpha, first[r]); };
        // The passes over the pixels by bands of rows on the threads, for at
        // most one region in 64 pixels (each band counts its own).
        const int bands =
            std::min(Bands::count(threads, static_cast<long long>(n), kMinSpecklePixels), height);
        auto rowsOf = [&](int band, size_t& from, size_t& to) {
            from = static_cast<size_t>(static_cast<long long>(height) * band / bands) * width;
            to = static_cast<size_t>(static_cast<long long>(height) * (band + 1) / bands) * width;
        };
        std::vector<std::vector<int32_t>> bandSize;
        std::atomic<bool> stop{false};
        // Between a band's chunks of pixels: band 0 asks the progress, the
        // others stop with it.
        auto goingOn = [&](int band) {
            if (band == 0 ? !going() : stop.load()) stop = true;
            return !stop.load();
        };
        // The sizes of the regions of pixels [from, to) added to `sz`: runs
        // of one label at once (no chain of increments of one count through
        // memory). False when stopped.
        auto addRuns = [&](int band, size_t from, size_t to, int32_t* sz) {
            const int32_t* const label = labels.data();
            for (size_t i = from; i < to;) {
                if (i > from && !goingOn(band)) return false;
                const size_t end = std::min(to, i + kEvery + 1);
                int32_t run = label[i], length = 0;
                for (; i < end; ++i) {
                    if (label[i] != run) {
                        sz[run] += length;
                        run = label[i];
                        length = 0;
                    }
                    ++length;
                }
                sz[run] += length;
            }
            return true;
        };
        // The labelling of the pixels after a pass's repaint, from the
        // labels of the `m` regions before it, as labelRegions gives it: a
        // region is the regions before it that joined one (one colour, one
        // piece), and those of one colour that a repainted pixel now
        // touches (no other pixels changed colour). Sets keep their least
        // label, whose first pixel is the set's, so that they are numbered
        // by their least.
        auto relabel = [&](int32_t m) -> long long {
            joined.reset(m);
            auto unite = [&](int32_t a, int32_t b) { joined.unite(a, b); };
            for (int32_t r = 0; r < m; ++r) {
                int32_t to = r;
                while (parent[to] != to) to = parent[to];
                if (to != r) unite(r, to);
            }
            // The repainted pixels' meetings with other labels of their key,
            // by bands (each band lists its own, joined in band order).
            const PixelKeys key{pixels, alpha};
            meets.resize(static_cast<size_t>(bands));
            std::atomic<bool> full{false};  // memory ran out
            Bands::run(bands, bands, [&](int band, long long, long long) {
                std::vector<int32_t>& met = meets[band];
                met.clear();
                const int y0 = static_cast<int>(static_cast<long long>(height) * band / bands);
                const int y1 =
                    static_cast<int>(static_cast<long long>(height) * (band + 1) / bands);
                size_t walked = 0;  // pixels since the progress last heard
                for (int y = y0; y < y1; ++y) {
                    walked += static_cast<size_t>(width);
                    if (walked > kEvery) {
                        walked = 0;
                        if (!goingOn(band)) return;
                    }
                    const size_t row = static_cast<size_t>(y) * width;
                    for (int x = 0; x < width; ++x) {
                        const size_t i = row + x;
                        const int32_t a = labels[i];
                        if (source[a] < 0) continue;
                        const uint32_t k = key(i);
                        auto meet = [&](size_t j) {
                            const int32_t b = labels[j];
                            if (b == a || key(j) != k) return;
                            // (The same pair as the last one is met along
                            // a whole edge.)
                            const size_t e = met.size();
                            if (e > 0 && met[e - 1] == b && met[e - 2] == a) return;
                            try {
                                met.push_back(a);
                                met.push_back(b);
                            } catch (...) {
                                full = true;
                                stop = true;
                            }
                        };
                        if (x > 0) meet(i - 1);
                        if (x + 1 < width) meet(i + 1);
                        if (y > 0) meet(i - width);
                        if (y + 1 < height) meet(i + width);
                    }
                }
            });
            if (full) throw std::bad_alloc();
            if (stop) return -1;
            for (const std::vector<int32_t>& met : meets)
                for (size_t k = 0; k < met.size(); k += 2) unite(met[k], met[k + 1]);
            // Numbered by least label (a set's least comes before its
            // others) into `source`, read no more; `first` is rewritten in
            // place (number <= label).
            std::vector<int32_t>& number = source;
            const int32_t next = joined.numbers(number.data(), first.data());
            first.resize(next);
            Bands::run(bands, bands, [&](int band, long long, long long) {
                size_t from, to;
                rowsOf(band, from, to);
                for (size_t i = from; i < to;) {
                    if (i > from && !goingOn(band)) return;
                    for (const size_t end = std::min(to, i + kEvery + 1); i < end; ++i)
                        labels[i] = number[labels[i]];
                }
            });
            if (stop) return -1;
            return next;
        };
        for (int pass = 0; pass < 16 && area > 1; ++pass) {
            if (!at(0)) return -1;
            const int32_t m = static_cast<int32_t>(count);
            parent.resize(m);
            shared.assign(m, 0);
            size.assign(m, 0);
            // The regions' sizes (by bands: each band counts its own).
            if (bands > 1 && static_cast<size_t>(m) <= n / 64) {
                bandSize.resize(static_cast<size_t>(bands));
                for (int b = 0; b < bands; ++b) bandSize[b].assign(m, 0);
                Bands::run(bands, bands, [&](int band, long long, long long) {
                    size_t from, to;
                    rowsOf(band, from, to);
                    addRuns(band, from, to, bandSize[band].data());
                });
                if (stop) return -1;
                for (int b = 0; b < bands; ++b)
                    for (int32_t r = 0; r < m; ++r) size[r] += bandSize[b][r];
            } else {
                addRuns(0, 0, n, size.data());
                if (stop) return -1;
            }
            large.resize(m);
            small.clear();
            for (int32_t r = 0; r < m; ++r) {
                large[r] = size[r] >= area;
                parent[r] = r;
                if (size[r] < area) small.push_back(r);
            }
            auto find = [&](int32_t r) {
                while (parent[r] != r) r = parent[r] = parent[parent[r]];
                return r;
            };
            if (small.empty()) break;
            std::stable_sort(small.begin(), small.end(),
                             [&](int32_t a, int32_t b) { return size[a] < size[b]; });
            long long merged = 0;
            if (!at(0.3)) return -1;
            part = 0.4;
            size_t walked = 0;  // pixels of small regions since the progress last heard
            for (int32_t r : small) {
                if (walked > kEvery) {
                    walked = 0;
                    if (!going()) return -1;
                }
                if (find(r) != r || size[r] >= area) continue;
                walked += static_cast<size_t>(size[r]);
                // The empty region is never painted.
                if (alpha && keyAlpha(colour(r)) == 0) continue;
                // The region's own pixels (fewer than the area: regions
                // merged into it are not among them), in row order. Labels
                // are flipped while the fill runs, then put back.
                members.assign(1, first[r]);
                labels[first[r]] = ~r;
                for (size_t k = 0; k < members.size(); ++k) {
                    const int32_t p = members[k];
                    const int x = p % width, y = p / width;
                    const int32_t nb[4] = {x > 0 ? p - 1 : -1, x + 1 < width ? p + 1 : -1,
                                           y > 0 ? p - width : -1, y + 1 < height ? p + width : -1};
                    for (int32_t q : nb)
                        if (q >= 0 && labels[q] == r) {
                            labels[q] = ~r;
                            members.push_back(q);
                        }
                }
                for (int32_t p : members) labels[p] = r;
                std::sort(members.begin(), members.end());
                touched.clear();
                for (int32_t p : members) {
                    const int x = p % width, y = p / width;
                    const int32_t nb[4] = {x > 0 ? p - 1 : -1, x + 1 < width ? p + 1 : -1,
                                           y > 0 ? p - width : -1, y + 1 < height ? p + width : -1};
                    for (int32_t q : nb) {
                        if (q < 0) continue;
                        const int32_t s = find(labels[q]);
                        if (s == r) continue;
                        if (shared[s] == 0) touched.push_back(s);
                        shared[s] += large[labels[q]] ? kLargeEdge : 1;
                    }
                }
                int32_t to = -1;
                const uint32_t own = colour(r);
                for (int32_t s : touched) {
                    if (to < 0 || shared[s] > shared[to]) {
                        to = s;
                    } else if (shared[s] == shared[to]) {
                        const int ds = colourDistance(colour(s), own);
                        const int dt = colourDistance(colour(to), own);
                        if (ds < dt || (ds == dt && size[s] > size[to])) to = s;
                    }
                }
                for (int32_t s : touched) shared[s] = 0;
                if (to < 0) continue;
                parent[r] = to;
                size[to] += size[r];
                ++merged;
            }
            if (merged == 0) break;
            if (!at(0.6)) return -1;
            // A region that joined none keeps its pixels, the first one
            // included: the pixels of the others take its colour. By bands,
            // from the roots' first pixels (`source`), which no band
            // repaints.
            source.resize(m);
            for (int32_t r = 0; r < m; ++r) source[r] = parent[r] == r ? -1 : first[find(r)];
            Bands::run(bands, bands, [&](int band, long long, long long) {
                size_t from, to;
                rowsOf(band, from, to);
                for (size_t i = from; i < to;) {
                    if (i > from && !goingOn(band)) return;
                    for (const size_t end = std::min(to, i + kEvery + 1); i < end; ++i) {
                        const int32_t s = source[labels[i]];
                        if (s < 0) continue;
                        pixels[i].rgbRed = pixels[s].rgbRed;
                        pixels[i].rgbGreen = pixels[s].rgbGreen;
                        pixels[i].rgbBlue = pixels[s].rgbBlue;
                        if (alpha) alpha[i] = alpha[s];
                    }
                }
            });
            if (stop) return -1;
            if (!at(0.7)) return -1;
            // From the labels before where the regions and the repainted
            // pixels are few (each costs more than a labelling's pixel), and
            // the labelling is not shared out in bands.
            size_t repainted = 0;
            for (int32_t r = 0; r < m; ++r)
                if (parent[r] != r) repainted += static_cast<size_t>(size[r]);
            if (static_cast<size_t>(m) + repainted < n / 8) {
                count = relabel(m);
            } else {
                count = labelRegions(pixels, alpha, width, height, labels, going, threads, &first,
                                     kMinSpecklePixels);
            }
            if (count < 0) return -1;
            share += (1 - share) / 2;
        }
        // Every way out of the passes comes after a labelling of the pixels
        // as they are left (the labels flipped by a fill are put back).
        if (labelled) {
            labelled->labels.swap(labels);
            labelled->firsts.swap(first);
            labelled->count = count;
        }
        return count;
    } catch (...) {
        return -1;
    }
}

}  // namespace om1
