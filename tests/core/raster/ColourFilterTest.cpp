// The four-quadrant colour filter and its adaptive variant, on bitmaps made
// with the in-memory device context.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "platform/CView.h"
#include "platform/Gdi.h"
#include "raster/OutLineManipulator.h"
#include "TestBitmaps.h"

namespace {

struct Bitmap32 {
    HBITMAP h = nullptr;
    RGBQUAD* px = nullptr;
    int w, hgt;
    Bitmap32(int w_, int h_) : w(w_), hgt(h_) { h = testbitmaps::rgb32(w, hgt, {}, &px); }
    ~Bitmap32() { DeleteObject(h); }
    RGBQUAD& at(int x, int y) { return px[y * w + x]; }
    std::vector<RGBQUAD> copy() const { return std::vector<RGBQUAD>(px, px + w * hgt); }
};

bool same(const RGBQUAD& a, const RGBQUAD& b) {
    return a.rgbBlue == b.rgbBlue && a.rgbGreen == b.rgbGreen && a.rgbRed == b.rgbRed &&
           a.rgbReserved == b.rgbReserved;
}

const RGBQUAD kA = {10, 100, 200, 0};
const RGBQUAD kB = {240, 30, 60, 0};

// Exposes the protected parts for direct checks.
struct TestManipulator : OutLineManipulator {
    using OutLineManipulator::calcColor;
    using OutLineManipulator::getCellLeft;
    using OutLineManipulator::getCellLeftUp;
    using OutLineManipulator::getCellUp;
    using OutLineManipulator::getPointFromPos;
    using OutLineManipulator::isInRange;
    using OutLineManipulator::OutLineManipulator;
};

// Every filter test draws on an in-memory device context.
struct ColourFilter : ::testing::Test {
    HDC dc = CreateCompatibleDC(nullptr);
    ~ColourFilter() override { DeleteDC(dc); }
};

}  // namespace

TEST_F(ColourFilter, LeavesOneColourAWindowOfOneAndSmallBitmapsUnchanged) {
    const struct {
        int w, h, window;
        bool random;
        RGBQUAD fill;
    } cases[] = {{7, 5, 0, true, {}}, {8, 12, 3, false, kA}, {2, 9, 3, false, kB}};
    srand(7);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.w << "x" << c.h << " window " << c.window);
        Bitmap32 b(c.w, c.h);
        for (int i = 0; i < c.w * c.h; ++i)
            b.px[i] = c.random ? RGBQUAD{static_cast<BYTE>(rand()), static_cast<BYTE>(rand()),
                                         static_cast<BYTE>(rand()), 0}
                               : c.fill;
        std::vector<RGBQUAD> before = b.copy();
        OutLineManipulator m(dc, b.h);
        ASSERT_TRUE(m.Filter(b.h, c.window));
        for (int i = 0; i < c.w * c.h; ++i) EXPECT_TRUE(same(b.px[i], before[i])) << i;
        EXPECT_EQ(m.filterPixelCount, c.w * c.h);
        EXPECT_EQ(m.indexRasterSize, c.w * c.h);
        if (c.random || c.w < 3) continue;
        CView view(b.h);  // the adaptive filter keeps one colour too
        OutLineManipulator a(&view, b.h, 0x000000, 5, 3);
        a.FilterAdaptSmooth(b.h, 0);
        for (int i = 0; i < c.w * c.h; ++i) EXPECT_TRUE(same(b.px[i], before[i])) << i;
    }
}

TEST_F(ColourFilter, PixelWhoseChosenQuadrantLeavesTheRasterTurnsBlackAndFlagged) {
    // Six rows and a window of four: on row 2 every quadrant that the choice
    // may fall back to runs off the raster.
    Bitmap32 b(8, 6);
    for (int i = 0; i < 48; ++i) b.px[i] = kA;
    OutLineManipulator m(dc, b.h);
    ASSERT_TRUE(m.Filter(b.h, 3));
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 8; ++x) {
            bool black = y == 2 && x > 0;
            EXPECT_TRUE(same(b.at(x, y), black ? RGBQUAD{0, 0, 0, 1} : kA)) << x << "," << y;
        }
}

