// Writing small test pictures in several formats, in a temporary folder.
#pragma once

#include <stdlib.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "platform/WinTypes.h"
#include "stb_image_write.h"

struct TestPicture {
    int w, h;
    std::vector<unsigned char> rgba;  // top-down
    TestPicture(int w_, int h_, unsigned r, unsigned g, unsigned b)
        : w(w_), h(h_), rgba(static_cast<size_t>(w_) * h_ * 4) {
        fill(0, 0, w, h, r, g, b);
    }
    void fill(int x0, int y0, int ww, int hh, unsigned r, unsigned g, unsigned b,
              unsigned a = 255) {
        for (int y = y0; y < y0 + hh; ++y)
            for (int x = x0; x < x0 + ww; ++x) {
                unsigned char* p = &rgba[(static_cast<size_t>(y) * w + x) * 4];
                p[0] = static_cast<unsigned char>(r);
                p[1] = static_cast<unsigned char>(g);
                p[2] = static_cast<unsigned char>(b);
                p[3] = static_cast<unsigned char>(a);
            }
    }
    bool png(const std::string& path) const {
        return stbi_write_png(path.c_str(), w, h, 4, rgba.data(), w * 4) != 0;
    }
    bool bmp(const std::string& path) const {
        return stbi_write_bmp(path.c_str(), w, h, 4, rgba.data()) != 0;
    }
    bool jpeg(const std::string& path) const {
        return stbi_write_jpg(path.c_str(), w, h, 4, rgba.data(), 95) != 0;
    }
};

// A folder under /tmp, removed with everything in it at the end of a test.
struct TempDir {
    std::string path;
    TempDir() {
        char tmpl[] = "/tmp/om1trace-test-XXXXXX";
        path = mkdtemp(tmpl);
    }
    ~TempDir() { std::system(("rm -rf " + path).c_str()); }
    std::string file(const std::string& name) const { return path + "/" + name; }
};
