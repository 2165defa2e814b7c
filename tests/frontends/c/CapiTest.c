/* Tests of the C interface, compiled as C99: options by field and by name,
 * the trace of worked pictures with exact boundaries, the writers, and an
 * error code for every bad argument. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "om1c.h"

static int failures = 0;

#define CHECK(cond)                                                            \
    do {                                                                       \
        if (!(cond)) {                                                         \
            fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #cond); \
            ++failures;                                                        \
        }                                                                      \
    } while (0)

#define CHECK_CODE(expr, want)                                                                \
    do {                                                                                      \
        int got_ = (expr);                                                                    \
        if (got_ != (want)) {                                                                 \
            fprintf(stderr, "%s:%d: %s gave %d (%s), wanted %d\n", __FILE__, __LINE__, #expr, \
                    got_, om1_error_message(got_), (int)(want));                              \
            ++failures;                                                                       \
        }                                                                                     \
    } while (0)

/* Fills a w x h block at (x0, y0) of the RGBA rows `stride` bytes apart. */
static void fill(uint8_t* p, int stride, int x0, int y0, int w, int h, uint32_t rgb, uint8_t a) {
    for (int y = y0; y < y0 + h; ++y)
        for (int x = x0; x < x0 + w; ++x) {
            uint8_t* q = p + (size_t)y * (size_t)stride + 4 * (size_t)x;
            q[0] = (uint8_t)(rgb >> 16);
            q[1] = (uint8_t)(rgb >> 8);
            q[2] = (uint8_t)rgb;
            q[3] = a;
        }
}

static void block(uint8_t* p, int stride, int x0, int y0, int w, int h, uint32_t rgb) {
    fill(p, stride, x0, y0, w, h, rgb, 255);
}

/* A width x height RGBA picture, rows `stride` bytes apart, filled with one
 * colour; the padding bytes are 0x5A. */
static uint8_t* picture(int width, int height, int stride, uint32_t rgb, uint8_t alpha) {
    uint8_t* p = (uint8_t*)malloc((size_t)stride * (size_t)height);
    memset(p, 0x5A, (size_t)stride * (size_t)height);
    fill(p, stride, 0, 0, width, height, rgb, alpha);
    return p;
}

/* The index of the first drawn region of colour rgb (each channel at most
 * `within` off), or -1. */
static int regionNear(const om1_result* r, uint32_t rgb, int within) {
    int n = 0;
    om1_result_region_count(r, &n);
    for (int i = 0; i < n; ++i) {
        om1_region g;
        if (om1_result_region(r, i, &g) != OM1_OK || g.role == OM1_ROLE_FRAME) continue;
        int off = 0;
        for (int sh = 0; sh < 24; sh += 8) {
            const int d = (int)((g.color >> sh) & 255) - (int)((rgb >> sh) & 255);
            if (d > off || -d > off) off = d < 0 ? -d : d;
        }
        if (off <= within) return i;
    }
    return -1;
}

