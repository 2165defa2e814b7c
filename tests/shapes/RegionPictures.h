// Generated pictures for the region labelling: noise, mosaics, nested rings,
// one-pixel lines and corner-to-corner touches.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/WinTypes.h"

namespace regionpictures {

struct Picture {
    std::string name;
    int w, h;
    std::vector<RGBQUAD> px;
    Picture(std::string n, int w_, int h_) : name(std::move(n)), w(w_), h(h_), px(w_ * h_) {}
    void set(int x, int y, uint32_t rgb) {
        px[static_cast<size_t>(y) * w + x] = RGBQUAD{
            static_cast<BYTE>(rgb), static_cast<BYTE>(rgb >> 8), static_cast<BYTE>(rgb >> 16), 0};
    }
    void fill(int x0, int y0, int fw, int fh, uint32_t rgb) {
        for (int y = y0; y < y0 + fh; ++y)
            for (int x = x0; x < x0 + fw; ++x) set(x, y, rgb);
    }
};

// Every picture has a block of 3 x 3 pixels of one colour at its top left,
// where the library's tracer starts (its first region is its seed's 3 x 3
// ring, whatever the colours there).
inline std::vector<Picture> all() {
    const uint32_t ink[4] = {0xffffff, 0x000000, 0xd02030, 0x2050c0};
    std::vector<Picture> out;
    uint32_t seed = 2024;
    auto next = [&seed]() { return seed = seed * 1664525u + 1013904223u; };
    for (int colours : {2, 3}) {  // noise: single pixels, many of them alone
        Picture p("noise" + std::to_string(colours), 40, 30);
        for (int y = 0; y < p.h; ++y)
            for (int x = 0; x < p.w; ++x) p.set(x, y, ink[(next() >> 24) % colours]);
        out.push_back(p);
    }
    {  // mosaic: overlapping rectangles
        Picture p("mosaic", 48, 40);
        p.fill(0, 0, 48, 40, ink[0]);
        for (int k = 0; k < 40; ++k) {
            const int x = (next() >> 20) % 44, y = (next() >> 20) % 36;
            p.fill(x, y, 1 + (next() >> 24) % (48 - x), 1 + (next() >> 24) % (40 - y),
                   ink[1 + k % 3]);
        }
        out.push_back(p);
    }
    {  // islands: squares on a ground, one with a ring and an island in it
        Picture p("islands", 40, 30);
        p.fill(0, 0, 40, 30, ink[0]);
        p.fill(4, 4, 5, 5, ink[2]);
        p.fill(20, 4, 6, 5, ink[1]);
        p.fill(4, 15, 6, 7, ink[3]);
        p.fill(22, 14, 12, 12, ink[1]);
        p.fill(25, 17, 6, 6, ink[3]);
        p.fill(27, 19, 2, 2, ink[2]);
        out.push_back(p);
    }
    {  // nested rings, one of them broken open, with an island of the outer colour
        Picture p("rings", 41, 41);
        for (int r = 20; r >= 0; r -= 2)
            p.fill(20 - r, 20 - r, 2 * r + 1, 2 * r + 1, ink[r / 2 % 3]);
        p.fill(20, 4, 1, 3, ink[2]);
        p.set(20, 20, ink[3]);
        out.push_back(p);
    }
    {  // one-pixel lines: a grid, a staircase, a spiral arm
        Picture p("lines", 36, 30);
        p.fill(0, 0, 36, 30, ink[0]);
        for (int x = 2; x < 36; x += 5) p.fill(x, 2, 1, 12, ink[1]);
        for (int y = 3; y < 14; y += 4) p.fill(1, y, 34, 1, ink[1]);
        for (int k = 0; k < 12; ++k) p.fill(2 + k, 16 + k, 2, 1, ink[2]);
        p.fill(20, 17, 14, 1, ink[3]);
        p.fill(33, 17, 1, 11, ink[3]);
        p.fill(22, 27, 12, 1, ink[3]);
        p.fill(22, 19, 1, 9, ink[3]);
        p.fill(22, 19, 9, 1, ink[3]);
        p.fill(30, 19, 1, 6, ink[3]);
        out.push_back(p);
    }
    {  // corner-to-corner touches: checkerboards, diagonal squares, a ring
       // closed only at a corner, a ring whose corner opens to the outside
        Picture p("corners", 40, 32);
        p.fill(0, 0, 40, 32, ink[0]);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                if ((x + y) % 2) p.set(x, y, ink[1]);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                if ((x / 2 + y / 2) % 2) p.set(10 + x, y, ink[2]);
        p.fill(20, 2, 3, 3, ink[1]);
        p.fill(23, 5, 3, 3, ink[1]);
        p.fill(2, 12, 8, 8, ink[3]);  // ring closed at a corner: the U of
        p.fill(3, 13, 6, 6, ink[0]);  // ink 3 meets itself diagonally
        p.fill(8, 18, 2, 2, ink[0]);
        p.set(8, 18, ink[3]);
        p.fill(14, 12, 7, 7, ink[2]);  // corner cut to the outside
        p.fill(15, 13, 5, 5, ink[0]);
        p.set(14, 12, ink[0]);
        p.fill(24, 12, 10, 10, ink[3]);  // holes that touch each other diagonally
        p.fill(26, 14, 3, 3, ink[1]);
        p.fill(29, 17, 3, 3, ink[2]);
        out.push_back(p);
    }
    for (Picture& p : out) p.fill(0, 0, 3, 3, ink[0]);
    return out;
}

}  // namespace regionpictures
