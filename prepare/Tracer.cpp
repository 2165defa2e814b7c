#include "prepare/Tracer.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#include "containment/CntmTreeCreator.h"
#include "containment/ExportOutLinesStruct.h"
#include "interface/kvMngr.h"
#include "raster/OutLineManipulator.h"
#include "tracer/AllOutLines.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"
#include "prepare/ColorQuantizer.h"
#include "prepare/PictureCleaner.h"
#include "prepare/PreFilter.h"
#include "prepare/RegionMerger.h"
#include "prepare/SpotRestitution.h"

namespace om1 {

const int Tracer::kReportMs;

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

// One run of the region tracer. With a progress it runs on a thread of its
// own: this thread reports every kReportMs (the share grows with the time
// spent against a rough duration for the picture's size) and, when told to
// stop, sets the tracer's outline limit to 0, which the tracer checks after
// every region it traces; the run then ends as over the limit. `stopped`
// tells the two apart.
int runTracer(Ombrel& tracer, AllOutLines& all, CPoint seed, int maxOutlines,
              const Tracer::Progress& progress, bool& stopped) {
    stopped = false;
    if (!progress) return tracer.DoOmbrel_(all, seed, maxOutlines);
    if (!progress(0)) {
        stopped = true;
        return Ombrel::LimitExceeded;
    }
    std::mutex m;
    std::condition_variable cv;
    bool done = false;
    int result = Ombrel::NotTraced;
    std::thread worker([&] {
        const int r = tracer.DoOmbrel_(all, seed, maxOutlines);
        std::lock_guard<std::mutex> g(m);
        result = r;
        done = true;
        cv.notify_one();
    });
    const auto t0 = std::chrono::steady_clock::now();
    // About 0.25 microseconds a pixel on a desktop processor.
    const double expectedMs = 2.5e-4 * tracer.size + 1;
    std::unique_lock<std::mutex> lock(m);
    while (!cv.wait_for(lock, std::chrono::milliseconds(Tracer::kReportMs), [&] { return done; })) {
        if (stopped) continue;
        const double ms =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0)
                .count();
        lock.unlock();
        const bool go = progress(ms / (ms + expectedMs));
        lock.lock();
        if (!go) {
            stopped = true;
            // The tracer reads the limit between regions; the store is atomic
            // where the processor's int stores are (every platform we build).
            __atomic_store_n(&tracer.maxOutlines, 0, __ATOMIC_RELAXED);
        }
    }
    lock.unlock();
    worker.join();
    return result;
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
                                 const TraceOptions& options, KvCtree*& out,
                                 const Progress& progress) {
    out = nullptr;
    const int tol = static_cast<int>(std::min(std::max(options.tolerancePercent, 0), 100) * 2.55);
    const int tracerMinLen = std::max(options.minOutlineLen, 4);

    int xs[kMaxSeeds], ys[kMaxSeeds], n = 0;
    seeds(pixels, width, height, options.seed, xs, ys, n);
    AllOutLines all;
    int result = 1;
    bool stopped = false;
    const Progress tracing = part(progress, 0, 0.9);
    for (int i = 0; i < n && !stopped; ++i) {
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
        result =
            runTracer(*tracer, all, CPoint(xs[i], ys[i]), options.maxOutlines, tracing, stopped);
        delete tracer;
        delete olm;
        if (result == 2) break;
        if (all.outLines && all.outLines->parts) break;
    }
    if (stopped || (progress && !progress(0.9))) {
        release(all);
        return Cancelled;
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
    if (progress && !progress(0.97)) {
        delete creator;
        delete exported;
        return Cancelled;
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
        PictureCleaner::threshold(pixels, width, height,
                                  std::min(o.threshold, +TraceOptions::kAutoThreshold));
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
    if (o.paletteCount > 0) {
        if (!ColorQuantizer::snap(pixels, width, height, o.palette, std::min(o.paletteCount, 256)))
            return false;
        report.colors = std::min(o.paletteCount, 256);
        report.stagesRan = true;
    } else if (o.colors >= 2) {
        std::vector<RGBQUAD> palette;
        if (!ColorQuantizer::quantize(pixels, width, height, std::min(o.colors, 256), palette,
                                      part(progress, 0.15, 0.7)))
            return false;
        report.colors = static_cast<int>(palette.size());
        report.stagesRan = true;
    }
    if (!at(0.7)) return false;
    if (o.antialias) {
        const long long moved = PictureCleaner::antialias(
            pixels, width, height, o.antialiasRadius, o.antialiasTolerance, part(progress, 0.7, 1));
        if (moved < 0) return false;
        report.antialiasPixels = moved;
        report.stagesRan = true;
    }
    return at(1);
}

Tracer::Result Tracer::trace(const RGBQUAD* pixels, int width, int height,
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
    std::vector<RGBQUAD> base, work;
    try {
        base.assign(pixels, pixels + n);
    } catch (...) {
        return NoOutlines;
    }
    // Shares: the stages before the trace, the clean-up stages, the tracer.
    bool stopped = false;
    const Progress watched = !progress ? Progress() : Progress([&](double share) {
        stopped = stopped || !progress(share);
        return !stopped;
    });
    auto at = [&](double share) { return !watched || watched(share); };
    if (!prepare(base.data(), width, height, options, rep, part(watched, 0, 0.45)))
        return stopped ? Cancelled : NoOutlines;
    if (options.maxColors > 0) {
        const long long colours =
            ColorQuantizer::distinct(base.data(), width, height, options.maxColors);
        if (colours < 0) return NoOutlines;
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
    for (;;) {
        if (!at(0.45)) return Cancelled;
        try {
            work = base;
        } catch (...) {
            return NoOutlines;
        }
        if (area > 1) {
            if (PictureCleaner::speckle(work.data(), width, height,
                                        static_cast<int>(std::min<long long>(area, INT_MAX)),
                                        part(watched, 0.45, 0.55)) < 0)
                return stopped ? Cancelled : NoOutlines;
            rep.stagesRan = true;
        }
        if (!at(0.55)) return Cancelled;
        if (options.merge > 0) {
            const double budget =
                options.mergePsnr > 0
                    ? 3.0 * size * 255.0 * 255.0 / std::pow(10.0, options.mergePsnr / 10.0)
                    : 0.0;
            // The largest union cost grows with the picture's side.
            const double cost = options.merge * 128.0 * std::sqrt(static_cast<double>(size));
            if (RegionMerger::merge(work.data(), pixels, width, height, cost, budget,
                                    options.mergeMeans, part(watched, 0.55, 0.62)) < 0)
                return stopped ? Cancelled : NoOutlines;
            rep.stagesRan = true;
        }
        if (!at(0.62)) return Cancelled;
        if (options.restitute) {
            if (!PictureCleaner::restitute(work.data(), pixels, width, height)) return NoOutlines;
            rep.stagesRan = true;
        }
        if (!at(0.64)) return Cancelled;
        if (options.spots > 0) {
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
        if (options.maxPaths > 0 && options.tolerancePercent == 0 && area <= size) {
            const long long regions = PictureCleaner::regions(work.data(), width, height);
            if (regions > options.maxPaths) {
                area = std::max(4LL, area * 2);
                continue;
            }
        }
        if (out) kvctr_deleteKvCtree(out);
        out = nullptr;
        ++rep.traces;
        result = traceOnce(work.data(), width, height, options, out, part(watched, 0.68, 1));
        if (result == Cancelled) return Cancelled;
        rep.paths = result == Done ? paths(out) : 0;
        rep.speckle = static_cast<int>(std::min<long long>(area, INT_MAX));
        if (result != Done || options.maxPaths <= 0 || rep.paths <= options.maxPaths || area > size)
            break;
        area = std::max(4LL, area * 2);
    }
    if (rep.stagesRan) rep.prepared.swap(work);
    return result;
}

}  // namespace om1
