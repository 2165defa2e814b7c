// RGB4: the four quadrant means of one pixel, in the order up, leftUp, left,
// own. The fourth byte of each mean is 1 when its quadrant left the raster.
#pragma once

#include "platform/WinTypes.h"

struct RGB4 {
    RGBQUAD up;
    RGBQUAD leftUp;
    RGBQUAD left;
    RGBQUAD own;
};

static_assert(sizeof(RGB4) == 16, "four RGBQUADs");
