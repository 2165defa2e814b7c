// Fuzzes the whole pipeline through the C interface: a picture of up to
// 64 x 64 pixels from a palette of up to 16 colours with alpha, or decoded
// from the bytes; a preset and up to eight options set by name with values
// from every range (bounds, within, beyond, words, garbage); then every
// accessor and every writer, with the invariants checked:
// - every boundary loop is closed on the pixel grid inside the picture
//   (integer corners in [0, w] x [0, h], each side horizontal or vertical);
// - every curve has 3n + 1 finite points, its segment ends near the picture;
// - every writer's output is complete (ends as its format ends);
// - the counts agree with what the regions say.
//
// Bytes: source, width, height, preset, option count, the options (row, mode,
// value bytes), alpha mode, palette size, the palette (4 bytes a colour), one
// palette index a pixel (the pattern repeats). With source & 1 the rest is a
// picture file for the decoders.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "FuzzInput.h"
#include "decode/ImageLoader.h"
#include "om1c.h"

namespace {

[[noreturn]] void fail(const char* what, int a = 0, int b = 0) {
    std::fprintf(stderr, "invariant broken: %s (%d, %d)\n", what, a, b);
    std::abort();
}

std::string number(double v) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.17g", v);
    return buf;
}

// A value for an option of the table: its bounds, a value within, beyond it,
// a word of its kind, or garbage (never a path: palette files are not read).
std::string value(const om1_option_info& info, FuzzInput& in) {
    const std::string kind = info.kind;
    const int mode = in.byte() % 7;
    const double span = info.max - info.min;
    const double within = info.min + span * (in.byte() / 255.0);
    if (kind == "flag" || kind == "switch") {
        static const char* const words[] = {"on", "off", "true", "0", "2", "yes", "", "On"};
        return words[in.byte() % 8];
    }
    if (kind == "colour") {
        char buf[16];
        std::snprintf(buf, sizeof buf, mode == 6 ? "#%07x" : "%06x", in.u32() & 0xFFFFFFF);
        return buf;
    }
    if (kind == "choice") {
        static const char* const words[] = {"none", "quadrant", "adaptive", "median", "", "NONE"};
        return words[in.byte() % 6];
    }
    if (kind == "palette") {
        std::string s;
        const int n = in.byte() % 5;
        for (int i = 0; i < n; ++i) {
            char buf[16];
            std::snprintf(buf, sizeof buf, "#%06x,", in.u32() & 0xFFFFFF);
            s += buf;
        }
        return mode == 6 ? "#12" : s.empty() ? "#" : s;
    }
    const bool whole = kind == "int";
    switch (mode) {
        case 0:
            return number(info.min);
        case 1:
            return number(info.max);
        case 2:
            return whole ? number(std::floor(within)) : number(within);
        case 3:
            return number(info.max + (whole ? 1 : 1e-3 * span + 1));
        case 4:
            return number(info.min - 1);
        case 5:
            return in.byte() & 1 ? "auto" : "off";
        default: {
            static const char* const junk[] = {"nan", "inf", "1e999", "-0", "0x10", "", " 3", "7x"};
            return junk[in.byte() % 8];
        }
    }
}

bool endsWith(const char* data, size_t size, const char* tail) {
    const size_t n = std::strlen(tail);
    return size >= n && std::memcmp(data + size - n, tail, n) == 0;
}

