// A C++ host built against an installed om1 with find_package(om1): the
// pipeline (om1::vectorize) and the core's entry point (core.cpp: the core's
// om1.h and the pipeline's om1types.h name their status codes alike, so one
// source file includes one of them) on the same picture.
#include <cstdio>
#include <sstream>
#include <vector>

#include "pipeline/OptionTable.h"
#include "pipeline/Vectorize.h"

bool traceWithCore(std::vector<RGBQUAD>& bgr, int width, int height);

int main() {
    const int w = 24, h = 20;
    std::vector<uint8_t> rgba(static_cast<size_t>(w) * h * 4, 255);
    std::vector<RGBQUAD> bgr(static_cast<size_t>(w) * h, RGBQUAD{255, 255, 255, 0});
    for (int y = 5; y < 13; ++y)
        for (int x = 6; x < 16; ++x) {
            uint8_t* p = &rgba[4 * (static_cast<size_t>(y) * w + x)];
            p[1] = p[2] = 0;
            bgr[static_cast<size_t>(y) * w + x] = RGBQUAD{0, 0, 255, 0};
        }
    om1_options o;
    om1::OptionTable::preset(o, "pixel");
    om1::Picture picture;
    picture.rgba = rgba.data();
    picture.width = w;
    picture.height = h;
    int steps = 0;
    om1::Hooks hooks;
    hooks.progress = [&](double) { return ++steps > 0; };
    const om1::Result result = om1::vectorize(picture, &o, &hooks);
    std::ostringstream svg;
    const int written = result.write(svg, om1::OutputFormat::Kind::Svg);
    om1_stats s;
    result.stats(s);

    const bool traced = traceWithCore(bgr, w, h);

    std::printf("om1 pipeline: status %d, %d paths, %zu bytes of SVG, %d progress calls; core %s\n",
                result.status(), s.paths, svg.str().size(), steps, traced ? "traced" : "failed");
    return result.status() == OM1_OK && written == OM1_OK && s.paths == 2 && steps > 0 && traced
               ? 0
               : 1;
}