static void testOptions(void) {
    om1_options o;
    om1_options_init(&o);
    /* The default is the graphic preset, as the tool's. */
    om1_options graphic;
    memset(&graphic, 0x77, sizeof graphic);
    CHECK_CODE(om1_options_preset(&graphic, "graphic"), OM1_OK);
    CHECK(memcmp(&o, &graphic, sizeof o) == 0);
    CHECK(o.tolerance == 0 && o.min_length == 4 && o.antialias == 1 && o.threshold == -1);
    CHECK(o.max_curve_error == 0.05 && o.max_pixels == 100000000LL && o.background == -1);
    CHECK_CODE(om1_options_check(&o), OM1_OK);

    /* Every name is settable; the list ends with null. */
    int names = 0;
    while (om1_option_name(names)) ++names;
    CHECK(names >= 24);
    CHECK(om1_option_name(-1) == NULL);

    /* Names and values go to the option table (whose rows have their own
     * range and syntax tests): values land in their fields, a refused value
     * leaves its field as it was, an unknown name has its own code. */
    struct {
        const char* name;
        const char* value;
        int code;
    } cases[] = {
        {"polygon", "true", OM1_OK}, /* first: it sets tolerance and min_length to 0 */
        {"tolerance", "100", OM1_OK},
        {"tolerance", "101", OM1_BAD_OPTION},
        {"background", "#10a0Ff", OM1_OK},
        {"filter", "adaptive", OM1_OK},
        {"palette", "#000000,#ffffff", OM1_OK},
        {"palette", "#00000g", OM1_BAD_OPTION},
        {"no_such_option", "1", OM1_UNKNOWN_OPTION},
    };
    om1_options_init(&o);
    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
        int got = om1_options_set(&o, cases[i].name, cases[i].value);
        if (got != cases[i].code) {
            fprintf(stderr, "option %s=%s gave %d, wanted %d\n", cases[i].name, cases[i].value, got,
                    cases[i].code);
            ++failures;
        }
    }
    CHECK(o.tolerance == 100 && o.min_length == 0 && o.polygon == 1 && o.background == 0x10A0FF);
    CHECK(o.filter == OM1_FILTER_ADAPTIVE);
    CHECK(o.palette_count == 2 && o.palette[0] == 0 && o.palette[1] == 0xFFFFFF);
    CHECK_CODE(om1_options_set(NULL, "tolerance", "1"), OM1_NULL_ARGUMENT);
    CHECK_CODE(om1_options_set(&o, NULL, "1"), OM1_NULL_ARGUMENT);
    CHECK_CODE(om1_options_set(&o, "tolerance", NULL), OM1_NULL_ARGUMENT);

    /* Fields set directly are checked by the trace. */
    for (int field = 0; field < 5; ++field) {
        om1_options_init(&o);
        if (field == 0) o.min_length = -1;
        if (field == 1) o.background = 0x1000000;
        if (field == 2) o.filter = 3;
        if (field == 3) o.colors = 1;
        if (field == 4) o.palette_count = 257;
        CHECK_CODE(om1_options_check(&o), OM1_BAD_OPTION);
    }

    CHECK_CODE(om1_options_preset(&o, "pixel"), OM1_OK);
    CHECK(o.polygon == 1 && o.tolerance == 0 && o.min_length == 0 && o.speckle == 0);
    /* (Every preset's values: the README's option table, pinned by the
     * option table's tests.) */
    CHECK_CODE(om1_options_preset(&o, "nope"), OM1_UNKNOWN_OPTION);
    CHECK(om1_preset_name(0) && strcmp(om1_preset_name(0), "graphic") == 0);
    CHECK(om1_preset_name(4) && om1_preset_name(5) == NULL);
}

/* A red 10 x 7 block at (2, 3) on white comes back as exactly the rectangle
 * [2, 12] x [3, 10], in the polygon preset, stacked and cut out. */
static void testRedBlock(void) {
    const int w = 20, h = 16;
    uint8_t* p = picture(w, h, 4 * w, 0xFFFFFF, 255);
    block(p, 4 * w, 2, 3, 10, 7, 0xFF0000);
    for (int cutout = 0; cutout <= 1; ++cutout) {
        om1_options o;
        om1_options_preset(&o, "pixel");
        o.cutout = cutout;
        om1_result* r = NULL;
        CHECK_CODE(om1_trace_rgba(p, w, h, 4 * w, &o, &r), OM1_OK);
        if (!r) continue;
        int red = regionNear(r, 0xFF0000, 0), white = regionNear(r, 0xFFFFFF, 0);
        CHECK(red >= 0 && white >= 0);
        om1_region g;
        CHECK_CODE(om1_result_region(r, red, &g), OM1_OK);
        CHECK(g.pixels == 70 && g.loop_count == 1 && g.hole_count == 0 && g.hidden == 0);
        size_t count = 0;
        CHECK_CODE(om1_result_boundary(r, red, 0, NULL, 0, &count), OM1_OK);
        CHECK(count == 4);
        /* Clockwise on the picture, from the top left corner. */
        int32_t xy[8] = {0};
        const int32_t corners[8] = {2, 3, 12, 3, 12, 10, 2, 10};
        CHECK_CODE(om1_result_boundary(r, red, 0, xy, 4, &count), OM1_OK);
        CHECK(memcmp(xy, corners, sizeof xy) == 0);
        /* The polygon preset fits no curves. */
        CHECK_CODE(om1_result_curve(r, red, 0, NULL, 0, &count), OM1_OK);
        CHECK(count == 0);

        /* The white region: in the stacked layout the whole picture with the
         * red block as its hole; cut out, the picture less the block. */
        CHECK_CODE(om1_result_region(r, white, &g), OM1_OK);
        CHECK(g.pixels == (cutout ? w * h - 70 : w * h));
        CHECK(g.loop_count == (cutout ? 2 : 1));
        if (!cutout) {
            int hole = -1;
            CHECK(g.hole_count == 1);
            CHECK_CODE(om1_result_hole(r, white, 0, &hole), OM1_OK);
            CHECK(hole == red);
            CHECK_CODE(om1_result_hole(r, white, 1, &hole), OM1_BAD_INDEX);
            om1_region rg;
            om1_result_region(r, red, &rg);
            CHECK(rg.parent == white && rg.depth == g.depth + 1 && rg.role == OM1_ROLE_HOLE);
        }

        om1_stats s;
        CHECK_CODE(om1_result_stats(r, &s), OM1_OK);
        CHECK(s.width == w && s.height == h && s.paths == 2 && s.regions == 2);
        CHECK(s.segments == 4 + (cutout ? 8 : 4) && s.curved_loops == 0);
        om1_result_free(r);
    }
    free(p);
}

