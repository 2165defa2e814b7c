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
// than the exact staircase (CurveJudge); pieces on the raster border, of
// fewer than three steps, or that cannot be matched to the fitted curve
// within two pixels keep the staircase. Without a picture a curve is kept
// when the area between it and the staircase is at most
// `maxCurveAreaError` per step; a negative `maxCurveAreaError` keeps every
// fitted curve.
//
// Each piece (and each island) is fitted and judged once, as part of the
// first loop that runs along it; every other loop along it (the neighbour's,
// running it backwards, in either layout) uses the same curve, so
// neighbours share their boundaries exactly: no seam and no overlap between
// them.
#pragma once

#include <functional>

#include "shapes/EdgeSamples.h"
#include "shapes/Shape.h"

namespace om1 {

class BoundaryCurves {
public:
    // Fills `curves` of every shape of `set`, whose loops were traced from
    // `picture.labels` (`picture.colours`: the colour of every label).
    // False when memory runs out, or when `progress` (told the share of the
    // shapes done every few thousand steps fitted) answers false.
    static bool fit(const EdgeSamples::Picture& picture, const OutputOptions& options,
                    ShapeSet& set, const std::function<bool(double)>& progress = {});
};

}  // namespace om1
