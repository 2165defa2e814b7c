// Primitive marking and the rasterisers.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "curves/CurveConverter.h"
#include "ChainShapes.h"

namespace {

void load(CurveConverter& cv, std::vector<unsigned char>& c, POINT start) {
    ASSERT_TRUE(cv.getCurveData(c.data(), static_cast<int>(c.size()), start));
}

int countValue(const std::vector<unsigned char>& b, unsigned char v) {
    int n = 0;
    for (unsigned char x : b) n += x == v;
    return n;
}

}  // namespace

TEST(Primitives, StepMarkingNeedsTheNodeMeasuresFirstThenMarksStraightStretches) {
    std::vector<unsigned char> c = testchains::box(12, 8);
    CurveConverter cv;
    load(cv, c, POINT{0, 0});
    EXPECT_FALSE(cv.markPrimitives(0.1));
    for (int i = 0; i < cv.curve->count; ++i) EXPECT_EQ(cv.curve->marks[i], 0);
    // Before dropSmartMedian there are no nodes: empty measures.
    ASSERT_TRUE(cv.markPrimitivesQS(0.1));
    ASSERT_TRUE(cv.markPrimitives(0.1));
    const unsigned char* m = cv.curve->marks;
    // Inside the top side the second differences are zero.
    for (int i = 3; i < 9; ++i) EXPECT_EQ(m[i], 4) << i;
    int ends = 0;
    for (int i = 0; i < cv.curve->count; ++i) ends += m[i] == 1;
    EXPECT_GT(ends, 0);
    EXPECT_TRUE(cv.markPrimitives(-1.0));
    for (int i = 0; i < cv.curve->count; ++i) EXPECT_EQ(m[i], 0) << i;
}

TEST(Primitives, TurnMeasureAtARightAngleIsOneOverTheSide) {
    std::vector<unsigned char> c = testchains::box(10, 10);
    CurveConverter cv;
    load(cv, c, POINT{0, 0});
    ASSERT_TRUE(cv.dropSmartMedian());
    ASSERT_EQ(cv.curve->nodeCount, 4);
    ASSERT_TRUE(cv.markPrimitivesQS(0.01));
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(std::fabs(cv.curve->nodeTurnX[i]), 0.1, 1e-12);
        EXPECT_NEAR(std::fabs(cv.curve->nodeTurnY[i]), 0.1, 1e-12);
    }
}

TEST(Rasterisers, CurveLeavingTheRasterIsDrawnAlongTheBorder) {
    std::vector<unsigned char> c = testchains::box(20, 4);
    CurveConverter cv;
    load(cv, c, POINT{0, 0});
    std::vector<RGBQUAD> px(10 * 10, RGBQUAD{0, 0, 0, 0});
    ASSERT_TRUE(cv.setCurveIntoDIB32(px.data(), 100, 10, 10, RGBQUAD{1, 2, 3, 0}, POINT{2, -5}));
    int onTop = 0;
    for (int x = 0; x < 10; ++x) onTop += px[x].rgbRed == 3;
    EXPECT_GE(onTop, 8);
    for (int i = 10; i < 100; ++i) EXPECT_EQ(px[i].rgbRed, 0);
    CurveConverter none;
    EXPECT_FALSE(none.setCurveIntoDIB32(px.data(), 100, 10, 10, RGBQUAD{}, POINT{0, 0}));
}

TEST(Rasterisers, NodeAndCornerMarkers) {
    std::vector<unsigned char> c = testchains::box(16, 16);
    CurveConverter cv;
    load(cv, c, POINT{10, 10});
    ASSERT_TRUE(cv.dropSmartMedian());
    cv.editStraightLines();  // four corners
    std::vector<unsigned char> bits(40 * 40, 0);
    ASSERT_TRUE(cv.setCurveIntoDIB8(bits.data(), 1600, 40, 40, 200, POINT{0, 0}));
    // A 9 x 9 square of 9 round each corner, overwritten by the two lines.
    EXPECT_EQ(bits[(10 + 4) * 40 + 10 + 4], 9);
    EXPECT_EQ(bits[(10 - 4) * 40 + 10 - 4], 9);
    EXPECT_EQ(bits[(10 - 5) * 40 + 10], 0);
    EXPECT_EQ(bits[10 * 40 + 18], 200);  // on the top line
    // Without corners: 5 x 5 markers of 5.
    CurveConverter plain;
    load(plain, c, POINT{10, 10});
    ASSERT_TRUE(plain.dropSmartMedian());
    std::vector<unsigned char> b2(40 * 40, 0);
    ASSERT_TRUE(plain.setCurveIntoDIB8(b2.data(), 1600, 40, 40, 200, POINT{0, 0}));
    EXPECT_EQ(b2[(10 + 2) * 40 + 10 + 2], 5);
    EXPECT_EQ(b2[(10 + 3) * 40 + 10 + 3], 0);
}

TEST(Rasterisers, MarkerAtColumnZeroPaintsTheRowAboveAndStaysInTheBuffer) {
    std::vector<unsigned char> c = {0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1,
                                    2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3};
    CurveConverter cv;
    load(cv, c, POINT{0, 5});
    ASSERT_TRUE(cv.dropSmartMedian());
    std::vector<unsigned char> bits(12 * 12 + 8, 77);  // sentinels behind the raster
    std::fill(bits.begin(), bits.begin() + 144, 0);
    cv.setCurveIntoDIB8_QS(bits.data(), 144, 12, 12, 200, POINT{0, 5});
    // Never marked: a 5 x 5 marker at every node; at x = 0 it wraps onto the
    // last two columns of the rows above.
    EXPECT_EQ(bits[4 * 12 + 10], 5);
    EXPECT_EQ(bits[4 * 12 + 11], 5);
    EXPECT_EQ(bits[5 * 12 + 2], 5);
    for (int i = 144; i < 152; ++i) EXPECT_EQ(bits[i], 77);
    // A buffer smaller than width x height is respected.
    std::vector<unsigned char> small(20, 0);
    small.resize(28, 99);
    cv.setCurveIntoDIB8_QS(small.data(), 20, 12, 12, 200, POINT{0, 0});
    for (int i = 20; i < 28; ++i) EXPECT_EQ(small[i], 99);
}

TEST(Rasterisers, PolygonFollowsMarks) {
    std::vector<unsigned char> c = testchains::box(10, 6);
    CurveConverter cv;
    load(cv, c, POINT{2, 2});
    ASSERT_TRUE(cv.dropSmartMedian());
    std::vector<unsigned char> bits(20 * 20, 0);
    ASSERT_TRUE(cv.setPoligonIntoDIB8(bits.data(), 400, 20, 20, 7, POINT{0, 0}));
    EXPECT_GT(countValue(bits, 7), 20);
    EXPECT_EQ(bits[2 * 20 + 6], 7);  // on the top side
}
