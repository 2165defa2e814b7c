// The C interface: argument checks, the trace with the output layer, and the
// result's accessors and writers. Every entry catches everything at the
// boundary: std::bad_alloc becomes OM1_OUT_OF_MEMORY, anything else
// OM1_INTERNAL_ERROR.
#include "frontends/c/om1c.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "frontends/c/FormatTable.h"
#include "frontends/c/OptionTable.h"
#include "companion/KvCtree.h"
#include "shapes/ShapeBuilder.h"
#include "prepare/TraceReport.h"
#include "prepare/Tracer.h"

#ifndef OM1C_VERSION
#define OM1C_VERSION "0.0.0"
#endif

struct om1_result {
    om1::ShapeSet shapes;  // every node with its own loops (regions, JSON)
    // In the stacked layout, the same nodes with touching parts of one colour
    // joined (OutputOptions::joinParts), as the drawing formats write them.
    om1::ShapeSet drawn;
    std::vector<std::vector<int>> holes;                          // per region: its holes
    std::vector<std::vector<std::vector<om1::Corner>>> polygons;  // per region, per loop
    std::vector<char> hidden;                                     // per region
    om1_stats stats = {};
};

namespace {

template <class F>
int guarded(F f) {
    try {
        return f();
    } catch (const std::bad_alloc&) {
        return OM1_OUT_OF_MEMORY;
    } catch (...) {
        return OM1_INTERNAL_ERROR;
    }
}

bool sameColour(const RGBQUAD& a, int rgb) {
    return a.rgbRed == ((rgb >> 16) & 0xFF) && a.rgbGreen == ((rgb >> 8) & 0xFF) &&
           a.rgbBlue == (rgb & 0xFF);
}

// Pixels composited over the background, as the tool's decoder does; counts
// the background-coloured pixels and those of them that were transparent.
void composite(const uint8_t* pixels, int width, int height, int stride, int background,
               std::vector<RGBQUAD>& out, long long& bgPixels, long long& bgTransparent) {
    const unsigned br = (background >> 16) & 0xFF, bgg = (background >> 8) & 0xFF,
                   bb = background & 0xFF;
    out.resize(static_cast<size_t>(width) * height);
    bgPixels = bgTransparent = 0;
    for (int y = 0; y < height; ++y) {
        const uint8_t* row = pixels + static_cast<size_t>(y) * static_cast<size_t>(stride);
        RGBQUAD* dst = out.data() + static_cast<size_t>(y) * width;
        for (int x = 0; x < width; ++x) {
            const uint8_t* p = row + 4 * static_cast<size_t>(x);
            const unsigned a = p[3];
            auto mix = [a](unsigned c, unsigned b) {
                return static_cast<BYTE>((c * a + b * (255 - a) + 127) / 255);
            };
            RGBQUAD& q = dst[x];
            q.rgbRed = mix(p[0], br);
            q.rgbGreen = mix(p[1], bgg);
            q.rgbBlue = mix(p[2], bb);
            q.rgbReserved = 0;
            if (sameColour(q, background)) {
                ++bgPixels;
                if (a == 0) ++bgTransparent;
            }
        }
    }
}

// Counts of what the drawing formats write.
void fillStats(om1_result& r) {
    om1_stats& s = r.stats;
    const om1::ShapeSet& set = r.drawn.shapes.empty() ? r.shapes : r.drawn;
    s.width = set.width;
    s.height = set.height;
    s.loops = set.loops;
    s.curved_loops = set.curvedLoops;
    s.corrected_pixels = set.reconciledPixels;
    for (size_t i = 0; i < set.shapes.size(); ++i) {
        const om1::Shape& sh = set.shapes[i];
        if (sh.role == om1::Shape::Role::Frame) {
            ++s.frames;
            continue;
        }
        ++s.regions;
        if (sh.role == om1::Shape::Role::Hole) ++s.holes;
        if (r.hidden[i] || sh.loops.empty()) continue;
        ++s.paths;
        for (size_t k = 0; k < sh.loops.size(); ++k) {
            if (k < sh.curves.size() && sh.curves[k].size() >= 4)
                s.segments += static_cast<long long>(sh.curves[k].size() - 1) / 3;
            else
                s.segments += static_cast<long long>(sh.loops[k].vertices().size());
        }
    }
}

int trace(const uint8_t* pixels, int width, int height, int stride, const om1_options* given,
          om1_result** out) {
    if (!out) return OM1_NULL_ARGUMENT;
    *out = nullptr;
    if (!pixels) return OM1_NULL_ARGUMENT;
    om1_options o;
    om1c::OptionTable::defaults(o);
    if (given) o = *given;
    if (om1c::OptionTable::check(o) != OM1_OK) return OM1_BAD_OPTION;
    if (width < 1 || height < 1 || static_cast<long long>(width) * height > o.max_pixels)
        return OM1_BAD_SIZE;
    if (width < 3 || height < 3) return OM1_TOO_SMALL;
    if (static_cast<long long>(stride) < 4LL * width) return OM1_BAD_STRIDE;

    std::vector<RGBQUAD> picture;
    long long bgPixels = 0, bgTransparent = 0;
    composite(pixels, width, height, stride, o.background, picture, bgPixels, bgTransparent);

    om1::TraceOptions t = om1c::OptionTable::toTrace(o);
    // Exact polygons are lossless only on the picture's own colours.
    if (o.polygon) om1::Presets::exactColours(t);
    KvCtree* tree = nullptr;
    om1::TraceReport report;
    const om1::Tracer::Result traced =
        om1::Tracer::trace(picture.data(), width, height, t, tree, &report);
    if (traced != om1::Tracer::Done || !tree) {
        if (tree) kvctr_deleteKvCtree(tree);
        if (traced == om1::Tracer::LimitExceeded) return OM1_LIMIT_EXCEEDED;
        if (traced == om1::Tracer::TooManyColors) return OM1_TOO_MANY_COLORS;
        return OM1_NO_OUTLINES;
    }
    // Shapes are checked against the picture the tracer saw.
    const RGBQUAD* seen = report.prepared.empty() ? picture.data() : report.prepared.data();

    om1_result* r = new (std::nothrow) om1_result;
    if (!r) {
        kvctr_deleteKvCtree(tree);
        return OM1_OUT_OF_MEMORY;
    }
    om1::OutputOptions oo;
    oo.layout = o.cutout ? om1::OutputOptions::Layout::Cutout : om1::OutputOptions::Layout::Stacked;
    oo.polygon = o.polygon != 0;
    oo.curveTolerance = o.curve_tolerance;
    oo.maxCurveAreaError = o.max_curve_error;
    oo.reconcileTolerance = static_cast<int>(o.tolerance * 2.55);
    bool built = false;
    try {
        built = om1::ShapeBuilder::build(tree, seen, width, height, oo, r->shapes, picture.data());
        if (built && !o.cutout) {
            oo.joinParts = true;
            built =
                om1::ShapeBuilder::build(tree, seen, width, height, oo, r->drawn, picture.data());
        }
    } catch (...) {
        built = false;
    }
    kvctr_deleteKvCtree(tree);
    if (!built) {
        delete r;
        return OM1_OUT_OF_MEMORY;
    }
    try {
        const size_t n = r->shapes.shapes.size();
        r->holes.resize(n);
        r->polygons.resize(n);
        r->hidden.assign(n, 0);
        const bool dropBackground = o.transparent && bgTransparent * 2 > bgPixels;
        for (size_t i = 0; i < n; ++i) {
            om1::Shape& sh = r->shapes.shapes[i];
            sh.node = nullptr;  // the tree is gone
            if (i < r->drawn.shapes.size()) r->drawn.shapes[i].node = nullptr;
            if (sh.parent >= 0 && static_cast<size_t>(sh.parent) < n)
                r->holes[sh.parent].push_back(static_cast<int>(i));
            for (const om1::CrackLoop& loop : sh.loops) r->polygons[i].push_back(loop.vertices());
            if (dropBackground && sh.role != om1::Shape::Role::Frame &&
                sameColour(sh.color, o.background))
                r->hidden[i] = 1;
        }
        fillStats(*r);
    } catch (...) {
        delete r;
        throw;
    }
    *out = r;
    return OM1_OK;
}

const om1::Shape* shapeAt(const om1_result* r, int index) {
    if (index < 0 || static_cast<size_t>(index) >= r->shapes.shapes.size()) return nullptr;
    return &r->shapes.shapes[static_cast<size_t>(index)];
}

}  // namespace

