// CommandLine: the options of om1trace and their defaults.
#pragma once

#include <string>
#include <vector>

#include "input/ImageLoader.h"

struct CommandLine {
    // Defaults: 10 % colour tolerance, outlines of fewer than 4 steps
    // dropped, up to a million outlines, 1-pixel straight-line tolerance.
    // With them the render-back checks (tests/tools/RenderBackTest.cpp) keep
    // flat-colour pictures within a few percent of wrong pixels.
    int tolerance = 10;
    int minLength = 4;
    int maxOutlines = 1000000;
    int curveTolerance = 1;
    long long maxPixels = 100000000;
    ImageLoader::Background background;
    // Leave out regions that were fully transparent: nodes of exactly the
    // background colour, when most pixels of that colour were transparent.
    bool transparent = false;
    bool stats = false;
    bool quiet = false;
    bool help = false;
    bool version = false;
    std::string output;  // -o
    std::string dir;     // -d
    std::vector<std::string> inputs;

    // False with `error` set on bad usage.
    bool parse(int argc, char** argv, std::string& error);
    static std::string usage();
    // The output path for an input: -o, or DIR/NAME.svg, or NAME.svg beside it.
    std::string outputFor(const std::string& input) const;
};
