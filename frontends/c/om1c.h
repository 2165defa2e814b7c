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

/* Error codes. 1 and 2 are the tracer's own results. */
typedef enum om1_status {
    OM1_OK = 0,
    OM1_NO_OUTLINES = 1,     /* nothing was traced */
    OM1_LIMIT_EXCEEDED = 2,  /* more outlines than max_outlines */
    OM1_NULL_ARGUMENT = 3,   /* a required pointer was null */
    OM1_BAD_SIZE = 4,        /* width or height below 1, or more pixels than max_pixels */
    OM1_TOO_SMALL = 5,       /* a picture narrower or lower than 3 pixels */
    OM1_BAD_STRIDE = 6,      /* stride below 4 * width */
    OM1_BAD_OPTION = 7,      /* an option out of its range */
    OM1_UNKNOWN_OPTION = 8,  /* no option or preset of that name */
    OM1_UNKNOWN_FORMAT = 9,  /* no output format of that name */
    OM1_BAD_INDEX = 10,      /* a region, loop or hole index out of range */
    OM1_OUT_OF_MEMORY = 11,  /* memory ran out */
    OM1_INTERNAL_ERROR = 12, /* an unexpected failure inside the library */
    OM1_TOO_MANY_COLORS = 13 /* more colours than max_colors (after the colour stages) */
} om1_status;

/* Region roles. A frame is a container without colour of its own; it is not
 * drawn and has no boundary. */
enum { OM1_ROLE_OUTLINE = 0, OM1_ROLE_HOLE = 1, OM1_ROLE_FRAME = 2 };

/* Pre-filters (the filter option). */
enum { OM1_FILTER_NONE = 0, OM1_FILTER_QUADRANT = 1, OM1_FILTER_ADAPTIVE = 2 };

/* The settings of one trace. Always start from om1_options_init (or
 * om1_options_preset): new settings are appended at the end with defaults.
 * The defaults are the "graphic" preset's (as om1trace's); in brackets the
 * value without a preset. The stages (threshold to spots) run on a copy
 * of the picture before the trace, in the order listed. */
typedef struct om1_options {
    int tolerance;           /* colour tolerance in percent, 0..100 (10; graphic 0) */
    int min_length;          /* outlines of fewer chain steps are dropped, >= 0 (4) */
    int max_outlines;        /* outline limit, >= 1 (1000000); more: OM1_LIMIT_EXCEEDED */
    int curve_tolerance;     /* straight-line tolerance of the curve fit, pixels, 0..1000 (1) */
    int polygon;             /* 1: exact corner polygons, no curves (0) */
    int cutout;              /* 1: every region once as its own area, nothing stacked (0) */
    double max_curve_error;  /* a fitted curve is kept only within this many square
                                pixels per boundary step of the exact boundary, >= 0 (0.05) */
    long long max_pixels;    /* larger pictures are refused with OM1_BAD_SIZE, >= 9 (100000000) */
    int background;          /* 0xRRGGBB under transparent pixels (0xFFFFFF) */
    int transparent;         /* 1: writers leave out regions that were fully transparent (0) */
    int fixed_seeds;         /* 1: the entry points' nine fixed seeds (0: a seed in one colour) */
    int threshold;           /* 0..255: luminance below it black, else white; 256: chosen
                                from the picture (Otsu; "auto" by name); -1 off (-1) */
    int filter;              /* OM1_FILTER_... (none) */
    int filter_radius;       /* filter quadrant side - 1, 1..8 (1) */
    int filter_tolerance;    /* per-channel run tolerance of the adaptive filter, 0..255 (24) */
    int colors;              /* quantise to 2..256 colours; 0 off (0) */
    int antialias;           /* 1: thin bands of in-between colours join a side (0; graphic 1) */
    int antialias_radius;    /* how far a band pixel looks for flat regions, 1..64 (2) */
    int antialias_tolerance; /* largest distance from the line between two colours, 0..765 (40) */
    int speckle; /* regions below this many pixels join their surroundings (0; graphic 2) */
    double speckle_share; /* the speckle area is at least this share of the picture\'s area, 0..1 */
    int restitute;        /* 1: regions take the mean colour of the input pixels they cover (0) */
    double merge;         /* neighbouring regions merge while a union adds at most this times
                             128 x the picture's side to the squared error; 0 off (graphic 20) */
    double merge_psnr;    /* ... or while the regions' means stay this many dB from the input,
                             0..100; 0 off (photo 30) */
    int merge_means;      /* 1: merged regions take their mean input colour; 0: the colour of
                             their larger part, keeping the palette (1; setting colors or
                             palette by name sets 0) */
    int spots;            /* the two-pass spot clean-up absorbs spots up to this area; 0 off (0) */
    int max_paths;        /* raise the speckle area until at most this many paths; 0 off (0) */
    int palette_count;    /* 0..256 entries of palette; > 0 snaps every pixel to one (0) */
    uint32_t palette[256]; /* 0xRRGGBB */
    int max_colors;        /* more distinct colours after the stages up to antialias: nothing is
                              traced, OM1_TOO_MANY_COLORS; 0 no limit (0) */
} om1_options;

/* Sets the defaults (the "graphic" preset). */
OM1C_API void om1_options_init(om1_options* options);

/* sizeof(om1_options) of this library, for hosts that allocate the record
 * without this header (bindings that set options by name). */
OM1C_API size_t om1_options_size(void);

/* Sets a preset's values (all other fields to their defaults): "graphic"
 * (flat colours with anti-aliased edges; the default), "photo" (natural
 * pictures: 16 colours, regions merged while the picture stays at 30 dB),
 * "bw" (black and white by luminance), "pixel" (hard-edged pixel art: exact
 * colours, every region kept, exact polygons), "plain"
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

/* The option names in order, then null: for hosts that set options by name. */
OM1C_API const char* om1_option_name(int index);

/* OM1_OK, or OM1_BAD_OPTION when a field is out of its range. */
OM1C_API int om1_options_check(const om1_options* options);

/* The preset names in order, then null. */
OM1C_API const char* om1_preset_name(int index);

typedef struct om1_result om1_result;

/* Traces width x height pixels, 4 bytes each (red, green, blue, alpha), rows
 * `stride` bytes apart, row 0 at the top. Transparent pixels are composited
 * over the background colour. `options` null means the defaults. On OM1_OK
 * `*out` is a new result the caller releases with om1_result_free;
 * otherwise `*out` is null. The pixels are only read. */
OM1C_API int om1_trace_rgba(const uint8_t* pixels, int width, int height, int stride,
                            const om1_options* options, om1_result** out);

/* Releases a result; null does nothing. */
OM1C_API void om1_result_free(om1_result* result);

/* Counts over a whole result. */
typedef struct om1_stats {
    int width, height;
    int regions;                /* regions with a colour (outlines and holes) */
    int holes;                  /* of which holes */
    int frames;                 /* containers without colour */
    int paths;                  /* regions drawn by the writers */
    long long segments;         /* curve segments and polygon edges drawn */
    long long loops;            /* boundary loops */
    long long curved_loops;     /* loops kept as fitted curves */
    long long corrected_pixels; /* pixels moved to match the picture */
} om1_stats;

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
    int hidden;       /* 1: left out by the writers (transparent option) */
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
