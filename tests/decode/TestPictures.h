// Writing small test pictures in several formats, in a temporary folder.
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
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
    // A 24-bit BMP; rows stored bottom-up (positive height) or top-down
    // (negative height).
    bool bmp24(const std::string& path, bool topDown) const {
        const uint32_t stride = (static_cast<uint32_t>(w) * 3 + 3) & ~3u;
        std::vector<unsigned char> b(54 + static_cast<size_t>(stride) * h, 0);
        auto put = [&b](size_t at, uint32_t v, int n) {
            for (int i = 0; i < n; ++i) b[at + i] = static_cast<unsigned char>(v >> (8 * i));
        };
        b[0] = 'B';
        b[1] = 'M';
        put(2, static_cast<uint32_t>(b.size()), 4);
        put(10, 54, 4);
        put(14, 40, 4);
        put(18, static_cast<uint32_t>(w), 4);
        put(22, static_cast<uint32_t>(topDown ? -h : h), 4);
        put(26, 1, 2);
        put(28, 24, 2);
        for (int y = 0; y < h; ++y) {
            const int fileRow = topDown ? y : h - 1 - y;
            for (int x = 0; x < w; ++x) {
                const unsigned char* q = &rgba[(static_cast<size_t>(y) * w + x) * 4];
                unsigned char* d = &b[54 + static_cast<size_t>(fileRow) * stride + 3 * x];
                d[0] = q[2];
                d[1] = q[1];
                d[2] = q[0];
            }
        }
        return save(path, b);
    }
    // A GIF of up to 126 colours with uncompressed LZW data: 8-bit codes, a
    // clear code after every 126 pixels so that the code width never grows.
    bool gif(const std::string& path) const {
        std::map<uint32_t, unsigned char> index;
        std::vector<unsigned char> table(128 * 3, 0), codes{128};
        for (size_t i = 0; i < rgba.size() / 4; ++i) {
            const unsigned char* q = &rgba[i * 4];
            const uint32_t key = q[0] << 16 | q[1] << 8 | q[2];
            auto it = index.find(key);
            if (it == index.end()) {
                if (index.size() == 126) return false;
                const unsigned char c = static_cast<unsigned char>(index.size());
                it = index.emplace(key, c).first;
                table[3 * c] = q[0];
                table[3 * c + 1] = q[1];
                table[3 * c + 2] = q[2];
            }
            if (i > 0 && i % 126 == 0) codes.push_back(128);
            codes.push_back(it->second);
        }
        codes.push_back(129);
        std::vector<unsigned char> b{'G', 'I', 'F', '8', '9', 'a'};
        auto put16 = [&b](int v) {
            b.push_back(static_cast<unsigned char>(v));
            b.push_back(static_cast<unsigned char>(v >> 8));
        };
        put16(w);
        put16(h);
        b.insert(b.end(), {0xF6, 0, 0});  // global table of 128 entries
        b.insert(b.end(), table.begin(), table.end());
        b.push_back(0x2C);
        put16(0);
        put16(0);
        put16(w);
        put16(h);
        b.insert(b.end(), {0, 7});  // no local table; LZW minimum code size 7
        for (size_t at = 0; at < codes.size(); at += 255) {
            const size_t n = std::min<size_t>(255, codes.size() - at);
            b.push_back(static_cast<unsigned char>(n));
            b.insert(b.end(), codes.begin() + at, codes.begin() + at + n);
        }
        b.insert(b.end(), {0, 0x3B});
        return save(path, b);
    }
    static bool save(const std::string& path, const std::vector<unsigned char>& bytes) {
        std::ofstream out(path, std::ios::binary);
        out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<long>(bytes.size()));
        return static_cast<bool>(out);
    }
};

// White, 40 x 30, with a red and a blue block: the pictures the loader and
// tool tests write in every format.
inline TestPicture shapesPicture() {
    TestPicture p(40, 30, 255, 255, 255);
    p.fill(5, 5, 12, 10, 200, 30, 30);
    p.fill(22, 8, 10, 15, 30, 30, 200);
    return p;
}

inline std::vector<unsigned char> readBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<unsigned char>((std::istreambuf_iterator<char>(in)),
                                      std::istreambuf_iterator<char>());
}

// A new folder in the temporary folder (/tmp, or TMPDIR; on Windows the
// user's), removed with everything in it at the end of a test.
struct TempDir {
    std::string path;
    TempDir() {
        namespace fs = std::filesystem;
        std::random_device random;
        std::error_code ec;
        const fs::path base = fs::temp_directory_path(ec);
        for (int attempt = 0; attempt < 100 && path.empty(); ++attempt) {
            const fs::path p = base / ("om1trace-test-" + std::to_string(random()));
            if (fs::create_directory(p, ec)) path = p.string();
        }
    }
    ~TempDir() {
        std::error_code ec;
        if (!path.empty()) std::filesystem::remove_all(path, ec);
    }
    std::string file(const std::string& name) const { return path + "/" + name; }
};
