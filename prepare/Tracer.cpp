#include "prepare/Tracer.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <new>
#include <unordered_map>
#include <vector>

#include "containment/CntmTreeCreator.h"
#include "containment/ExportOutLinesStruct.h"
#include "interface/kvMngr.h"
#include "raster/OutLineManipulator.h"
#include "tracer/AllOutLines.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"
#include "prepare/AlphaPicture.h"
#include "prepare/ColorQuantizer.h"
#include "prepare/PackedColour.h"
#include "prepare/PictureCleaner.h"
#include "prepare/PreFilter.h"
#include "prepare/RegionLabels.h"
#include "prepare/RegionMerger.h"
#include "prepare/SpotRestitution.h"
#include "prepare/ThinLines.h"
#include "prepare/WorkerThread.h"

namespace om1 {

namespace {

bool samePixel(const RGBQUAD& a, const RGBQUAD& b) {
    return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
}

// The nine fixed positions (the entry points' order), clamped like the
// tracer's own seed positions.
void fixedSeed(int i, int w, int h, int& x, int& y) {
    static const int fx[9] = {0, -1, -1, -1, 0, 1, 1, 1, 0};
    static const int fy[9] = {0, -1, 0, 1, 1, 1, 0, -1, -1};
    x = std::min(std::max(w / 2 + fx[i] * (w / 4), 0), w - 1);
    y = std::min(std::max(h / 2 + fy[i] * (h / 4), 0), h - 1);
}

// True when the 3 x 3 ring the tracer lays round (x, y) (moved inward from
// the border as the tracer moves it) lies in one colour.
bool uniformRing(const RGBQUAD* p, int w, int h, int x, int y) {
    x = std::min(std::max(x, 1), w - 2);
    y = std::min(std::max(y, 1), h - 2);
    const RGBQUAD& c = p[static_cast<size_t>(y) * w + x];
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
            if (!samePixel(p[static_cast<size_t>(y + dy) * w + x + dx], c)) return false;
    return true;
}

void release(AllOutLines& all) {
    delete all.outLines;
    all.outLines = nullptr;
}

// A share of the caller's progress: what a step reports in [from, to].
Tracer::Progress part(const Tracer::Progress& p, double from, double to) {
    if (!p) return Tracer::Progress();
    return [&p, from, to](double s) {
        return p(from + (to - from) * std::min(std::max(s, 0.0), 1.0));
    };
}

}  // namespace

void Tracer::seeds(const RGBQUAD* pixels, int width, int height, TraceOptions::Seed choice, int* xs,
                   int* ys, int& count) {
    count = 0;
    if (!pixels || width < 3 || height < 3) return;
    int fx[9], fy[9];
    for (int i = 0; i < 9; ++i) fixedSeed(i, width, height, fx[i], fy[i]);
    if (choice == TraceOptions::Seed::UniformRing) {
        // Row by row: the first pixel whose ring is uniform. Its region
        // usually runs along the picture's border, and the border then goes
        // with the first region instead of bounding one nested hole after
        // another (on photographs reduced to a few colours the tracer does
        // about 8 % less work than from the centre).
        int rx = -1, ry = -1;
        for (int y = 1; y + 1 < height && rx < 0; ++y)
            for (int x = 1; x + 1 < width; ++x)
                if (uniformRing(pixels, width, height, x, y)) {
                    rx = x;
                    ry = y;
                    break;
                }
        if (rx >= 0) {
            xs[count] = rx;
            ys[count++] = ry;
            for (int i = 0; i < 9; ++i)
                if ((fx[i] != rx || fy[i] != ry) &&
                    uniformRing(pixels, width, height, fx[i], fy[i])) {
                    xs[count] = fx[i];
                    ys[count++] = fy[i];
                }
        }
    }
    for (int i = 0; i < 9; ++i) {
        xs[count] = fx[i];
        ys[count++] = fy[i];
    }
}

Tracer::Result Tracer::traceOnce(RGBQUAD* pixels, int width, int height,
                                 const TraceOptions& options, KvCtree*& out) {
    out = nullptr;
    const int tol = static_cast<int>(std::min(std::max(options.tolerancePercent, 0), 100) * 2.55);
    const int tracerMinLen = std::max(options.minOutlineLen, 4);

    int xs[kMaxSeeds], ys[kMaxSeeds], n = 0;
    seeds(pixels, width, height, options.seed, xs, ys, n);
    AllOutLines all;
    int result = 1;
    for (int i = 0; i < n; ++i) {
        OutLineManipulator* olm =
            new (std::nothrow) OutLineManipulator(pixels, width, height, tol, tracerMinLen, 3, 0);
        if (!olm) continue;
        Ombrel* tracer = new (std::nothrow) Ombrel(olm);
        if (!tracer || !tracer->isValid()) {
            delete tracer;
            delete olm;
            continue;
        }
        release(all);
        result = tracer->DoOmbrel_(all, CPoint(xs[i], ys[i]), options.maxOutlines);
        delete tracer;
        delete olm;
        if (result == 2) break;
        if (all.outLines && all.outLines->parts) break;
    }
    if (result == 2) {
        release(all);
        return LimitExceeded;
    }
    if (result != 0 || !all.outLines || !all.outLines->parts) {
        release(all);
        return NoOutlines;
    }

    ExportOutLinesStruct* exported = new (std::nothrow) ExportOutLinesStruct(nullptr, width);
    CntmTreeCreator* creator = new (std::nothrow) CntmTreeCreator(width, height);
    bool built = exported && creator && creator->createCntmTree(*exported, all);
    release(all);
    if (!built || !exported->exportTree) {
        delete creator;
        delete exported;
        return NoOutlines;
    }
    kvMngr manager(width, height);
    manager.delSmallOutLn(options.minOutlineLen, exported->exportTree);
    bool ok = manager.createKvCTree(out, exported->exportTree, width) &&
              (!options.treeCurves ||
               manager.convBmToBezierRecurs(out, std::max(options.curveTolerance, 0), width));
    delete creator;
    delete exported;
    if (!ok) {
        if (out) kvctr_deleteKvCtree(out);
        out = nullptr;
        return NoOutlines;
    }
    return Done;
}

Tracer::Result Tracer::traceAside(std::vector<RGBQUAD>& picture, int width, int height,
                                  const TraceOptions& options, KvCtree*& out,
                                  const Progress& progress) {
    out = nullptr;
    if (!progress) return traceOnce(picture.data(), width, height, options, out);
    if (!progress(0)) return Cancelled;
    // What the tracer's thread owns: the picture (moved there and back, not
    // copied), the options, the tree. Abandoned, it frees them when the
    // tracer returns.
    struct Job {
        std::vector<RGBQUAD> picture;
        TraceOptions options;
        KvCtree* out = nullptr;
        Result result = NoOutlines;
        ~Job() {
            if (out) kvctr_deleteKvCtree(out);
        }
    };
    std::shared_ptr<Job> job;
    try {
        job = std::make_shared<Job>();
        job->options = options;
    } catch (...) {
        return NoOutlines;
    }
    job->picture.swap(picture);
    // The share told while waiting creeps towards the end: half way after
    // about the time a picture of this size usually takes.
    const double expected = std::max(0.05, 0.25e-6 * static_cast<double>(width) * height);
    const bool ended = WorkerThread::run(
        [job, width, height]() {
            job->result = traceOnce(job->picture.data(), width, height, job->options, job->out);
        },
        [&](double seconds) { return progress(0.98 * seconds / (seconds + expected)); });
    if (!ended) return Cancelled;
    picture.swap(job->picture);
    if (!progress(1)) return Cancelled;
    std::swap(out, job->out);
    return job->result;
}

int Tracer::paths(const KvCtree* tree) {
    int n = 0;
    std::vector<const KvCtree*> stack;
    if (tree) stack.push_back(tree);
    while (!stack.empty()) {
        const KvCtree* t = stack.back();
        stack.pop_back();
        if (!t->isFrame) ++n;
        for (const KvCtree::Holes* h = t->holes; h; h = h->next)
            if (h->ctree) stack.push_back(h->ctree);
    }
    return n;
}

bool Tracer::prepare(RGBQUAD* pixels, int width, int height, const TraceOptions& o,
                     TraceReport& report, const Progress& progress) {
    // Each stage that runs takes its share; false ends the preparation.
    auto at = [&](double share) { return !progress || progress(share); };
    if (!at(0)) return false;
    if (o.threshold >= 0) {
        if (!PictureCleaner::threshold(pixels, width, height,
                                       std::min(o.threshold, +TraceOptions::kAutoThreshold),
                                       [&]() { return at(0); }))
            return false;
        report.stagesRan = true;
    }
    if (!at(0.05)) return false;
    if (o.filter != TraceOptions::Filter::None) {
        const PreFilter::Kind kind =
            o.filter == TraceOptions::Filter::Quadrant ? PreFilter::Quadrant : PreFilter::Adaptive;
        if (PreFilter::run(pixels, width, height, kind, o.filterRadius, o.filterTolerance))
            report.stagesRan = true;
    }
    if (!at(0.15)) return false;
    // Thin lines on one colour are made whole before the colours are
    // reduced (the anti-alias cleanup would leave their in-between pixels
    // to the speckle filter and the merging).
    if (o.antialias && o.paletteCount <= 0 && o.colors >= 2) {
        const long long restored = ThinLines::restore(pixels, width, height, o.antialiasRadius,
                                                      o.antialiasTolerance, o.threads);
        if (restored < 0) return false;
        if (restored > 0) report.stagesRan = true;
    }
    if (o.paletteCount > 0) {
        if (!ColorQuantizer::snap(pixels, width, height, o.palette, std::min(o.paletteCount, 256)))
            return false;
        report.colors = std::min(o.paletteCount, 256);
        report.stagesRan = true;
    } else if (o.colors >= 2) {
        std::vector<RGBQUAD> palette;
        if (!ColorQuantizer::quantize(pixels, width, height, std::min(o.colors, 256), palette,
                                      part(progress, 0.15, 0.7), o.threads))
            return false;
        report.colors = static_cast<int>(palette.size());
        report.stagesRan = true;
    }
    if (!at(0.7)) return false;
    if (o.antialias) {
        const long long moved = PictureCleaner::antialias(pixels, width, height, o.antialiasRadius,
                                                          o.antialiasTolerance, nullptr,
                                                          part(progress, 0.7, 1), o.threads);
        if (moved < 0) return false;
        report.antialiasPixels = moved;
        report.stagesRan = true;
    }
    return at(1);
}

bool Tracer::prepare(RGBQUAD* pixels, uint8_t* alpha, int width, int height, const TraceOptions& o,
                     TraceReport& report, const Progress& progress) {
    if (!alpha) return prepare(pixels, width, height, o, report, progress);
    auto at = [&](double share) { return !progress || progress(share); };
    if (!at(0)) return false;
    const size_t n = static_cast<size_t>(width) * height;
    report.stagesRan = true;
    // Alpha first: a threshold or a colour stage reduces it as it reduces
    // the colours.
    if (o.threshold >= 0)
        AlphaPicture::quantizeLevels(alpha, n, 0);
    else if (o.paletteCount > 0 || o.colors >= 2)
        AlphaPicture::quantizeLevels(alpha, n, std::min(std::max(o.alphaLevels, 0), 64));
    // The colour stages see the pixels that are not empty, side by side.
    std::vector<size_t> seen;
    std::vector<RGBQUAD> visible;
    try {
        for (size_t i = 0; i < n; ++i)
            if (alpha[i] != AlphaPicture::kEmpty) seen.push_back(i);
        visible.resize(seen.size());
    } catch (...) {
        return false;
    }
    for (size_t k = 0; k < seen.size(); ++k) visible[k] = pixels[seen[k]];
    if (!visible.empty()) {
        TraceOptions colourOnly = o;
        colourOnly.antialias = false;
        colourOnly.filter = TraceOptions::Filter::None;  // it needs the picture's rows
        if (!prepare(visible.data(), static_cast<int>(visible.size()), 1, colourOnly, report,
                     part(progress, 0, 0.6)))
            return false;
    }
    if (!at(0.6)) return false;
    for (size_t k = 0; k < seen.size(); ++k) pixels[seen[k]] = visible[k];
    if (o.filter != TraceOptions::Filter::None) {
        const PreFilter::Kind kind =
            o.filter == TraceOptions::Filter::Quadrant ? PreFilter::Quadrant : PreFilter::Adaptive;
        PreFilter::run(pixels, width, height, kind, o.filterRadius, o.filterTolerance);
    }
    if (!at(0.7)) return false;
    for (size_t i = 0; i < n; ++i)
        if (alpha[i] == AlphaPicture::kEmpty)
            pixels[i].rgbRed = pixels[i].rgbGreen = pixels[i].rgbBlue = 0;
    if (o.antialias) {
        const long long moved = PictureCleaner::antialias(pixels, width, height, o.antialiasRadius,
                                                          o.antialiasTolerance, alpha,
                                                          part(progress, 0.7, 1), o.threads);
        if (moved < 0) return false;
        report.antialiasPixels = moved;
    }
    return at(1);
}

Tracer::Result Tracer::trace(const RGBQUAD* pixels, int width, int height,
                             const TraceOptions& options, KvCtree*& out, TraceReport* report,
                             const Progress& progress) {
    return trace(pixels, nullptr, width, height, options, out, report, progress);
}

Tracer::Result Tracer::trace(const RGBQUAD* pixels, const uint8_t* alpha, int width, int height,
                             const TraceOptions& options, KvCtree*& out, TraceReport* report,
                             const Progress& progress) {
    out = nullptr;
    TraceReport local;
    TraceReport& rep = report ? *report : local;
    rep = TraceReport();
    if (!pixels || width <= 0 || height <= 0 || static_cast<long long>(width) * height > INT_MAX)
        return NoOutlines;
    const size_t n = static_cast<size_t>(width) * height;

    // The manipulator takes a non-const buffer and the stages change it: a copy.
    std::vector<RGBQUAD> base, work, standIn;
    // With transparency: the alpha levels of base and work.
    std::vector<uint8_t> baseAlpha, workAlpha;
    // Shares: the stages before the trace, the clean-up stages, the tracer.
    bool stopped = false;
    const Progress watched = !progress ? Progress() : Progress([&](double share) {
        stopped = stopped || !progress(share);
        return !stopped;
    });
    try {
        // Copied in slices, the progress asked between them.
        base.reserve(n);
        for (size_t from = 0; from < n; from += size_t{1} << 20) {
            if (watched && !watched(0)) return Cancelled;
            base.insert(base.end(), pixels + from, pixels + std::min(n, from + (size_t{1} << 20)));
        }
        if (alpha) baseAlpha.assign(alpha, alpha + n);
    } catch (...) {
        return NoOutlines;
    }
    auto at = [&](double share) { return !watched || watched(share); };
    uint8_t* const levels = alpha ? baseAlpha.data() : nullptr;
    if (!prepare(base.data(), levels, width, height, options, rep, part(watched, 0, 0.45)))
        return stopped ? Cancelled : NoOutlines;
    if (options.maxColors > 0) {
        const long long colours = ColorQuantizer::distinct(
            base.data(), width, height, options.maxColors, part(watched, 0.45, 0.45));
        if (colours < 0) return stopped ? Cancelled : NoOutlines;
        if (colours > options.maxColors) {
            rep.colors = static_cast<int>(colours);
            return TooManyColors;
        }
    }

    // Speckle areas tried: the option's, then larger ones while the tree has
    // more coloured nodes than the budget allows.
    const long long size = static_cast<long long>(n);
    long long area = std::max(options.speckle, 0);
    if (options.speckleShare > 0)
        area = std::max(area, static_cast<long long>(std::min(options.speckleShare, 1.0) * size));
    Result result = NoOutlines;
    // Only a path budget traces more than once: otherwise the stages work
    // on the one copy.
    const bool retries = options.maxPaths > 0;
    const bool exact = options.exactRegions && options.tolerancePercent == 0 && report;
    for (;;) {
        if (!at(0.45)) return Cancelled;
        try {
            if (retries) {
                // Copied a million pixels at a time between the progress
                // checks.
                bool going = true;
                auto copy = [&](auto& to, const auto& from) {
                    const size_t chunk = size_t{1} << 20;
                    to.clear();
                    to.reserve(from.size());
                    for (size_t i = 0; going && i < from.size(); i += chunk) {
                        to.insert(to.end(), from.begin() + static_cast<std::ptrdiff_t>(i),
                                  from.begin() + static_cast<std::ptrdiff_t>(
                                                     std::min(from.size(), i + chunk)));
                        going = at(0.45);
                    }
                };
                copy(work, base);
                copy(workAlpha, baseAlpha);
                if (!going) return Cancelled;
            } else {
                work.swap(base);
                workAlpha.swap(baseAlpha);
            }
        } catch (...) {
            return NoOutlines;
        }
        uint8_t* const wa = alpha ? workAlpha.data() : nullptr;
        // The speckle filter's last labelling, of the pixels the merging
        // then reads; the merging's, of the pixels it leaves. Without alpha,
        // and when no later stage changes the pixels, the last is the
        // exact regions' labelling.
        Labelling labelled;
        const bool handOn = exact && !alpha && !options.restitute && options.spots <= 0;
        if (area > 1) {
            if (PictureCleaner::speckle(work.data(), width, height,
                                        static_cast<int>(std::min<long long>(area, INT_MAX)), wa,
                                        part(watched, 0.45, 0.55), options.threads,
                                        options.merge > 0 || handOn ? &labelled : nullptr) < 0)
                return stopped ? Cancelled : NoOutlines;
            rep.stagesRan = true;
        }
        if (!at(0.55)) return Cancelled;
        if (options.merge > 0) {
            // The squared error of the picture painted in region means at a PSNR.
            auto error = [&](double psnr) {
                return 3.0 * size * 255.0 * 255.0 / std::pow(10.0, psnr / 10.0);
            };
            const double budget = options.mergePsnr > 0 ? error(options.mergePsnr) : 0.0;
            const double growth =
                options.mergeDrop > 0 ? std::pow(10.0, options.mergeDrop / 10.0) : 0.0;
            // The largest union cost grows with the picture's side.
            const double cost = options.merge * 128.0 * std::sqrt(static_cast<double>(size));
            if (RegionMerger::merge(work.data(), pixels, width, height, cost, budget, growth,
                                    options.mergeMeans, wa, alpha, part(watched, 0.55, 0.62),
                                    options.threads, &labelled, handOn ? &labelled : nullptr) < 0)
                return stopped ? Cancelled : NoOutlines;
            rep.stagesRan = true;
        }
        if (!at(0.62)) return Cancelled;
        if (options.restitute) {
            if (!PictureCleaner::restitute(work.data(), pixels, width, height, wa, alpha))
                return NoOutlines;
            rep.stagesRan = true;
        }
        if (!at(0.64)) return Cancelled;
        if (options.spots > 0 && alpha) {
            if (!spotsWithAlpha(work, workAlpha, width, height, options)) return NoOutlines;
            rep.stagesRan = true;
        } else if (options.spots > 0) {
            if (PictureCleaner::regions(work.data(), width, height) > 0) {
                std::vector<RGBQUAD> palette;
                // The repaint keeps at most 256 colours.
                if (!SpotRestitution::run(work.data(), width, height, options, options.spots) &&
                    ColorQuantizer::quantize(work.data(), width, height, 256, palette))
                    SpotRestitution::run(work.data(), width, height, options, options.spots);
            }
            rep.stagesRan = true;
        }
        // At tolerance 0 every region of the picture is a node: count them
        // before tracing.
        if (!at(0.66)) return Cancelled;
        if (!exact && options.maxPaths > 0 && options.tolerancePercent == 0 && area <= size) {
            const long long regions = PictureCleaner::regions(work.data(), width, height, wa);
            if (regions > options.maxPaths) {
                area = std::max(4LL, area * 2);
                continue;
            }
        }
        if (out) kvctr_deleteKvCtree(out);
        out = nullptr;
        ++rep.traces;
        if (alpha && !AlphaPicture::standIns(work.data(), wa, n, standIn)) return NoOutlines;
        if (exact) {
            if (!rep.regions.build(alpha ? standIn.data() : work.data(), width, height,
                                   part(watched, 0.68, 1), options.threads,
                                   handOn ? &labelled : nullptr))
                return stopped ? Cancelled : NoOutlines;
            const int regions = rep.regions.regions();
            result = regions > std::max(options.maxOutlines, 0) ? LimitExceeded : Done;
            // Outlines shorter than minOutlineLen are dropped: with all of
            // them, nothing is left.
            if (result == Done && rep.regions.longestBoundary - 4 < options.minOutlineLen)
                result = NoOutlines;
            rep.paths = result == Done ? regions : 0;
        } else {
            result = traceAside(alpha ? standIn : work, width, height, options, out,
                                part(watched, 0.68, 1));
            if (result == Cancelled) return Cancelled;
            rep.paths = result == Done ? paths(out) : 0;
        }
        rep.speckle = static_cast<int>(std::min<long long>(area, INT_MAX));
        if (result != Done || options.maxPaths <= 0 || rep.paths <= options.maxPaths || area > size)
            break;
        area = std::max(4LL, area * 2);
    }
    if (result != Done) rep.regions = RegionTree();
    if (alpha) {
        rep.prepared.swap(standIn);
        rep.preparedAlpha.swap(workAlpha);
    } else if (rep.stagesRan) {
        rep.prepared.swap(work);
    }
    return result;
}

bool Tracer::spotsWithAlpha(std::vector<RGBQUAD>& work, std::vector<uint8_t>& levels, int width,
                            int height, const TraceOptions& options) {
    // The clean-up repaints colours from outlines: it runs on the stand-in
    // colours, which are then read back as colour and level. An empty pixel
    // stays empty.
    const size_t n = work.size();
    std::vector<RGBQUAD> shown;
    if (!AlphaPicture::standIns(work.data(), levels.data(), n, shown)) return false;
    std::unordered_map<uint32_t, uint32_t> keyOf;  // stand-in colour -> colour and level
    try {
        for (size_t i = 0; i < n; ++i)
            keyOf.emplace(packColour(shown[i]),
                          packColour(work[i]) | static_cast<uint32_t>(levels[i]) << 24);
    } catch (...) {
        return false;
    }
    if (PictureCleaner::regions(shown.data(), width, height) <= 0) return true;
    std::vector<RGBQUAD> palette;
    if (!SpotRestitution::run(shown.data(), width, height, options, options.spots)) {
        if (!ColorQuantizer::quantize(shown.data(), width, height, 256, palette)) return true;
        SpotRestitution::run(shown.data(), width, height, options, options.spots);
    }
    for (size_t i = 0; i < n; ++i) {
        if (levels[i] == AlphaPicture::kEmpty) continue;
        auto it = keyOf.find(packColour(shown[i]));
        if (it == keyOf.end()) continue;
        unpackColour(work[i], it->second);
        levels[i] = keyAlpha(it->second);
    }
    return true;
}

}  // namespace om1
