#include "frontends/cli/CommandLine.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "frontends/cli/FileSystem.h"

namespace {

bool parseInt(const std::string& s, long long lo, long long hi, long long& out) {
    if (s.empty() || !(isdigit(static_cast<unsigned char>(s[0])) || s[0] == '-')) return false;
    char* end = nullptr;
    errno = 0;
    long long v = strtoll(s.c_str(), &end, 10);
    if (errno || *end || v < lo || v > hi) return false;
    out = v;
    return true;
}

// Exactly six hexadecimal digits, after an optional '#'.
bool parseColour(std::string s, ImageLoader::Background& bg) {
    if (!s.empty() && s[0] == '#') s = s.substr(1);
    if (s.size() != 6) return false;
    for (char c : s)
        if (!isxdigit(static_cast<unsigned char>(c))) return false;
    unsigned long v = strtoul(s.c_str(), nullptr, 16);
    bg.red = static_cast<uint8_t>(v >> 16);
    bg.green = static_cast<uint8_t>(v >> 8);
    bg.blue = static_cast<uint8_t>(v);
    return true;
}

std::string baseName(const std::string& path) {
    size_t slash = FileSystem::lastSeparator(path);
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    size_t dot = name.find_last_of('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

}  // namespace

std::string CommandLine::usage() {
    return "usage: om1trace INPUT... [-o OUTPUT | -d DIR] [options]\n"
           "An INPUT may be a directory: the pictures in it are traced (-d DIR keeps\n"
           "their relative paths). - reads the picture from standard input (its format\n"
           "told by its first bytes) and, without -o or -d, writes to standard output.\n"
           "Traces PNG, JPEG, BMP or GIF pictures into vector outlines: SVG, or by the\n"
           "output's extension .json, .pdf, .eps, .dxf (release 12) or .geojson (y down).\n"
           "  -o OUTPUT               output file (one input only); - writes to standard\n"
           "                          output (SVG unless --format says otherwise)\n"
           "  -d DIR                  write NAME.svg (or the --format's extension) for\n"
           "                          every input into DIR\n"
           "  --format NAME           svg, json, pdf, eps, dxf or geojson, whatever the\n"
           "                          output's extension\n"
           "  --jobs N                pictures traced at once (default: one per core)\n"
           "  --recursive             search directories given as inputs all the way down\n"
           "  --tolerance PERCENT     colour tolerance, 0..100 (default 10)\n"
           "  --min-length STEPS      drop outlines shorter than this (default 4)\n"
           "  --max-outlines N        outline limit of one trace (default 1000000)\n"
           "  --curve-tolerance PX    straight-line tolerance in pixels (default 1)\n"
           "  --max-pixels N          refuse larger pictures (default 100000000)\n"
           "  --background RRGGBB     colour under transparent pixels (default ffffff)\n"
           "  --transparent           leave out regions that were fully transparent\n"
           "  --polygon               exact pixel-edge polygons, no curves (lossless on\n"
           "                          hard-edged pictures; tolerance and min length 0)\n"
           "  --cutout                every region once as its own area, no stacking;\n"
           "                          neighbours share their boundaries exactly\n"
           "  --preset NAME           graphic (default): flat colours with smooth edges;\n"
           "                          photo: natural pictures; bw: black and white by a\n"
           "                          luminance threshold; pixel: hard-edged pixel art,\n"
           "                          exact polygons; plain: no stages\n"
           "Stages (each preset has its own defaults; these override them):\n"
           "  --filter none|quadrant|adaptive  edge-preserving pre-filter\n"
           "  --filter-radius K       filter quadrant side K + 1, 1..8 (default 1)\n"
           "  --colors N              quantise to N colours, 2..256 (0 off)\n"
           "  --palette FILE|#rrggbb,...  snap every pixel to the nearest given colour\n"
           "  --antialias on|off      absorb thin bands of in-between colours\n"
           "  --speckle PX            regions below PX pixels join their surroundings\n"
           "  --max-paths N           raise the speckle area until at most N paths\n"
           "  --max-colors N          refuse pictures of more colours after the stages\n"
           "                          above (0, the default: no limit)\n"
           "  --restitute on|off      regions take the mean colour of the pixels they cover\n"
           "  --merge C               merge neighbouring regions, cheapest first, while a\n"
           "                          union adds at most C x 128 x the picture's side to\n"
           "                          the squared colour error; regions take their mean\n"
           "  --merge-psnr DB         ... and further while the regions' means stay DB\n"
           "                          (PSNR) from the input\n"
           "  --spots PX              trace twice: the library weighs the spots, absorbs\n"
           "                          those of at most PX pixels and repaints the regions\n"
           "  --threshold L|auto      black below luminance L, else white (bw: auto,\n"
           "                          the level that best splits the picture in two)\n"
           "  --stats                 print counts and times per input\n"
           "  --quiet                 print nothing but errors\n"
           "  --help, --version\n"
           "Exit codes: 0 done, 1 no outlines, 2 outline limit exceeded, 3 more colours\n"
           "than --max-colors, 64 bad usage, 65 unreadable or unsupported input, 74 output\n"
           "cannot be written (a batch exits with the largest code of its inputs).\n";
}

bool CommandLine::parse(int argc, char** argv, std::string& error) {
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        auto value = [&](std::string& v) -> bool {
            if (i + 1 >= argc) {
                error = a + " needs a value";
                return false;
            }
            v = argv[++i];
            return true;
        };
        auto number = [&](long long lo, long long hi, long long& out) -> bool {
            std::string v;
            if (!value(v)) return false;
            if (!parseInt(v, lo, hi, out)) {
                error = a + " takes a whole number from " + std::to_string(lo) + " to " +
                        std::to_string(hi) + ", not '" + v + "'";
                return false;
            }
            return true;
        };
        long long n = 0;
        if (a == "-o") {
            if (!value(output)) return false;
        } else if (a == "-d") {
            if (!value(dir)) return false;
        } else if (a == "--format") {
            std::string v;
            if (!value(v)) return false;
            if (!om1::OutputFormat::fromName(v, format)) {
                error = "--format takes one of " + om1::OutputFormat::names() + ", not '" + v + "'";
                return false;
            }
            formatGiven = true;
        } else if (a == "--jobs") {
            if (!number(1, 1024, n)) return false;
            jobs = static_cast<int>(n);
        } else if (a == "--recursive") {
            recursive = true;
        } else if (a == "--tolerance") {
            if (!number(0, 100, n)) return false;
            tolerance = static_cast<int>(n);
            toleranceGiven = true;
        } else if (a == "--min-length") {
            if (!number(0, 1000000000, n)) return false;
            minLength = static_cast<int>(n);
            minLengthGiven = true;
        } else if (a == "--max-outlines") {
            if (!number(1, 2000000000, n)) return false;
            maxOutlines = static_cast<int>(n);
        } else if (a == "--curve-tolerance") {
            if (!number(0, 1000, n)) return false;
            curveTolerance = static_cast<int>(n);
        } else if (a == "--max-pixels") {
            if (!number(9, 2000000000, n)) return false;
            maxPixels = n;
        } else if (a == "--background") {
            std::string v;
            if (!value(v)) return false;
            if (!parseColour(v, background)) {
                error = "--background takes a colour RRGGBB, not '" + v + "'";
                return false;
            }
        } else if (a == "--preset") {
            std::string v;
            if (!value(v)) return false;
            if (!om1::Presets::parse(v, preset)) {
                error = "--preset takes graphic, photo, bw, pixel or plain, not '" + v + "'";
                return false;
            }
        } else if (a == "--filter" || a == "--filter-radius" || a == "--colors" ||
                   a == "--palette" || a == "--antialias" || a == "--speckle" ||
                   a == "--max-paths" || a == "--max-colors" || a == "--threshold" ||
                   a == "--restitute" || a == "--merge" || a == "--merge-psnr" || a == "--spots") {
            std::string v;
            if (!value(v)) return false;
            om1::TraceOptions scratch;
            if (!om1::Presets::set(scratch, a.substr(2), v, error)) return false;
            stages.emplace_back(a.substr(2), v);
        } else if (a == "--transparent") {
            transparent = true;
        } else if (a == "--polygon") {
            polygon = true;
        } else if (a == "--cutout") {
            cutout = true;
        } else if (a == "--stats") {
            stats = true;
        } else if (a == "--quiet") {
            quiet = true;
        } else if (a == "--help" || a == "-h") {
            help = true;
        } else if (a == "--version") {
            version = true;
        } else if (a.size() > 1 && a[0] == '-') {
            error = "unknown option " + a;
            return false;
        } else {
            inputs.push_back(a);
        }
    }
    if (polygon) {
        if (!toleranceGiven) tolerance = 0;
        if (!minLengthGiven) minLength = 0;
    }
    if (help || version) return true;
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
