// PreFilter: the library's edge-preserving filters run on a picture through
// a bitmap handle, as a host runs them: the pixels are copied into a 32-bit
// DIB section, an OutLineManipulator built over it (size-only constructor)
// filters the bitmap in place (OutLineManipulator::Filter, or
// FilterAdaptSmooth with a grey per-channel run tolerance), and the pixels
// are copied back.
//
// Pixels whose chosen quadrant left the raster come out black with the
// fourth byte 1 from the library's filter; they keep their own colour here.
#pragma once

#include "platform/WinTypes.h"

namespace om1 {

class PreFilter {
public:
    enum Kind { Quadrant, Adaptive };
    // `radius` is the filter's k (quadrant side k + 1), 1..8. False when the
    // bitmap cannot be made or filtered (pixels unchanged).
    static bool run(RGBQUAD* pixels, int width, int height, Kind kind, int radius, int tolerance);
};

}  // namespace om1