extern "C" {

void om1_options_init(om1_options* options) {
    if (options) om1c::OptionTable::defaults(*options);
}

size_t om1_options_size(void) {
    return sizeof(om1_options);
}

int om1_options_preset(om1_options* options, const char* name) {
    if (!options || !name) return OM1_NULL_ARGUMENT;
    return guarded([&] { return om1c::OptionTable::preset(*options, name); });
}

int om1_options_set(om1_options* options, const char* name, const char* value) {
    if (!options || !name || !value) return OM1_NULL_ARGUMENT;
    return guarded([&] {
        const om1c::OptionTable::Row* row = om1c::OptionTable::find(name);
        return row ? om1c::OptionTable::set(*options, *row, value) : OM1_UNKNOWN_OPTION;
    });
}

const char* om1_option_name(int index) {
    const om1c::OptionTable::Row* row = om1c::OptionTable::row(index);
    return row ? row->name : nullptr;
}

int om1_options_check(const om1_options* options) {
    if (!options) return OM1_NULL_ARGUMENT;
    return om1c::OptionTable::check(*options);
}

const char* om1_preset_name(int index) {
    return om1c::OptionTable::presetName(index);
}

int om1_trace_rgba(const uint8_t* pixels, int width, int height, int stride,
                   const om1_options* options, om1_result** out) {
    if (out) *out = nullptr;
    return guarded([&] { return trace(pixels, width, height, stride, options, out); });
}

void om1_result_free(om1_result* result) {
    delete result;
}

int om1_result_stats(const om1_result* result, om1_stats* stats) {
    if (!result || !stats) return OM1_NULL_ARGUMENT;
    *stats = result->stats;
    return OM1_OK;
}

int om1_result_region_count(const om1_result* result, int* count) {
    if (!result || !count) return OM1_NULL_ARGUMENT;
    *count = static_cast<int>(result->shapes.shapes.size());
    return OM1_OK;
}

int om1_result_region(const om1_result* result, int index, om1_region* region) {
    if (!result || !region) return OM1_NULL_ARGUMENT;
    const om1::Shape* sh = shapeAt(result, index);
    if (!sh) return OM1_BAD_INDEX;
    om1_region g = {};
    g.role = sh->role == om1::Shape::Role::Frame  ? OM1_ROLE_FRAME
             : sh->role == om1::Shape::Role::Hole ? OM1_ROLE_HOLE
                                                  : OM1_ROLE_OUTLINE;
    g.parent = sh->parent;
    g.depth = sh->depth;
    if (g.role != OM1_ROLE_FRAME)
        g.color = (static_cast<uint32_t>(sh->color.rgbRed) << 16) |
                  (static_cast<uint32_t>(sh->color.rgbGreen) << 8) | sh->color.rgbBlue;
    g.pixels = sh->pixels;
    g.loop_count = static_cast<int>(sh->loops.size());
    g.hole_count = static_cast<int>(result->holes[static_cast<size_t>(index)].size());
    g.hidden = result->hidden[static_cast<size_t>(index)];
    *region = g;
    return OM1_OK;
}

int om1_result_hole(const om1_result* result, int index, int k, int* hole) {
    if (!result || !hole) return OM1_NULL_ARGUMENT;
    if (!shapeAt(result, index)) return OM1_BAD_INDEX;
    const std::vector<int>& hs = result->holes[static_cast<size_t>(index)];
    if (k < 0 || static_cast<size_t>(k) >= hs.size()) return OM1_BAD_INDEX;
    *hole = hs[static_cast<size_t>(k)];
    return OM1_OK;
}

int om1_result_boundary(const om1_result* result, int index, int loop, int32_t* xy, size_t capacity,
                        size_t* count) {
    if (!result || !count || (!xy && capacity > 0)) return OM1_NULL_ARGUMENT;
    if (!shapeAt(result, index)) return OM1_BAD_INDEX;
    const auto& loops = result->polygons[static_cast<size_t>(index)];
    if (loop < 0 || static_cast<size_t>(loop) >= loops.size()) return OM1_BAD_INDEX;
    const std::vector<om1::Corner>& c = loops[static_cast<size_t>(loop)];
    *count = c.size();
    for (size_t i = 0; i < c.size() && i < capacity; ++i) {
        xy[2 * i] = c[i].x;
        xy[2 * i + 1] = c[i].y;
    }
    return OM1_OK;
}

int om1_result_curve(const om1_result* result, int index, int loop, double* xy, size_t capacity,
                     size_t* count) {
    if (!result || !count || (!xy && capacity > 0)) return OM1_NULL_ARGUMENT;
    const om1::Shape* sh = shapeAt(result, index);
    if (!sh) return OM1_BAD_INDEX;
    if (loop < 0 || static_cast<size_t>(loop) >= sh->loops.size()) return OM1_BAD_INDEX;
    static const std::vector<om1::PointD> none;
    const std::vector<om1::PointD>& c =
        static_cast<size_t>(loop) < sh->curves.size() && sh->curves[loop].size() >= 4
            ? sh->curves[static_cast<size_t>(loop)]
            : none;
    *count = c.size();
    for (size_t i = 0; i < c.size() && i < capacity; ++i) {
        xy[2 * i] = c[i].x;
        xy[2 * i + 1] = c[i].y;
    }
    return OM1_OK;
}

int om1_result_write(const om1_result* result, const char* format, char** data, size_t* size) {
    if (data) *data = nullptr;
    if (size) *size = 0;
    if (!result || !format || !data || !size) return OM1_NULL_ARGUMENT;
    return guarded([&] {
        om1::OutputFormat::Kind kind;
        if (!om1c::FormatTable::find(format, kind)) return static_cast<int>(OM1_UNKNOWN_FORMAT);
        std::ostringstream text;
        const std::vector<char>& hidden = result->hidden;
        const om1::ShapeSet& set =
            kind == om1::OutputFormat::Kind::Json || result->drawn.shapes.empty() ? result->shapes
                                                                                  : result->drawn;
        auto skip = [&](const om1::Shape& sh) {
            return hidden[static_cast<size_t>(&sh - set.shapes.data())] != 0;
        };
        if (!om1::OutputFormat::write(text, kind, set, skip))
            return static_cast<int>(OM1_OUT_OF_MEMORY);
        const std::string s = text.str();
        char* buffer = static_cast<char*>(std::malloc(s.size() + 1));
        if (!buffer) return static_cast<int>(OM1_OUT_OF_MEMORY);
        std::memcpy(buffer, s.data(), s.size());
        buffer[s.size()] = '\0';
        *data = buffer;
        *size = s.size();
        return static_cast<int>(OM1_OK);
    });
}

void om1_buffer_free(char* data) {
    std::free(data);
}

const char* om1_format_name(int index) {
    om1::OutputFormat::Kind kind;
    return om1c::FormatTable::at(index, kind) ? om1::OutputFormat::name(kind) : nullptr;
}

const char* om1_format_extension(int index) {
    om1::OutputFormat::Kind kind;
    return om1c::FormatTable::at(index, kind) ? om1::OutputFormat::extension(kind) : nullptr;
}

const char* om1_error_message(int code) {
    switch (code) {
        case OM1_OK:
            return "done";
        case OM1_NO_OUTLINES:
            return "no outlines were traced";
        case OM1_LIMIT_EXCEEDED:
            return "more outlines than max_outlines allows (raise max_outlines or tolerance)";
        case OM1_NULL_ARGUMENT:
            return "a required pointer argument is null";
        case OM1_BAD_SIZE:
            return "width and height must be at least 1 and width * height at most max_pixels";
        case OM1_TOO_SMALL:
            return "the picture must be at least 3 x 3 pixels";
        case OM1_BAD_STRIDE:
            return "stride must be at least 4 * width bytes";
        case OM1_BAD_OPTION:
            return "an option is out of its range";
        case OM1_UNKNOWN_OPTION:
            return "no option or preset of that name";
        case OM1_UNKNOWN_FORMAT:
            return "no output format of that name";
        case OM1_BAD_INDEX:
            return "a region, loop or hole index is out of range";
        case OM1_OUT_OF_MEMORY:
            return "out of memory";
        case OM1_INTERNAL_ERROR:
            return "an unexpected failure inside the library";
        case OM1_TOO_MANY_COLORS:
            return "more colours than max_colors allows (reduce them with colors, or raise "
                   "max_colors)";
        default:
            return "unknown error code";
    }
}

const char* om1_version(void) {
    return OM1C_VERSION;
}

}  // extern "C"
