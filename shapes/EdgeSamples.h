// EdgeSamples: where a region's boundary really runs, one point per boundary
// step, found from the picture's anti-aliasing.
//
// A boundary step lies between a pixel of the region (inside) and one of its
// neighbour (outside). A pixel whose colour lies between the two regions'
// colours holds a share of each: the projection of its colour onto the line
// between them. Across a straight edge, the shares of the pixels in the
// column (or row) through the step add up to where the edge crosses it:
// every share of the inside colour found outside moves the edge outwards,
// every share of the outside colour found inside moves it inwards. Up to
// three pixels on each side count, as long as they belong to the two regions
// and their shares keep falling away from the edge (a rising share is the
// next edge of a thin line). Where another region lies just beyond one
// side's pixels (a thin band between two others), that side's pixels may
// hold its colour too: their shares then come from the three colours (the
// pixel as a mix of all three, least squares), unless the three lie too near
// one line to tell. Steps on the raster border, between regions of
// nearly one colour, or without a picture stay at their midpoints; no
// sample moves more than one pixel.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/WinTypes.h"
#include "shapes/CrackLoop.h"
#include "shapes/Shape.h"

namespace om1 {

class EdgeSamples {
public:
    struct Picture {
        const int32_t* labels = nullptr;  // width x height, -1: no region
        int width = 0, height = 0;
        const RGBQUAD* pixels = nullptr;                // the picture traced, or null
        const std::vector<RGBQUAD>* colours = nullptr;  // per label
        // Stacked drawing (null when regions are not stacked): every label's
        // parent (-1: none) and whether it is drawn (frames are not). Two
        // regions that share an edge, neither inside the other, both cover
        // its pixels only in part, and what lies under both shows through.
        const std::vector<int>* parents = nullptr;
        const std::vector<uint8_t>* drawn = nullptr;
        int base = -1;  // a label drawn first under all others (-1: none)
        // Per label, or null: the edges of the regions marked keep their
        // exact staircase (the empty region of a transparent picture, whose
        // edges the picture's colours cannot place).
        const std::vector<uint8_t>* staircase = nullptr;
        int32_t label(int x, int y) const {
            return x < 0 || y < 0 || x >= width || y >= height
                       ? -1
                       : labels[static_cast<size_t>(y) * width + x];
        }
    };

    // One sample per step of `loop`, in order: the point where the edge
    // crosses the line through the step's midpoint across the step.
    static void sample(const CrackLoop& loop, const Picture& picture, std::vector<PointD>& out);
    // The same for `count` steps from step `first` (round the loop), which
    // leaves corner `at`: the samples of those steps, each as sample() finds
    // it.
    static void sample(const CrackLoop& loop, const Picture& picture, size_t first, size_t count,
                       Corner at, std::vector<PointD>& out);

    // The share (0..1) of colour `in` that a pixel of colour `p` holds
    // against colour `out`; -1 when the two colours are too close to tell.
    static double share(const RGBQUAD& p, const RGBQUAD& in, const RGBQUAD& out);
};

}  // namespace om1
