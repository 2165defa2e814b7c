// DIB sections made by several test programs (bottom-up rows, each padded
// to 4 bytes). The caller deletes the handle with DeleteObject.
#pragma once

#include <cstring>
#include <vector>

#include "platform/Gdi.h"

namespace testbitmaps {

// A w x h section of `bitCount` bits per pixel (top-down for a negative h);
// an 8-bit one carries the given colour table (in a header with room for 256
// entries). `bits`, when given, receives the pixel memory.
inline HBITMAP section(int w, int h, int bitCount, const std::vector<RGBQUAD>& table = {},
                       void** bits = nullptr) {
    std::vector<unsigned char> info(sizeof(BITMAPINFOHEADER) + 256 * sizeof(RGBQUAD));
    BITMAPINFO* bi = reinterpret_cast<BITMAPINFO*>(info.data());
    bi->bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    bi->bmiHeader.biWidth = w;
    bi->bmiHeader.biHeight = h;
    bi->bmiHeader.biPlanes = 1;  // the system's GDI refuses anything else
    bi->bmiHeader.biBitCount = static_cast<WORD>(bitCount);
    bi->bmiHeader.biClrUsed = static_cast<DWORD>(table.size());
    if (!table.empty())
        memcpy(info.data() + sizeof(BITMAPINFOHEADER), table.data(),
               table.size() * sizeof(RGBQUAD));
    void* p = nullptr;
    HBITMAP b = CreateDIBSection(nullptr, bi, DIB_RGB_COLORS, &p, nullptr, 0);
    if (bits) *bits = p;
    return b;
}

// A 32-bit section filled with one colour.
inline HBITMAP rgb32(int w, int h, RGBQUAD fill, RGBQUAD** bits = nullptr) {
    void* p = nullptr;
    HBITMAP b = section(w, h, 32, {}, &p);
    RGBQUAD* px = static_cast<RGBQUAD*>(p);
    if (px)
        for (int i = 0; i < w * h; ++i) px[i] = fill;
    if (bits) *bits = px;
    return b;
}

// An 8-bit section with the given table and indices (picture row 0 first).
inline HBITMAP indexed(int w, int h, const std::vector<RGBQUAD>& table,
                       const std::vector<unsigned char>& indices) {
    void* p = nullptr;
    HBITMAP b = section(w, h, 8, table, &p);
    const int stride = (w + 3) & ~3;
    if (p)
        for (int y = 0; y < h; ++y)
            memcpy(static_cast<unsigned char*>(p) + y * stride, &indices[y * w], w);
    return b;
}

// A section and a memory device context deleted when they leave scope
// (declare them before the objects that use them).
struct Owned {
    HBITMAP h;
    explicit Owned(HBITMAP b) : h(b) {}
    ~Owned() {
        if (h) DeleteObject(h);
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
};
struct OwnedDc {
    HDC h = CreateCompatibleDC(nullptr);
    OwnedDc() = default;
    ~OwnedDc() { DeleteDC(h); }
    OwnedDc(const OwnedDc&) = delete;
    OwnedDc& operator=(const OwnedDc&) = delete;
};

}  // namespace testbitmaps
