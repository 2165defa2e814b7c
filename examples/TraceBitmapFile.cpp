// A Windows host of om1: loads a BMP file as a DIB section, traces it with
// om1_kvTrace1HLeftTop, prints the contour tree and releases everything.
//
//   TraceBitmapFile.exe picture.bmp [tolerancePercent]
//
// The library reads 32-bit DIB sections; a file of another depth is loaded
// as it is and copied into a 32-bit section with GetDIBits first. Exit codes:
// 0 traced, 1 no outlines, 2 outline limit exceeded, 64 bad usage, 65 the file
// could not be loaded.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "interface/om1.h"

namespace {

// A 32-bit bottom-up copy of any bitmap, or null.
HBITMAP toThirtyTwoBits(HBITMAP source, const BITMAP& bm) {
    BITMAPINFO bi = {};
    bi.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    bi.bmiHeader.biWidth = bm.bmWidth;
    bi.bmiHeader.biHeight = bm.bmHeight;
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 32;
    bi.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    HBITMAP copy = CreateDIBSection(nullptr, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!copy) return nullptr;
    HDC dc = CreateCompatibleDC(nullptr);
    int lines =
        dc ? GetDIBits(dc, source, 0, static_cast<UINT>(bm.bmHeight), bits, &bi, DIB_RGB_COLORS)
           : 0;
    if (dc) DeleteDC(dc);
    if (lines != bm.bmHeight) {
        DeleteObject(copy);
        return nullptr;
    }
    return copy;
}

// Prints one line per node, indented by depth; walks with an explicit stack.
int printTree(const KvCtree* root) {
    int nodes = 0;
    std::vector<std::pair<const KvCtree*, int>> stack{{root, 0}};
    while (!stack.empty()) {
        const KvCtree* n = stack.back().first;
        int depth = stack.back().second;
        stack.pop_back();
        ++nodes;
        std::printf("%*s%s colour #%02x%02x%02x, %d steps, %d Bezier points", 2 * depth, "",
                    n->isFrame ? "frame" : "outline", n->color.rgbRed, n->color.rgbGreen,
                    n->color.rgbBlue, n->dirNum, n->bezierCount);
        if (n->bezier && n->bezierCount > 0)
            std::printf(", from (%.2f, %.2f)", n->bezier[0].x, n->bezier[0].y);
        std::printf("\n");
        std::vector<const KvCtree*> holes;
        for (const KvCtree::Holes* h = n->holes; h; h = h->next) holes.push_back(h->ctree);
        for (auto it = holes.rbegin(); it != holes.rend(); ++it) stack.push_back({*it, depth + 1});
    }
    return nodes;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(stderr, "usage: TraceBitmapFile picture.bmp [tolerancePercent]\n");
        return 64;
    }
    int tolerance = argc == 3 ? _wtoi(argv[2]) : 10;

    HBITMAP loaded = static_cast<HBITMAP>(
        LoadImageW(nullptr, argv[1], IMAGE_BITMAP, 0, 0, LR_LOADFROMFILE | LR_CREATEDIBSECTION));
    if (!loaded) {
        std::fprintf(stderr, "cannot load the bitmap (error %lu)\n", GetLastError());
        return 65;
    }
    BITMAP bm = {};
    GetObjectW(loaded, sizeof bm, &bm);
    std::printf("loaded %ld x %ld, %u bits per pixel\n", bm.bmWidth, bm.bmHeight,
                static_cast<unsigned>(bm.bmBitsPixel));
    HBITMAP traced = bm.bmBitsPixel == 32 ? loaded : toThirtyTwoBits(loaded, bm);
    if (!traced) {
        std::fprintf(stderr, "cannot convert the bitmap to 32 bits\n");
        DeleteObject(loaded);
        return 65;
    }

    KvCtree* tree = nullptr;
    int result = om1_kvTrace1HLeftTop(tree, traced, tolerance, nullptr, 0, /*minOutlineLen*/ 8,
                                      /*maxOutlines*/ 100000, /*curveTolerance*/ 1, 0.0);
    std::printf("result %d\n", result);
    if (result == 0 && tree) std::printf("nodes %d\n", printTree(tree));
    om1_delKvCTree(tree);
    std::printf("released\n");

    if (traced != loaded) DeleteObject(traced);
    DeleteObject(loaded);
    return result;
}
