// CommandLine: the command line of om1trace: the tool's own options (inputs,
// outputs, batch) and every option of the trace from the option table,
// parsed with CLI11.
#pragma once

#include <string>
#include <vector>

#include "pipeline/om1types.h"
#include "prepare/Presets.h"
#include "writers/OutputFormat.h"

struct CommandLine {
    // The trace's options: the preset's, then the options given (every
    // option of the table, as --name-with-dashes), applied in the table's
    // order.
    om1_options options;
    om1::Presets::Preset preset = om1::Presets::kDefault;
    // The table's options as given (name with underscores, value text); a
    // flag given without value is "on".
    std::vector<std::pair<std::string, std::string>> given;
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

    CommandLine();
    // False with `error` set on bad usage: one line saying what is wrong
    // (with the nearest option's name for an unknown one).
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
