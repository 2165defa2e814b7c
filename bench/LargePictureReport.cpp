// Report: one trace of a large picture: its time and peak memory, and whether
// the traced tree matches the picture.
//
//   build/default/bench/LargePictureReport [width height] [--tool PATH]
//
// Traces a picture of a few large shapes (discs and bars on a two-tone
// background, 17 regions) through om1_kvTrace1Bmp and prints the time, the
// number of contours, and the process's peak resident size next to the
// size of the picture itself. The working memory of a trace is a few bytes
// per pixel (index raster, visited map, hierarchy map, owner map of the
// containment tree) plus the chains, so the peak beyond the caller's
// pixels stays a small multiple of the pixel count. Memory is reported
// here, never asserted. Measured (optimised build, 2 busy cores): 8000 x 6000
// peaks at 279 MiB (183 MiB of it the picture), 11544 x 8658 (100 million
// pixels) at 571 MiB (381 MiB), 18918 x 14188, near the limit of 2^28 - 1
// pixels, at 1500 MiB (1024 MiB) in 96 s: about 2 bytes a pixel beyond the
// caller's pixels. The tool (default preset) peaks at 1.4, 2.8 and 7.4 GiB.
//
// Then it paints the tree into a label raster (shapes/LabelRaster) and counts
// the pixels whose label's colour is not theirs (the correction the writers
// make). The light background alone is about half the picture: 23 million
// pixels at 8000 x 6000, well past the 2^32 / 250 = 17.2 million samples at
// which a 32-bit sum of one colour byte would wrap; a region must keep its
// colour however large it grows. With --tool it also writes the picture as a
// BMP file in /tmp, traces it with that om1trace (default settings, --stats,
// --max-pixels of the picture) and reads the tool's own correction count.
// The exit status is 1 when a trace fails or either count is above 0.1 % of
// the picture (this hard-edged picture needs none at any size).
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "interface/om1.h"
#include "shapes/LabelRaster.h"

