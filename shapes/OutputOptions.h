// OutputOptions: how a traced tree becomes shapes (ShapeBuilder).
#pragma once

namespace om1 {

struct OutputOptions {
    enum class Layout {
        // Every node on its own exact boundary, parents first and holes on top,
        // as a renderer stacks them.
        Stacked,
        // Every region once, as its own area (outer boundaries and the
        // boundaries of its holes), nothing stacked; neighbours share their
        // boundaries.
        Cutout
    };
    Layout layout = Layout::Stacked;
    // Corner polygons only, no curve fitting (the lossless mode).
    bool polygon = false;
    // Tolerance of the curve fit: 1 keeps the edge samples within 0.3 px of
    // the curve, every further unit adds 0.3 px (CurveFitter::settings).
    int curveTolerance = 1;
    // With a picture, a fitted piece of boundary is kept where it reproduces
    // the picture better than the exact staircase (BoundaryCurves). Without
    // one, only when the area between it and the staircase is at most this
    // many square pixels per boundary step. A negative value keeps every fit.
    double maxCurveAreaError = 0.05;
    // Largest colour difference (0..255, per channel) a pixel may have from
    // its region's colour before the label raster is corrected against the
    // picture (LabelRaster::reconcile); -1 leaves the painted raster as it is.
    int reconcileTolerance = -1;
    // Stacked layout: nodes of one colour whose pixels touch (side by side or
    // corner to corner), such as the parts of a region the tracer cut where it
    // touches the raster border, are written as one shape, in the slot of the
    // first of them drawn, when that leaves the drawing exact (every other
    // one's parent is drawn before that slot); the others get no loops.
    bool joinParts = false;
    // With curves and a picture: the regions of one colour are filled with
    // the mean of their inner pixels (those whose four neighbours are of the
    // region) in the picture, as the curves draw the edge pixels by their
    // anti-aliasing; as many colours as the stages gave. Off where the
    // colours themselves are asked for (a threshold's black and white, a
    // palette).
    bool innerColours = true;
    // 0xRRGGBB: the colour the formats without opacity (EPS, DXF) flatten
    // shapes of partial opacity onto.
    int background = 0xFFFFFF;
    // Threads for the curve fits of a picture of 128 x 128 pixels or more
    // (0: one per core; below that size one): the curves are the same for
    // any number.
    int threads = 0;
};

}  // namespace om1
