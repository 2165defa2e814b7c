// The bitmap calls: sections, descriptions, line reads and writes. On Windows
// the same cases run against the system's GDI, so they show where the
// in-memory stand-in behaves as the system does; the stand-in's own choices
// are tested on other systems only. (What a trace reads through them, the
// descriptions and header queries included, is pinned on both by
// DibSectionTrace.SameResultsOnEverySystem.)
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "platform/Gdi.h"

namespace {

// A BITMAPINFO with room for a full colour table.
struct Info {
    alignas(8) unsigned char bytes[sizeof(BITMAPINFOHEADER) + 256 * sizeof(RGBQUAD)] = {};
    BITMAPINFO* get() { return reinterpret_cast<BITMAPINFO*>(bytes); }
    RGBQUAD* table() { return reinterpret_cast<RGBQUAD*>(bytes + sizeof(BITMAPINFOHEADER)); }
};

Info header(int width, int height, int bits) {
    Info i;
    BITMAPINFOHEADER& h = i.get()->bmiHeader;
    h.biSize = sizeof(BITMAPINFOHEADER);
    h.biWidth = width;
    h.biHeight = height;
    h.biPlanes = 1;
    h.biBitCount = static_cast<WORD>(bits);
    h.biCompression = BI_RGB;
    return i;
}

// A memory device context for the line reads and writes (the system's
// GetDIBits needs one).
HDC memoryDC() {
    static HDC dc = CreateCompatibleDC(nullptr);
    return dc;
}

struct Section {
    HBITMAP h = nullptr;
    unsigned char* bits = nullptr;
    Section(int w, int hgt, int bpp, const RGBQUAD* table = nullptr, int colours = 0) {
        Info i = header(w, hgt, bpp);
        if (table) {
            memcpy(i.table(), table, sizeof(RGBQUAD) * colours);
            i.get()->bmiHeader.biClrUsed = static_cast<DWORD>(colours);
        }
        void* p = nullptr;
        h = CreateDIBSection(nullptr, i.get(), DIB_RGB_COLORS, &p, nullptr, 0);
        bits = static_cast<unsigned char*>(p);
    }
    ~Section() { DeleteObject(h); }
};

void setPixel32(unsigned char* bits, int stride, int x, int row, BYTE r, BYTE g, BYTE b) {
    unsigned char* p = bits + row * stride + 4 * x;
    p[0] = b;
    p[1] = g;
    p[2] = r;
    p[3] = 0;
}

}  // namespace

TEST(DibSection, RefusesBadFormats) {
#if !defined(_WIN32)
    Info i = header(4, 4, 24);  // the stand-in has 8 and 32 bits only
    EXPECT_EQ(CreateDIBSection(nullptr, i.get(), DIB_RGB_COLORS, nullptr, nullptr, 0), nullptr);
    i = header(0, 4, 32);
#else
    Info i = header(0, 4, 32);
#endif
    EXPECT_EQ(CreateDIBSection(nullptr, i.get(), DIB_RGB_COLORS, nullptr, nullptr, 0), nullptr);
    i = header(4, 0, 32);
    EXPECT_EQ(CreateDIBSection(nullptr, i.get(), DIB_RGB_COLORS, nullptr, nullptr, 0), nullptr);
    i = header(100000, 100000, 32);  // beyond int bytes
    void* p = reinterpret_cast<void*>(1);
    EXPECT_EQ(CreateDIBSection(nullptr, i.get(), DIB_RGB_COLORS, &p, nullptr, 0), nullptr);
    EXPECT_EQ(p, nullptr);
    EXPECT_EQ(CreateDIBSection(nullptr, nullptr, DIB_RGB_COLORS, nullptr, nullptr, 0), nullptr);
}

