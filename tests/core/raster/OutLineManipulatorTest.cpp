// The working raster: every constructor, the tolerance byte, small rasters,
// bad input and allocation failures.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "platform/AfxMessageBox.h"
#include "platform/CView.h"
#include "platform/Gdi.h"
#include "raster/OutLineManipulator.h"
#include "raster/PixelQueue.h"
#include "raster/RasterAlloc.h"
#include "raster/RegionFill.h"
#include "TestBitmaps.h"

namespace {

std::vector<std::string> g_messages;
void capture(const char* text, UINT) {
    g_messages.push_back(text);
}

// Captures messages for the lifetime of the object.
struct MessageCapture {
    MessageSink old;
    MessageCapture() : old(SetMessageSink(&capture)) { g_messages.clear(); }
    ~MessageCapture() { SetMessageSink(old); }
};

// Makes allocation number `failAt` (counting from 1) fail.
int g_calls = 0;
int g_failAt = 0;
void* failingCalloc(size_t n, size_t s) {
    if (++g_calls == g_failAt) return nullptr;
    return calloc(n, s);
}
struct FailAllocation {
    rasteralloc::CallocFn old;
    explicit FailAllocation(int at) : old(rasteralloc::replaceForTesting(&failingCalloc)) {
        g_calls = 0;
        g_failAt = at;
    }
    ~FailAllocation() { rasteralloc::replaceForTesting(old); }
};

}  // namespace

TEST(PixelBufferConstructor, BuildsTheWorkingRaster) {
    std::vector<RGBQUAD> px(6 * 4);
    OutLineManipulator m(px.data(), 6, 4, 300, 12, 3, 1);
    EXPECT_EQ(m.tolerance, 0x2C2C2Cu);  // low byte of 300 is 44, grey
    EXPECT_EQ(std::make_tuple(m.size, m.indexRasterSize, m.minOutlineLen, m.paletteSize),
              std::make_tuple(24, 24, 12, 256));
    ASSERT_NE(m.indexRaster, nullptr);
    EXPECT_EQ(m.colorRaster, px.data());
    EXPECT_FALSE(m.ownsColorRaster);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(m.palette),
              reinterpret_cast<unsigned char*>(m.bitmapInfo) + 40);
    // Below three pixels across: the raster stays, the minimum length does not.
    OutLineManipulator thin(px.data(), 2, 12, 10, 9, 3, 0);
    EXPECT_NE(thin.indexRaster, nullptr);
    EXPECT_EQ(thin.minOutlineLen, 0);
}

TEST(PixelBufferConstructor, BadInputBuildsNoRasters) {
    MessageCapture mc;
    std::vector<RGBQUAD> px(16);
    struct Case {
        RGBQUAD* p;
        int w, h;
    } cases[] = {{nullptr, 4, 4},     {px.data(), 0, 4},         {px.data(), 4, -1},
                 {px.data(), -4, -4}, {px.data(), 70000, 70000}, {px.data(), 0x7FFFFFFF, 2}};
    for (const Case& c : cases) {
        OutLineManipulator m(c.p, c.w, c.h, 5, 5, 3, 0);
        EXPECT_EQ(m.indexRaster, nullptr) << c.w << "x" << c.h;
        EXPECT_EQ(m.size, 0);
        EXPECT_EQ(m.minOutlineLen, 0);
    }
    EXPECT_TRUE(g_messages.empty());  // refused, not failed
}

TEST(PixelBufferConstructor, FailedAllocationShowsTheMessageOnce) {
    std::vector<RGBQUAD> px(9);
    for (int failAt : {1, 2}) {  // 1: bitmap description, 2: index raster
        MessageCapture mc;
        {
            FailAllocation fail(failAt);
            OutLineManipulator m(px.data(), 3, 3, 5, 5, 3, 0);
            EXPECT_EQ(m.indexRaster, nullptr);
            EXPECT_EQ(m.minOutlineLen, 0);
            if (failAt == 1) {
                EXPECT_EQ(m.bitmapInfo, nullptr);
                EXPECT_EQ(m.getBlack(), 0);  // no palette: nothing read
            }
        }
        ASSERT_EQ(g_messages.size(), 1u) << failAt;
        EXPECT_EQ(g_messages[0], "Cannot allocate memory");
    }
}

TEST(PixelBufferConstructor, TakenOverRasterAndBorrowedPixelsAreNotFreed) {
    RGBQUAD px[9] = {};  // on the stack: freeing it would be caught
    unsigned char* taken = nullptr;
    {
        OutLineManipulator m(px, 3, 3, 5, 5, 3, 0);
        taken = m.indexRaster;  // what a tracer does
        m.indexRaster = nullptr;
    }
    free(taken);
}

TEST(OutLineManipulator, InitialPointAndPaletteEnds) {
    std::vector<RGBQUAD> px(35);
    OutLineManipulator m(px.data(), 5, 7, 0, 0, 3, 0);
    CPoint p = m.generateInitpoint();
    EXPECT_EQ(p.x, 2);
    EXPECT_EQ(p.y, 3);
    EXPECT_TRUE(m.creatDIBitmap());
    // The table is still zero: every entry is black, the first one wins.
    EXPECT_EQ(m.getBlack(), 0);
    EXPECT_EQ(m.getWhite(), 0);
    m.palette[7] = {255, 255, 255, 0};
    EXPECT_EQ(m.getWhite(), 7);
}

