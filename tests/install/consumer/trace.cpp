// A C++ host built against an installed om1 with find_package(om1): the
// pipeline (om1::vectorize) and the core's entry point on the same picture,
// both headers in one source file (their names must not clash).
#include <cstdio>
#include <sstream>
#include <vector>

#include "interface/om1.h"
#include "pipeline/OptionTable.h"
#include "pipeline/Vectorize.h"

namespace {

// The core's entry point, as a host that holds BGR pixels calls it.
bool traceWithCore(std::vector<RGBQUAD>& bgr, int width, int height) {
    KvCtree* tree = nullptr;
    const int code = om1_kvTrace1Bmp(tree, bgr.data(), width, height, 10, 4, 1000, 1, 0);
    const bool traced = code == OM1_TRACE_DONE && tree != nullptr && tree->holes != nullptr;
    om1_delKvCTree(tree);
    return traced && tree == nullptr;
}

}  // namespace

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
