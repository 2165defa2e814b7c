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

#include <functional>

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
    // long ones, and while the tracer runs; false asks to stop. The tracer
    // itself stops at its next outline count check: with a progress, it runs
    // on a thread of its own while the calling thread reports (every
    // kReportMs) and, asked to stop, lowers the tracer's outline limit.
    using Progress = std::function<bool(double)>;
    static const int kReportMs = 5;

    // Traces width x height pixels (rows in memory order). On Done `out` is a
    // new tree the caller releases with om1_delKvCTree (or
    // kvctr_deleteKvCtree); otherwise `out` is null. The pixels are not
    // changed.
    //
    // The stages of `options` (see TraceOptions) run on a copy first; the
    // tree then describes that prepared picture, which `report` (when not
    // null) receives for rendering back.
    static Result trace(const RGBQUAD* pixels, int width, int height, const TraceOptions& options,
                        KvCtree*& out, TraceReport* report = nullptr,
                        const Progress& progress = Progress());

    // The stages before the trace (threshold, filter, colours, anti-alias),
    // in place; the speckle filter and the path budget belong to trace.
    // False when memory runs out.
    static bool prepare(RGBQUAD* pixels, int width, int height, const TraceOptions& options,
                        TraceReport& report, const Progress& progress = Progress());

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
                            KvCtree*& out, const Progress& progress);
};

}  // namespace om1
