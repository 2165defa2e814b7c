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
//
// Parameters: tolerancePercent is taken as (int)(percent x 2.55), of which
// the low byte is used, so every int is accepted (above 100 it wraps).
// minOutlineLen is the minimum outline length in chain steps; a negative
// value acts as 0, and a loop of 4 steps or fewer that encloses no pixel (a
// spur walked out and back, a hole filled completely) is never an outline.
//
// Every result: chains closed and inside the raster, start offsets pixels of
// the raster, Bezier anchors and curves within 2 pixels of the picture
// (straight-line editing may put a corner where two edges' lines meet),
// control points within that plus 0.34 of their segment's chord.
// Tracing keeps no state between calls: different pictures may be traced on
// several threads at once. Recursion follows only the nesting depth of the
// picture, at most 256 bytes of stack a level.
#pragma once

#include "companion/KvCtree.h"
#include "interface/Om1Export.h"
#include "platform/WinTypes.h"

enum TraceResult { OM1_TRACE_DONE = 0, OM1_TRACE_NO_OUTLINES = 1, OM1_TRACE_LIMIT_EXCEEDED = 2 };

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