TEST(DibSection, StaleAndForeignHandlesAreRefused) {
    Info i = header(2, 2, 32);
    HBITMAP h = CreateDIBSection(nullptr, i.get(), DIB_RGB_COLORS, nullptr, nullptr, 0);
    ASSERT_NE(h, nullptr);
    BITMAP bm;
    EXPECT_EQ(GetObjectW(h, 0, nullptr), 32);  // the size it needs
    EXPECT_EQ(GetObjectW(h, 31, &bm), 0);      // a buffer too small
    EXPECT_EQ(DeleteObject(h), TRUE);
    EXPECT_EQ(DeleteObject(h), FALSE);
    EXPECT_EQ(GetObjectW(h, sizeof(bm), &bm), 0);
    Info q = header(2, 2, 0);
    q.get()->bmiHeader.biBitCount = 0;
    EXPECT_EQ(GetDIBits(memoryDC(), h, 0, 1, nullptr, q.get(), DIB_RGB_COLORS), 0);
    int notAHandle = 0;
    EXPECT_EQ(GetObjectW(&notAHandle, sizeof(bm), &bm), 0);
    EXPECT_EQ(DeleteObject(nullptr), FALSE);
}

#if !defined(_WIN32)
// The stand-in's own 32-to-8-bit mapping; the system's GDI picks its own
// table.
TEST(GetDIBits, ThirtyTwoToEightBitsThroughTheFixedTable) {
    Section s(5, 2, 32);  // odd width: 8-bit rows padded to 8 bytes
    setPixel32(s.bits, 20, 0, 0, 255, 0, 0);
    setPixel32(s.bits, 20, 4, 0, 0, 0, 255);
    setPixel32(s.bits, 20, 2, 1, 255, 255, 255);
    setPixel32(s.bits, 20, 3, 1, 110, 180, 90);
    Info i = header(5, 2, 8);
    unsigned char out[16];
    memset(out, 0xEE, sizeof(out));
    ASSERT_EQ(GetDIBits(memoryDC(), s.h, 0, 2, out, i.get(), DIB_RGB_COLORS), 2);
    EXPECT_EQ(out[0], 7 << 5);   // red
    EXPECT_EQ(out[4], 3);        // blue
    EXPECT_EQ(out[1], 0);        // black
    EXPECT_EQ(out[8 + 2], 255);  // white
    EXPECT_EQ(out[8 + 3], GdiFixedPaletteIndex(110, 180, 90));
    for (int pad = 5; pad < 8; ++pad) {
        EXPECT_EQ(out[pad], 0) << pad;
        EXPECT_EQ(out[8 + pad], 0) << pad;
    }
    // The table written into the caller's header is the fixed table.
    const RGBQUAD* fixed = GdiFixedPalette();
    EXPECT_EQ(memcmp(i.table(), fixed, 256 * sizeof(RGBQUAD)), 0);
    EXPECT_EQ(fixed[GdiFixedPaletteIndex(110, 180, 90)].rgbRed, 109);
    EXPECT_EQ(fixed[GdiFixedPaletteIndex(110, 180, 90)].rgbGreen, 182);
    EXPECT_EQ(fixed[GdiFixedPaletteIndex(110, 180, 90)].rgbBlue, 85);
}
#endif

TEST(GetDIBits, EightToThirtyTwoBitsThroughTheBitmapTable) {
    RGBQUAD table[3] = {{1, 2, 3, 0}, {10, 20, 30, 0}, {100, 110, 120, 0}};
    Section s(3, 1, 8, table, 3);
    s.bits[0] = 2;
    s.bits[1] = 0;
    s.bits[2] = 1;
    Info i = header(3, 1, 32);
    RGBQUAD out[3];
    ASSERT_EQ(GetDIBits(memoryDC(), s.h, 0, 1, out, i.get(), DIB_RGB_COLORS), 1);
    EXPECT_EQ(out[0].rgbBlue, 100);
    EXPECT_EQ(out[0].rgbRed, 120);
    EXPECT_EQ(out[1].rgbGreen, 2);
    EXPECT_EQ(out[2].rgbRed, 30);
    EXPECT_EQ(out[2].rgbReserved, 0);
}

