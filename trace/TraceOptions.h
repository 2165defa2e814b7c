// TraceOptions: the settings of one library-level trace (Tracer::trace).
// A plain record with defaults; later settings (presets, filters) are added
// as new fields with defaults, so existing callers keep compiling.
#pragma once

namespace om1 {

struct TraceOptions {
    // How the tracer's first region is chosen.
    enum class Seed {
        // The nine fixed seed positions of the entry points, in their order.
        Fixed,
        // A seed whose 3 x 3 start ring lies in one colour: the fixed positions
        // whose ring is uniform first, then the first uniform 3 x 3 block in
        // row order, then the fixed positions. The start ring belongs to the
        // first region whatever its colours, so a ring that straddles two
        // colours would give that region their mixture.
        UniformRing
    };

    int tolerancePercent = 10;  // colour tolerance, 0..100
    int minOutlineLen = 4;      // outlines with fewer chain steps are dropped
    int maxOutlines = 1000000;  // more outlines than this: LimitExceeded
    int curveTolerance = 1;     // straight-line tolerance of the curve fit, pixels
    Seed seed = Seed::UniformRing;
    // Fill every node's Bezier points, as the entry points do. A host that
    // fits its own curves (the output layer) can leave them out.
    bool treeCurves = true;
};

}  // namespace om1