/* Padded rows give the same result as packed ones; writers give text with
 * the size they report, ended by a 0 byte. */
static void testStrideAndWriters(void) {
    const int w = 30, h = 24;
    uint8_t* packed = picture(w, h, 4 * w, 0x2040A0, 255);
    uint8_t* padded = picture(w, h, 4 * w + 12, 0x2040A0, 255);
    block(packed, 4 * w, 5, 4, 15, 12, 0xF0C020);
    block(padded, 4 * w + 12, 5, 4, 15, 12, 0xF0C020);
    om1_result *a = NULL, *b = NULL;
    CHECK_CODE(om1_trace_rgba(packed, w, h, 4 * w, NULL, &a), OM1_OK);
    CHECK_CODE(om1_trace_rgba(padded, w, h, 4 * w + 12, NULL, &b), OM1_OK);
    int formats = 0;
    for (; om1_format_name(formats); ++formats) {
        char *ta = NULL, *tb = NULL;
        size_t sa = 0, sb = 0;
        CHECK_CODE(om1_result_write(a, om1_format_name(formats), &ta, &sa), OM1_OK);
        CHECK_CODE(om1_result_write(b, om1_format_extension(formats), &tb, &sb), OM1_OK);
        CHECK(ta && tb && sa > 0 && sa == sb && memcmp(ta, tb, sa) == 0);
        CHECK(ta && ta[sa] == 0);
        om1_buffer_free(ta);
        om1_buffer_free(tb);
    }
    CHECK(formats >= 2);
    char* text = NULL;
    size_t size = 0;
    CHECK_CODE(om1_result_write(a, "svg", &text, &size), OM1_OK);
    CHECK(text && strstr(text, "<svg") && strstr(text, "viewBox=\"0 0 30 24\""));
    CHECK(text && strstr(text, "fill=\"#f0c020\"") && strstr(text, "fill=\"#2040a0\""));
    om1_buffer_free(text);
    CHECK_CODE(om1_result_write(a, ".JSON", &text, &size), OM1_OK);
    CHECK(text && text[0] == '{' && strstr(text, "\"width\": 30"));
    om1_buffer_free(text);
    CHECK_CODE(om1_result_write(a, "bmp", &text, &size), OM1_UNKNOWN_FORMAT);
    CHECK(text == NULL && size == 0);
    CHECK_CODE(om1_result_write(a, NULL, &text, &size), OM1_NULL_ARGUMENT);
    CHECK_CODE(om1_result_write(a, "svg", NULL, &size), OM1_NULL_ARGUMENT);
    CHECK_CODE(om1_result_write(a, "svg", &text, NULL), OM1_NULL_ARGUMENT);
    CHECK_CODE(om1_result_write(NULL, "svg", &text, &size), OM1_NULL_ARGUMENT);
    om1_result_free(a);
    om1_result_free(b);
    free(packed);
    free(padded);
}

/* An anti-aliased disc large enough for curves: its loop keeps a fitted
 * closed curve of 3n + 1 points that starts and ends in the same point (a
 * hard-edged disc keeps its exact staircase, which is truer to it). */
