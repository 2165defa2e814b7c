// The region tracer: seeds, construction, the visited map, the start ring,
// the driver's refusals and limits, and a cut in the first-step probe. (The
// growth on whole pictures: the golden results, which pin every outline.)
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "TestBitmaps.h"
#include "TracerFixtures.h"
#include "platform/Gdi.h"

namespace {

const DWORD kWhite = 0xFFFFFF;
const DWORD kRed = 0x0000FF;
const DWORD kBlue = 0xFF0000;

struct Traced {
    std::unique_ptr<OutLineManipulator> olm;
    std::unique_ptr<TestOmbrel> t;
    Traced(Image& img, int tol, int minLen, int mode) {
        olm.reset(new OutLineManipulator(img.px.data(), img.w, img.h, tol, minLen, mode, 0));
        t.reset(new TestOmbrel(olm.get()));
    }
};

}  // namespace

TEST(OmbrelSeeds, TableFor100x60) {
    Image img(4, 4, 0);
    Traced tr(img, 0, 0, 3);
    // Seeds -1 and 9 fall back to the centre; a 3 x 3 picture has only it.
    const int want[11][2] = {{50, 30}, {50, 30}, {25, 15}, {25, 30}, {25, 45}, {50, 45},
                             {75, 45}, {75, 30}, {75, 15}, {50, 15}, {50, 30}};
    for (int i = -1; i <= 9; ++i) {
        CPoint p = tr.t->generateInitPoint(i, 100, 60);
        EXPECT_EQ(p.x, want[i + 1][0]) << i;
        EXPECT_EQ(p.y, want[i + 1][1]) << i;
        p = tr.t->generateInitPoint(i, 3, 3);
        EXPECT_EQ(p.x, 1) << i;
        EXPECT_EQ(p.y, 1) << i;
    }
}

TEST(OmbrelConstruction, TakesOverTheIndexRasterOrIsInvalidBelowThreePixels) {
    Image img(5, 4, 0);
    OutLineManipulator olm(img.px.data(), 5, 4, 300, 6, 3, 2);
    unsigned char* raster = olm.indexRaster;
    TestOmbrel t(&olm);
    EXPECT_TRUE(t.isValid());
    EXPECT_EQ(olm.indexRaster, nullptr);
    EXPECT_EQ(t.indexRaster, raster);
    EXPECT_EQ(t.tolerance, 44u);  // the low byte of 300
    Image thin(2, 100, 0);        // below three pixels across: invalid
    OutLineManipulator small(thin.px.data(), 2, 100, 10, 6, 3, 0);
    TestOmbrel none(&small);
    EXPECT_FALSE(none.isValid());
    AllOutLines all;
    EXPECT_EQ(none.DoOmbrel_(all, CPoint(1, 1), 10), Ombrel::NotTraced);
    EXPECT_EQ(all.outLines, nullptr);
}

TEST(OmbrelConstruction, ValidWithoutAColourRaster) {
    // A manipulator read from a bitmap handle with parameters keeps the
    // 8-bit index raster only. The tracer is valid; GetColor fails cleanly,
    // so every pixel's average colour is 0 and the trace is one region.
    void* bits = nullptr;
    testbitmaps::Owned b(testbitmaps::section(6, 5, 8, {{0, 0, 0, 0}, {255, 255, 255, 0}}, &bits));
    ASSERT_NE(b.h, nullptr);
    static_cast<unsigned char*>(bits)[8 * 2 + 3] = 1;  // one white pixel
    testbitmaps::OwnedDc dc;
    OutLineManipulator m(dc.h, b.h, 10, 0, 3, 0);
    ASSERT_NE(m.indexRaster, nullptr);
    ASSERT_EQ(m.colorRaster, nullptr);
    TestOmbrel t(&m);
    EXPECT_TRUE(t.isValid());
    DWORD c = 7;
    EXPECT_FALSE(t.GetColor(c, 1, 1));
    EXPECT_EQ(c, 7u);
    AllOutLines all;
    ASSERT_EQ(t.DoOmbrel_(all, CPoint(3, 2), 100), Ombrel::Traced);
    ASSERT_NE(all.outLines, nullptr);
    EXPECT_EQ(all.outLines->color, 0u);
    ASSERT_NE(all.outLines->child, nullptr);
    EXPECT_EQ(all.outLines->child->next, nullptr);  // no hole: one colour
    EXPECT_TRUE(t.testloop(all.outLines->child));
    delete all.outLines;
}

