#include "prepare/Presets.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace om1 {

namespace {

bool number(const std::string& s, long long lo, long long hi, long long& out) {
    if (s.empty()) return false;
    char* end = nullptr;
    errno = 0;
    const long long v = strtoll(s.c_str(), &end, 10);
    if (errno || *end || v < lo || v > hi) return false;
    out = v;
    return true;
}

bool colour(std::string s, RGBQUAD& q) {
    if (!s.empty() && s[0] == '#') s = s.substr(1);
    if (s.size() != 6) return false;
    for (char c : s)
        if (!isxdigit(static_cast<unsigned char>(c))) return false;
    const unsigned long v = strtoul(s.c_str(), nullptr, 16);
    q = RGBQUAD{static_cast<BYTE>(v), static_cast<BYTE>(v >> 8), static_cast<BYTE>(v >> 16), 0};
    return true;
}

}  // namespace

bool Presets::parse(const std::string& n, Preset& out) {
    static const Preset all[] = {Plain, Graphic, Photo, Bw, Pixel};
    for (Preset p : all)
        if (n == name(p)) {
            out = p;
            return true;
        }
    return false;
}

const char* Presets::name(Preset p) {
    switch (p) {
        case Plain:
            return "plain";
        case Graphic:
            return "graphic";
        case Photo:
            return "photo";
        case Bw:
            return "bw";
        case Pixel:
            return "pixel";
    }
    return "plain";
}

TraceOptions Presets::options(Preset p) {
    TraceOptions o;
    switch (p) {
        case Plain:
            o.seed = TraceOptions::Seed::Fixed;
            break;
        case Graphic:
            // 16 colours, then neighbouring regions merged by what their
            // union costs: gradient bands and noise go, small dark details
            // (pupils, outlines) stay. On the anti-aliased art of the corpus
            // this keeps fewer paths than a speckle area of 1/2000 of the
            // picture, at a better render-back PSNR on large pictures.
            o.colors = 16;
            o.antialias = true;
            o.antialiasRadius = 3;
            // Only single pixels and pairs go by area: the merging takes
            // the rest by colour, which keeps thin lines the area would cut.
            o.speckle = 2;
            o.merge = 20;
            o.tolerancePercent = 0;
            break;
        case Photo:
            // 16 colours, small speckles, then regions merged while the
            // picture painted in region means stays at 30 dB from the input
            // (cheap unions below 0.3 always): smooth skies and wood become
            // a few regions, detailed pictures keep theirs.
            o.colors = 16;
            o.antialias = true;
            o.speckle = 6;
            o.merge = 0.3;
            o.mergePsnr = 30;
            o.tolerancePercent = 0;
            break;
        case Bw:
            o.threshold = TraceOptions::kAutoThreshold;
            o.speckle = 8;
            o.tolerancePercent = 0;
            break;
        case Pixel:
            o.tolerancePercent = 0;
            o.minOutlineLen = 0;
            o.maxColors = 128;
            break;
    }
    return o;
}

bool Presets::polygonOutput(Preset p) {
    return p == Pixel;
}

void Presets::exactColours(TraceOptions& o) {
    o.tolerancePercent = 0;
    o.threshold = -1;
    o.filter = TraceOptions::Filter::None;
    o.colors = 0;
    o.paletteCount = 0;
    o.antialias = false;
    o.speckle = 0;
    o.speckleShare = 0;
    o.restitute = false;
    o.merge = 0;
    o.mergePsnr = 0;
    o.spots = 0;
    o.maxPaths = 0;
}

bool Presets::parsePalette(const std::string& text, TraceOptions& o, std::string& error) {
    std::string s = text;
    for (char& c : s)
        if (c == ',' || c == ';') c = ' ';
    std::istringstream in(s);
    std::string item;
    int count = 0;
    while (in >> item) {
        if (count == 256) {
            error = "palette has more than 256 colours";
            return false;
        }
        if (!colour(item, o.palette[count])) {
            error = "palette entry '" + item + "' is not a colour #rrggbb";
            return false;
        }
        ++count;
    }
    if (count == 0) {
        error = "palette has no colours";
        return false;
    }
    o.paletteCount = count;
    return true;
}

