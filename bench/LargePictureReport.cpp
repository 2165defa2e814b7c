// Report: the peak memory of one trace of a large picture.
//
//   build/default/bench/LargePictureReport [width height]
//
// Traces a picture of a few large shapes (discs and bars on a two-tone
// background, 17 regions) through om1_kvTrace1Bmp and prints the time, the
// number of contours, and the process's peak resident size next to the
// size of the picture itself. The working memory of a trace is a few bytes
// per pixel (index raster, visited map, hierarchy map, owner map of the
// containment tree) plus the chains, so the peak beyond the caller's
// pixels stays a small multiple of the pixel count. Not a test: memory is
// reported here, never asserted.
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "interface/om1.h"

namespace {

long peakKiB() {
    rusage u = {};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_maxrss;  // KiB on Linux
}

int countContours(const KvCtree* root) {
    int n = 0;
    std::vector<const KvCtree*> stack;
    if (root) stack.push_back(root);
    while (!stack.empty()) {
        const KvCtree* t = stack.back();
        stack.pop_back();
        ++n;
        for (KvCtree::Holes* h = t->holes; h; h = h->next) stack.push_back(h->ctree);
    }
    return n;
}

}  // namespace

int main(int argc, char** argv) {
    const long w = argc > 2 ? atol(argv[1]) : 8000, h = argc > 2 ? atol(argv[2]) : 8000;
    if (w < 3 || h < 3 || w * h > 0x7fffffffL) {
        fprintf(stderr, "usage: %s [width height], at most 2^31 - 1 pixels\n", argv[0]);
        return 64;
    }
    const long before = peakKiB();
    std::vector<RGBQUAD> px(static_cast<size_t>(w) * h);
    for (long y = 0; y < h; ++y)
        for (long x = 0; x < w; ++x) {
            RGBQUAD c = x < w / 2 ? RGBQUAD{230, 230, 230, 0} : RGBQUAD{40, 40, 40, 0};
            for (int k = 0; k < 12; ++k) {  // discs on a 4 x 3 grid
                long cx = w * (1 + 2 * (k % 4)) / 8, cy = h * (1 + 2 * (k / 4)) / 6;
                long r = (w < h ? w : h) / 10;
                if ((x - cx) * (x - cx) + (y - cy) * (y - cy) < r * r)
                    c = RGBQUAD{static_cast<BYTE>(20 * k), 0, static_cast<BYTE>(250 - 20 * k), 0};
            }
            if (y > h * 9 / 10 && (x / (w / 4 + 1)) % 2 == 0) c = RGBQUAD{0, 200, 0, 0};  // bars
            px[static_cast<size_t>(y) * w + x] = c;
        }
    const long withPicture = peakKiB();
    KvCtree* t = nullptr;
    auto t0 = std::chrono::steady_clock::now();
    int r = om1_kvTrace1Bmp(t, px.data(), static_cast<int>(w), static_cast<int>(h), 10, 8, 1000000,
                            1, 0.0);
    double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    int contours = countContours(t);
    om1_delKvCTree(t);
    const long peak = peakKiB();
    const double pixels = static_cast<double>(w) * h;
    printf("picture %ld x %ld (%.0f Mpixel, %.0f MiB of pixels)\n", w, h, pixels / 1e6,
           pixels * 4 / 1048576.0);
    printf("result %d, %d contours, %.2f s\n", r, contours, s);
    printf("peak RSS %.0f MiB; before the picture %.0f MiB, with it %.0f MiB\n", peak / 1024.0,
           before / 1024.0, withPicture / 1024.0);
    printf("trace working memory %.2f bytes per pixel\n", (peak - withPicture) * 1024.0 / pixels);
    return r == 0 ? 0 : 1;
}
