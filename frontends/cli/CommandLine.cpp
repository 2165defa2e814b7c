#include "frontends/cli/CommandLine.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <CLI/CLI.hpp>

#include "frontends/cli/FileSystem.h"
#include "pipeline/OptionTable.h"

namespace {

std::string baseName(const std::string& path) {
    size_t slash = FileSystem::lastSeparator(path);
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    size_t dot = name.find_last_of('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

std::string dashed(const char* name) {
    std::string s = std::string("--") + name;
    for (char& c : s)
        if (c == '_') c = '-';
    return s;
}

// The tool's own long options (besides the table's).
const char* const kToolOptions[] = {"--format", "--jobs",  "--recursive", "--preset",
                                    "--stats",  "--quiet", "--help",      "--version"};

bool looksLikeNumber(const std::string& a) {
    return a.size() > 1 && a[0] == '-' &&
           (isdigit(static_cast<unsigned char>(a[1])) || a[1] == '.');
}

// An argument that names no option, found before CLI11 sees it, so that the
// message can name the nearest option.
bool unknownOption(int argc, char** argv, std::string& error) {
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--") return false;  // the rest are inputs
        if (a.size() < 2 || a[0] != '-' || looksLikeNumber(a)) continue;
        if (a == "-h") continue;
        if (a == "-o" || a == "-d") {
            ++i;  // the next argument is their value, whatever it is
            continue;
        }
        const std::string name = a.substr(0, a.find('='));
        bool known = name.size() > 2 && name[1] == '-' && om1::OptionTable::find(name.substr(2));
        for (const char* t : kToolOptions) known = known || name == t;
        if (known) continue;
        std::string closest;
        if (name.size() > 2 && name[1] == '-') {
            std::vector<std::string> tool;
            for (const char* t : kToolOptions) tool.push_back(t + 2);
            closest = om1::OptionTable::nearest(name.substr(2), tool);
            if (!closest.empty()) closest = dashed(closest.c_str());
        }
        error =
            "unknown option " + name + (closest.empty() ? "" : "; did you mean " + closest + "?");
        return true;
    }
    return false;
}

}  // namespace

CommandLine::CommandLine() {
    om1::OptionTable::defaults(options);
}

std::string CommandLine::usage() {
    return "usage: om1trace INPUT... [-o OUTPUT | -d DIR] [options]\n"
           "Traces PNG, JPEG, BMP or GIF pictures into vector outlines: SVG, or by the\n"
           "output's extension .json, .pdf, .eps, .dxf (release 12) or .geojson (y down).\n"
           "An INPUT may be a directory: the pictures in it are traced (-d DIR keeps\n"
           "their relative paths). - reads the picture from standard input (its format\n"
           "told by its first bytes) and, without -o or -d, writes to standard output.\n"
           "  -o OUTPUT               output file (one input only); - writes to standard\n"
           "                          output (SVG unless --format says otherwise)\n"
           "  -d DIR                  write NAME.svg (or the --format's extension) for\n"
           "                          every input into DIR\n"
           "  --format NAME           svg, json, pdf, eps, dxf or geojson, whatever the\n"
           "                          output's extension\n"
           "  --jobs N                pictures traced at once (default: one per core)\n"
           "  --recursive             search directories given as inputs all the way down\n"
           "  --stats                 print counts and times per input\n"
           "  --quiet                 print nothing but errors\n"
           "  --help, --version\n"
           "The trace (each preset sets its own defaults; an option given overrides it;\n"
           "a flag also takes =on or =off):\n" +
           om1::OptionTable::commandLineHelp() +
           "Exit codes: 0 done, 1 no outlines, 2 outline limit exceeded, 3 more colours\n"
           "than --max-colors, 64 bad usage, 65 unreadable or unsupported input, 74 output\n"
           "cannot be written (a batch exits with the largest code of its inputs).\n";
}

bool CommandLine::parse(int argc, char** argv, std::string& error) {
    if (unknownOption(argc, argv, error)) return false;
    CLI::App app("om1trace");
    app.set_help_flag();
    app.allow_extras(false);
    app.allow_windows_style_options(false);  // a path may begin with /
    app.positionals_at_end(false);
    std::string formatName, presetName, jobsText;
    app.add_flag("-h,--help", help);
    app.add_flag("--version", version);
    app.add_flag("--recursive", recursive);
    app.add_flag("--stats", stats);
    app.add_flag("--quiet", quiet);
    app.add_option("-o", output)->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.add_option("-d", dir)->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    CLI::Option* formatOpt = app.add_option("--format", formatName)
                                 ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.add_option("--jobs", jobsText)->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    CLI::Option* presetOpt = app.add_option("--preset", presetName)
                                 ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    // The table's options that some argument names, and only those: an
    // option no argument names reads nothing, and building all of them
    // would cost most of a small picture's start.
    std::vector<std::string> named;
    for (int i = 1; i < argc; ++i)
        if (argv[i][0] == '-' && argv[i][1] == '-') {
            const char* end = std::strchr(argv[i], '=');
            named.emplace_back(argv[i],
                               end ? static_cast<size_t>(end - argv[i]) : std::strlen(argv[i]));
        }
    const int rows = om1::OptionTable::rowCount();
    std::vector<std::string> values(static_cast<size_t>(rows));
    std::vector<CLI::Option*> opts(static_cast<size_t>(rows), nullptr);
    for (int i = 0; i < rows; ++i) {
        const om1::OptionTable::Row& r = *om1::OptionTable::row(i);
        const std::string flag = dashed(r.name);
        if (std::find(named.begin(), named.end(), flag) == named.end()) continue;
        opts[i] = r.kind == om1::OptionTable::Kind::Flag ? app.add_flag(flag + "{on}", values[i])
                                                         : app.add_option(flag, values[i]);
        opts[i]->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    }
    app.add_option("inputs", inputs);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        error = e.what();
        // "--colors: 1 required TEXT missing" reads better as:
        if (error.find("required") != std::string::npos &&
            error.find("missing") != std::string::npos)
            error = error.substr(0, error.find(':')) + " needs a value";
        return false;
    }
    if (help || version) return true;
    if (!jobsText.empty()) {
        char* end = nullptr;
        const long v = strtol(jobsText.c_str(), &end, 10);
        if (*end || v < 1 || v > 1024) {
            error = "--jobs takes a whole number from 1 to 1024, not '" + jobsText + "'";
            return false;
        }
        jobs = static_cast<int>(v);
    }
    if (formatOpt->count()) {
        if (!om1::OutputFormat::fromName(formatName, format)) {
            error = "--format takes one of " + om1::OutputFormat::names() + ", not '" + formatName +
                    "'";
            return false;
        }
        formatGiven = true;
    }
    if (presetOpt->count() && !om1::Presets::parse(presetName, preset)) {
        error = "--preset takes graphic, photo, bw, pixel or plain, not '" + presetName + "'";
        return false;
    }
    om1::OptionTable::preset(options, om1::Presets::name(preset));
    for (int i = 0; i < rows; ++i)
        if (opts[i] && opts[i]->count())
            given.emplace_back(om1::OptionTable::row(i)->name, values[i]);
    if (om1::OptionTable::apply(options, given, error, om1::OptionTable::Names::Flags) != OM1_OK)
        return false;
    if (inputs.empty()) {
        error = "no input file";
        return false;
    }
    if (std::count(inputs.begin(), inputs.end(), "-") > 1) {
        error = "standard input (-) can be read once";
        return false;
    }
    if (!output.empty() && !dir.empty()) {
        error = "-o and -d cannot be used together";
        return false;
    }
    if (!output.empty() && inputs.size() > 1) {
        error = "-o takes one input; use -d DIR for several";
        return false;
    }
    return true;
}

