/* om1c.h: the plain C interface of om1 (C99; no C++ type crosses it).
 *
 * Trace a picture of RGBA pixels into a result, walk its regions or write it
 * to a memory buffer in one of the formats, then release both:
 *
 *     om1_options o;
 *     om1_options_init(&o);
 *     o.tolerance = 5;
 *     om1_result* r = NULL;
 *     int code = om1_trace_rgba(pixels, width, height, 4 * width, &o, &r);
 *     if (code != OM1_OK) { fprintf(stderr, "%s\n", om1_error_message(code)); return; }
 *     char* svg = NULL; size_t size = 0;
 *     if (om1_result_write(r, "svg", &svg, &size) == OM1_OK) fwrite(svg, 1, size, stdout);
 *     om1_buffer_free(svg);
 *     om1_result_free(r);
 *
 * Every function returns an error code (om1_status) or a plain value; no
 * exception and no abort leaves the library. Calls on different results
 * share nothing, so several threads may trace at once; one result may be
 * read from several threads while nobody frees it.
 *
 * Coordinates are the picture's: row 0 at the top, pixel (x, y) covers
 * [x, x+1] x [y, y+1]. */
#ifndef OM1C_H
#define OM1C_H

#include <stddef.h>
#include <stdint.h>

#include "om1types.h"

#if defined(_WIN32)
#if defined(OM1C_BUILDING)
#define OM1C_API __declspec(dllexport)
#else
#define OM1C_API __declspec(dllimport)
#endif
#else
#define OM1C_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Sets the defaults (the "graphic" preset). */
OM1C_API void om1_options_init(om1_options* options);

/* sizeof(om1_options) of this library, for hosts that allocate the record
 * without this header (bindings that set options by name). */
OM1C_API size_t om1_options_size(void);

/* Sets a preset's values (all other fields to their defaults): "graphic"
 * (flat colours with anti-aliased edges; the default), "photo" (natural
 * pictures: 16 colours, regions merged while the picture stays at 30 dB),
 * "bw" (black and white by luminance), "pixel" (hard-edged pixel art: exact
 * colours, every region kept, exact polygons, at most 128 colours), "plain"
 * (no stages, fixed seeds, as the entry points).
 * OM1_UNKNOWN_OPTION for other names. */
OM1C_API int om1_options_preset(om1_options* options, const char* name);

/* Sets one option by its name (the field's name), from text: a whole
 * number, a decimal number, "true"/"false" (or "on"/"off", "1"/"0"), a colour
 * "RRGGBB" / "#RRGGBB" for background, "none"/"quadrant"/"adaptive" for
 * filter, "#rrggbb,#rrggbb,..." (or a file of such colours) for palette.
 * OM1_UNKNOWN_OPTION, or OM1_BAD_OPTION when the text is no value of the
 * option's kind or out of its range; the field is then unchanged. */
OM1C_API int om1_options_set(om1_options* options, const char* name, const char* value);

/* The option names in order, then null: for hosts that set options by name.
 * The order is the order to set them in: an option that implies others
 * comes first (polygon sets tolerance and min_length to 0; colors and
 * palette set merge_means to 0; speckle sets speckle_share to 0), so an
 * explicit value set after it wins. */
OM1C_API const char* om1_option_name(int index);

/* What one option is, for hosts that present the options (bindings, help). */
typedef struct om1_option_info {
    const char* name;       /* as om1_option_name */
    const char* kind;       /* "int", "number", "flag", "switch", "colour", "choice", "palette" */
    double min, max;        /* the range of "int" and "number" (palette: entries) */
    const char* choices;    /* "choice": the names with '|' between them; else NULL */
    const char* value_name; /* what a command line calls the value ("STEPS"); NULL for flags */
    const char* help;       /* one line */
    const char* takes;      /* the values it takes, in words */
} om1_option_info;

/* OM1_OK, or OM1_BAD_INDEX past the last option. The strings are static. */
OM1C_API int om1_option_info_at(int index, om1_option_info* info);

/* OM1_OK, or OM1_BAD_OPTION when a field is out of its range. */
OM1C_API int om1_options_check(const om1_options* options);

/* The preset names in order, then null; and a line on what each is for. */
OM1C_API const char* om1_preset_name(int index);
OM1C_API const char* om1_preset_help(int index);

typedef struct om1_result om1_result;

