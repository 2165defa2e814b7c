// Tracer: the library-level trace of one picture. Drives the exported stages
// as a host may (OutLineManipulator, Ombrel with a chosen seed,
// CntmTreeCreator, kvMngr) and returns the contour tree in the picture's own
// row order, like om1_kvTrace1Bmp: chains through pixel centres, Bezier
// points with the centre of pixel (x, y) at (x + 1, y + 1).
//
// The tracer is run with a minimum outline length of at least 4 (shorter
// settings are raised to 4 inside the tracer, where shorter chains are not
// yet traced closed); `minOutlineLen` below 4 still keeps every outline of the
// tree, since a closed chain has at least 4 steps.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "companion/KvCtree.h"
#include "platform/WinTypes.h"
#include "prepare/TraceOptions.h"
#include "prepare/TraceReport.h"

namespace om1 {

class Tracer {
public:
    // TooManyColors: the prepared picture has more colours than
    // options.maxColors (nothing is traced; report.colors is maxColors + 1).
    // Cancelled: `progress` answered false (nothing is kept).
    enum Result { Done = 0, NoOutlines = 1, LimitExceeded = 2, TooManyColors = 3, Cancelled = 4 };

    // Told the share of the trace done (0..1) between the stages, inside the
    // long ones and inside the exact region labelling; false asks to stop.
    // The library's tracer (the path at a colour tolerance above 0, or
    // without exact regions) cannot be interrupted. Given a progress, it
    // runs on a thread of its own (WorkerThread) with the prepared picture
    // (moved there, not copied) while the calling thread asks the progress
    // about every 5 ms, telling a share that creeps on; on false the trace
    // returns Cancelled at once. What a host should expect then: one core
    // stays busy until the tracer's run ends (up to a few seconds on a large
    // picture), and the picture and the tree it made are freed only then;
    // a process that exits waits for it (WorkerThread::waitForAbandoned).
    // Without a progress everything runs on the calling thread. The
    // progress is only ever called on the calling thread.
    using Progress = std::function<bool(double)>;

    // Traces width x height pixels (rows in memory order). On Done `out` is a
    // new tree the caller releases with om1_delKvCTree (or
    // kvctr_deleteKvCtree); otherwise `out` is null. The pixels are not
    // changed.
    //
    // The stages of `options` (see TraceOptions) run on a copy first; the
    // tree then describes that prepared picture, which `report` (when not
    // null) receives for rendering back.
    //
    // With options.exactRegions at tolerance 0 and a `report`, the regions
    // of the prepared picture are labelled instead (report->regions) and
    // `out` stays null on Done; LimitExceeded then means more regions than
    // options.maxOutlines.
    static Result trace(const RGBQUAD* pixels, int width, int height, const TraceOptions& options,
                        KvCtree*& out, TraceReport* report = nullptr,
                        const Progress& progress = Progress());
    // The same for a picture with transparency: `pixels` hold straight
    // (not premultiplied) colours and `alpha` one alpha byte per pixel
    // (AlphaPicture::fromRgba or settle make them; null traces the picture
    // as opaque, exactly as the call above). Every stage keeps the empty
    // region and the alpha levels apart (see AlphaPicture); the tree is
    // traced on stand-in colours, which `report.prepared` receives together
    // with every pixel's alpha level in `report.preparedAlpha`, for
    // ShapeBuilder.
    static Result trace(const RGBQUAD* pixels, const uint8_t* alpha, int width, int height,
                        const TraceOptions& options, KvCtree*& out, TraceReport* report = nullptr,
                        const Progress& progress = Progress());

    // The stages before the trace (threshold, filter, colours, anti-alias),
    // in place; the speckle filter and the path budget belong to trace.
    // False when memory runs out.
    static bool prepare(RGBQUAD* pixels, int width, int height, const TraceOptions& options,
                        TraceReport& report, const Progress& progress = Progress());
    // The same with alpha levels (changed in place; null: as above): alpha
    // is reduced with the colours (TraceOptions::alphaLevels), the colour
    // stages see only the pixels that are not empty, and the anti-alias
    // cleanup measures colours premultiplied by alpha.
    static bool prepare(RGBQUAD* pixels, uint8_t* alpha, int width, int height,
                        const TraceOptions& options, TraceReport& report,
                        const Progress& progress = Progress());

    // Coloured (non-frame) nodes of a tree: the paths a writer draws.
    static int paths(const KvCtree* tree);

    // The seed positions tried, in order, for the given choice (at least one
    // for a picture of 3 x 3 pixels or more, none for smaller ones).
    static void seeds(const RGBQUAD* pixels, int width, int height, TraceOptions::Seed choice,
                      int* xs, int* ys, int& count);
    static const int kMaxSeeds = 19;

private:
    // One run of the tracer and the conversion on exactly these pixels.
    static Result traceOnce(RGBQUAD* pixels, int width, int height, const TraceOptions& options,
                            KvCtree*& out);
    // traceOnce on `picture`; with a progress on a thread of its own (see
    // Progress), `picture` moved there and back (left empty on Cancelled).
    static Result traceAside(std::vector<RGBQUAD>& picture, int width, int height,
                             const TraceOptions& options, KvCtree*& out, const Progress& progress);
    // The two-pass spot clean-up on a picture with alpha levels.
    static bool spotsWithAlpha(std::vector<RGBQUAD>& work, std::vector<uint8_t>& levels, int width,
                               int height, const TraceOptions& options);
};

}  // namespace om1
