/* om1web.h: what the WebAssembly module adds to the C interface (om1c.h)
 * for its JavaScript wrapper: decoding a picture file's bytes into RGBA, and
 * the interface's records as flat arrays of numbers, so that the wrapper
 * reads no C struct layout. Everything else the wrapper calls is om1c.h. */
#ifndef OM1WEB_H
#define OM1WEB_H

#include <stddef.h>
#include <stdint.h>

#include "om1c.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Decodes a PNG, JPEG, BMP or GIF file held in memory (`size` bytes) into
 * width x height pixels of 4 bytes (red, green, blue, alpha), row 0 at the
 * top, in a new buffer the caller releases with om1_buffer_free. Pictures of
 * more than `max_pixels` pixels are refused before their pixels are
 * decoded. OM1_OK; OM1_UNKNOWN_FORMAT when the bytes are no picture it
 * reads (empty, cut short, damaged, another format, more pixels than the
 * limit, smaller than 3 x 3), with `*error` a new text saying why, as the
 * command line says it (released with om1_buffer_free); or
 * OM1_NULL_ARGUMENT, OM1_OUT_OF_MEMORY. */
OM1C_API int om1web_decode(const uint8_t* bytes, size_t size, double max_pixels, char** rgba,
                           int* width, int* height, char** error);

/* A result's counts (om1_stats) as 10 numbers, in the record's order:
 * width, height, regions, holes, frames, paths, segments, loops,
 * curved_loops, corrected_pixels. */
OM1C_API int om1web_stats(const om1_result* result, double* out);

/* One region (om1_region) as 9 numbers, in the record's order: role,
 * parent, depth, color, pixels, loop_count, hole_count, hidden, alpha. */
OM1C_API int om1web_region(const om1_result* result, int index, double* out);

/* One option (om1_option_info): its 6 texts (name, kind, choices,
 * value_name, help, takes; a missing one is null) and its range (min, max). */
OM1C_API int om1web_option(int index, const char** texts, double* range);

/* One option's value in a record as text the option reads back ("4", "on",
 * "ffffff", "auto", "#ff0000,#00ff00"), in a new buffer the caller releases
 * with om1_buffer_free: what a preset sets, for a page that shows it. */
OM1C_API int om1web_option_value(const om1_options* options, int index, char** text);

#ifdef __cplusplus
}
#endif

#endif /* OM1WEB_H */