void checkResult(const om1_result* r, int w, int h) {
    om1_stats st;
    if (om1_result_stats(r, &st) != OM1_OK || st.width != w || st.height != h)
        fail("stats", st.width, st.height);
    int count = 0;
    if (om1_result_region_count(r, &count) != OM1_OK || count < 1) fail("region count", count);
    int coloured = 0;
    std::vector<int32_t> xy;
    std::vector<double> curve;
    for (int i = 0; i < count; ++i) {
        om1_region g;
        if (om1_result_region(r, i, &g) != OM1_OK) fail("region", i);
        if (g.role != OM1_ROLE_FRAME) ++coloured;
        if (g.parent >= i || (i > 0 && g.parent < 0)) fail("parent order", i, g.parent);
        for (int k = 0; k < g.hole_count; ++k) {
            int hole = -1;
            if (om1_result_hole(r, i, k, &hole) != OM1_OK || hole <= i || hole >= count)
                fail("hole", i, hole);
        }
        for (int l = 0; l < g.loop_count; ++l) {
            size_t n = 0;
            if (om1_result_boundary(r, i, l, nullptr, 0, &n) != OM1_OK || n < 4)
                fail("boundary count", i, static_cast<int>(n));
            xy.assign(2 * n, 0);
            if (om1_result_boundary(r, i, l, xy.data(), n, &n) != OM1_OK) fail("boundary", i);
            for (size_t c = 0; c < n; ++c) {
                const int32_t x = xy[2 * c], y = xy[2 * c + 1];
                const size_t d = (c + 1) % n;
                if (x < 0 || x > w || y < 0 || y > h) fail("corner outside", x, y);
                if ((x != xy[2 * d]) == (y != xy[2 * d + 1])) fail("side not on the grid", x, y);
            }
            if (om1_result_curve(r, i, l, nullptr, 0, &n) != OM1_OK) fail("curve count", i);
            if (n == 0) continue;
            if (n < 4 || (n - 1) % 3 != 0) fail("curve points", i, static_cast<int>(n));
            curve.assign(2 * n, 0);
            if (om1_result_curve(r, i, l, curve.data(), n, &n) != OM1_OK) fail("curve", i);
            for (size_t c = 0; c < n; ++c) {
                const double x = curve[2 * c], y = curve[2 * c + 1];
                if (!std::isfinite(x) || !std::isfinite(y)) fail("curve not finite", i);
                if (c % 3 == 0 && (x < -2 || x > w + 2 || y < -2 || y > h + 2))
                    fail("curve end far from the picture", static_cast<int>(x), static_cast<int>(y));
            }
        }
    }
    if (coloured != st.regions) fail("regions counted", coloured, st.regions);
    static const char* const tails[] = {"</svg>\n", "}\n", "%%EOF\n", "%%EOF\n", "EOF\n", "}\n"};
    for (int f = 0; om1_format_name(f); ++f) {
        char* data = nullptr;
        size_t size = 0;
        const int code = om1_result_write(r, om1_format_name(f), &data, &size);
        if (code != OM1_OK) fail("write", f, code);
        if (!data || data[size] != '\0' || !endsWith(data, size, tails[f])) fail("output cut", f);
        om1_buffer_free(data);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    const uint8_t source = in.byte();
    int w = 1 + in.byte() % 64, h = 1 + in.byte() % 64;
    om1_options o;
    const int preset = in.byte() % 6;
    if (preset < 5) {
        if (om1_options_preset(&o, om1_preset_name(preset)) != OM1_OK) fail("preset", preset);
    } else {
        om1_options_init(&o);
    }
    int options = 0;
    while (om1_option_name(options)) ++options;
    const int given = in.byte() % 9;
    for (int i = 0; i < given; ++i) {
        om1_option_info info;
        const int row = in.byte() % options;
        if (om1_option_info_at(row, &info) != OM1_OK) fail("option info", row);
        const om1_options before = o;
        const int code = om1_options_set(&o, info.name, value(info, in).c_str());
        if (code != OM1_OK && std::memcmp(&before, &o, sizeof o) != 0) fail("refusal changed", row);
        if (code != OM1_OK && code != OM1_BAD_OPTION) fail("set", row, code);
    }
    if (om1_options_check(&o) != OM1_OK) fail("a set record out of range");
    o.max_pixels = o.max_pixels < 64 * 64 ? o.max_pixels : 64 * 64;  // keep runs short

    std::vector<uint8_t> rgba;
    if (source & 1) {
        // The rest as a picture file.
        std::vector<uint8_t> file;
        while (in.left() > 0) file.push_back(in.byte());
        FILE* f = file.empty() ? nullptr : fmemopen(file.data(), file.size(), "rb");
        if (!f) return 0;
        RasterImage img;
        std::string error;
        const bool ok = ImageLoader::loadRgbaStream(f, 64 * 64, img, error);
        std::fclose(f);
        if (!ok) return 0;
        w = img.width;
        h = img.height;
        rgba.swap(img.rgba);
    } else {
        const uint8_t alphaMode = in.byte();
        const int colours = 1 + in.byte() % 16;
        std::vector<uint8_t> palette(4 * static_cast<size_t>(colours));
        for (uint8_t& c : palette) c = in.byte();
        if (alphaMode % 2 == 0)
            for (int c = 0; c < colours; ++c) palette[4 * c + 3] = 255;  // opaque
        std::vector<uint8_t> pattern;
        while (in.left() > 0 && pattern.size() < static_cast<size_t>(w) * h)
            pattern.push_back(in.byte());
        if (pattern.empty()) pattern.push_back(0);
        rgba.resize(4 * static_cast<size_t>(w) * h);
        for (size_t i = 0; i < static_cast<size_t>(w) * h; ++i)
            std::memcpy(&rgba[4 * i], &palette[4 * (pattern[i % pattern.size()] % colours)], 4);
    }
    om1_result* r = nullptr;
    const int code = om1_trace_rgba(rgba.data(), w, h, 4 * w, &o, &r);
    if (code == OM1_OK) {
        if (!r) fail("no result");
        checkResult(r, w, h);
    } else if (r) {
        fail("a result with an error", code);
    } else if (code == OM1_INTERNAL_ERROR || code == OM1_NULL_ARGUMENT || code == OM1_BAD_OPTION) {
        fail("unexpected code", code);
    }
    om1_result_free(r);
    return 0;
}
