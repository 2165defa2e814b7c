#include "tools/CommandLine.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>

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
    size_t slash = path.find_last_of('/');
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    size_t dot = name.find_last_of('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

}  // namespace

std::string CommandLine::usage() {
    return "usage: om1trace INPUT... [-o OUTPUT | -d DIR] [options]\n"
           "Traces PNG, JPEG, BMP or GIF pictures into vector outlines (.svg, or .json by "
           "extension).\n"
           "  -o OUTPUT               output file (one input only)\n"
           "  -d DIR                  write NAME.svg for every input into DIR\n"
           "  --tolerance PERCENT     colour tolerance, 0..100 (default 10)\n"
           "  --min-length STEPS      drop outlines shorter than this (default 4)\n"
           "  --max-outlines N        outline limit of one trace (default 1000000)\n"
           "  --curve-tolerance PX    straight-line tolerance in pixels (default 1)\n"
           "  --max-pixels N          refuse larger pictures (default 100000000)\n"
           "  --background RRGGBB     colour under transparent pixels (default ffffff)\n"
           "  --transparent           leave out regions that were fully transparent\n"
           "  --stats                 print counts and times per input\n"
           "  --quiet                 print nothing but errors\n"
           "  --help, --version\n"
           "Exit codes: 0 done, 1 no outlines, 2 outline limit exceeded, 64 bad usage,\n"
           "65 unreadable or unsupported input, 74 output cannot be written (a batch\n"
           "exits with the largest code of its inputs).\n";
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
        } else if (a == "--tolerance") {
            if (!number(0, 100, n)) return false;
            tolerance = static_cast<int>(n);
        } else if (a == "--min-length") {
            if (!number(0, 1000000000, n)) return false;
            minLength = static_cast<int>(n);
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
        } else if (a == "--transparent") {
            transparent = true;
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
    if (help || version) return true;
    if (inputs.empty()) {
        error = "no input file";
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
    std::string name = baseName(input) + ".svg";
    if (!dir.empty()) return dir + "/" + name;
    size_t slash = input.find_last_of('/');
    return slash == std::string::npos ? name : input.substr(0, slash + 1) + name;
}