TEST(SizeOnlyConstructor, ReadsTheSizeOnly) {
    testbitmaps::Owned b(testbitmaps::rgb32(9, 5, RGBQUAD{1, 2, 3, 0}));
    testbitmaps::OwnedDc dc;
    OutLineManipulator m(dc.h, b.h);
    EXPECT_EQ(std::make_tuple(m.width, m.height, m.size), std::make_tuple(9, 5, 45));
    EXPECT_EQ(m.bitmapInfo->bmiHeader.biSizeImage, 45u);
    EXPECT_TRUE(!m.indexRaster && !m.colorRaster);
    EXPECT_TRUE(m.ownsColorRaster);
    OutLineManipulator bad(dc.h, nullptr);
    EXPECT_EQ(bad.size, 0);
}

TEST(DeviceContextConstructor, RepacksPaddedRowsOfAnyWidth) {
    std::vector<RGBQUAD> table = {{0, 0, 0, 0}, {0, 0, 255, 0}, {255, 0, 0, 0}};
    std::vector<unsigned char> idx = {0, 1, 2, 1, 0,  //
                                      2, 2, 0, 0, 1,  //
                                      1, 0, 1, 0, 2};
    testbitmaps::Owned b(testbitmaps::indexed(5, 3, table, idx));
    testbitmaps::OwnedDc dc;
    OutLineManipulator m(dc.h, b.h, 0x1FF, 7, 1, 2);
    EXPECT_EQ(m.tolerance, 0xFFFFFFu);  // low byte 0xFF, grey
    ASSERT_NE(m.indexRaster, nullptr);
    EXPECT_EQ(memcmp(m.indexRaster, idx.data(), idx.size()), 0);
    EXPECT_EQ(m.paletteSize, 256);  // GDI describes every 8-bit bitmap with a full table
    EXPECT_EQ(m.palette[1].rgbRed, 255);
    EXPECT_EQ(m.palette[2].rgbBlue, 255);
    EXPECT_EQ(m.colorRaster, nullptr);
    EXPECT_EQ(m.getBlack(), 0);
}

TEST(DeviceContextConstructor, ThirtyTwoBitBitmapsUseTheFixedTable) {
    testbitmaps::Owned b(testbitmaps::rgb32(4, 4, RGBQUAD{255, 255, 255, 0}));
    testbitmaps::OwnedDc dc;
    OutLineManipulator m(dc.h, b.h, 10, 5, 3, 0);
    ASSERT_NE(m.indexRaster, nullptr);
    EXPECT_EQ(m.paletteSize, 256);
    EXPECT_EQ(m.indexRaster[0], 255);
    EXPECT_EQ(m.getWhite(), 255);
    EXPECT_EQ(m.getBlack(), 0);
}

TEST(DeviceContextConstructor, FailedRasterShowsTheMessage) {
    testbitmaps::Owned b(testbitmaps::rgb32(5, 5, RGBQUAD{0, 0, 0, 0}));
    testbitmaps::OwnedDc dc;
    MessageCapture mc;
    for (int failAt : {2, 3}) {  // 3: the padded read buffer of an odd width
        FailAllocation fail(failAt);
        OutLineManipulator m(dc.h, b.h, 10, 5, 3, 0);
        EXPECT_EQ(m.indexRaster, nullptr) << failAt;
    }
    EXPECT_EQ(g_messages.size(), 2u);
}

TEST(ViewConstructor, BuildsColoursAndTheFillSetFromThreePixelsOn) {
    std::vector<RGBQUAD> table = {{10, 20, 30, 0}, {40, 50, 60, 0}};
    std::vector<unsigned char> idx = {0, 1, 1, 0, 1, 0, 0, 0, 1};
    testbitmaps::Owned b(testbitmaps::indexed(3, 3, table, idx));
    CView view(b.h);
    OutLineManipulator m(&view, b.h, 0x030201, 4, 2);
    EXPECT_EQ(m.tolerance, 0x030201u);  // a separate tolerance per channel
    ASSERT_NE(m.colorRaster, nullptr);
    EXPECT_TRUE(m.ownsColorRaster);
    EXPECT_EQ(m.colorRaster[1].rgbBlue, 40);
    EXPECT_EQ(m.colorRaster[1].rgbRed, 60);
    EXPECT_EQ(m.colorRaster[0].rgbGreen, 20);
    EXPECT_EQ(m.colorRaster[0].rgbReserved, 0);
    EXPECT_EQ(m.minOutlineLen, 4);
    ASSERT_NE(m.regionFill, nullptr);
    EXPECT_TRUE(m.regionFill->isUsable());
    EXPECT_EQ(m.regionFill->size, 9);

    // Below three pixels across: no colours and no fill set.
    testbitmaps::Owned small(testbitmaps::indexed(2, 2, {{10, 20, 30, 0}}, {0, 0, 0, 0}));
    CView smallView(small.h);
    OutLineManipulator s(&smallView, small.h, 0, 4, 2);
    EXPECT_NE(s.indexRaster, nullptr);
    EXPECT_TRUE(!s.colorRaster && !s.regionFill);
    EXPECT_EQ(s.minOutlineLen, 0);
}
