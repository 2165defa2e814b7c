// The C interface: a thin shell over the pipeline (om1::vectorize) and the
// option table. Every entry catches everything at the boundary:
// std::bad_alloc becomes OM1_OUT_OF_MEMORY, anything else OM1_INTERNAL_ERROR.
#include "frontends/c/om1c.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "pipeline/OptionTable.h"
#include "pipeline/Progress.h"
#include "pipeline/Vectorize.h"

#ifndef OM1C_VERSION
#define OM1C_VERSION "0.0.0"
#endif

struct om1_result {
    om1::Result result;
    om1_stats stats = {};
    // Per region of the per-outline view: its holes (made on first use).
    std::once_flag holesOnce;
    std::vector<std::vector<int>> holes;
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

// The per-outline view and the hole lists; null when memory ran out.
const om1::ShapeSet* regions(const om1_result* r) {
    const om1::ShapeSet* set = r->result.outlines();
    if (!set) return nullptr;
    om1_result* m = const_cast<om1_result*>(r);
    std::call_once(m->holesOnce, [&] {
        m->holes.resize(set->shapes.size());
        for (size_t i = 0; i < set->shapes.size(); ++i) {
            const int p = set->shapes[i].parent;
            if (p >= 0 && static_cast<size_t>(p) < set->shapes.size())
                m->holes[static_cast<size_t>(p)].push_back(static_cast<int>(i));
        }
    });
    return set;
}

int shapeAt(const om1_result* r, int index, const om1::Shape*& out) {
    const om1::ShapeSet* set = regions(r);
    if (!set) return OM1_OUT_OF_MEMORY;
    if (index < 0 || static_cast<size_t>(index) >= set->shapes.size()) return OM1_BAD_INDEX;
    out = &set->shapes[static_cast<size_t>(index)];
    return OM1_OK;
}

// Loop `loop` of region `index`.
int loopAt(const om1_result* r, int index, int loop, const om1::Shape*& sh) {
    const int code = shapeAt(r, index, sh);
    if (code != OM1_OK) return code;
    return loop < 0 || static_cast<size_t>(loop) >= sh->loops.size() ? OM1_BAD_INDEX : OM1_OK;
}

// Hooks that tell a C callback the share of one call's own work: `from`..`to`
// of the job (om1::Progress's spans) becomes 0..1.
om1::Hooks progressHooks(om1_progress_fn fn, void* user, double from, double to) {
    om1::Hooks hooks;
    if (fn)
        hooks.progress = [fn, user, from, to](double share) {
            const double own = (share - from) / (to - from);
            return fn(own < 0 ? 0 : own > 1 ? 1 : own, user) != 0;
        };
    return hooks;
}

// Copies up to `capacity` points of `c` (x, y pairs) and sets the count.
template <class P, class T>
void copyPoints(const std::vector<P>& c, T* xy, size_t capacity, size_t* count) {
    *count = c.size();
    for (size_t i = 0; i < c.size() && i < capacity; ++i) {
        xy[2 * i] = c[i].x;
        xy[2 * i + 1] = c[i].y;
    }
}

}  // namespace

