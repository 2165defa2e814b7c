// The entry points: bad input, result codes, the outline limit, the tolerance
// byte, the handle variants and the seeds' fall-through.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "golden/GoldenPictures.h"
#include "interface/kvMngr.h"
#include "interface/om1.h"
#include "platform/Gdi.h"
#include "ResultChecker.h"
#include "TestBitmaps.h"

namespace {

using golden::Picture;

const RGBQUAD kWhite = {255, 255, 255, 0};
const RGBQUAD kRed = {0, 0, 255, 0};
const RGBQUAD kBlue = {255, 0, 0, 0};

// Traces the bottom-up picture, checks every node and deletes the tree;
// returns the number of nodes (-1 when the trace fails).
int traceAndCount(const Picture& p, int tolerance, int minLen) {
    KvCtree* t = nullptr;
    RGBQUAD* px = const_cast<RGBQUAD*>(p.px.data());
    EXPECT_EQ(om1_kvTrace1Bmp(t, px, p.w, p.h, tolerance, minLen, 1000, 1, 0.0), 0) << tolerance;
    if (!t) return -1;
    ResultChecker c(p.w, p.h, false, "tolerance " + std::to_string(tolerance));
    c.node(t);
    om1_delKvCTree(t);
    EXPECT_EQ(t, nullptr);
    return c.nodes;
}

}  // namespace

TEST(EntryPoints, BadInputGivesNoOutlines) {
    Picture p(10, 10, kWhite);
    KvCtree* t = reinterpret_cast<KvCtree*>(0x1);  // overwritten with null
    EXPECT_EQ(om1_kvTrace1Bmp(t, nullptr, 10, 10, 10, 4, 100, 1, 0.0), 1);
    EXPECT_EQ(t, nullptr);
    EXPECT_EQ(om1_kvTrace1Bmp(t, p.px.data(), 0, 10, 10, 4, 100, 1, 0.0), 1);
    EXPECT_EQ(om1_kvTrace1Bmp(t, p.px.data(), 10, -3, 10, 4, 100, 1, 0.0), 1);
    EXPECT_EQ(om1_kvTrace1Bmp(t, p.px.data(), 70000, 70000, 10, 4, 100, 1, 0.0), 1);
    // Above the containment tree's limit of 2^28 - 1 pixels: refused before
    // any pixel is read (the buffer here holds 100).
    EXPECT_EQ(om1_kvTrace1Bmp(t, p.px.data(), 16384, 16385, 10, 4, 100, 1, 0.0), 1);
    EXPECT_EQ(om1_kvTrace1Bmp(t, p.px.data(), 2, 50, 10, 4, 100, 1, 0.0), 1);  // below 3
    // Left-top with a palette: no tree either. (Its results: ResultInvariants;
    // with a palette: the pinned handle traces of DibSectionTrace.)
    RGBQUAD palette[2] = {{0, 0, 200, 0}, {250, 250, 250, 0}};
    EXPECT_EQ(om1_kvTrace1BmpLeftTop(t, nullptr, 30, 20, 10, palette, 2, 4, 1000, 1, 0.0), 1);
    EXPECT_EQ(t, nullptr);
}

// (Whole traces of shapes, checked node by node: ResultInvariants.)
TEST(EntryPoints, KeepsTheOutlineLimit) {
    Picture nested(40, 40, kWhite);
    nested.fill(5, 5, 30, 30, kRed);
    nested.fill(12, 12, 16, 16, kBlue);
    KvCtree* t = nullptr;
    EXPECT_EQ(om1_kvTrace1Bmp(t, nested.px.data(), 40, 40, 10, 4, 0, 1, 0.0), 2);
    EXPECT_EQ(t, nullptr);
    om1_delKvCTree(t);  // null: nothing
}

TEST(EntryPoints, ToleranceUsesTheLowByteOfAnyValue) {
    // Two greys 2 apart: tolerance 100 (254) joins them, 101 (low byte 1) does
    // not. The seed's start ring lies wholly in the right-hand grey.
    Picture p(20, 20, RGBQUAD{100, 100, 100, 0});
    p.fill(5, 0, 15, 20, RGBQUAD{102, 102, 102, 0});
    EXPECT_LT(traceAndCount(p, 100, 0), traceAndCount(p, 101, 0));
    // (int)(percent x 2.55) in 64 bits, low byte: INT_MAX gives 5476083299
    // (low byte 99), INT_MIN -5476083302 (low byte 154). Two greys 100 apart
    // are split by 99 and joined by 154, just as by 37 (94) and 61 (155).
    Picture q(20, 20, RGBQUAD{50, 50, 50, 0});
    q.fill(5, 0, 15, 20, RGBQUAD{150, 150, 150, 0});
    const int cases[][2] = {{INT_MAX, 37}, {INT_MIN, 61}, {INT_MAX - 1, 37}, {INT_MIN + 1, 61}};
    for (const auto& c : cases) EXPECT_EQ(traceAndCount(q, c[0], 0), traceAndCount(q, c[1], 0));
}

TEST(EntryPoints, HandleVariants) {
    KvCtree* sentinel = reinterpret_cast<KvCtree*>(0x10);
    KvCtree* t = sentinel;
    EXPECT_EQ(om1_kvTrace1H(t, nullptr, 10, 4, 100, 1, 0.0), 0);
    EXPECT_EQ(t, sentinel);
    EXPECT_EQ(om1_kvTrace1HLeftTop(t, nullptr, 10, nullptr, 0, 4, 100, 1, 0.0), 0);
    EXPECT_EQ(t, sentinel);

    RGBQUAD* px = nullptr;
    HBITMAP b = testbitmaps::rgb32(24, 16, kWhite, &px);
    for (int y = 4; y < 12; ++y)
        for (int x = 6; x < 18; ++x) px[y * 24 + x] = kBlue;
    t = nullptr;
    // Every retry exceeds a limit of 0; the tolerance, raised by 5 each time
    // from INT_MAX, wraps instead of overflowing.
    EXPECT_EQ(om1_kvTrace1H(t, b, INT_MAX, 4, 0, 1, 0.0), 2);
    EXPECT_EQ(t, nullptr);
    DeleteObject(b);

    // An 8-bit section is refused.
    HBITMAP b8 = testbitmaps::section(24, 16, 8);
    ASSERT_NE(b8, nullptr);
    EXPECT_EQ(om1_kvTrace1H(t, b8, 10, 4, 1000, 1, 0.0), 1);
    EXPECT_EQ(t, nullptr);
    DeleteObject(b8);
}

TEST(EntryPoints, AnEmptyFirstAttemptMovesOnToTheNextSeed) {
    // The centre seed lies in a 3 x 3 block whose ring (8 steps) is shorter
    // than the minimum length, so its attempt stores nothing; the next seed,
    // a quarter of the way in, lies in the large background.
    Picture p(40, 40, kWhite);
    p.fill(19, 19, 3, 3, kRed);
    KvCtree* t = nullptr;
    ASSERT_EQ(om1_kvTrace1Bmp(t, p.px.data(), 40, 40, 10, 20, 1000, 1, 0.0), 0);
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->color.rgbRed, 255);  // the background region
    EXPECT_EQ(t->color.rgbBlue, 255);
    om1_delKvCTree(t);
    // When no seed yields an outline the result is 1.
    Picture tiny(9, 9, kWhite);
    EXPECT_EQ(om1_kvTrace1Bmp(t, tiny.px.data(), 9, 9, 10, 1000, 1000, 1, 0.0), 1);
    EXPECT_EQ(t, nullptr);
}