TEST_F(ColourFilter, PixelsNextToAVerticalBorderKeepTheirSide) {
    Bitmap32 b(10, 8);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 10; ++x) b.at(x, y) = x < 5 ? kA : kB;
    OutLineManipulator m(dc, b.h);
    ASSERT_TRUE(m.Filter(b.h, 2));
    for (int y = 3; y < 5; ++y) {
        EXPECT_TRUE(same(b.at(4, y), kA)) << y;
        EXPECT_TRUE(same(b.at(5, y), kB)) << y;
        EXPECT_TRUE(same(b.at(3, y), kA)) << y;
        EXPECT_TRUE(same(b.at(6, y), kB)) << y;
    }
}

TEST_F(ColourFilter, QuadrantMeansAndCells) {
    Bitmap32 b(4, 4);
    TestManipulator m(dc, b.h);
    HBITMAP none = nullptr;
    EXPECT_FALSE(m.Filter(none, 1));  // unreadable: refused
    ASSERT_TRUE(m.Filter(b.h, 0));    // sets filterPixelCount
    std::vector<RGBQUAD> px(16);
    for (int i = 0; i < 16; ++i) px[i] = RGBQUAD{static_cast<BYTE>(i * 10), 0, 0, 0};
    // Mean of pixels 5, 4, 9, 8 (p = 9, k = 1: p, p - w, p + 1, p + 1 - w).
    RGBQUAD c = m.calcColor(px.data(), 9, 1);
    EXPECT_EQ(c.rgbBlue, (90 + 50 + 100 + 60) / 4);
    EXPECT_EQ(c.rgbReserved, 0);
    c = m.calcColor(px.data(), 2, 1);  // reaches row -1
    EXPECT_EQ(c.rgbReserved, 1);
    EXPECT_EQ(c.rgbBlue, 0);
    c = m.calcColor(px.data(), 2, -1);
    EXPECT_EQ(c.rgbReserved, 0);
    EXPECT_EQ(m.getCellUp(5, 2), 13);
    EXPECT_EQ(m.getCellLeftUp(5, 2), 11);
    EXPECT_EQ(m.getCellLeft(5, 2), 3);
    POINT p = m.getPointFromPos(7);
    EXPECT_EQ(p.x, 3);
    EXPECT_EQ(p.y, 1);
    EXPECT_TRUE(m.isInRange(5, 1));
    EXPECT_FALSE(m.isInRange(4, 1));  // column 0
    EXPECT_TRUE(m.isInRange(4, 0));
    EXPECT_FALSE(m.isInRange(-1, 0));
    EXPECT_FALSE(m.isInRange(16, 0));
}

TEST(AdaptiveFilter, RunExtendsTheMeanWithinTolerance) {
    Bitmap32 b(8, 8);
    CView view(b.h);
    OutLineManipulator m(&view, b.h, 0x101010, 5, 3);
    std::vector<RGBQUAD> src(64, RGBQUAD{0, 0, 100, 0});
    RGBQUAD c = {0, 0, 90, 0};
    // p = (2, 2), k = 0, direction (+1, +1): the run starts at (2, 3) and
    // runs right to the end of the row and on through the next rows.
    RGBQUAD out = m.setColorAdaptSmooth(src.data(), c, 2 * 8 + 2, 0, 1, 1);
    int n = 64 - (3 * 8 + 2);
    EXPECT_EQ(out.rgbRed, (90 * 1 + 100 * n) / (1 + n));
    // Zero tolerance: only equal pixels join; none here.
    OutLineManipulator strict(&view, b.h, 0x000000, 5, 3);
    out = strict.setColorAdaptSmooth(src.data(), c, 2 * 8 + 2, 0, 1, 1);
    EXPECT_EQ(out.rgbRed, 90);
    // With k = 1 a run that starts outside the margin keeps c.
    out = m.setColorAdaptSmooth(src.data(), c, 6 * 8 + 3, 1, 1, 1);
    EXPECT_EQ(out.rgbRed, 90);
}
