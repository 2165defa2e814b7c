// TraceOptions: the settings of one library-level trace (Tracer::trace).
// A plain record with defaults (no pointers, no owned memory), so that C and
// Python front ends can fill it field by field. Presets (Presets::apply) set
// several fields at once; later settings are added as new fields with
// defaults, so existing callers keep compiling.
//
// The stages, in the order Tracer::trace runs them on a copy of the picture
// (every one is off in the defaults below, which trace as the entry points
// do apart from the seed):
//   1. threshold      two colours by luminance (black and white)
//   2. filter         the library's edge-preserving colour filter or its
//                     adaptive smoothing, `filterRadius` wide
//   3. colors/palette quantise to `colors` colours, or snap every pixel to
//                     the nearest entry of `palette`
//   4. antialias      thin bands of in-between colours join the nearer of
//                     the two flat regions beside them
//   5. speckle        regions of fewer than `speckle` pixels join the region
//                     that surrounds them
//   6. merge          neighbouring regions join while their union costs
//                     little (RegionMerger); regions take their mean colour
//   7. restitute      every region takes the mean colour of the input pixels
//                     it covers
//   8. spots          the library's two-pass clean-up (SpotRestitution):
//                     trace, weigh the spots, absorb those of at most `spots`
//                     pixels, repaint the regions from the outlines
//   9. trace          the tracer with `tolerancePercent`, seeded as `seed` says
// and then, when `maxPaths` > 0, stages 5 to 9 are repeated with a larger
// speckle area until the tree has at most `maxPaths` coloured nodes.
#pragma once

#include "platform/WinTypes.h"

namespace om1 {

struct TraceOptions {
    // How the tracer's first region is chosen.
    enum class Seed {
        // The nine fixed seed positions of the entry points, in their order.
        Fixed,
        // A seed whose 3 x 3 start ring lies in one colour: the first uniform
        // 3 x 3 block in row order, then the fixed positions whose ring is
        // uniform, then all fixed positions. The start ring belongs to the
        // first region whatever its colours, so a ring that straddles two
        // colours would give that region their mixture. A block near the
        // top left usually lies in a region along the border, which is the
        // cheaper start for the tracer.
        UniformRing
    };
    enum class Filter { None, Quadrant, Adaptive };

    int tolerancePercent = 10;  // colour tolerance, 0..100
    int minOutlineLen = 4;      // outlines with fewer chain steps are dropped
    int maxOutlines = 1000000;  // more outlines than this: LimitExceeded
    int curveTolerance = 1;     // straight-line tolerance of the curve fit, pixels
    Seed seed = Seed::UniformRing;
    // Fill every node's Bezier points, as the entry points do. A host that
    // fits its own curves (the output layer) can leave them out.
    bool treeCurves = true;

    // --- stages before the trace (see above) ---
    // 0..255: luminance below it is black, else white; kAutoThreshold: the
    // threshold that best splits the picture in two (Otsu); -1 off.
    int threshold = -1;
    static const int kAutoThreshold = 256;
    Filter filter = Filter::None;
    int filterRadius = 1;       // quadrant side - 1 (1..8)
    int filterTolerance = 24;   // per-channel run tolerance of the adaptive filter
    int colors = 0;             // 2..256: quantise (median cut, then k-means); 0 off
    RGBQUAD palette[256] = {};  // used when paletteCount > 0 (overrides colors)
    int paletteCount = 0;
    bool antialias = false;       // absorb thin in-between bands
    int antialiasRadius = 2;      // how far (pixels) a band pixel looks for flat regions
    int antialiasTolerance = 40;  // largest distance from the line between two colours
    // The speckle area is the larger of `speckle` and `speckleShare` times
    // the picture's area (a share of 0.0005 is 8 pixels on 128 x 128 and 120
    // on 480 x 500), so that presets suit small icons and large pictures.
    double speckleShare = 0;
    int speckle = 0;         // regions below this many pixels are absorbed; 0 off
    bool restitute = false;  // regions take their mean input colour
    // Region merging (RegionMerger): neighbouring regions join, the cheapest
    // first, while a union adds at most `merge` times the picture's pixel
    // count to the squared colour error; regions then take their mean input
    // colour. 0 off.
    double merge = 0;
    // ... and while the picture painted in region means stays at least this
    // many dB (PSNR over red, green and blue) from the input. 0: no floor.
    double mergePsnr = 0;
    // The unions below `merge` stop once the picture painted in region
    // means is this many dB (PSNR) worse than before the merging (those
    // above `mergePsnr` go on). 0: no bound.
    double mergeDrop = 0;
    // Merged regions take their mean input colour (true) or the colour of
    // their larger part (false: the picture keeps the colours of `colors`
    // or `palette`; Presets::set turns this off when either is given).
    bool mergeMeans = true;
    int spots = 0;     // two-pass spot restitution up to this area; 0 off
    int maxPaths = 0;  // at most this many coloured nodes; 0 no limit
    // At tolerance 0, take the regions from one labelling of the prepared
    // picture (RegionTree, in time proportional to the pixels) instead of
    // the library's tracer: every region is one node, in the report's
    // `regions` rather than a contour tree. Every preset but plain sets it.
    bool exactRegions = false;
    // Threads for one large picture's stages (Bands::count): 0 one per core.
    // The result is the same for any number.
    int threads = 0;
    // More distinct colours than this after stages 1 to 4: no trace, the
    // result is TooManyColors; 0 no limit.
    int maxColors = 0;
    // Pictures with transparency (Tracer::trace with alpha, see
    // AlphaPicture): when the colours are reduced (colors or palette), the
    // partial alphas are reduced to at most this many levels between empty
    // and opaque (0..64; 0: every pixel empty or opaque by whether it is at
    // least half covered). Without a colour stage alpha stays exact; a
    // threshold makes every pixel empty or opaque.
    int alphaLevels = 0;
};

}  // namespace om1
