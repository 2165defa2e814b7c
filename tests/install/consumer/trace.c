/* A C host built against an installed om1 with pkg-config: traces a square on
 * a white picture and checks what comes back. */
#include <om1c.h>
#include <stdio.h>
#include <string.h>

int main(void) {
    enum { W = 24, H = 20 };
    static uint8_t px[W * H * 4];
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) {
            uint8_t* p = px + 4 * (y * W + x);
            const int inside = x >= 6 && x < 16 && y >= 5 && y < 13;
            p[0] = 255;
            p[1] = p[2] = inside ? 0 : 255;
            p[3] = 255;
        }
    om1_options o;
    if (om1_options_preset(&o, "pixel") != OM1_OK) return 1;
    om1_result* r = NULL;
    const int code = om1_trace_rgba(px, W, H, 4 * W, &o, &r);
    if (code != OM1_OK) {
        fprintf(stderr, "trace: %s\n", om1_error_message(code));
        return 1;
    }
    om1_stats s;
    om1_result_stats(r, &s);
    char* svg = NULL;
    size_t size = 0;
    const int written = om1_result_write(r, "svg", &svg, &size);
    const int ok = written == OM1_OK && s.width == W && s.paths == 2 && strstr(svg, "<svg") != NULL;
    printf("om1c %s: %d x %d, %d paths, %zu bytes of SVG\n", om1_version(), s.width, s.height,
           s.paths, size);
    om1_buffer_free(svg);
    om1_result_free(r);
    return ok ? 0 : 1;
}