static void testCurves(void) {
    const int w = 64, h = 64;
    uint8_t* p = picture(w, h, 4 * w, 0xFFFFFF, 255);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            int in = 0; /* of 8 x 8 samples */
            for (int j = 0; j < 8; ++j)
                for (int i = 0; i < 8; ++i) {
                    const double dx = x + (i + 0.5) / 8 - 32.3, dy = y + (j + 0.5) / 8 - 31.8;
                    in += dx * dx + dy * dy < 24.2 * 24.2;
                }
            const uint32_t white = (uint32_t)(255 * (64 - in) / 64);
            if (in) block(p, 4 * w, x, y, 1, 1, white << 16 | white << 8 | 0xFF);
        }
    om1_result* r = NULL;
    CHECK_CODE(om1_trace_rgba(p, w, h, 4 * w, NULL, &r), OM1_OK);
    int disc = r ? regionNear(r, 0x0000FF, 16) : -1;
    CHECK(disc >= 0);
    if (disc >= 0) {
        size_t count = 0;
        CHECK_CODE(om1_result_curve(r, disc, 0, NULL, 0, &count), OM1_OK);
        CHECK(count >= 4 && (count - 1) % 3 == 0);
        double* xy = (double*)malloc(2 * count * sizeof(double));
        size_t again = 0;
        CHECK_CODE(om1_result_curve(r, disc, 0, xy, count, &again), OM1_OK);
        CHECK(again == count && xy[0] == xy[2 * count - 2] && xy[1] == xy[2 * count - 1]);
        CHECK(xy[0] >= 7 && xy[0] <= 57 && xy[1] >= 7 && xy[1] <= 57);
        /* A short buffer gets what fits, and the full count. */
        xy[2] = -1;
        CHECK_CODE(om1_result_curve(r, disc, 0, xy, 1, &again), OM1_OK);
        CHECK(again == count && xy[2] == -1);
        free(xy);
        om1_stats s;
        om1_result_stats(r, &s);
        CHECK(s.curved_loops >= 1 && s.segments > 4);
    }
    om1_result_free(r);
    free(p);
}

/* Transparency is traced by default: the region of transparent pixels is
 * kept in the tree with alpha 0, hidden from the writers; a background
 * colour composites the picture (its region is drawn); the transparent
 * option keeps the transparency with a background colour too. */
static void testTransparent(void) {
    const int w = 16, h = 12;
    uint8_t* p = picture(w, h, 4 * w, 0x000000, 0);
    block(p, 4 * w, 4, 3, 6, 5, 0x00FF00);
    om1_options o;
    om1_options_preset(&o, "pixel");
    om1_result* r = NULL;
    for (int run = 0; run < 3; ++run) {
        o.background = run == 0 ? -1 : 0xFFFFFF;
        o.transparent = run == 2;
        const int kept = run != 1;
        CHECK_CODE(om1_trace_rgba(p, w, h, 4 * w, &o, &r), OM1_OK);
        if (!r) continue;
        int n = 0, empty = 0, green = 0;
        om1_result_region_count(r, &n);
        for (int i = 0; i < n; ++i) {
            om1_region g;
            CHECK_CODE(om1_result_region(r, i, &g), OM1_OK);
            if (g.role == OM1_ROLE_FRAME) continue;
            if (g.alpha == 0) empty += g.hidden == 1 && g.loop_count == 0;
            if (g.color == 0x00FF00) green += g.alpha == 255 && g.hidden == 0;
        }
        CHECK(empty == kept && green == 1);
        CHECK((regionNear(r, 0xFFFFFF, 0) >= 0) == !kept);
        char* svg = NULL;
        size_t size = 0;
        CHECK_CODE(om1_result_write(r, "svg", &svg, &size), OM1_OK);
        CHECK(svg && (strstr(svg, "#ffffff") != NULL) == !kept && strstr(svg, "#00ff00"));
        om1_buffer_free(svg);
        om1_result_free(r);
    }
    free(p);
}

