#include "pipeline/OptionsRecord.h"

namespace om1 {

TraceOptions OptionsRecord::toTrace(const om1_options& o) {
    TraceOptions t;
    t.tolerancePercent = o.tolerance;
    t.minOutlineLen = o.min_length;
    t.maxOutlines = o.max_outlines;
    t.curveTolerance = o.curve_tolerance;
    t.seed = o.fixed_seeds ? TraceOptions::Seed::Fixed : TraceOptions::Seed::UniformRing;
    t.treeCurves = false;  // the shape builder fits its own
    t.threshold = o.threshold;
    t.filter = static_cast<TraceOptions::Filter>(o.filter);
    t.filterRadius = o.filter_radius;
    t.filterTolerance = o.filter_tolerance;
    t.colors = o.colors;
    t.antialias = o.antialias != 0;
    t.antialiasRadius = o.antialias_radius;
    t.antialiasTolerance = o.antialias_tolerance;
    t.speckle = o.speckle;
    t.speckleShare = o.speckle_share;
    t.restitute = o.restitute != 0;
    t.merge = o.merge;
    t.mergePsnr = o.merge_psnr;
    t.mergeDrop = o.merge_drop;
    t.mergeMeans = o.merge_means != 0;
    t.spots = o.spots;
    t.maxPaths = o.max_paths;
    t.maxColors = o.max_colors;
    t.alphaLevels = o.alpha_levels;
    t.exactRegions = o.exact_regions != 0;
    t.threads = o.threads;
    t.paletteCount = o.palette_count;
    for (int i = 0; i < o.palette_count && i < 256; ++i)
        t.palette[i] =
            RGBQUAD{static_cast<BYTE>(o.palette[i]), static_cast<BYTE>(o.palette[i] >> 8),
                    static_cast<BYTE>(o.palette[i] >> 16), 0};
    return t;
}

OutputOptions OptionsRecord::toOutput(const om1_options& o) {
    OutputOptions out;
    out.layout = o.cutout ? OutputOptions::Layout::Cutout : OutputOptions::Layout::Stacked;
    out.polygon = o.polygon != 0;
    out.curveTolerance = o.curve_tolerance;
    out.maxCurveAreaError = o.max_curve_error;
    // Pixels further from their region's colour than the tracer's tolerance
    // are corrected against the picture.
    out.reconcileTolerance = static_cast<int>(o.tolerance * 2.55);
    out.background = o.background >= 0 ? o.background : 0xFFFFFF;
    out.threads = o.threads;
    out.innerColours = o.threshold < 0 && o.palette_count == 0;
    return out;
}

void OptionsRecord::fromTrace(const TraceOptions& t, om1_options& o) {
    o.tolerance = t.tolerancePercent;
    o.min_length = t.minOutlineLen;
    o.max_outlines = t.maxOutlines;
    o.curve_tolerance = t.curveTolerance;
    o.fixed_seeds = t.seed == TraceOptions::Seed::Fixed;
    o.threshold = t.threshold;
    o.filter = static_cast<int>(t.filter);
    o.filter_radius = t.filterRadius;
    o.filter_tolerance = t.filterTolerance;
    o.colors = t.colors;
    o.antialias = t.antialias;
    o.antialias_radius = t.antialiasRadius;
    o.antialias_tolerance = t.antialiasTolerance;
    o.speckle = t.speckle;
    o.speckle_share = t.speckleShare;
    o.restitute = t.restitute;
    o.merge = t.merge;
    o.merge_psnr = t.mergePsnr;
    o.merge_drop = t.mergeDrop;
    o.merge_means = t.mergeMeans;
    o.spots = t.spots;
    o.max_paths = t.maxPaths;
    o.max_colors = t.maxColors;
    o.alpha_levels = t.alphaLevels;
    o.exact_regions = t.exactRegions;
    o.threads = t.threads;
    o.palette_count = t.paletteCount;
    for (int i = 0; i < 256; ++i)
        o.palette[i] = i < t.paletteCount
                           ? (static_cast<uint32_t>(t.palette[i].rgbRed) << 16) |
                                 (static_cast<uint32_t>(t.palette[i].rgbGreen) << 8) |
                                 t.palette[i].rgbBlue
                           : 0;
}

}  // namespace om1