std::string CommandLine::outputFor(const std::string& input) const {
    if (!output.empty()) return output;
    if (input == "-" && dir.empty()) return "-";  // a filter: stdin to stdout
    std::string name = (input == "-" ? std::string("stdin") : baseName(input)) + "." +
                       om1::OutputFormat::extension(format);
    if (!dir.empty()) return dir + "/" + name;
    size_t slash = FileSystem::lastSeparator(input);
    return slash == std::string::npos ? name : input.substr(0, slash + 1) + name;
}

om1::OutputFormat::Kind CommandLine::formatFor(const std::string& path) const {
    om1::OutputFormat::Kind kind = om1::OutputFormat::Kind::Svg;
    if (formatGiven) return format;
    if (path != "-") om1::OutputFormat::fromPath(path, kind);
    return kind;
}

namespace {

bool isPicture(const std::string& name) {
    const size_t dot = name.find_last_of('.');
    if (dot == std::string::npos) return false;
    std::string ext = name.substr(dot + 1);
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext == "png" || ext == "jpg" || ext == "jpeg" || ext == "bmp" || ext == "gif";
}

}  // namespace

bool CommandLine::expandInputs(std::string& error) {
    std::vector<std::string> files, subs;
    for (const std::string& in : inputs) {
        if (in == "-" || !FileSystem::isDirectory(in)) {
            files.push_back(in);
            subs.emplace_back();
            continue;
        }
        // Folders still to read (relative to `in`), worked off without recursion.
        std::vector<std::string> todo{""};
        std::vector<std::pair<std::string, std::string>> found;  // (relative folder, name)
        while (!todo.empty()) {
            const std::string rel = todo.back();
            todo.pop_back();
            const std::string path = rel.empty() ? in : in + "/" + rel;
            std::vector<std::string> names;
            if (!FileSystem::list(path, names, error)) {
                error = path + ": " + error;
                return false;
            }
            for (const std::string& name : names) {
                const std::string full = path + "/" + name;
                if (FileSystem::isDirectory(full)) {
                    if (recursive) todo.push_back(rel.empty() ? name : rel + "/" + name);
                } else if (isPicture(name)) {
                    found.emplace_back(rel, name);
                }
            }
        }
        if (found.empty()) {
            error = in + ": no pictures in this directory" +
                    (recursive ? "" : " (--recursive searches its subdirectories)");
            return false;
        }
        std::sort(found.begin(), found.end());
        const bool endsInSeparator =
            in.size() > 1 && FileSystem::lastSeparator(in) == in.size() - 1;
        const std::string base = endsInSeparator ? in.substr(0, in.size() - 1) : in;
        for (const auto& [rel, name] : found) {
            files.push_back(base + "/" + (rel.empty() ? name : rel + "/" + name));
            subs.push_back(rel);
        }
    }
    inputs = std::move(files);
    subdirs = std::move(subs);
    if (!output.empty() && inputs.size() > 1) {
        error = "-o takes one input; use -d DIR for several";
        return false;
    }
    return true;
}

std::string CommandLine::outputAt(size_t i) const {
    const std::string out = outputFor(inputs[i]);
    if (dir.empty() || i >= subdirs.size() || subdirs[i].empty()) return out;
    return dir + "/" + subdirs[i] + out.substr(dir.size());
}