/* Every bad argument has its code, and *out is null after a failure. */
static void testBadArguments(void) {
    uint8_t* p = picture(8, 8, 32, 0x808080, 255);
    om1_options o;
    om1_options_init(&o);
    om1_result* r = (om1_result*)p; /* must be reset to null */
    CHECK_CODE(om1_trace_rgba(NULL, 8, 8, 32, NULL, &r), OM1_NULL_ARGUMENT);
    CHECK(r == NULL);
    CHECK_CODE(om1_trace_rgba(p, 8, 8, 32, NULL, NULL), OM1_NULL_ARGUMENT);
    struct {
        int w, h, stride, code;
    } sizes[] = {
        {0, 8, 32, OM1_BAD_SIZE},
        {8, 0, 32, OM1_BAD_SIZE},
        {-8, 8, 32, OM1_BAD_SIZE},
        {8, -1, 32, OM1_BAD_SIZE},
        {100000, 100000, 400000, OM1_BAD_SIZE},
        {2147483647, 2147483647, 2147483647, OM1_BAD_SIZE},
        {1, 1, 4, OM1_TOO_SMALL},
        {2, 8, 32, OM1_TOO_SMALL},
        {8, 2, 32, OM1_TOO_SMALL},
        {8, 8, 31, OM1_BAD_STRIDE},
        {8, 8, -32, OM1_BAD_STRIDE},
        {3, 3, 12, OM1_OK},
    };
    for (size_t i = 0; i < sizeof sizes / sizeof sizes[0]; ++i) {
        r = (om1_result*)p;
        int got = om1_trace_rgba(p, sizes[i].w, sizes[i].h, sizes[i].stride, &o, &r);
        if (got != sizes[i].code) {
            fprintf(stderr, "size %d x %d stride %d gave %d, wanted %d\n", sizes[i].w, sizes[i].h,
                    sizes[i].stride, got, sizes[i].code);
            ++failures;
        }
        CHECK((got == OM1_OK) == (r != NULL));
        om1_result_free(got == OM1_OK ? r : NULL);
    }
    o.max_pixels = 63;
    CHECK_CODE(om1_trace_rgba(p, 8, 8, 32, &o, &r), OM1_BAD_SIZE);
    om1_options_init(&o);
    o.tolerance = -1;
    CHECK_CODE(om1_trace_rgba(p, 8, 8, 32, &o, &r), OM1_BAD_OPTION);
    om1_options_init(&o);
    o.max_curve_error = -0.5;
    CHECK_CODE(om1_trace_rgba(p, 8, 8, 32, &o, &r), OM1_BAD_OPTION);

    /* Too many outlines: a checkerboard of blocks with a limit of one. */
    uint8_t* board = picture(40, 40, 160, 0xFFFFFF, 255);
    for (int by = 0; by < 5; ++by)
        for (int bx = 0; bx < 5; ++bx)
            if ((bx + by) % 2) block(board, 160, 8 * bx, 8 * by, 8, 8, 0x000000);
    om1_options_preset(&o, "plain"); /* no stages: every block stays */
    o.max_outlines = 1;
    CHECK_CODE(om1_trace_rgba(board, 40, 40, 160, &o, &r), OM1_LIMIT_EXCEEDED);
    CHECK(r == NULL);
    /* Two colours: the pixel preset has no colour limit, a limit of one
     * refuses them before the trace. */
    om1_options_preset(&o, "pixel");
    CHECK(o.max_colors == 0);
    CHECK_CODE(om1_trace_rgba(board, 40, 40, 160, &o, &r), OM1_OK);
    om1_result_free(r);
    CHECK_CODE(om1_options_set(&o, "max_colors", "1"), OM1_OK);
    CHECK_CODE(om1_trace_rgba(board, 40, 40, 160, &o, &r), OM1_TOO_MANY_COLORS);
    CHECK(r == NULL);
    CHECK(strstr(om1_error_message(OM1_TOO_MANY_COLORS), "max_colors") != NULL);
    free(board);

    /* Accessors. */
    CHECK_CODE(om1_trace_rgba(p, 8, 8, 32, NULL, &r), OM1_OK);
    int n = -1;
    om1_region g;
    size_t count = 0;
    int32_t xy[2];
    CHECK_CODE(om1_result_region_count(r, &n), OM1_OK);
    CHECK(n >= 1);
    CHECK_CODE(om1_result_region_count(NULL, &n), OM1_NULL_ARGUMENT);
    CHECK_CODE(om1_result_region_count(r, NULL), OM1_NULL_ARGUMENT);
    CHECK_CODE(om1_result_region(r, n, &g), OM1_BAD_INDEX);
    CHECK_CODE(om1_result_region(r, -1, &g), OM1_BAD_INDEX);
    CHECK_CODE(om1_result_region(r, 0, NULL), OM1_NULL_ARGUMENT);
    CHECK_CODE(om1_result_boundary(r, 0, 99, NULL, 0, &count), OM1_BAD_INDEX);
    CHECK_CODE(om1_result_boundary(r, 0, -1, NULL, 0, &count), OM1_BAD_INDEX);
    CHECK_CODE(om1_result_boundary(r, 0, 0, NULL, 1, &count), OM1_NULL_ARGUMENT);
    CHECK_CODE(om1_result_boundary(r, 0, 0, xy, 1, NULL), OM1_NULL_ARGUMENT);
    CHECK_CODE(om1_result_curve(r, n + 5, 0, NULL, 0, &count), OM1_BAD_INDEX);
    CHECK_CODE(om1_result_hole(r, 0, -1, &n), OM1_BAD_INDEX);
    CHECK_CODE(om1_result_stats(r, NULL), OM1_NULL_ARGUMENT);
    om1_result_free(r);
    om1_result_free(NULL);
    om1_buffer_free(NULL);
    free(p);

    /* Every code has its own sentence. */
    for (int code = OM1_OK; code <= OM1_TOO_MANY_COLORS; ++code) {
        CHECK(strcmp(om1_error_message(code), "unknown error code") != 0);
        for (int other = OM1_OK; other < code; ++other)
            CHECK(strcmp(om1_error_message(code), om1_error_message(other)) != 0);
    }
    CHECK(strcmp(om1_error_message(-7), "unknown error code") == 0);
    CHECK(strlen(om1_version()) >= 5);
}

