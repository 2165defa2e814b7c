// Polylines: a shape's loops as closed polylines for the formats that have
// no curves (GeoJSON, DXF), and which outer loop each hole belongs to.
#pragma once

#include <vector>

#include "shapes/Shape.h"

namespace om1 {

class Polylines {
public:
    // Largest distance, in pixels, between a curve and its flattened polyline.
    static constexpr double kFlatness = 0.05;

    // Loop `k` of `shape`: its exact corners in polygon mode (or when it has
    // no curve), else its curve flattened within kFlatness (a straight
    // segment stays one line), its points rounded to two decimals as the
    // writers round them, none repeated. The first point is not repeated at
    // the end.
    static void loop(const Shape& shape, size_t k, std::vector<PointD>& out);

    // Per loop: -1 for an outer loop (positive area), else the index of the
    // outer loop that holds the hole: the smallest outer loop around a pixel
    // just inside the hole (-1 as well if none does, which a well-formed
    // shape never has).
    static std::vector<int> holesOf(const Shape& shape);
};

}  // namespace om1
