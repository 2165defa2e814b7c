// Writes the benchmark pictures for runs of the whole tool:
//   BenchPictures DIR
// gives DIR/flag-512x384.png (flat colours, anti-aliased edges) and
// DIR/photo-4096.png (a photograph-like picture enlarged 8 times with
// bilinear interpolation and mild noise), and DIR/mosaic-1.png, -2, -4, -8.png (the
// 1x picture and the 2 x 2, 4 x 4 and 8 x 8 mosaics of the pipeline benchmark).
#include <cstdio>
#include <string>
#include <vector>

#include "BenchImages.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#include <stb_image_write.h>

namespace {

bool writePng(const std::string& path, const std::vector<RGBQUAD>& px, int w, int h) {
    std::vector<unsigned char> rgb(static_cast<size_t>(w) * h * 3);
    for (size_t i = 0; i < px.size(); ++i) {
        rgb[3 * i] = px[i].rgbRed;
        rgb[3 * i + 1] = px[i].rgbGreen;
        rgb[3 * i + 2] = px[i].rgbBlue;
    }
    if (stbi_write_png(path.c_str(), w, h, 3, rgb.data(), w * 3)) return true;
    std::fprintf(stderr, "cannot write %s\n", path.c_str());
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: BenchPictures DIR\n");
        return 2;
    }
    std::string dir = argv[1];
    bool ok = writePng(dir + "/flag-512x384.png", antiAliasedFlag(512, 384), 512, 384);
    ok =
        writePng(dir + "/photo-4096.png", scaledUp(photoLike(512, 512), 512, 512, 8), 4096, 4096) &&
        ok;
    for (int n : {1, 2, 4, 8})
        ok = writePng(dir + "/mosaic-" + std::to_string(n) + ".png",
                      mosaic(photoLike(256, 192), 256, 192, n), 256 * n, 192 * n) &&
             ok;
    return ok ? 0 : 1;
}
