#include "frontends/c/OptionTable.h"

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

namespace om1c {

namespace {

using K = OptionTable::Kind;

#define OM1C_ROW(field, kind, lo, hi, key) \
    { #field, kind, offsetof(om1_options, field), lo, hi, key }

const OptionTable::Row kRows[] = {
    OM1C_ROW(tolerance, K::Int, 0, 100, nullptr),
    OM1C_ROW(min_length, K::Int, 0, 1000000000, nullptr),
    OM1C_ROW(max_outlines, K::Int, 1, 2000000000, nullptr),
    OM1C_ROW(curve_tolerance, K::Int, 0, 1000, nullptr),
    OM1C_ROW(polygon, K::Bool, 0, 1, nullptr),
    OM1C_ROW(cutout, K::Bool, 0, 1, nullptr),
    OM1C_ROW(max_curve_error, K::Double, 0, 1e9, nullptr),
    OM1C_ROW(max_pixels, K::LongLong, 9, 2000000000, nullptr),
    OM1C_ROW(background, K::Colour, 0, 0xFFFFFF, nullptr),
    OM1C_ROW(transparent, K::Bool, 0, 1, nullptr),
    OM1C_ROW(fixed_seeds, K::Bool, 0, 1, nullptr),
    OM1C_ROW(threshold, K::Int, -1, om1::TraceOptions::kAutoThreshold, nullptr),
    OM1C_ROW(filter, K::Filter, 0, 2, "filter"),
    OM1C_ROW(filter_radius, K::Int, 0, 0, "filter-radius"),
    OM1C_ROW(filter_tolerance, K::Int, 0, 255, nullptr),
    OM1C_ROW(colors, K::Int, 0, 0, "colors"),
    OM1C_ROW(antialias, K::Bool, 0, 1, nullptr),
    OM1C_ROW(antialias_radius, K::Int, 1, 64, nullptr),
    OM1C_ROW(antialias_tolerance, K::Int, 0, 765, nullptr),
    OM1C_ROW(speckle, K::Int, 0, 0, "speckle"),
    OM1C_ROW(speckle_share, K::Double, 0, 1, nullptr),
    OM1C_ROW(restitute, K::Bool, 0, 1, nullptr),
    OM1C_ROW(merge, K::Double, 0, 1e6, nullptr),
    OM1C_ROW(merge_psnr, K::Double, 0, 100, nullptr),
    OM1C_ROW(merge_means, K::Bool, 0, 1, nullptr),
    OM1C_ROW(spots, K::Int, 0, 0, "spots"),
    OM1C_ROW(max_paths, K::Int, 0, 0, "max-paths"),
    // Set as a list of colours; checked as palette_count and the entries.
    {"palette", K::Palette, offsetof(om1_options, palette_count), 0, 256, "palette"},
    OM1C_ROW(max_colors, K::Int, 0, 0, "max-colors"),
};
const int kRowCount = static_cast<int>(sizeof(kRows) / sizeof(kRows[0]));

const om1::Presets::Preset kPresets[] = {om1::Presets::Graphic, om1::Presets::Photo,
                                         om1::Presets::Bw, om1::Presets::Pixel,
                                         om1::Presets::Plain};
const int kPresetCount = static_cast<int>(sizeof(kPresets) / sizeof(kPresets[0]));

const char* const kFilters[] = {"none", "quadrant", "adaptive"};

double read(const om1_options& o, const OptionTable::Row& r) {
    const char* p = reinterpret_cast<const char*>(&o) + r.offset;
    if (r.kind == K::Double) {
        double v;
        std::memcpy(&v, p, sizeof v);
        return v;
    }
    if (r.kind == K::LongLong) {
        long long v;
        std::memcpy(&v, p, sizeof v);
        return static_cast<double>(v);
    }
    int v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

void write(om1_options& o, const OptionTable::Row& r, double v) {
    char* p = reinterpret_cast<char*>(&o) + r.offset;
    if (r.kind == K::Double) {
        std::memcpy(p, &v, sizeof v);
    } else if (r.kind == K::LongLong) {
        const long long n = static_cast<long long>(v);
        std::memcpy(p, &n, sizeof n);
    } else {
        const int n = static_cast<int>(v);
        std::memcpy(p, &n, sizeof n);
    }
}

bool parseNumber(const char* s, bool whole, double& out) {
    if (!*s) return false;
    char* end = nullptr;
    errno = 0;
    if (whole) {
        const long long v = std::strtoll(s, &end, 10);
        if (errno || *end) return false;
        out = static_cast<double>(v);
    } else {
        const double v = std::strtod(s, &end);
        if (errno || *end || !std::isfinite(v)) return false;
        out = v;
    }
    return true;
}

// A stage value as the text om1::Presets::set takes.
std::string stageText(const om1_options& o, const OptionTable::Row& r) {
    const double v = read(o, r);
    if (r.kind == K::Filter) return v >= 0 && v <= 2 ? kFilters[static_cast<int>(v)] : "?";
    return std::to_string(static_cast<long long>(v));
}

bool paletteValid(const om1_options& o) {
    if (o.palette_count < 0 || o.palette_count > 256) return false;
    for (int i = 0; i < o.palette_count; ++i)
        if (o.palette[i] > 0xFFFFFFu) return false;
    return true;
}

}  // namespace

om1::TraceOptions OptionTable::toTrace(const om1_options& o) {
    om1::TraceOptions t;
    t.tolerancePercent = o.tolerance;
    t.minOutlineLen = o.min_length;
    t.maxOutlines = o.max_outlines;
    t.curveTolerance = o.curve_tolerance;
    t.seed = o.fixed_seeds ? om1::TraceOptions::Seed::Fixed : om1::TraceOptions::Seed::UniformRing;
    // Plain (the one preset with fixed seeds) traces with the library's
    // tracer; the others label exact regions at tolerance 0.
    t.exactRegions = !o.fixed_seeds;
    t.treeCurves = false;  // the output layer fits its own
    t.threshold = o.threshold;
    t.filter = static_cast<om1::TraceOptions::Filter>(o.filter);
    t.filterRadius = o.filter_radius;
    t.filterTolerance = o.filter_tolerance;
    t.colors = o.colors;
    t.antialias = o.antialias != 0;
    t.antialiasRadius = o.antialias_radius;
    t.antialiasTolerance = o.antialias_tolerance;
    t.speckle = o.speckle;
    t.speckleShare = o.speckle_share;
    t.restitute = o.restitute != 0;
    t.merge = o.merge;
    t.mergePsnr = o.merge_psnr;
    t.mergeMeans = o.merge_means != 0;
    t.spots = o.spots;
    t.maxPaths = o.max_paths;
    t.maxColors = o.max_colors;
    t.paletteCount = o.palette_count;
    for (int i = 0; i < o.palette_count && i < 256; ++i)
        t.palette[i] =
            RGBQUAD{static_cast<BYTE>(o.palette[i]), static_cast<BYTE>(o.palette[i] >> 8),
                    static_cast<BYTE>(o.palette[i] >> 16), 0};
    return t;
}

void OptionTable::fromTrace(const om1::TraceOptions& t, om1_options& o) {
    o.tolerance = t.tolerancePercent;
    o.min_length = t.minOutlineLen;
    o.max_outlines = t.maxOutlines;
    o.curve_tolerance = t.curveTolerance;
    o.fixed_seeds = t.seed == om1::TraceOptions::Seed::Fixed;
    o.threshold = t.threshold;
    o.filter = static_cast<int>(t.filter);
    o.filter_radius = t.filterRadius;
    o.filter_tolerance = t.filterTolerance;
    o.colors = t.colors;
    o.antialias = t.antialias;
    o.antialias_radius = t.antialiasRadius;
    o.antialias_tolerance = t.antialiasTolerance;
    o.speckle = t.speckle;
    o.speckle_share = t.speckleShare;
    o.restitute = t.restitute;
    o.merge = t.merge;
    o.merge_psnr = t.mergePsnr;
    o.merge_means = t.mergeMeans;
    o.spots = t.spots;
    o.max_paths = t.maxPaths;
    o.max_colors = t.maxColors;
    o.palette_count = t.paletteCount;
    for (int i = 0; i < 256; ++i)
        o.palette[i] = i < t.paletteCount
                           ? (static_cast<uint32_t>(t.palette[i].rgbRed) << 16) |
                                 (static_cast<uint32_t>(t.palette[i].rgbGreen) << 8) |
                                 t.palette[i].rgbBlue
                           : 0;
}

void OptionTable::defaults(om1_options& o) {
    std::memset(&o, 0, sizeof o);
    o.polygon = 0;
    o.cutout = 0;
    o.max_curve_error = 0.05;
    o.max_pixels = 100000000;
    o.background = 0xFFFFFF;
    o.transparent = 0;
    fromTrace(om1::Presets::options(om1::Presets::kDefault), o);
    o.polygon = om1::Presets::polygonOutput(om1::Presets::kDefault);
}

const OptionTable::Row* OptionTable::row(int index) {
    return index >= 0 && index < kRowCount ? &kRows[index] : nullptr;
}

const OptionTable::Row* OptionTable::find(const char* name) {
    for (const Row& r : kRows)
        if (std::strcmp(r.name, name) == 0) return &r;
    return nullptr;
}

int OptionTable::set(om1_options& o, const Row& r, const char* text) {
    if (r.stageKey) {
        om1::TraceOptions t = toTrace(o);
        std::string error;
        if (!om1::Presets::set(t, r.stageKey, text, error)) return OM1_BAD_OPTION;
        fromTrace(t, o);
        return OM1_OK;
    }
    if (r.kind == Kind::Int && std::strcmp(r.name, "threshold") == 0 &&
        std::strcmp(text, "auto") == 0)
        text = "256";
    double v = 0;
    switch (r.kind) {
        case Kind::Bool:
            if (!std::strcmp(text, "true") || !std::strcmp(text, "1") || !std::strcmp(text, "on"))
                v = 1;
            else if (!std::strcmp(text, "false") || !std::strcmp(text, "0") ||
                     !std::strcmp(text, "off"))
                v = 0;
            else
                return OM1_BAD_OPTION;
            break;
        case Kind::Colour: {
            const char* s = text[0] == '#' ? text + 1 : text;
            if (std::strlen(s) != 6 || std::strspn(s, "0123456789abcdefABCDEF") != 6)
                return OM1_BAD_OPTION;
            v = static_cast<double>(std::strtol(s, nullptr, 16));
            break;
        }
        case Kind::Double:
            if (!parseNumber(text, false, v)) return OM1_BAD_OPTION;
            break;
        default:
            if (!parseNumber(text, true, v)) return OM1_BAD_OPTION;
            break;
    }
    if (!(v >= r.min && v <= r.max)) return OM1_BAD_OPTION;
    write(o, r, v);
    return OM1_OK;
}

int OptionTable::check(const om1_options& o) {
    for (const Row& r : kRows) {
        if (r.kind == Kind::Palette) {
            if (!paletteValid(o)) return OM1_BAD_OPTION;
        } else if (r.stageKey) {
            om1::TraceOptions scratch;
            std::string error;
            if (!om1::Presets::set(scratch, r.stageKey, stageText(o, r), error))
                return OM1_BAD_OPTION;
        } else {
            const double v = read(o, r);
            if (!(v >= r.min && v <= r.max)) return OM1_BAD_OPTION;
        }
    }
    return OM1_OK;
}

int OptionTable::preset(om1_options& o, const char* name) {
    om1::Presets::Preset p;
    if (!om1::Presets::parse(name, p)) return OM1_UNKNOWN_OPTION;
    defaults(o);
    fromTrace(om1::Presets::options(p), o);
    o.polygon = om1::Presets::polygonOutput(p);
    return OM1_OK;
}

const char* OptionTable::presetName(int index) {
    return index >= 0 && index < kPresetCount ? om1::Presets::name(kPresets[index]) : nullptr;
}

}  // namespace om1c
