// CommandLine: the options of om1trace and their defaults.
#pragma once

#include <string>
#include <vector>

#include "decode/ImageLoader.h"
#include "writers/OutputFormat.h"
#include "prepare/Presets.h"

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
    // --polygon: exact corner polygons, no curves; tolerance and minimum
    // length default to 0 (every region kept, exact colours) unless given.
    bool polygon = false;
    // --cutout: every region once as its own area, neighbours sharing
    // their boundaries, nothing stacked.
    bool cutout = false;
    // --preset and the stage options (--filter, --speckle, ...), handed to
    // om1::Presets::set in the order given, after the preset's own settings.
    om1::Presets::Preset preset = om1::Presets::kDefault;
    std::vector<std::pair<std::string, std::string>> stages;
    bool toleranceGiven = false;
    bool minLengthGiven = false;
    bool stats = false;
    bool quiet = false;
    bool help = false;
    bool version = false;
    // --format NAME, else the output's extension, else SVG.
    om1::OutputFormat::Kind format = om1::OutputFormat::Kind::Svg;
    bool formatGiven = false;
    std::string output;  // -o; "-" is standard output
    std::string dir;     // -d
    // --jobs N: pictures traced at once; 0 = one per core.
    int jobs = 0;
    // --recursive: directories given as inputs are searched all the way down.
    bool recursive = false;
    std::vector<std::string> inputs;
    // Per input after expandInputs: the folder it was found in, relative to
    // the directory given on the command line ("" for files given directly
    // and at a directory's top level), kept under -d DIR.
    std::vector<std::string> subdirs;

    // False with `error` set on bad usage.
    bool parse(int argc, char** argv, std::string& error);
    static std::string usage();
    // The output path for an input: -o, or DIR/NAME.EXT, or NAME.EXT beside
    // it, EXT being the extension of --format (svg without it). Input "-"
    // (standard input) is NAME "stdin" under -d, else standard output "-".
    std::string outputFor(const std::string& input) const;
    // Replaces every directory among the inputs by the pictures in it
    // (.png, .jpg, .jpeg, .bmp, .gif, by name, sorted), descending with
    // --recursive; fills `subdirs`. False with `error` set when a directory
    // cannot be read or holds no picture.
    bool expandInputs(std::string& error);
    // The output path of input i: outputFor, with its subfolder under -d.
    std::string outputAt(size_t i) const;
    // The format an output is written in: --format, else the output's
    // extension, else SVG (standard output included).
    om1::OutputFormat::Kind formatFor(const std::string& output) const;
};