extern "C" {

void om1_options_init(om1_options* options) {
    if (options) om1::OptionTable::defaults(*options);
}

size_t om1_options_size(void) {
    return sizeof(om1_options);
}

int om1_options_preset(om1_options* options, const char* name) {
    if (!options || !name) return OM1_NULL_ARGUMENT;
    return guarded(
        [&] { return om1::OptionTable::preset(*options, name) ? OM1_OK : OM1_UNKNOWN_OPTION; });
}

int om1_options_set(om1_options* options, const char* name, const char* value) {
    if (!options || !name || !value) return OM1_NULL_ARGUMENT;
    return guarded([&] {
        const om1::OptionTable::Row* row = om1::OptionTable::find(name);
        std::string error;
        return row ? om1::OptionTable::set(*options, *row, value, error) : OM1_UNKNOWN_OPTION;
    });
}

const char* om1_option_name(int index) {
    const om1::OptionTable::Row* row = om1::OptionTable::row(index);
    return row ? row->name : nullptr;
}

int om1_option_info_at(int index, om1_option_info* info) {
    if (!info) return OM1_NULL_ARGUMENT;
    const om1::OptionTable::Row* row = om1::OptionTable::row(index);
    if (!row) return OM1_BAD_INDEX;
    return guarded([&] {
        // The words of every row, made once.
        static const std::vector<std::string> takes = [] {
            std::vector<std::string> t;
            for (int i = 0; om1::OptionTable::row(i); ++i)
                t.push_back(om1::OptionTable::takes(*om1::OptionTable::row(i)));
            return t;
        }();
        using K = om1::OptionTable::Kind;
        static const char* const kinds[] = {"int",    "int",    "number", "flag",
                                            "switch", "colour", "choice", "palette"};
        static_assert(static_cast<int>(K::Palette) == 7, "kinds follow OptionTable::Kind");
        om1_option_info i = {};
        i.name = row->name;
        i.kind = kinds[static_cast<int>(row->kind)];
        i.min = row->min;
        i.max = row->max;
        i.choices = row->choices;
        i.value_name = row->kind == K::Flag ? nullptr : row->valueName;
        i.help = row->help;
        i.takes = takes[static_cast<size_t>(index)].c_str();
        *info = i;
        return OM1_OK;
    });
}

int om1_options_check(const om1_options* options) {
    if (!options) return OM1_NULL_ARGUMENT;
    return om1::OptionTable::check(*options);
}

const char* om1_preset_name(int index) {
    return om1::OptionTable::presetName(index);
}

const char* om1_preset_help(int index) {
    return om1::OptionTable::presetHelp(index);
}

int om1_trace_rgba(const uint8_t* pixels, int width, int height, int stride,
                   const om1_options* options, om1_result** out) {
    return om1_trace_rgba_progress(pixels, width, height, stride, options, nullptr, nullptr, out);
}

int om1_trace_rgba_progress(const uint8_t* pixels, int width, int height, int stride,
                            const om1_options* options, om1_progress_fn progress, void* user,
                            om1_result** out) {
    if (!out) return OM1_NULL_ARGUMENT;
    *out = nullptr;
    return guarded([&] {
        om1::Picture picture;
        picture.rgba = pixels;
        picture.width = width;
        picture.height = height;
        // A stride of 0 would mean "packed" to the pipeline; here it is too small.
        picture.stride = stride > 0 ? stride : -1;
        const om1::Hooks hooks = progressHooks(progress, user, 0, om1::Progress::kShaped);
        om1_result* r = new om1_result;
        r->result = om1::vectorize(picture, options, &hooks);
        int code = r->result.status();
        if (code == OM1_OK) code = r->result.stats(r->stats, om1::OutputFormat::Kind::Svg, &hooks);
        if (code != OM1_OK) {
            delete r;
            return code;
        }
        *out = r;
        return static_cast<int>(OM1_OK);
    });
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
    return guarded([&] {
        const om1::ShapeSet* set = regions(result);
        if (!set) return static_cast<int>(OM1_OUT_OF_MEMORY);
        *count = static_cast<int>(set->shapes.size());
        return static_cast<int>(OM1_OK);
    });
}

int om1_result_region(const om1_result* result, int index, om1_region* region) {
    if (!result || !region) return OM1_NULL_ARGUMENT;
    return guarded([&] {
        const om1::Shape* sh = nullptr;
        const int code = shapeAt(result, index, sh);
        if (code != OM1_OK) return code;
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
        g.hidden = result->result.hidden(*sh);
        g.alpha = sh->alpha;
        *region = g;
        return static_cast<int>(OM1_OK);
    });
}

int om1_result_hole(const om1_result* result, int index, int k, int* hole) {
    if (!result || !hole) return OM1_NULL_ARGUMENT;
    return guarded([&] {
        const om1::Shape* sh = nullptr;
        const int code = shapeAt(result, index, sh);
        if (code != OM1_OK) return code;
        const std::vector<int>& hs = result->holes[static_cast<size_t>(index)];
        if (k < 0 || static_cast<size_t>(k) >= hs.size()) return static_cast<int>(OM1_BAD_INDEX);
        *hole = hs[static_cast<size_t>(k)];
        return static_cast<int>(OM1_OK);
    });
}

int om1_result_boundary(const om1_result* result, int index, int loop, int32_t* xy, size_t capacity,
                        size_t* count) {
    if (!result || !count || (!xy && capacity > 0)) return OM1_NULL_ARGUMENT;
    return guarded([&] {
        const om1::Shape* sh = nullptr;
        const int code = loopAt(result, index, loop, sh);
        if (code != OM1_OK) return code;
        copyPoints(sh->loops[static_cast<size_t>(loop)].vertices(), xy, capacity, count);
        return static_cast<int>(OM1_OK);
    });
}

int om1_result_curve(const om1_result* result, int index, int loop, double* xy, size_t capacity,
                     size_t* count) {
    if (!result || !count || (!xy && capacity > 0)) return OM1_NULL_ARGUMENT;
    return guarded([&] {
        const om1::Shape* sh = nullptr;
        const int code = loopAt(result, index, loop, sh);
        if (code != OM1_OK) return code;
        static const std::vector<om1::PointD> none;
        const size_t l = static_cast<size_t>(loop);
        copyPoints(l < sh->curves.size() && sh->curves[l].size() >= 4 ? sh->curves[l] : none, xy,
                   capacity, count);
        return static_cast<int>(OM1_OK);
    });
}

int om1_result_write(const om1_result* result, const char* format, char** data, size_t* size) {
    return om1_result_write_progress(result, format, nullptr, nullptr, data, size);
}

int om1_result_write_progress(const om1_result* result, const char* format,
                              om1_progress_fn progress, void* user, char** data, size_t* size) {
    if (data) *data = nullptr;
    if (size) *size = 0;
    if (!result || !format || !data || !size) return OM1_NULL_ARGUMENT;
    return guarded([&] {
        om1::OutputFormat::Kind kind;
        const std::string n = format[0] == '.' ? format + 1 : format;
        if (!om1::OutputFormat::fromName(n, kind) && !om1::OutputFormat::fromPath("." + n, kind))
            return static_cast<int>(OM1_UNKNOWN_FORMAT);
        std::ostringstream text;
        const om1::Hooks hooks = progressHooks(progress, user, om1::Progress::kShaped, 1);
        const int code = result->result.write(text, kind, &hooks);
        if (code != OM1_OK) return code == OM1_WRITE_FAILED ? OM1_OUT_OF_MEMORY : code;
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
    return om1::OutputFormat::at(index, kind) ? om1::OutputFormat::name(kind) : nullptr;
}

const char* om1_format_extension(int index) {
    om1::OutputFormat::Kind kind;
    return om1::OutputFormat::at(index, kind) ? om1::OutputFormat::extension(kind) : nullptr;
}

const char* om1_error_message(int code) {
    return om1::Result::message(code);
}

const char* om1_version(void) {
    return OM1C_VERSION;
}

}  // extern "C"