/* Traces width x height pixels, 4 bytes each (red, green, blue, alpha), rows
 * `stride` bytes apart, row 0 at the top. Transparency is traced (fully
 * transparent pixels stay empty, partial alpha becomes the regions' alpha)
 * unless the background option asks for the pixels composited over a
 * colour. `options` null means the defaults. On OM1_OK
 * `*out` is a new result the caller releases with om1_result_free;
 * otherwise `*out` is null. The pixels are only read. */
OM1C_API int om1_trace_rgba(const uint8_t* pixels, int width, int height, int stride,
                            const om1_options* options, om1_result** out);

/* Told how far a call has come: `share` from 0 to 1, on the calling thread,
 * about every 10 ms while the work runs. Return nonzero to go on, 0 to
 * stop: the call then returns OM1_CANCELLED soon after (within tens of
 * milliseconds on a 4096 x 4096 picture), having released everything. */
typedef int (*om1_progress_fn)(double share, void* user);

/* om1_trace_rgba with progress: the share covers the stages, the tracer and
 * the shapes (the result is ready to be read or written at 1). `progress`
 * null is om1_trace_rgba; `user` is passed to it unchanged. */
OM1C_API int om1_trace_rgba_progress(const uint8_t* pixels, int width, int height, int stride,
                                     const om1_options* options, om1_progress_fn progress,
                                     void* user, om1_result** out);

/* Releases a result; null does nothing. */
OM1C_API void om1_result_free(om1_result* result);

OM1C_API int om1_result_stats(const om1_result* result, om1_stats* stats);

/* One region. Regions are numbered in drawing order: a region, then its
 * holes, depth first; region 0 is the root. */
typedef struct om1_region {
    int role;         /* OM1_ROLE_... */
    int parent;       /* the enclosing region, -1 for the root */
    int depth;        /* 0 for the root */
    uint32_t color;   /* 0xRRGGBB; 0 for frames */
    long long pixels; /* pixels the region covers (in the stacked layout with
                         what is drawn on top of it) */
    int loop_count;   /* boundary loops: outer loops clockwise, hole loops the other way */
    int hole_count;   /* regions whose parent this is */
    int hidden;       /* 1: left out by the writers: the empty region of a picture traced with
                         transparency */
    int alpha;        /* opacity 0..255: 255 opaque, 0 the empty region (hidden) */
} om1_region;

OM1C_API int om1_result_region_count(const om1_result* result, int* count);
OM1C_API int om1_result_region(const om1_result* result, int index, om1_region* region);
/* The index of the k-th hole of a region. */
OM1C_API int om1_result_hole(const om1_result* result, int index, int k, int* hole);

/* The exact corner polygon of one boundary loop, as x, y pairs (integers),
 * not closed (the first corner is not repeated). `*count` receives the number
 * of corners; at most `capacity` corners are copied to `xy` (2 * capacity
 * ints), so a call with xy null and capacity 0 asks for the count. */
OM1C_API int om1_result_boundary(const om1_result* result, int index, int loop, int32_t* xy,
                                 size_t capacity, size_t* count);

/* The fitted curve of one boundary loop: 3n + 1 points (start, then two
 * control points and the end of each cubic segment; the last end is the
 * start), as x, y pairs; straight pieces have their control points at the
 * thirds. Count 0 where the exact polygon stands in (polygon option, or a
 * fit that strayed too far). Copies like om1_result_boundary. */
OM1C_API int om1_result_curve(const om1_result* result, int index, int loop, double* xy,
                              size_t capacity, size_t* count);

/* Writes the result in a format ("svg", "json", ...; see om1_format_name) to
 * a new buffer the caller releases with om1_buffer_free. The text is
 * followed by a 0 byte that `*size` does not count. */
OM1C_API int om1_result_write(const om1_result* result, const char* format, char** data,
                              size_t* size);

/* om1_result_write with progress: the share covers the writing. On
 * OM1_CANCELLED nothing is returned. */
OM1C_API int om1_result_write_progress(const om1_result* result, const char* format,
                                       om1_progress_fn progress, void* user, char** data,
                                       size_t* size);

/* Releases a buffer; null does nothing. */
OM1C_API void om1_buffer_free(char* data);

/* The output format names in order, then null; and the usual file extension
 * of each (without the dot). */
OM1C_API const char* om1_format_name(int index);
OM1C_API const char* om1_format_extension(int index);

/* A sentence for an error code (a static string; never null). */
OM1C_API const char* om1_error_message(int code);

/* The library version, "MAJOR.MINOR.PATCH". */
OM1C_API const char* om1_version(void);

#ifdef __cplusplus
}
#endif

#endif /* OM1C_H */