TEST(OmbrelVisitedMap, CountsSaturateAndZeroClears) {
    Image img(4, 4, 0);
    Traced tr(img, 0, 0, 3);
    ASSERT_TRUE(tr.t->isValid());
    for (int i = 0; i < 300; ++i) tr.t->SetVisited(5, 1);
    EXPECT_EQ(tr.t->GetVisited(5), 255);  // not 300 mod 256 = 44: stays claimed
    tr.t->SetVisited(5, 7);
    EXPECT_EQ(tr.t->GetVisited(5), 255);
    tr.t->SetVisited(5, 0);
    EXPECT_EQ(tr.t->GetVisited(5), 0);
    tr.t->SetVisited(POINT{1, 1});
    EXPECT_EQ(tr.t->VisitedReached(1, 1), 1);
    tr.t->SetVisited(-1, 1);  // outside the map: nothing
    tr.t->SetVisited(16, 1);
    EXPECT_EQ(tr.t->generalCheckVisitedOnlyOnce(), 1);
}

TEST(OmbrelStartRing, LaysTheRingWithTenSamplesInsideTheBorder) {
    Image img(20, 20, kWhite);
    Traced tr(img, 0, 0, 3);
    POINT seed = {5, 5};
    tr.t->Initialization(seed);
    EXPECT_EQ(tr.t->sampleCount, 10);
    EXPECT_EQ(tr.t->generalCheckVisitedOnlyOnce(), 9);
    EXPECT_TRUE(tr.t->checkNoOpposDirs());
    EXPECT_TRUE(tr.t->checkLoopValid());
    const BoundChain& c = *tr.t->chain;
    EXPECT_EQ(c.start.x, 4);
    EXPECT_EQ(c.start.y, 6);
    EXPECT_EQ(std::vector<int>(c.codes, c.codes + 8), (std::vector<int>{0, 0, 3, 3, 2, 2, 1, 1}));
    EXPECT_EQ(tr.t->regionColor, kWhite);

    Image small(6, 6, kWhite);  // a seed on the border moves inward
    Traced border(small, 0, 0, 3);
    seed = {0, 5};
    border.t->Initialization(seed);
    EXPECT_EQ(seed.x, 1);
    EXPECT_EQ(seed.y, 4);
    EXPECT_TRUE(border.t->checkLoopValid());
}

TEST(OmbrelStartRing, RunningColourHoldsWhenTheSumsPassTwoToThe32) {
    // The region's colour is the mean of its samples. A region of more than
    // 2^32 / 255 = 16,843,009 samples of a bright byte (a flat picture above
    // about 40 megapixels has one) must keep its colour: a sum wrapped at 32
    // bits made it nearly black, and the region stopped growing there.
    for (DWORD colour : {kWhite, DWORD{0x3264C8}}) {
        Image img(20, 20, colour);
        Traced tr(img, 0, 0, 3);
        POINT seed = {5, 5};
        tr.t->Initialization(seed);
        for (int n : {16843009, 1 << 28}) {  // 255 n = 2^32 - 1; the largest picture
            tr.t->sampleCount = n;
            tr.t->sumRed = static_cast<long long>(n) * (colour & 0xFF);
            tr.t->sumGreen = static_cast<long long>(n) * ((colour >> 8) & 0xFF);
            tr.t->sumBlue = static_cast<long long>(n) * ((colour >> 16) & 0xFF);
            EXPECT_TRUE(tr.t->IsPointOK(true, POINT{12, 12}));  // one sample more
            EXPECT_EQ(tr.t->sampleCount, n + 1);
            tr.t->UpdateRegionColor();
            EXPECT_EQ(tr.t->regionColor, colour) << n;
        }
    }
}

