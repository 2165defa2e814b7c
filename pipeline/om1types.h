/* om1types.h: the plain C types every om1 front end shares: the status
 * codes, the options record of one trace and the counts of a result. The
 * pipeline (om1::vectorize) takes the record as it stands, so the C
 * interface passes a host's record through unchanged; the option table
 * (pipeline/OptionTable) names, checks and documents every field. C99; no
 * C++ type appears here. */
#ifndef OM1TYPES_H
#define OM1TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Error codes. 1 and 2 are the tracer's own results. */
typedef enum om1_status {
    OM1_OK = 0,
    OM1_NO_OUTLINES = 1,      /* nothing was traced */
    OM1_LIMIT_EXCEEDED = 2,   /* more outlines than max_outlines */
    OM1_NULL_ARGUMENT = 3,    /* a required pointer was null */
    OM1_BAD_SIZE = 4,         /* width or height below 1, or more pixels than max_pixels */
    OM1_TOO_SMALL = 5,        /* a picture narrower or lower than 3 pixels */
    OM1_BAD_STRIDE = 6,       /* stride below 4 * width */
    OM1_BAD_OPTION = 7,       /* an option out of its range */
    OM1_UNKNOWN_OPTION = 8,   /* no option or preset of that name */
    OM1_UNKNOWN_FORMAT = 9,   /* no output format of that name */
    OM1_BAD_INDEX = 10,       /* a region, loop or hole index out of range */
    OM1_OUT_OF_MEMORY = 11,   /* memory ran out */
    OM1_INTERNAL_ERROR = 12,  /* an unexpected failure inside the library */
    OM1_TOO_MANY_COLORS = 13, /* more colours than max_colors (after the colour stages) */
    OM1_WRITE_FAILED = 14,    /* the output stream failed while it was written */
    OM1_CANCELLED = 15        /* the host's progress callback asked to stop */
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
    int background;          /* 0xRRGGBB: composite transparent pixels over it and trace the
                                picture as opaque; -1: trace transparency (fully transparent
                                pixels stay empty, partial alpha becomes the regions'
                                opacity); EPS and DXF flatten opacity onto it (white at -1)
                                (-1) */
    int transparent;         /* 1: trace transparency even with a background colour (0) */
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
    int alpha_levels;      /* transparency: steps of partial opacity kept when the colours are
                              reduced, 0..64; 0: every pixel opaque or empty by whether it is
                              at least half covered (0; graphic and photo 4) */
    int exact_regions;     /* 1: at tolerance 0, take the regions from one labelling of the
                              prepared picture, in time proportional to its pixels, instead of
                              the library's tracer (1; plain 0) */
    int threads;           /* threads for one picture's curve fits and a large picture's
                              stages, 0..1024; 0: one per core (the result is the same for any
                              number) (0) */
    double merge_drop;     /* the unions below merge's cost stop once the regions' means are this
                              many dB (PSNR) further from the input than before the merging,
                              0..100; 0 no bound (photo 3) */
} om1_options;

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

#ifdef __cplusplus
}
#endif

#endif /* OM1TYPES_H */