TEST(GetDIBits, LineOrderFollowsTheSignOfTheRequestedHeight) {
    // A top-down section: memory row 0 is the top row of the picture.
    Section s(1, -3, 32);
    for (int row = 0; row < 3; ++row)
        setPixel32(s.bits, 4, 0, row, static_cast<BYTE>(row + 1), 0, 0);
    Info up = header(1, 3, 32);
    RGBQUAD out[3];
    ASSERT_EQ(GetDIBits(memoryDC(), s.h, 0, 3, out, up.get(), DIB_RGB_COLORS), 3);
    EXPECT_EQ(out[0].rgbRed, 3);  // bottom-up: the bottom row first
    EXPECT_EQ(out[2].rgbRed, 1);
    Info down = header(1, -3, 32);
    ASSERT_EQ(GetDIBits(memoryDC(), s.h, 0, 3, out, down.get(), DIB_RGB_COLORS), 3);
    EXPECT_EQ(out[0].rgbRed, 1);
    // A partial read is clamped to the bitmap.
    ASSERT_EQ(GetDIBits(memoryDC(), s.h, 2, 10, out, up.get(), DIB_RGB_COLORS), 1);
    EXPECT_EQ(out[0].rgbRed, 1);
#if !defined(_WIN32)
    // The stand-in refuses a start beyond the last line.
    EXPECT_EQ(GetDIBits(memoryDC(), s.h, 3, 1, out, up.get(), DIB_RGB_COLORS), 0);
#endif
}

TEST(GetDIBits, RefusesBadArguments) {
    Section s(4, 4, 32);
    unsigned char out[128];
#if !defined(_WIN32)
    // The stand-in reads the bitmap's own width at 8 or 32 bits only.
    Info w = header(5, 4, 32);
    EXPECT_EQ(GetDIBits(memoryDC(), s.h, 0, 4, out, w.get(), DIB_RGB_COLORS), 0);
    Info d = header(4, 4, 24);
    EXPECT_EQ(GetDIBits(memoryDC(), s.h, 0, 4, out, d.get(), DIB_RGB_COLORS), 0);
#endif
    Info ok = header(4, 4, 32);
    EXPECT_EQ(GetDIBits(memoryDC(), s.h, 0, 4, out, nullptr, DIB_RGB_COLORS), 0);
    EXPECT_EQ(GetDIBits(memoryDC(), nullptr, 0, 4, out, ok.get(), DIB_RGB_COLORS), 0);
}

TEST(SetDIBits, ThirtyTwoBitColoursIntoAnEightBitBitmapTakeTheNearestEntry) {
    RGBQUAD table[3] = {{0, 0, 0, 0}, {255, 255, 255, 0}, {0, 0, 200, 0}};
    Section s(2, 1, 8, table, 3);
    Info i = header(2, 1, 32);
    RGBQUAD px[2] = {{10, 10, 180, 0}, {240, 250, 230, 0}};
    ASSERT_EQ(SetDIBits(memoryDC(), s.h, 0, 1, px, i.get(), DIB_RGB_COLORS), 1);
    EXPECT_EQ(s.bits[0], 2);
    EXPECT_EQ(s.bits[1], 1);
}

// The system refuses to delete a selected bitmap; the stand-in forgets it.
TEST(DeviceContext, SelectsAndGivesBackBitmaps) {
    HDC dc = CreateCompatibleDC(nullptr);
    ASSERT_NE(dc, nullptr);
    Info i = header(2, 2, 32);
    HBITMAP a = CreateDIBSection(dc, i.get(), DIB_RGB_COLORS, nullptr, nullptr, 0);
    HBITMAP b = CreateDIBSection(dc, i.get(), DIB_RGB_COLORS, nullptr, nullptr, 0);
    EXPECT_EQ(GetSelectedBitmap(dc), nullptr);
    HGDIOBJ initial = SelectObject(dc, a);
    EXPECT_EQ(GetSelectedBitmap(dc), a);
    EXPECT_EQ(SelectObject(dc, b), a);
    EXPECT_EQ(GetSelectedBitmap(dc), b);
    SelectObject(dc, initial);
    EXPECT_EQ(GetSelectedBitmap(dc), nullptr);
#if !defined(_WIN32)
    EXPECT_EQ(initial, nullptr);
    SelectObject(dc, b);
    EXPECT_EQ(DeleteObject(b), TRUE);  // forgotten by the context
    EXPECT_EQ(GetSelectedBitmap(dc), nullptr);
#else
    EXPECT_EQ(DeleteObject(b), TRUE);
#endif
    EXPECT_EQ(DeleteObject(a), TRUE);
    EXPECT_EQ(DeleteDC(dc), TRUE);
#if !defined(_WIN32)
    EXPECT_EQ(DeleteDC(dc), FALSE);
    EXPECT_EQ(GetSelectedBitmap(dc), nullptr);
#endif
}
