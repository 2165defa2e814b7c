// SpotRestitution: the library's two-pass clean-up of a picture, driven as
// a host drives it: trace the picture, give every outline its weight
// (OutLineManipulator::setContourWeight), mark the regions whose own share
// of their weight is at most `area` pixels (eliminateSmallWeightSpots, which
// lets such a region absorb the spots nested in it), and repaint the picture
// from the outlines alone (restituteColors: every region in the palette
// entry nearest to its traced colour) into an 8-bit bitmap whose palette is
// the picture's own colours. The caller then traces the result again.
//
// The picture must have at most 256 colours (quantise first); pixels the
// restitution leaves unpainted keep their colour.
#pragma once

#include "platform/WinTypes.h"
#include "prepare/TraceOptions.h"

namespace om1 {

class SpotRestitution {
public:
    // False (pixels unchanged) when the picture has more than 256 colours,
    // the trace finds no outlines, or memory runs out.
    static bool run(RGBQUAD* pixels, int width, int height, const TraceOptions& options, int area);
};

}  // namespace om1