namespace {

const double kMaxCorrectedShare = 0.001;

long peakKiB(int who = RUSAGE_SELF) {
    rusage u = {};
    getrusage(who, &u);
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

std::vector<RGBQUAD> makePicture(long w, long h) {
    std::vector<RGBQUAD> px(static_cast<size_t>(w) * h);
    for (long y = 0; y < h; ++y)
        for (long x = 0; x < w; ++x) {
            RGBQUAD c = x < w * 3 / 4 ? RGBQUAD{250, 250, 250, 0} : RGBQUAD{40, 40, 40, 0};
            for (int k = 0; k < 12; ++k) {  // discs on a 4 x 3 grid
                long cx = w * (1 + 2 * (k % 4)) / 8, cy = h * (1 + 2 * (k / 4)) / 6;
                long r = (w < h ? w : h) / 10;
                if ((x - cx) * (x - cx) + (y - cy) * (y - cy) < r * r)
                    c = RGBQUAD{static_cast<BYTE>(20 * k), 0, static_cast<BYTE>(250 - 20 * k), 0};
            }
            if (y > h * 9 / 10 && (x / (w / 4 + 1)) % 2 == 0) c = RGBQUAD{0, 200, 0, 0};  // bars
            px[static_cast<size_t>(y) * w + x] = c;
        }
    return px;
}

// A 24-bit bottom-up BMP.
bool writeBmp(const char* path, const std::vector<RGBQUAD>& px, long w, long h) {
    const long row = (w * 3 + 3) / 4 * 4;
    const unsigned long long image = static_cast<unsigned long long>(row) * h;
    if (image + 54 > 0xffffffffULL) return false;
    unsigned char head[54] = {'B', 'M'};
    auto put32 = [&head](int at, unsigned long v) {
        for (int i = 0; i < 4; ++i) head[at + i] = static_cast<unsigned char>(v >> (8 * i));
    };
    put32(2, static_cast<unsigned long>(image + 54));
    put32(10, 54);
    put32(14, 40);
    put32(18, static_cast<unsigned long>(w));
    put32(22, static_cast<unsigned long>(h));
    head[26] = 1;
    head[28] = 24;
    put32(34, static_cast<unsigned long>(image));
    FILE* f = fopen(path, "wb");
    if (!f) return false;
    bool ok = fwrite(head, 1, sizeof head, f) == sizeof head;
    std::vector<unsigned char> line(static_cast<size_t>(row), 0);
    for (long y = h - 1; ok && y >= 0; --y) {
        const RGBQUAD* p = &px[static_cast<size_t>(y) * w];
        for (long x = 0; x < w; ++x) {
            line[3 * x] = p[x].rgbBlue;
            line[3 * x + 1] = p[x].rgbGreen;
            line[3 * x + 2] = p[x].rgbRed;
        }
        ok = fwrite(line.data(), 1, line.size(), f) == line.size();
    }
    return fclose(f) == 0 && ok;
}

// Traces the picture with the tool; the tool's correction count, -1 when it
// failed or printed none.
long long traceWithTool(const std::string& tool, const std::vector<RGBQUAD>& px, long w, long h) {
    char bmp[] = "/tmp/om1-large-XXXXXX";
    int fd = mkstemp(bmp);
    if (fd < 0) return -1;
    close(fd);
    const std::string svg = std::string(bmp) + ".svg";
    long long corrected = -1;
    if (writeBmp(bmp, px, w, h)) {
        const std::string cmd = "'" + tool + "' '" + bmp + "' -o '" + svg +
                                "' --format svg --stats --max-pixels " + std::to_string(w * h) +
                                " 2>&1";
        auto t0 = std::chrono::steady_clock::now();
        FILE* p = popen(cmd.c_str(), "r");
        char text[1024];
        while (p && fgets(text, sizeof text, p)) {
            fputs(text, stdout);
            const char* at = strstr(text, " pixels corrected");
            if (!at) continue;
            const char* b = at;
            while (b > text && b[-1] >= '0' && b[-1] <= '9') --b;
            if (b < at) corrected = atoll(b);
        }
        const int status = p ? pclose(p) : -1;
        double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        if (status != 0) corrected = -1;
        printf("tool: status %d, %.2f s, peak RSS %.0f MiB\n", status, s,
               peakKiB(RUSAGE_CHILDREN) / 1024.0);
    } else {
        fprintf(stderr, "cannot write %s\n", bmp);
    }
    remove(bmp);
    remove(svg.c_str());
    return corrected;
}

bool smallShare(const char* what, long long corrected, double pixels) {
    const bool ok = corrected >= 0 && corrected <= kMaxCorrectedShare * pixels;
    printf("%s: %lld pixels corrected (%.4f %% of the picture) %s\n", what, corrected,
           corrected * 100.0 / pixels, ok ? "ok" : "FAILED");
    return ok;
}

}  // namespace

int main(int argc, char** argv) {
    std::string tool;
    std::vector<const char*> sizes;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--tool") == 0 && i + 1 < argc)
            tool = argv[++i];
        else
            sizes.push_back(argv[i]);
    }
    const long w = sizes.size() == 2 ? atol(sizes[0]) : 8000;
    const long h = sizes.size() == 2 ? atol(sizes[1]) : 8000;
    if ((sizes.size() != 0 && sizes.size() != 2) || w < 3 || h < 3 || w * h > 0x0fffffffL) {
        fprintf(stderr, "usage: %s [width height] [--tool PATH], at most 2^28 - 1 pixels\n",
                argv[0]);
        return 64;
    }
    const long before = peakKiB();
    std::vector<RGBQUAD> px = makePicture(w, h);
    const long withPicture = peakKiB();
    KvCtree* t = nullptr;
    auto t0 = std::chrono::steady_clock::now();
    int r = om1_kvTrace1Bmp(t, px.data(), static_cast<int>(w), static_cast<int>(h), 10, 8, 1000000,
                            1, 0.0);
    double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    const long peak = peakKiB();
    const double pixels = static_cast<double>(w) * h;
    printf("picture %ld x %ld (%.0f Mpixel, %.0f MiB of pixels)\n", w, h, pixels / 1e6,
           pixels * 4 / 1048576.0);
    printf("result %d, %d contours, %.2f s\n", r, countContours(t), s);
    printf("peak RSS %.0f MiB; before the picture %.0f MiB, with it %.0f MiB\n", peak / 1024.0,
           before / 1024.0, withPicture / 1024.0);
    printf("trace working memory %.2f bytes per pixel\n", (peak - withPicture) * 1024.0 / pixels);

    // The tree against the picture, at the tool's correction tolerance for
    // 10 percent.
    long long corrected = -1;
    if (r == 0) {
        om1::LabelRaster lr;
        if (lr.build(t, static_cast<int>(w), static_cast<int>(h), px.data()))
            corrected = lr.reconcile(px.data(), static_cast<int>(10 * 2.55));
    }
    om1_delKvCTree(t);
    bool ok = smallShare("library tree", corrected, pixels);
    if (!tool.empty()) ok = smallShare("tool", traceWithTool(tool, px, w, h), pixels) && ok;
    return r == 0 && ok ? 0 : 1;
}
