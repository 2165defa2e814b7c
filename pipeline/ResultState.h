// Result::State: what a Result holds: the traced tree and the picture the
// tracer saw (the shapes are built from them on first use), and the views
// built so far.
#pragma once

#include <mutex>
#include <vector>

#include "companion/KvCtree.h"
#include "pipeline/Progress.h"
#include "pipeline/Result.h"

namespace om1 {

struct Result::State {
    struct View {
        std::mutex lock;
        bool tried = false;  // built, or failed for want of memory
        bool built = false;
        double ms = 0;  // building it
        ShapeSet set;
    };
    int status = OM1_OK;
    int width = 0, height = 0;
    om1_options options = {};
    TraceReport report;
    double traceMs = 0;
    KvCtree* tree = nullptr;    // owned
    std::vector<RGBQUAD> seen;  // the picture the tracer saw, after the stages
    bool dropBackground = false;
    View drawing, outlines;

    ~State();
    // Builds a view from the tree once (see Result::drawing): OM1_OK,
    // OM1_OUT_OF_MEMORY, or OM1_CANCELLED when `progress` stopped it (a later
    // call builds it again).
    int view(View& v, bool joinParts, Progress* progress);
    // The view a format writes.
    int viewFor(OutputFormat::Kind kind, Progress* progress);
};

}  // namespace om1