bool Presets::set(TraceOptions& o, const std::string& key, const std::string& value,
                  std::string& error) {
    long long n = 0;
    auto range = [&](long long lo, long long hi) {
        if (number(value, lo, hi, n)) return true;
        error = "--" + key + " takes a whole number from " + std::to_string(lo) + " to " +
                std::to_string(hi) + ", not '" + value + "'";
        return false;
    };
    if (key == "filter") {
        if (value == "none")
            o.filter = TraceOptions::Filter::None;
        else if (value == "quadrant")
            o.filter = TraceOptions::Filter::Quadrant;
        else if (value == "adaptive")
            o.filter = TraceOptions::Filter::Adaptive;
        else {
            error = "--filter takes none, quadrant or adaptive, not '" + value + "'";
            return false;
        }
        return true;
    }
    if (key == "restitute") {
        if (value != "on" && value != "off") {
            error = "--restitute takes on or off, not '" + value + "'";
            return false;
        }
        o.restitute = value == "on";
        return true;
    }
    if (key == "antialias") {
        if (value != "on" && value != "off") {
            error = "--antialias takes on or off, not '" + value + "'";
            return false;
        }
        o.antialias = value == "on";
        return true;
    }
    if (key == "palette") {
        std::string text = value;
        if (value.empty() || value[0] != '#') {
            std::ifstream f(value);
            if (!f) {
                error = "--palette: cannot read '" + value + "' (give a file or #rrggbb,...)";
                return false;
            }
            std::stringstream all;
            all << f.rdbuf();
            text = all.str();
        }
        if (!parsePalette(text, o, error)) {
            error = "--palette: " + error;
            return false;
        }
        o.mergeMeans = false;
        return true;
    }
    if (key == "colors") {
        if (!range(0, 256)) return false;
        if (n == 1) {
            error = "--colors takes 0 (off) or 2 to 256, not '1'";
            return false;
        }
        o.colors = static_cast<int>(n);
        o.mergeMeans = false;
        return true;
    }
    if (key == "filter-radius") {
        if (!range(1, 8)) return false;
        o.filterRadius = static_cast<int>(n);
        return true;
    }
    if (key == "speckle") {
        if (!range(0, 100000000)) return false;
        o.speckle = static_cast<int>(n);
        o.speckleShare = 0;
        return true;
    }
    // A decimal number in [lo, hi] (no NaN, nothing after it).
    auto decimal = [&](double lo, double hi, const char* shown, double& out) {
        char* end = nullptr;
        errno = 0;
        const double v = strtod(value.c_str(), &end);
        if (value.empty() || errno || *end || !(v >= lo && v <= hi)) {
            error = "--" + key + " takes a number from " + shown + ", not '" + value + "'";
            return false;
        }
        out = v;
        return true;
    };
    if (key == "merge") return decimal(0, 1e6, "0 to 1000000", o.merge);
    if (key == "merge-psnr") return decimal(0, 100, "0 to 100", o.mergePsnr);
    if (key == "max-paths") {
        if (!range(0, 2000000000)) return false;
        o.maxPaths = static_cast<int>(n);
        return true;
    }
    if (key == "max-colors") {
        if (!range(0, 16777216)) return false;
        o.maxColors = static_cast<int>(n);
        return true;
    }
    if (key == "spots") {
        if (!range(0, 100000000)) return false;
        o.spots = static_cast<int>(n);
        return true;
    }
    if (key == "threshold") {
        if (value == "auto") {
            o.threshold = TraceOptions::kAutoThreshold;
            return true;
        }
        if (!range(0, 255)) return false;
        o.threshold = static_cast<int>(n);
        return true;
    }
    error = "unknown option --" + key;
    return false;
}

}  // namespace om1
