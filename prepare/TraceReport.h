// TraceReport: what Tracer::trace did besides the tree, for front ends that
// render the result back or print statistics.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/WinTypes.h"
#include "prepare/RegionTree.h"

namespace om1 {

struct TraceReport {
    // The picture the tracer was given after the stages (same size as the
    // input); empty when no stage changed anything beyond the copy.
    std::vector<RGBQUAD> prepared;
    // With transparency: the alpha level of every prepared pixel (0 the
    // empty region, 255 opaque, see AlphaPicture); `prepared` then holds the
    // stand-in colours the tracer was given. Empty for opaque pictures.
    std::vector<uint8_t> preparedAlpha;
    bool stagesRan = false;
    long long antialiasPixels = 0;  // pixels the anti-alias cleanup moved
    int colors = 0;                 // colours after quantising or snapping (0 when not run), or
                                    // maxColors + 1 when the trace stopped at TooManyColors
    int speckle = 0;                // speckle area finally used (raised for maxPaths)
    int paths = 0;                  // coloured (non-frame) nodes of the tree
    int traces = 0;                 // runs of the tracer
    // The regions and their containment when TraceOptions::exactRegions
    // took the place of the tracer (Tracer::trace then gives no tree);
    // empty otherwise.
    RegionTree regions;
};

}  // namespace om1
