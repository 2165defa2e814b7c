// Generated hard-edged pictures for the shape tests, and the checks run on
// their shapes: pixel-centre coverage and render-back with rsvg-convert.
#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "prepare/TraceOptions.h"
#include "shapes/OutputOptions.h"
#include "shapes/Shape.h"
#include "platform/WinTypes.h"

struct Picture {
    std::string name;
    int w, h;
    std::vector<RGBQUAD> px;  // top-down
    Picture(std::string n, int w_, int h_) : name(std::move(n)), w(w_), h(h_), px(w_ * h_) {
        fill(0, 0, w, h, 0);
    }
    void set(int x, int y, unsigned rgb) {
        if (x < 0 || y < 0 || x >= w || y >= h) return;
        px[static_cast<size_t>(y) * w + x] = RGBQUAD{
            static_cast<BYTE>(rgb), static_cast<BYTE>(rgb >> 8), static_cast<BYTE>(rgb >> 16), 0};
    }
    void fill(int x0, int y0, int ww, int hh, unsigned rgb) {
        for (int y = y0; y < y0 + hh; ++y)
            for (int x = x0; x < x0 + ww; ++x) set(x, y, rgb);
    }
    unsigned at(int x, int y) const {
        const RGBQUAD& q = px[static_cast<size_t>(y) * w + x];
        return q.rgbBlue | q.rgbGreen << 8 | q.rgbRed << 16;
    }
};

// A picture drawn as a renderer anti-aliases: every pixel takes the colour
// of the shape over it in the share of 16 x 16 samples the shape covers
// (`shape` gives the colour at a point, 0xRRGGBB).
Picture antialiased(const std::string& name, int w, int h,
                    const std::function<unsigned(double, double)>& shape);

// The hard-edged corpus: random rectangles, discs, diagonal bands, one-pixel
// lines, a checkerboard, 4-colour noise, regions on every border. `scale`
// multiplies the sizes of the pictures and their shapes (lines stay one pixel
// wide, checker squares and noise one pixel).
std::vector<Picture> hardEdgedPictures(int scale = 1);

// Pictures for the region labelling: noise, mosaics, nested rings, one-pixel
// lines and corner-to-corner touches. Each has a block of 3 x 3 pixels of one
// colour at its top left, where the library's tracer starts (its first
// region is its seed's 3 x 3 ring, whatever the colours there).
std::vector<Picture> regionPictures();

// The nested example: white, a blue block with a yellow square inside.
Picture nestPicture();

// The bundled example, examples/shapes.png (empty when it cannot be read).
Picture bundledExample();

// Traces a picture with `t` and builds its shapes with `o`: from the
// library's tracer's tree, or from the exact regions where `t` asks for them;
// with the picture to judge the curves when `judge`. `prepared` gets the
// picture the regions were drawn from.
bool traceShapes(const Picture& p, const om1::TraceOptions& t, const om1::OutputOptions& o,
                 om1::ShapeSet& set, bool judge = false, std::vector<RGBQUAD>* prepared = nullptr);

// Traces a picture (tolerance in percent, minimum outline length) and builds
// its shapes with the given layout, polygon or curve mode and curve limit.
bool shapesOf(const Picture& p, int tolerance, int minLen, om1::OutputOptions::Layout layout,
              bool polygon, om1::ShapeSet& set,
              double curveLimit = om1::OutputOptions().maxCurveAreaError);

// How many shapes cover each pixel centre (even-odd rule on the shapes'
// polygons, or on their curves flattened, when `curves`); frames skipped.
// `owner` gets the index of the last shape covering each centre (-1: none).
std::vector<int> centreCoverage(const om1::ShapeSet& set, bool curves, std::vector<int>& owner);

// The pixel centres no shape covers (seams), several cover (overlaps), and,
// given the picture, those whose last covering shape is not of the pixel's
// colour or that none covers (wrong).
struct Coverage {
    int seams = 0, overlaps = 0, wrong = 0;
};
Coverage coverage(const om1::ShapeSet& set, bool curves,
                  const std::vector<RGBQUAD>* picture = nullptr);

bool sameColour(const RGBQUAD& a, const RGBQUAD& b);

// Points along a curve (anchors every third point), `steps` a segment.
std::vector<om1::PointD> flattened(const std::vector<om1::PointD>& curve, int steps = 16);

// Renders an SVG file with rsvg-convert at w x h on `background`; empty on
// failure. Pixels as 0xRRGGBB.
std::vector<unsigned> renderSvg(const std::string& svg, int w, int h,
                                const std::string& background);
bool haveRenderer();