/* Records the shares it hears and answers 0 (stop) from call `stopAt` on
 * (never when negative). */
typedef struct Listener {
    int calls, stopAt;
    double first, last;
    int backwards;
} Listener;

static int listen(double share, void* user) {
    Listener* l = (Listener*)user;
    if (l->calls == 0) l->first = share;
    if (share < l->last) l->backwards = 1;
    l->last = share;
    const int go = l->stopAt < 0 || l->calls < l->stopAt;
    ++l->calls;
    return go;
}

/* Progress from 0 to 1 over the trace and again over the writing, with the
 * same output as without; a stop ends either call in OM1_CANCELLED with
 * nothing returned. */
static void testProgress(void) {
    uint8_t* p = picture(40, 30, 160, 0xFFFFFF, 255);
    block(p, 160, 5, 5, 12, 10, 0xC81E28);
    om1_result *plain = NULL, *r = NULL;
    char *expected = NULL, *svg = NULL;
    size_t expectedSize = 0, size = 0;
    CHECK_CODE(om1_trace_rgba(p, 40, 30, 160, NULL, &plain), OM1_OK);
    CHECK_CODE(om1_result_write(plain, "svg", &expected, &expectedSize), OM1_OK);

    Listener l = {0, -1, -1, -1, 0};
    CHECK_CODE(om1_trace_rgba_progress(p, 40, 30, 160, NULL, listen, &l, &r), OM1_OK);
    CHECK(l.first == 0 && l.last == 1 && !l.backwards);
    Listener w = {0, -1, -1, -1, 0};
    CHECK_CODE(om1_result_write_progress(r, "svg", listen, &w, &svg, &size), OM1_OK);
    CHECK(w.first == 0 && w.last == 1 && !w.backwards);
    CHECK(size == expectedSize && svg && memcmp(svg, expected, size) == 0);
    om1_buffer_free(svg);

    Listener stop = {0, 0, -1, -1, 0};
    om1_result* none = (om1_result*)1;
    CHECK_CODE(om1_trace_rgba_progress(p, 40, 30, 160, NULL, listen, &stop, &none), OM1_CANCELLED);
    CHECK(none == NULL);
    Listener stopWrite = {0, 0, -1, -1, 0};
    svg = (char*)1;
    CHECK_CODE(om1_result_write_progress(r, "svg", listen, &stopWrite, &svg, &size), OM1_CANCELLED);
    CHECK(svg == NULL && size == 0);
    CHECK(strstr(om1_error_message(OM1_CANCELLED), "cancel") != NULL);
    /* No callback: as om1_trace_rgba. */
    om1_result* again = NULL;
    CHECK_CODE(om1_trace_rgba_progress(p, 40, 30, 160, NULL, NULL, NULL, &again), OM1_OK);
    om1_result_free(again);
    om1_buffer_free(expected);
    om1_result_free(r);
    om1_result_free(plain);
    free(p);
}

int main(void) {
    testOptions();
    testRedBlock();
    testStrideAndWriters();
    testCurves();
    testTransparent();
    testBadArguments();
    testProgress();
    if (failures) fprintf(stderr, "%d check(s) failed\n", failures);
    return failures ? 1 : 0;
}
