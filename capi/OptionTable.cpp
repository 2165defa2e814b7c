#include "capi/OptionTable.h"

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace om1c {

namespace {

using K = OptionTable::Kind;

const OptionTable::Row kRows[] = {
    {"tolerance", K::Int, offsetof(om1_options, tolerance), 0, 100},
    {"min_length", K::Int, offsetof(om1_options, min_length), 0, 1000000000},
    {"max_outlines", K::Int, offsetof(om1_options, max_outlines), 1, 2000000000},
    {"curve_tolerance", K::Int, offsetof(om1_options, curve_tolerance), 0, 1000},
    {"polygon", K::Bool, offsetof(om1_options, polygon), 0, 1},
    {"cutout", K::Bool, offsetof(om1_options, cutout), 0, 1},
    {"max_curve_error", K::Double, offsetof(om1_options, max_curve_error), 0, 1e9},
    {"max_pixels", K::LongLong, offsetof(om1_options, max_pixels), 9, 2000000000},
    {"background", K::Colour, offsetof(om1_options, background), 0, 0xFFFFFF},
    {"transparent", K::Bool, offsetof(om1_options, transparent), 0, 1},
};
const int kRowCount = static_cast<int>(sizeof(kRows) / sizeof(kRows[0]));

const char* const kPresets[] = {"default", "polygon", "cutout"};
const int kPresetCount = static_cast<int>(sizeof(kPresets) / sizeof(kPresets[0]));

double read(const om1_options& o, const OptionTable::Row& r) {
    const char* p = reinterpret_cast<const char*>(&o) + r.offset;
    switch (r.kind) {
        case K::Double: {
            double v;
            std::memcpy(&v, p, sizeof v);
            return v;
        }
        case K::LongLong: {
            long long v;
            std::memcpy(&v, p, sizeof v);
            return static_cast<double>(v);
        }
        default: {
            int v;
            std::memcpy(&v, p, sizeof v);
            return v;
        }
    }
}

void write(om1_options& o, const OptionTable::Row& r, double v) {
    char* p = reinterpret_cast<char*>(&o) + r.offset;
    switch (r.kind) {
        case K::Double:
            std::memcpy(p, &v, sizeof v);
            break;
        case K::LongLong: {
            long long n = static_cast<long long>(v);
            std::memcpy(p, &n, sizeof n);
            break;
        }
        default: {
            int n = static_cast<int>(v);
            std::memcpy(p, &n, sizeof n);
            break;
        }
    }
}

bool parseNumber(const char* s, bool whole, double& out) {
    if (!*s) return false;
    char* end = nullptr;
    errno = 0;
    if (whole) {
        long long v = std::strtoll(s, &end, 10);
        if (errno || *end) return false;
        out = static_cast<double>(v);
    } else {
        double v = std::strtod(s, &end);
        if (errno || *end || !std::isfinite(v)) return false;
        out = v;
    }
    return true;
}

}  // namespace

void OptionTable::defaults(om1_options& o) {
    std::memset(&o, 0, sizeof o);
    o.tolerance = 10;
    o.min_length = 4;
    o.max_outlines = 1000000;
    o.curve_tolerance = 1;
    o.polygon = 0;
    o.cutout = 0;
    o.max_curve_error = 0.05;
    o.max_pixels = 100000000;
    o.background = 0xFFFFFF;
    o.transparent = 0;
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
    double v = 0;
    switch (r.kind) {
        case Kind::Bool:
            if (!std::strcmp(text, "true") || !std::strcmp(text, "1"))
                v = 1;
            else if (!std::strcmp(text, "false") || !std::strcmp(text, "0"))
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
        const double v = read(o, r);
        if (!(v >= r.min && v <= r.max)) return OM1_BAD_OPTION;
    }
    return OM1_OK;
}

int OptionTable::preset(om1_options& o, const char* name) {
    int index = -1;
    for (int i = 0; i < kPresetCount; ++i)
        if (std::strcmp(kPresets[i], name) == 0) index = i;
    if (index < 0) return OM1_UNKNOWN_OPTION;
    defaults(o);
    if (std::strcmp(name, "polygon") == 0) {
        o.polygon = 1;
        o.tolerance = 0;
        o.min_length = 0;
    } else if (std::strcmp(name, "cutout") == 0) {
        o.cutout = 1;
    }
    return OM1_OK;
}

const char* OptionTable::presetName(int index) {
    return index >= 0 && index < kPresetCount ? kPresets[index] : nullptr;
}

}  // namespace om1c
