// The WebAssembly module's additions to the C interface (see om1web.h).
// Like om1c.cpp, every entry returns a code: nothing is thrown across it.
#include "om1web.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "decode/ImageLoader.h"
#include "pipeline/OptionTable.h"

namespace {

char* copyText(const std::string& s) {
    char* c = static_cast<char*>(std::malloc(s.size() + 1));
    if (c) std::memcpy(c, s.c_str(), s.size() + 1);
    return c;
}

struct FileCloser {
    void operator()(FILE* f) const { fclose(f); }
};

int decode(const uint8_t* bytes, size_t size, double maxPixels, char** rgba, int* width,
           int* height, char** error) {
    std::string why;
    RasterImage img;
    // fmemopen refuses an empty buffer; an empty file is told as the decoder tells it.
    static const uint8_t none = 0;
    std::unique_ptr<FILE, FileCloser> f(
        fmemopen(const_cast<uint8_t*>(size ? bytes : &none), size ? size : 1, "rb"));
    if (!f) return OM1_OUT_OF_MEMORY;
    const long long limit =
        maxPixels >= 9e18 ? 9000000000000000000LL : static_cast<long long>(maxPixels);
    bool ok = false;
    if (size == 0)
        why = "the file is empty";
    else
        ok = ImageLoader::loadRgbaStream(f.get(), limit, img, why);
    if (!ok) {
        *error = copyText(why);
        return *error ? OM1_UNKNOWN_FORMAT : OM1_OUT_OF_MEMORY;
    }
    char* out = static_cast<char*>(std::malloc(img.rgba.size()));
    if (!out) return OM1_OUT_OF_MEMORY;
    std::memcpy(out, img.rgba.data(), img.rgba.size());
    *rgba = out;
    *width = img.width;
    *height = img.height;
    return OM1_OK;
}

}  // namespace

extern "C" {

int om1web_decode(const uint8_t* bytes, size_t size, double max_pixels, char** rgba, int* width,
                  int* height, char** error) {
    if (rgba) *rgba = nullptr;
    if (error) *error = nullptr;
    if ((!bytes && size > 0) || !rgba || !width || !height || !error) return OM1_NULL_ARGUMENT;
    try {
        return decode(bytes, size, max_pixels, rgba, width, height, error);
    } catch (const std::bad_alloc&) {
        return OM1_OUT_OF_MEMORY;
    } catch (...) {
        return OM1_INTERNAL_ERROR;
    }
}

int om1web_stats(const om1_result* result, double* out) {
    if (!out) return OM1_NULL_ARGUMENT;
    om1_stats s;
    const int code = om1_result_stats(result, &s);
    if (code != OM1_OK) return code;
    const double v[] = {double(s.width),           double(s.height), double(s.regions),
                        double(s.holes),           double(s.frames), double(s.paths),
                        double(s.segments),        double(s.loops),  double(s.curved_loops),
                        double(s.corrected_pixels)};
    std::memcpy(out, v, sizeof(v));
    return OM1_OK;
}

int om1web_region(const om1_result* result, int index, double* out) {
    if (!out) return OM1_NULL_ARGUMENT;
    om1_region r;
    const int code = om1_result_region(result, index, &r);
    if (code != OM1_OK) return code;
    const double v[] = {double(r.role),       double(r.parent), double(r.depth),
                        double(r.color),      double(r.pixels), double(r.loop_count),
                        double(r.hole_count), double(r.hidden), double(r.alpha)};
    std::memcpy(out, v, sizeof(v));
    return OM1_OK;
}

int om1web_option(int index, const char** texts, double* range) {
    if (!texts || !range) return OM1_NULL_ARGUMENT;
    om1_option_info i;
    const int code = om1_option_info_at(index, &i);
    if (code != OM1_OK) return code;
    const char* t[] = {i.name, i.kind, i.choices, i.value_name, i.help, i.takes};
    std::memcpy(texts, t, sizeof(t));
    range[0] = i.min;
    range[1] = i.max;
    return OM1_OK;
}

int om1web_option_value(const om1_options* options, int index, char** text) {
    if (text) *text = nullptr;
    if (!options || !text) return OM1_NULL_ARGUMENT;
    const om1::OptionTable::Row* row = om1::OptionTable::row(index);
    if (!row) return OM1_BAD_INDEX;
    try {
        *text = copyText(om1::OptionTable::valueText(*options, *row));
        return *text ? OM1_OK : OM1_OUT_OF_MEMORY;
    } catch (const std::bad_alloc&) {
        return OM1_OUT_OF_MEMORY;
    } catch (...) {
        return OM1_INTERNAL_ERROR;
    }
}

}  // extern "C"