TEST(OmbrelDriver, BadSeedsAndLimits) {
    Image img(10, 10, kWhite);
    img.fill(3, 3, 4, 4, kRed);
    {
        Traced tr(img, 10, 4, 3);
        AllOutLines all;
        EXPECT_EQ(tr.t->DoOmbrel_(all, CPoint(10, 0), 100), Ombrel::NotTraced);
        EXPECT_EQ(tr.t->generalCheckVisitedOnlyOnce(), 0);
        EXPECT_EQ(all.outLines, nullptr);
    }
    {
        Traced tr(img, 10, 4, 3);
        AllOutLines all;
        ListOfOutLines* before = new ListOfOutLines(7);
        all.outLines = before;
        EXPECT_EQ(tr.t->DoOmbrel_(all, CPoint(5, 5), 0), Ombrel::LimitExceeded);
        EXPECT_EQ(all.outLines, before);
        delete before;
    }
    {
        Traced tr(img, 10, 4, 3);
        AllOutLines all;
        all.outLines = new ListOfOutLines(7);  // replaced and deleted on success
        EXPECT_EQ(tr.t->DoOmbrel_(all, CPoint(5, 5), 100), Ombrel::Traced);
        EXPECT_NE(all.outLines->color, 7u);
        delete all.outLines;
    }
}

TEST(OmbrelConstruction, FromABitmapHandleTracesAndRepaints) {
    RGBQUAD* px = nullptr;
    HBITMAP b = testbitmaps::rgb32(12, 10, RGBQUAD{255, 255, 255, 0}, &px);
    for (int y = 3; y < 7; ++y)
        for (int x = 3; x < 9; ++x) px[y * 12 + x] = RGBQUAD{10, 10, 250, 0};
    HDC dc = CreateCompatibleDC(nullptr);
    {
        TestOmbrel t(b, 256, dc, 0);
        ASSERT_TRUE(t.isValid());
        EXPECT_EQ(t.minOutlineLen, 9);
        EXPECT_EQ(t.tolerance, 0x404040u);
        AllOutLines all;
        ASSERT_EQ(t.DoOmbrel_(all, CPoint(5, 5), 100), Ombrel::Traced);
        ASSERT_NE(all.outLines, nullptr);
        EXPECT_TRUE(t.testloop(all.outLines->child));
        delete all.outLines;
    }
    // Every colour is acceptable to this tracer, so the region is the whole
    // picture, repainted with one entry of the fixed table.
    for (int i = 1; i < 120; ++i) {
        EXPECT_EQ(px[i].rgbRed, px[0].rgbRed);
        EXPECT_EQ(px[i].rgbBlue, px[0].rgbBlue);
    }
    EXPECT_NE(px[0].rgbRed, 255);  // neither the old white nor the old red
    DeleteDC(dc);
    DeleteObject(b);
    TestOmbrel none(nullptr, 256, nullptr, 0);
    EXPECT_FALSE(none.isValid());
}

TEST(OmbrelHierarchy, FallbackFirstStepsFollowACutInTheProbe) {
    // A host's outline round a 4 x 2 block (rows 1 and 2, columns 1 to 4)
    // that also runs into the block along a slit between its rows, starting
    // in the slit at (4, 2). There the outward pixel (4, 1) is on the loop,
    // so the probe cuts (2) before it meets any unclaimed pixel: the slit
    // becomes the split-off loop and the block's outer loop stays. The
    // fallback then tries the far-side neighbours' colours; the first,
    // (4, 0), starts the region.
    Image img(7, 5, kWhite);
    img.set(4, 0, kBlue);
    img.set(3, 0, kBlue);
    Traced tr(img, 10, 0, 3);
    ASSERT_TRUE(tr.t->isValid());
    for (int y = 1; y <= 2; ++y)
        for (int x = 1; x <= 4; ++x) tr.t->SetVisited(POINT{x, y});
    ListOfOutLines o(kRed);
    unsigned char codes[] = {2, 2, 3, 0, 0, 2, 2, 2, 1, 0, 0, 0};
    ASSERT_TRUE(o.FreeAllocAndPutData(codes, 12, POINT{4, 2}));
    EXPECT_TRUE(tr.t->GenerateInitBoundChain(&o));
    EXPECT_EQ(tr.t->regionColor, kBlue);
    EXPECT_EQ(tr.t->sampleCount, 1);
    EXPECT_EQ(tr.t->sumBlue, 255);
}
