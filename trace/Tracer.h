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

#include "companion/KvCtree.h"
#include "platform/WinTypes.h"
#include "trace/TraceOptions.h"

namespace om1 {

class Tracer {
public:
    enum Result { Done = 0, NoOutlines = 1, LimitExceeded = 2 };

    // Traces width x height pixels (rows in memory order). On Done `out` is a
    // new tree the caller releases with om1_delKvCTree (or
    // kvctr_deleteKvCtree); otherwise `out` is null. The pixels are not
    // changed.
    static Result trace(const RGBQUAD* pixels, int width, int height, const TraceOptions& options,
                        KvCtree*& out);

    // The seed positions tried, in order, for the given choice (at least one
    // for a picture of 3 x 3 pixels or more, none for smaller ones).
    static void seeds(const RGBQUAD* pixels, int width, int height, TraceOptions::Seed choice,
                      int* xs, int* ys, int& count);
    static const int kMaxSeeds = 19;
};

}  // namespace om1
