// BoundaryCurves: the curves of every loop of a ShapeSet, chosen piece by
// piece against the picture.
//
// Every loop is cut at its junctions: corners where three or four boundary
// steps meet (three or more regions, or two regions touching diagonally, or
// a region meeting the raster border) and the four corners of the raster.
// A piece between two junctions separates exactly two regions (or a region
// and the outside). The whole loop is fitted (CurveFitter, on the edge
// samples the picture gives) and cut at the points nearest to its
// junctions, which are then moved exactly onto the junctions. A loop without
// junctions (an island) is one piece.
//
// Each piece keeps its curve only where it reproduces the picture better
// than the exact staircase (CurveJudge). With a picture, a piece is also
// fitted at twice and four times the tolerance (where the first fit takes
// more than two segments) and with its ends left on the junctions (each
// saves the short straight segment to the junction); of the fits better
// than the staircase, the one kept has the largest gain in squared colour
// error less a fixed cost per segment, so a soft edge, whose exact place
// changes the colours little, gets fewer segments. (The further fits are
// tried only on short pieces and between regions whose colours lie close
// enough for them to pay.) Pieces on the raster border, of fewer than three
// steps, or that cannot be matched to the fitted curve within two pixels
// keep the staircase. Without a picture a curve is kept
// when the area between it and the staircase is at most
// `maxCurveAreaError` per step; a negative `maxCurveAreaError` keeps every
// fitted curve.
//
// Each piece (and each island) is fitted and judged once, as part of the
// first loop that runs along it; every other loop along it (the neighbour's,
// running it backwards, in either layout) uses the same curve, so
// neighbours share their boundaries exactly: no seam and no overlap between
// them. The loops are walked in order first, to find which loop claims
// each piece; the claimed pieces are then fitted one by one, the longest
// first, on `options.threads` threads for a picture of 128 x 128 pixels or
// more (each fit reads only the picture and its own steps), so the curves
// are the same for any number of threads; the loops are put together from
// their pieces last.
//
// Stacked, two regions side by side (neither inside the other) would both
// cover a soft edge between them only in part, and what lies under both
// would show through. There every loop along the piece but the one drawn
// last follows the curve moved under the region drawn last, point by point
// as far as that region's pixels reach (up to a pixel, less the fit's
// tolerance, tapering where the region thins or the piece ends, never onto
// a third region's pixels; the curve then is judged as an edge between the
// two colours alone; where the curve runs smoothly the moved curve does
// too, with no more segments), so the edge shows those two colours only; unless the
// edge with what lies under both showing through reproduces the picture as
// well (CurveJudge). Straight segments that follow one another along one
// line are joined.
#pragma once

#include <functional>

#include "shapes/EdgeSamples.h"
#include "shapes/Shape.h"

namespace om1 {

class BoundaryCurves {
public:
    // Fills `curves` of every shape of `set`, whose loops were traced from
    // `picture.labels` (`picture.colours`: the colour of every label).
    // False when memory runs out, or when `progress` (told the share done
    // every few thousand steps walked or fitted, or about every 5 ms while
    // other threads fit, always from the calling thread) answers false; the
    // threads then end after the fit each is in.
    static bool fit(const EdgeSamples::Picture& picture, const OutputOptions& options,
                    ShapeSet& set, const std::function<bool(double)>& progress = {});
};

}  // namespace om1
