// PictureCleaner: raster stages that prepare a picture for the tracer, on
// 32-bit pixels (blue, green, red, reserved; the reserved byte is kept).
//
// Regions here are the 4-connected groups of pixels of exactly one colour,
// the regions the tracer finds at tolerance 0.
//
// Stages that take `alpha` (one alpha level per pixel, see AlphaPicture;
// null for an opaque picture) treat colour and level as one key: a region
// is one colour at one level. They never paint an empty pixel (level 0),
// and they change the level of a pixel whose colour they change.
#pragma once

#include <cstdint>
#include <functional>

#include "platform/WinTypes.h"

namespace om1 {

struct Labelling;

class PictureCleaner {
public:
    // Black where the luminance (0.299 red + 0.587 green + 0.114 blue) is
    // below `threshold`, white elsewhere. A threshold of 256 or more is
    // chosen from the picture (otsuThreshold).
    // `going` (may be empty) is asked every 2^18 pixels: false when it
    // answers false (the picture is then part done).
    static bool threshold(RGBQUAD* pixels, int width, int height, int threshold,
                          const std::function<bool()>& going = {});
    // The luminance threshold that best splits the picture into two classes
    // (Otsu: the largest variance between the classes' mean luminances; the
    // lowest such threshold among equals), 1..255.
    static int otsuThreshold(const RGBQUAD* pixels, int width, int height);

    // Anti-alias cleanup. A pixel is flat when its eight neighbours (those in
    // the raster) have exactly its colour. Every other pixel looks at the
    // flat pixels within `radius` (a square window) and at their colours A and
    // B, two at a time: when its colour lies within `tolerance` (the largest
    // channel difference) of the straight line from A to B, it takes the
    // nearer of the two, the pair nearest to it winning. Thin bands of
    // in-between colours along an edge thus join the regions beside them and
    // the edge becomes one clean step; a thin line of its own colour (not
    // between its neighbours) is kept. Decisions read the picture as it was,
    // so the result does not depend on the order of the pixels. Returns the
    // number of pixels changed, -1 when memory runs out (pixels unchanged).
    // With alpha, colours are measured premultiplied by their alpha, with
    // the alpha as a fourth channel: a pixel on the edge of a shape against
    // transparency lies between the shape and the empty region and goes to
    // the shape when it covers at least half of it.
    // `progress` as in ColorQuantizer::quantize (-1 when it stops the work).
    // `threads` as in Bands::count: a large picture is cleaned by bands of
    // rows at once, with the same result.
    static long long antialias(RGBQUAD* pixels, int width, int height, int radius, int tolerance,
                               uint8_t* alpha = nullptr,
                               const std::function<bool(double)>& progress = {}, int threads = 1);

    // Speckle filter: every region of fewer than `area` pixels takes the
    // colour of the neighbouring region it shares the longest boundary with
    // (the region that surrounds it, for an enclosed spot), smallest regions
    // first; repeated until no region is below the area or nothing changes.
    // Within a pass, edges to regions that were at least the area when the
    // pass began come first, so a colour never spreads from speckle to
    // speckle across a noisy patch; ties go to the nearer colour, then to
    // the larger region.
    // Returns the number of regions left, -1 when memory runs out. With
    // alpha, a small region may join the empty region, never the other way.
    // `progress` as in ColorQuantizer::quantize (-1 when it stops the work).
    // The labelling of a large picture runs by bands on up to `threads`
    // threads (0: one per core), with the same result for any number.
    // `labelled`, when given, gets the labelling of the pixels it leaves.
    static long long speckle(RGBQUAD* pixels, int width, int height, int area,
                             uint8_t* alpha = nullptr,
                             const std::function<bool(double)>& progress = {}, int threads = 1,
                             Labelling* labelled = nullptr);

    // Colour restitution from the picture: every region of `pixels` takes the
    // mean colour (rounded per channel) of the same pixels in `original`, so
    // that quantised or merged regions get back the colour they cover.
    // False when memory runs out (pixels unchanged). With alpha (and the
    // input's `originalAlpha`) colours are means weighted by the input's
    // alpha, and a region of partial opacity takes the mean input alpha
    // (1..254); opaque regions stay opaque, the empty region stays empty.
    static bool restitute(RGBQUAD* pixels, const RGBQUAD* original, int width, int height,
                          uint8_t* alpha = nullptr, const uint8_t* originalAlpha = nullptr);

    // The number of regions, -1 when memory runs out.
    static long long regions(const RGBQUAD* pixels, int width, int height,
                             const uint8_t* alpha = nullptr);

private:
    static bool restituteWithAlpha(RGBQUAD* pixels, const RGBQUAD* original, int width, int height,
                                   uint8_t* alpha, const uint8_t* originalAlpha);
};

}  // namespace om1
