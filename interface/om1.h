// om1: colour raster images to vector outlines.
//
// The five entry points. A tracing call fills `outTree` with a new contour
// tree that the caller owns and releases with om1_delKvCTree.
//
// Results (TraceResult): 0 done (check the pointer as well: a tree that could
// not be built leaves it null), 1 no outlines, 2 outline limit exceeded.
//
// Coordinates are those of the buffer's own row order (row 0 first in
// memory). The LeftTop variants flip them to an origin at the top left of a
// picture stored bottom-up, and merge a palette into the colours.
#pragma once

#include "companion/KvCtree.h"
#include "interface/Om1Export.h"
#include "platform/WinTypes.h"

enum TraceResult { OM1_DONE = 0, OM1_NO_OUTLINES = 1, OM1_LIMIT_EXCEEDED = 2 };

OM1_API int om1_kvTrace1Bmp(KvCtree*& outTree, RGBQUAD* pixels, int width, int height,
                            int tolerancePercent, int minOutlineLen, int maxOutlines,
                            int curveTolerance, double reserved);

OM1_API int om1_kvTrace1BmpLeftTop(KvCtree*& outTree, RGBQUAD* pixels, int width, int height,
                                   int tolerancePercent, RGBQUAD* palette, int paletteCount,
                                   int minOutlineLen, int maxOutlines, int curveTolerance,
                                   double reserved);

OM1_API int om1_kvTrace1H(KvCtree*& outTree, HBITMAP hBitmap, int tolerancePercent,
                          int minOutlineLen, int maxOutlines, int curveTolerance, double reserved);

OM1_API int om1_kvTrace1HLeftTop(KvCtree*& outTree, HBITMAP hBitmap, int tolerancePercent,
                                 RGBQUAD* palette, int paletteCount, int minOutlineLen,
                                 int maxOutlines, int curveTolerance, double reserved);

OM1_API void om1_delKvCTree(KvCtree*& outTree);
