// Result::State: what a Result holds: the traced tree and the picture the
// tracer saw (the shapes are built from them on first use), and the views
// built so far.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "companion/KvCtree.h"
#include "pipeline/Progress.h"
#include "pipeline/Result.h"
#include "shapes/LabelRaster.h"

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
    KvCtree* tree = nullptr;  // owned
    // Without a tree: the exact labelling of the prepared picture
    // (TraceOptions::exactRegions), ready to be followed.
    LabelRaster regions;
    std::vector<RGBQUAD> seen;  // the picture the tracer saw, after the stages
    // The picture before the stages, where they changed it (the curves are
    // placed and judged against it); empty when it is `seen`.
    std::vector<RGBQUAD> input;
    // With transparency: the alpha level of every pixel of `seen`
    // (TraceReport::preparedAlpha); empty for an opaque picture.
    std::vector<uint8_t> levels;
    View drawing, outlines;

    ~State();
    // Builds a view from the tree or the labelling once (see Result::drawing):
    // OM1_OK, OM1_OUT_OF_MEMORY, or OM1_CANCELLED when `progress` stopped it
    // (a later call builds it again).
    int view(View& v, bool joinParts, Progress* progress);
    // The view a format writes.
    int viewFor(OutputFormat::Kind kind, Progress* progress);
};

}  // namespace om1
