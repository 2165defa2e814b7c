// Same answers on every system: pictures in DIB sections (bottom-up and
// top-down, widths that are not a multiple of 4) traced through the bitmap
// handle entry points and through a manipulator and tracer that read and
// repaint an 8-bit section with GetDIBits and SetDIBits. The results are
// compared with hashes committed here; on Linux the sections are the
// in-memory stand-in's, on Windows (and under Wine) the system's own, and
// both builds must give the same hashes.
//
// OM1_GOLDEN_PRINT=1 prints the table instead of checking it.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "golden/GoldenPictures.h"
#include "golden/ResultHash.h"
#include "interface/om1.h"
#include "platform/Gdi.h"
#include "raster/OutLineManipulator.h"
#include "tracer/AllOutLines.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"
#include "TestBitmaps.h"

namespace {

using golden::Picture;

using golden::Hash;
using golden::hashKvCtree;
using golden::hashOutlines;

// A DIB section showing the picture (picture row 0 is the bottom row, as
// the pixel-buffer entry points read a buffer). 32 bits per pixel, or 8 with
// the given table when indices are given.
struct Section {
    HBITMAP h = nullptr;
    unsigned char* bits = nullptr;
    int stride = 0;
    Section(const Picture& p, bool topDown, int bitCount = 32,
            const std::vector<RGBQUAD>& table = {}, const std::vector<BYTE>& indices = {}) {
        void* pv = nullptr;
        h = testbitmaps::section(p.w, topDown ? -p.h : p.h, bitCount, table, &pv);
        if (!h || !pv) return;
        bits = static_cast<unsigned char*>(pv);
        stride = ((p.w * bitCount + 31) / 32) * 4;
        for (int row = 0; row < p.h; ++row) {
            int memRow = topDown ? p.h - 1 - row : row;
            unsigned char* dst = bits + static_cast<size_t>(memRow) * stride;
            const size_t at = static_cast<size_t>(row) * p.w;
            if (bitCount == 32)
                memcpy(dst, &p.px[at], static_cast<size_t>(p.w) * 4);
            else
                memcpy(dst, &indices[at], static_cast<size_t>(p.w));
        }
    }
    ~Section() {
        if (h) DeleteObject(h);
    }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;
};

// The pictures with the colour tables their 8-bit forms use.
struct Named {
    const char* name;
    Picture picture;
};

std::vector<Named> pictures() {
    return {{"photo-37x29", golden::photoLike(37, 29, 11)},
            {"antialiased-45x30", golden::antiAliased(45, 30)},
            {"noise4-33x25", golden::fourColourNoise(33, 25, 5)},
            {"lines-41x30", golden::thinLines(41, 30)}};
}

// A table of the picture's first colours (at most 256) and the indices.
void indexed(const Picture& p, std::vector<RGBQUAD>& table, std::vector<BYTE>& indices) {
    table.clear();
    indices.assign(p.px.size(), 0);
    for (size_t i = 0; i < p.px.size(); ++i) {
        RGBQUAD c = p.px[i];
        c.rgbReserved = 0;
        size_t k = 0;
        while (k < table.size() && memcmp(&table[k], &c, sizeof c) != 0) ++k;
        if (k == table.size()) {
            if (table.size() == 256)
                k = 0;  // beyond the table: entry 0
            else
                table.push_back(c);
        }
        indices[i] = static_cast<BYTE>(k);
    }
}

// Both handle entry points on a 32-bit section.
std::string traceHandle(const Picture& p, bool topDown) {
    Section s(p, topDown);
    if (!s.h) return "no section";
    Hash hs;
    KvCtree* tree = nullptr;
    int r = om1_kvTrace1H(tree, s.h, 10, 4, 100000, 1, 0.0);
    hashKvCtree(hs, r, tree);
    om1_delKvCTree(tree);
    RGBQUAD palette[3] = {{0, 0, 0, 0}, {255, 255, 255, 0}, {0, 0, 255, 0}};
    r = om1_kvTrace1HLeftTop(tree, s.h, 10, palette, 3, 4, 100000, 1, 0.0);
    hashKvCtree(hs, r, tree);
    om1_delKvCTree(tree);
    return hs.hex();
}

// A manipulator reading an 8-bit section through a device context, a tracer
// built from it repainting the traced region (mode 1), and the section's
// bits afterwards.
std::string traceIndexed(const Picture& p, bool topDown) {
    std::vector<RGBQUAD> table;
    std::vector<BYTE> indices;
    indexed(p, table, indices);
    Section s(p, topDown, 8, table, indices);
    if (!s.h) return "no section";
    HDC dc = CreateCompatibleDC(nullptr);
    Hash hs;
    {
        OutLineManipulator olm(dc, s.h, 20, 4, 1, 0);
        hs.bytes(olm.indexRaster, olm.indexRaster ? p.w * p.h : 0);
        Ombrel tracer(&olm);
        hs.i64(tracer.isValid());
        if (tracer.isValid()) {
            AllOutLines all;
            int r = tracer.DoOmbrel_(all, tracer.generateInitPoint(0, p.w, p.h), 100000);
            hashOutlines(hs, r, all.outLines);
            delete all.outLines;
        }
    }
    DeleteDC(dc);
    for (int row = 0; row < p.h; ++row) hs.bytes(s.bits + static_cast<size_t>(row) * s.stride, p.w);
    return hs.hex();
}

struct Expected {
    const char* picture;
    const char* handleBottomUp;
    const char* handleTopDown;
    const char* indexedBottomUp;
    const char* indexedTopDown;
};

// clang-format off
const Expected kExpected[] = {
    {"photo-37x29", "69b413878599df7b", "26ad68e9cae259f7", "3138ef0916bf5a20", "3138ef0916bf5a20"},
    {"antialiased-45x30", "414679bd29e1b54a", "b6fd1151360c0911", "5f9aa0cd08744439", "5f9aa0cd08744439"},
    {"noise4-33x25", "629b170885deb32d", "0764846d0a8040a9", "0cf7580df99f6f0b", "0cf7580df99f6f0b"},
    {"lines-41x30", "9213520cee8d1a44", "4aff9a198caa5bb1", "e89d87f0a81be08a", "e89d87f0a81be08a"},
};
// clang-format on

}  // namespace

TEST(DibSectionTrace, SameResultsOnEverySystem) {
    const bool print = std::getenv("OM1_GOLDEN_PRINT") != nullptr;
    std::vector<Named> pics = pictures();
    ASSERT_EQ(pics.size(), sizeof kExpected / sizeof kExpected[0]);
    for (size_t i = 0; i < pics.size(); ++i) {
        const Picture& p = pics[i].picture;
        std::string hu = traceHandle(p, false);
        std::string hd = traceHandle(p, true);
        std::string iu = traceIndexed(p, false);
        std::string id = traceIndexed(p, true);
        if (print) {
            std::printf("    {\"%s\", \"%s\", \"%s\", \"%s\", \"%s\"},\n", pics[i].name, hu.c_str(),
                        hd.c_str(), iu.c_str(), id.c_str());
            continue;
        }
        const Expected& e = kExpected[i];
        EXPECT_EQ(hu, e.handleBottomUp) << e.picture;
        EXPECT_EQ(hd, e.handleTopDown) << e.picture;
        EXPECT_EQ(iu, e.indexedBottomUp) << e.picture;
        EXPECT_EQ(id, e.indexedTopDown) << e.picture;
    }
}
