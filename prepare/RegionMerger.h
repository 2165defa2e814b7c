// RegionMerger: merges neighbouring regions whose union costs the picture
// little, the cheapest first (Ward's criterion on the region adjacency
// graph), and paints every region the mean colour of the input pixels it
// covers.
//
// Regions are the 4-connected groups of pixels of exactly one colour. The
// cost of joining regions A and B (nA and nB pixels, mean input colours mA
// and mB) is what their union adds to the squared error of the picture
// painted in region means: nA nB / (nA + nB) |mA - mB|^2, summed over red,
// green and blue. A small region of a colour close to its neighbour's (a
// band of a quantised gradient, a speckle of noise) is cheap; a small dark
// pupil in a light eye or a thin black outline is dear and stays. Merging
// stops when the cheapest union costs more than `cost`, or when it would take
// the squared error of the painted picture (all regions, against the input)
// above `budget`. With `growth` > 0 the unions below `cost` stop too once
// they would take that error above `growth` times the error of the regions
// as they were before the merging (on a detailed picture many cheap unions
// add up); the budget still holds.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/WinTypes.h"

namespace om1 {

struct Labelling;

class RegionMerger {
public:
    // `pixels` holds the regions (changed in place), `original` the input
    // colours the means are taken from (same size). With `means` false a
    // union keeps the colour its larger part has in `pixels` instead of the
    // mean, so the picture keeps its palette (the costs are the same).
    // Returns the number of regions left, -1 when memory runs out (pixels
    // unchanged). `progress`, when given, hears the share done (0..1) between
    // the steps and every few thousand unions; false stops the work (-1).
    //
    // With `alpha` (the pixels' alpha levels, see AlphaPicture, changed in
    // place) and `originalAlpha` (the input's alpha), a region is one colour
    // at one level, colours are measured premultiplied by the input's alpha
    // with alpha as a fourth channel, and the classes stay apart: the empty
    // region joins only regions of partial opacity (which become empty),
    // an opaque region never joins the empty one, and a union of an opaque
    // and a partial region is of the larger part's class. Regions of partial
    // opacity take their mean input alpha (1..254); colours are the means
    // weighted by alpha.
    //
    // `labelled`, when it holds a labelling (count 0 or more), is taken as
    // the labelling of `pixels` (with `alpha` when both alphas are given)
    // instead of labelling them again; it is left empty. `handed` (may be
    // `labelled`), without alpha, gets the labelling of the pixels left
    // (labelRegions's, with the firsts); with alpha it is left empty.
    static long long merge(RGBQUAD* pixels, const RGBQUAD* original, int width, int height,
                           double cost, double budget, double growth = 0, bool means = true,
                           uint8_t* alpha = nullptr, const uint8_t* originalAlpha = nullptr,
                           const std::function<bool(double)>& progress = {}, int threads = 1,
                           Labelling* labelled = nullptr, Labelling* handed = nullptr);
};

}  // namespace om1
