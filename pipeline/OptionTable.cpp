#include "pipeline/OptionTable.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "pipeline/OptionsRecord.h"
#include "prepare/Presets.h"

namespace om1 {

namespace {

using K = OptionTable::Kind;

#define OM1_ROW(field, kind, lo, hi, choices, value, help, lowestOn, words) \
    { #field, kind, offsetof(om1_options, field), lo, hi, choices, value, help, lowestOn, words }

// The order is the order of application (see the header).
const OptionTable::Row kRows[] = {
    OM1_ROW(polygon, K::Flag, 0, 1, nullptr, nullptr,
            "exact pixel-edge polygons, no curves, in the picture's exact colours (every colour "
            "stage off, tolerance and min length 0, unless given): lossless on hard-edged pictures",
            0, nullptr),
    OM1_ROW(cutout, K::Flag, 0, 1, nullptr, nullptr,
            "every region once as its own area, no stacking; neighbours share their "
            "boundaries exactly",
            0, nullptr),
    OM1_ROW(tolerance, K::Int, 0, 100, nullptr, "PERCENT", "colour tolerance of the tracer", 0,
            nullptr),
    OM1_ROW(min_length, K::Int, 0, 1000000000, nullptr, "STEPS",
            "drop outlines of fewer chain steps", 0, nullptr),
    OM1_ROW(max_outlines, K::Int, 1, 2000000000, nullptr, "N",
            "outline limit of one trace (more: exit 2)", 0, nullptr),
    OM1_ROW(curve_tolerance, K::Int, 0, 1000, nullptr, "PX",
            "straight-line tolerance of the curve fit in pixels", 0, nullptr),
    OM1_ROW(max_curve_error, K::Double, 0, 1e9, nullptr, "AREA",
            "keep a fitted curve only within this many square pixels per boundary step of "
            "the exact boundary",
            0, nullptr),
    OM1_ROW(max_pixels, K::LongLong, 9, 2000000000, nullptr, "N", "refuse larger pictures", 0,
            nullptr),
    OM1_ROW(background, K::Colour, -1, 0xFFFFFF, nullptr, "RRGGBB|none",
            "composite transparent pixels over this colour and trace the picture as opaque; "
            "none: trace transparency (fully transparent pixels stay empty, partial alpha "
            "becomes the shapes' opacity: SVG fill-opacity, PDF /ca, JSON alpha, GeoJSON "
            "opacity); EPS and DXF have no opacity and flatten onto this colour (white for "
            "none)",
            0, "none=-1"),
    OM1_ROW(transparent, K::Flag, 0, 1, nullptr, nullptr,
            "trace transparency even with a background colour (which then only flattens EPS "
            "and DXF)",
            0, nullptr),
    OM1_ROW(fixed_seeds, K::Flag, 0, 1, nullptr, nullptr,
            "seed the tracer at the entry points' nine fixed positions", 0, nullptr),
    OM1_ROW(threshold, K::Int, -1, 256, nullptr, "L|auto",
            "black below luminance L (0..255), else white; auto: the level that best splits "
            "the picture in two; off",
            0, "auto=256,off=-1"),
    OM1_ROW(filter, K::Choice, 0, 2, "none|quadrant|adaptive", "none|quadrant|adaptive",
            "edge-preserving pre-filter", 0, nullptr),
    OM1_ROW(filter_radius, K::Int, 1, 8, nullptr, "K", "filter quadrant side K + 1", 0, nullptr),
    OM1_ROW(filter_tolerance, K::Int, 0, 255, nullptr, "T",
            "per-channel run tolerance of the adaptive filter", 0, nullptr),
    OM1_ROW(colors, K::Int, 0, 256, nullptr, "N", "quantise to N colours (0 off)", 2, nullptr),
    OM1_ROW(palette, K::Palette, 0, 256, nullptr, "FILE|#rrggbb,...",
            "snap every pixel to the nearest given colour", 0, nullptr),
    OM1_ROW(
        antialias, K::Switch, 0, 1, nullptr, "on|off",
        "absorb thin bands of in-between colours; make anti-aliased thin lines on one colour whole",
        0, nullptr),
    OM1_ROW(antialias_radius, K::Int, 1, 64, nullptr, "PX",
            "how far a band pixel looks for flat regions", 0, nullptr),
    OM1_ROW(antialias_tolerance, K::Int, 0, 765, nullptr, "D",
            "largest distance of a band pixel from the line between two colours", 0, nullptr),
    OM1_ROW(speckle, K::Int, 0, 100000000, nullptr, "PX",
            "regions below PX pixels join their surroundings (replaces the preset's share)", 0,
            nullptr),
    OM1_ROW(speckle_share, K::Double, 0, 1, nullptr, "SHARE",
            "the speckle area is at least this share of the picture's area", 0, nullptr),
    OM1_ROW(restitute, K::Switch, 0, 1, nullptr, "on|off",
            "regions take the mean colour of the pixels they cover", 0, nullptr),
    OM1_ROW(merge, K::Double, 0, 1e6, nullptr, "C",
            "merge neighbouring regions, cheapest first, while a union adds at most C x 128 x "
            "the picture's side to the squared colour error",
            0, nullptr),
    OM1_ROW(merge_psnr, K::Double, 0, 100, nullptr, "DB",
            "... and further while the regions' means stay DB (PSNR) from the input", 0, nullptr),
    OM1_ROW(merge_drop, K::Double, 0, 100, nullptr, "DB",
            "the unions below C stop once the regions' means have lost DB (PSNR) against the "
            "input (0: no bound)",
            0, nullptr),
    OM1_ROW(merge_means, K::Switch, 0, 1, nullptr, "on|off",
            "merged regions take their mean colour (off: the colour of their larger part)", 0,
            nullptr),
    OM1_ROW(spots, K::Int, 0, 100000000, nullptr, "PX",
            "trace twice: spots of at most PX pixels absorbed, regions repainted", 0, nullptr),
    OM1_ROW(max_paths, K::Int, 0, 2000000000, nullptr, "N",
            "raise the speckle area until at most N paths", 0, nullptr),
    OM1_ROW(max_colors, K::Int, 0, 16777216, nullptr, "N",
            "refuse pictures of more colours after the colour stages (0 no limit; exit 3)", 0,
            nullptr),
    OM1_ROW(alpha_levels, K::Int, 0, 64, nullptr, "N",
            "pictures with transparency: steps of partial opacity kept when the colours are "
            "reduced (0: every pixel opaque or empty by whether it is at least half covered)",
            0, nullptr),
    OM1_ROW(exact_regions, K::Switch, 0, 1, nullptr, "on|off",
            "at tolerance 0, take the regions from one labelling of the prepared picture (time "
            "proportional to its pixels) instead of the library's tracer",
            0, nullptr),
    OM1_ROW(
        threads, K::Int, 0, 1024, nullptr, "N",
        "threads for one picture's curve fits and a large picture's stages (0: one per core; the "
        "result is the same for any number)",
        0, nullptr),
};
const int kRowCount = static_cast<int>(sizeof(kRows) / sizeof(kRows[0]));

struct PresetRow {
    Presets::Preset preset;
    const char* help;
};
const PresetRow kPresets[] = {
    {Presets::Graphic, "flat colours with smooth edges: logos, icons, clip art (the default)"},
    {Presets::Photo, "natural pictures"},
    {Presets::Bw, "black and white by a luminance threshold"},
    {Presets::Pixel, "hard-edged pixel art: exact colours, exact polygons"},
    {Presets::Plain, "no stages, the library's entry points as they are"},
};
const int kPresetCount = static_cast<int>(sizeof(kPresets) / sizeof(kPresets[0]));

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

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

std::string number(double v) {
    if (v == std::floor(v) && std::fabs(v) < 1e15) return std::to_string(static_cast<long long>(v));
    std::ostringstream s;
    s << v;
    return s.str();
}

bool parseNumber(const std::string& s, bool whole, double& out) {
    if (s.empty() || std::isspace(static_cast<unsigned char>(s[0]))) return false;
    char* end = nullptr;
    errno = 0;
    if (whole) {
        const long long v = std::strtoll(s.c_str(), &end, 10);
        if (errno || *end) return false;
        out = static_cast<double>(v);
    } else {
        const double v = std::strtod(s.c_str(), &end);
        if (errno || *end || !std::isfinite(v)) return false;
        out = v;
    }
    return true;
}

bool parseColour(std::string s, uint32_t& out) {
    if (!s.empty() && s[0] == '#') s = s.substr(1);
    if (s.size() != 6) return false;
    for (char c : s)
        if (!std::isxdigit(static_cast<unsigned char>(c))) return false;
    out = static_cast<uint32_t>(std::strtoul(s.c_str(), nullptr, 16));
    return true;
}

// A palette list (commas, semicolons, spaces or new lines between the colours).
bool parsePalette(const std::string& text, om1_options& o, std::string& error) {
    std::string s = text;
    for (char& c : s)
        if (c == ',' || c == ';') c = ' ';
    std::istringstream in(s);
    std::string item;
    uint32_t entries[256];
    int count = 0;
    while (in >> item) {
        if (count == 256) {
            error = "more than 256 colours";
            return false;
        }
        if (!parseColour(item, entries[count])) {
            error = "entry '" + item + "' is not a colour #rrggbb";
            return false;
        }
        ++count;
    }
    if (count == 0) {
        error = "no colours";
        return false;
    }
    o.palette_count = count;
    std::memset(o.palette, 0, sizeof o.palette);
    std::memcpy(o.palette, entries, sizeof(uint32_t) * static_cast<size_t>(count));
    return true;
}

bool parseBool(const std::string& t, double& v) {
    const std::string s = lower(t);
    if (s == "on" || s == "true" || s == "yes" || s == "1") {
        v = 1;
        return true;
    }
    if (s == "off" || s == "false" || s == "no" || s == "0") {
        v = 0;
        return true;
    }
    return false;
}

bool inRange(const OptionTable::Row& r, double v) {
    if (!(v >= r.min && v <= r.max)) return false;
    return r.lowestOn <= 0 || v == 0 || v >= r.lowestOn;
}

// The number a word stands for ("auto" for threshold), if any.
bool word(const OptionTable::Row& r, const std::string& text, double& v) {
    if (!r.words) return false;
    std::istringstream in(r.words);
    std::string pair;
    while (std::getline(in, pair, ',')) {
        const size_t eq = pair.find('=');
        if (pair.substr(0, eq) == text) {
            v = std::strtod(pair.c_str() + eq + 1, nullptr);
            return true;
        }
    }
    return false;
}

// Edit distance, for the nearest option name.
size_t distance(const std::string& a, const std::string& b) {
    std::vector<size_t> prev(b.size() + 1), cur(b.size() + 1);
    for (size_t j = 0; j <= b.size(); ++j) prev[j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        cur[0] = i;
        for (size_t j = 1; j <= b.size(); ++j)
            cur[j] = std::min({prev[j] + 1, cur[j - 1] + 1, prev[j - 1] + (a[i - 1] != b[j - 1])});
        std::swap(prev, cur);
    }
    return prev[b.size()];
}

std::string underscores(std::string s) {
    for (char& c : s)
        if (c == '-') c = '_';
    return s;
}

std::string dashes(std::string s) {
    for (char& c : s)
        if (c == '_') c = '-';
    return s;
}

}  // namespace

const OptionTable::Row* OptionTable::row(int index) {
    return index >= 0 && index < kRowCount ? &kRows[index] : nullptr;
}

int OptionTable::rowCount() {
    return kRowCount;
}

const OptionTable::Row* OptionTable::find(const std::string& name) {
    const std::string n = underscores(name);
    for (const Row& r : kRows)
        if (n == r.name) return &r;
    return nullptr;
}

std::string OptionTable::nearest(const std::string& name, const std::vector<std::string>& others) {
    const std::string n = underscores(lower(name));
    std::string best;
    size_t bestDistance = std::max<size_t>(2, n.size() / 3) + 1;
    auto consider = [&](const std::string& candidate) {
        const size_t d = distance(n, candidate);
        if (d < bestDistance) {
            bestDistance = d;
            best = candidate;
        }
    };
    for (const Row& r : kRows) consider(r.name);
    for (const std::string& o : others) consider(o);
    return best;
}

void OptionTable::defaults(om1_options& o) {
    preset(o, Presets::name(Presets::kDefault));
}

bool OptionTable::preset(om1_options& o, const std::string& name) {
    Presets::Preset p;
    if (!Presets::parse(name, p)) return false;
    std::memset(&o, 0, sizeof o);
    o.max_curve_error = 0.05;
    o.max_pixels = 100000000;
    o.background = -1;
    OptionsRecord::fromTrace(Presets::options(p), o);
    o.polygon = Presets::polygonOutput(p);
    return true;
}

const char* OptionTable::presetName(int index) {
    return index >= 0 && index < kPresetCount ? Presets::name(kPresets[index].preset) : nullptr;
}

const char* OptionTable::presetHelp(int index) {
    return index >= 0 && index < kPresetCount ? kPresets[index].help : nullptr;
}

std::string OptionTable::takes(const Row& r) {
    switch (r.kind) {
        case Kind::Flag:
        case Kind::Switch:
            return "on or off";
        case Kind::Colour:
            return r.words ? "a colour RRGGBB or none" : "a colour RRGGBB";
        case Kind::Choice: {
            std::string c = r.choices;
            std::replace(c.begin(), c.end(), '|', ',');
            return "one of " + c;
        }
        case Kind::Palette:
            return "a file or colours #rrggbb,... (at most 256)";
        case Kind::Double:
            return "a number from " + number(r.min) + " to " + number(r.max);
        default: {
            std::string s = r.lowestOn > 0 ? "0 or a whole number from " + number(r.lowestOn)
                                           : "a whole number from " + number(r.min);
            s += " to " + number(r.max);
            if (r.words) {
                std::string w = r.words;
                std::string names;
                std::istringstream in(w);
                std::string pair;
                while (std::getline(in, pair, ','))
                    names += (names.empty() ? "" : ", ") + pair.substr(0, pair.find('='));
                s += ", or " + names;
            }
            return s;
        }
    }
}

std::string OptionTable::shown(const std::string& name, Names names) {
    return names == Names::Flags ? "--" + dashes(name) : underscores(name);
}

int OptionTable::set(om1_options& o, const Row& r, const std::string& text, std::string& error,
                     Names names) {
    auto bad = [&](const std::string& why) {
        error = shown(r.name, names) + " takes " + (why.empty() ? takes(r) : why) + ", not '" +
                text + "'";
        return OM1_BAD_OPTION;
    };
    double v = 0;
    switch (r.kind) {
        case Kind::Flag:
        case Kind::Switch:
            if (!parseBool(text, v)) return bad("");
            break;
        case Kind::Colour: {
            uint32_t c = 0;
            if (word(r, lower(text), v)) break;
            if (!parseColour(text, c)) return bad("");
            v = c;
            break;
        }
        case Kind::Choice: {
            std::istringstream in(r.choices);
            std::string c;
            int i = 0;
            bool found = false;
            while (std::getline(in, c, '|')) {
                if (c == lower(text)) {
                    v = i;
                    found = true;
                    break;
                }
                ++i;
            }
            if (!found) return bad("");
            break;
        }
        case Kind::Palette: {
            std::string list = text;
            if (text.empty() || text[0] != '#') {
                // A file of colours: 256 of them take a few kilobytes; a larger
                // file (or a device that never ends) is no palette.
                const size_t kLargest = 1 << 16;
                std::ifstream f(text, std::ios::binary);
                if (!f) return bad("a file or colours #rrggbb,... (cannot read the file)");
                list.assign(kLargest + 1, '\0');
                f.read(&list[0], static_cast<std::streamsize>(list.size()));
                list.resize(static_cast<size_t>(f.gcount()));
                if (list.size() > kLargest) return bad("a file of at most 64 KiB of colours");
            }
            om1_options copy = o;
            std::string why;
            if (!parsePalette(list, copy, why)) return bad("colours #rrggbb (" + why + ")");
            copy.merge_means = 0;  // merged regions keep the palette's colours
            o = copy;
            return OM1_OK;
        }
        case Kind::Double:
            if (!parseNumber(text, false, v)) return bad("");
            break;
        default:
            if (!word(r, lower(text), v) && !parseNumber(text, true, v)) return bad("");
            break;
    }
    if (!inRange(r, v)) return bad("");
    write(o, r, v);
    // What the option implies (applied before the implied options; see the header).
    const std::string name = r.name;
    if (name == "polygon" && v != 0) {
        // Exact polygons are lossless only on the picture's own colours:
        // every stage that changes colours goes off, and every region stays.
        TraceOptions t = OptionsRecord::toTrace(o);
        Presets::exactColours(t);
        OptionsRecord::fromTrace(t, o);
        o.min_length = 0;
    } else if (name == "colors") {
        o.merge_means = 0;
    } else if (name == "speckle") {
        o.speckle_share = 0;
    }
    return OM1_OK;
}

int OptionTable::apply(om1_options& o,
                       const std::vector<std::pair<std::string, std::string>>& given,
                       std::string& error, Names names) {
    std::vector<std::pair<const Row*, const std::string*>> rows;
    for (const auto& g : given) {
        const Row* r = find(g.first);
        if (!r) {
            const std::string closest = nearest(g.first);
            error = "unknown option " + shown(g.first, names) +
                    (closest.empty() ? "" : "; did you mean " + shown(closest, names) + "?");
            return OM1_UNKNOWN_OPTION;
        }
        rows.emplace_back(r, &g.second);
    }
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& r : rows) {
        const int code = set(o, *r.first, *r.second, error, names);
        if (code != OM1_OK) return code;
    }
    return OM1_OK;
}

int OptionTable::check(const om1_options& o, std::string* error) {
    for (const Row& r : kRows) {
        bool ok = true;
        if (r.kind == Kind::Palette) {
            ok = o.palette_count >= 0 && o.palette_count <= 256;
            for (int i = 0; ok && i < o.palette_count; ++i) ok = o.palette[i] <= 0xFFFFFFu;
        } else {
            ok = inRange(r, read(o, r));
        }
        if (!ok) {
            if (error) *error = r.name + std::string(" takes ") + takes(r);
            return OM1_BAD_OPTION;
        }
    }
    return OM1_OK;
}

std::string OptionTable::valueText(const om1_options& o, const Row& r) {
    const double v = read(o, r);
    switch (r.kind) {
        case Kind::Flag:
        case Kind::Switch:
            return v != 0 ? "on" : "off";
        case Kind::Colour: {
            if (v < 0) return "none";
            char buf[8];
            std::snprintf(buf, sizeof buf, "%06x", static_cast<unsigned>(v) & 0xFFFFFFu);
            return buf;
        }
        case Kind::Choice: {
            std::istringstream in(r.choices);
            std::string c;
            for (int i = 0; std::getline(in, c, '|'); ++i)
                if (i == static_cast<int>(v)) return c;
            return number(v);
        }
        case Kind::Palette: {
            std::string s;
            for (int i = 0; i < o.palette_count && i < 256; ++i) {
                char buf[9];
                std::snprintf(buf, sizeof buf, "#%06x", o.palette[i] & 0xFFFFFFu);
                s += (i ? "," : "") + std::string(buf);
            }
            return s;
        }
        default:
            if (r.words) {
                std::istringstream in(r.words);
                std::string pair;
                while (std::getline(in, pair, ','))
                    if (std::strtod(pair.c_str() + pair.find('=') + 1, nullptr) == v)
                        return pair.substr(0, pair.find('='));
            }
            return number(v);
    }
}

namespace {

// "10 (plain 0, pixel 0)": the default preset's value, then the presets that differ.
std::string defaultsText(const OptionTable::Row& r) {
    om1_options o;
    OptionTable::preset(o, OptionTable::presetName(0));
    const std::string first = OptionTable::valueText(o, r);
    std::string others;
    for (int i = 1; OptionTable::presetName(i); ++i) {
        OptionTable::preset(o, OptionTable::presetName(i));
        const std::string v = OptionTable::valueText(o, r);
        if (v != first)
            others += (others.empty() ? "" : ", ") + std::string(OptionTable::presetName(i)) + " " +
                      (v.empty() ? "none" : v);
    }
    return (first.empty() ? "none" : first) + (others.empty() ? "" : " (" + others + ")");
}

// Words of `text` wrapped at `width` columns, every line after the first
// indented by `indent` spaces.
std::string wrap(const std::string& text, size_t first, size_t indent, size_t width) {
    std::istringstream in(text);
    std::string word, out;
    size_t col = first;
    bool start = true;
    while (in >> word) {
        if (!start && col + 1 + word.size() > width) {
            out += "\n" + std::string(indent, ' ');
            col = indent;
            start = true;
        }
        if (!start) {
            out += ' ';
            ++col;
        }
        out += word;
        col += word.size();
        start = false;
    }
    return out;
}

}  // namespace

std::string OptionTable::commandLineHelp() {
    std::string s;
    auto line = [&](const std::string& flag, const std::string& text) {
        std::string head = "  " + flag;
        if (head.size() < 26)
            head += std::string(26 - head.size(), ' ');
        else
            head += "\n" + std::string(26, ' ');
        s += head + wrap(text, 26, 26, 79) + "\n";
    };
    std::string presets;
    for (int i = 0; presetName(i); ++i)
        presets += std::string(i ? "; " : "") + presetName(i) + ": " + presetHelp(i);
    line("--preset NAME", presets);
    for (const Row& r : kRows) {
        std::string flag = "--" + dashes(r.name);
        if (r.kind != Kind::Flag) flag += std::string(" ") + r.valueName;
        line(flag, std::string(r.help) + " [" + takes(r) + "; default " + defaultsText(r) + "]");
    }
    return s;
}

std::string OptionTable::markdown() {
    std::string s =
        "| command line | C / Python | values | default (presets that differ) | what it does |\n"
        "|---|---|---|---|---|\n";
    for (const Row& r : kRows) {
        std::string flag = "--" + dashes(r.name);
        if (r.kind != Kind::Flag) flag += std::string(" ") + r.valueName;
        std::string help = r.help;
        std::string cells[] = {"`" + flag + "`", std::string("`") + r.name + "`", takes(r),
                               defaultsText(r), help};
        for (std::string& c : cells) {
            std::string e;
            for (char ch : c) e += ch == '|' ? std::string("\\|") : std::string(1, ch);
            c = e;
        }
        s += "| " + cells[0] + " | " + cells[1] + " | " + cells[2] + " | " + cells[3] + " | " +
             cells[4] + " |\n";
    }
    return s;
}

}  // namespace om1
