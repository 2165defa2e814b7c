// CutoutCurves: curves for the cutout layout that neighbours share exactly.
//
// Every region boundary is cut at its junctions: corners where three or
// four boundary steps meet (three or more regions, or two regions touching
// diagonally, or a region meeting the raster border) and the four corners of
// the raster. A piece between two junctions separates exactly two regions
// (or a region and the outside). Each piece is fitted once, as part of the
// loop of the region with the lower label that it bounds: that whole loop is
// fitted by CurveFitter and cut at the points nearest to its junctions, which
// are then moved exactly onto the junctions. The other region uses the same
// curve reversed. A loop without junctions (an island) is fitted whole by the
// lower label and reversed by the other. Pieces that cannot be matched to the
// fitted curve within two pixels (or of fewer than three steps) keep their
// corner polygon.
#pragma once

#include <cstdint>

#include "shapes/Shape.h"

namespace om1 {

class CutoutCurves {
public:
    // Fills `curves` of every shape of a cutout ShapeSet whose loops were
    // traced from `labels`. False when memory runs out.
    static bool fit(const int32_t* labels, int width, int height, const OutputOptions& options,
                    ShapeSet& set);
};

}  // namespace om1
