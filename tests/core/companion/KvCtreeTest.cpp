// The companion contour tree: node operations, release, flip and palette merge
// (its layout is pinned by the header's static_asserts).
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "companion/KvCtree.h"

namespace {

RGBQUAD quad(BYTE r, BYTE g, BYTE b) {
    return RGBQUAD{b, g, r, 0};
}

}  // namespace

TEST(KvCtree, NewRootIsEmptyAndInitCopiesTheChain) {
    KvCtree* t = kvctr_newKvCtree();
    ASSERT_NE(t, nullptr);
    EXPECT_TRUE(!t->isFrame && !t->holes && !t->chain && !t->bezier);
    unsigned char codes[4] = {0, 1, 2, 3};
    ASSERT_TRUE(t->init(codes, 4, 5, 3));
    codes[0] = 3;
    EXPECT_EQ(t->chain[0], 0);
    EXPECT_EQ(t->dirNum, 4);
    // A second init replaces the first chain (no leak in the sanitizer build).
    ASSERT_TRUE(t->init(codes, 1, 0, 3));
    EXPECT_EQ(t->dirNum, 1);
    EXPECT_FALSE(t->init(nullptr, 3, 0, 3));
    EXPECT_EQ(t->dirNum, 0);
    EXPECT_EQ(t->chain, nullptr);
    // Curve points: a count of 0 is refused, others come zeroed.
    EXPECT_FALSE(t->newBezier(0));
    EXPECT_EQ(t->bezier, nullptr);
    EXPECT_TRUE(t->newBezier(7));
    EXPECT_EQ(t->bezier[6].x, 0.0);
    kvctr_deleteKvCtree(t);
    kvctr_deleteKvCtree(nullptr);  // nothing to do
}

TEST(KvCtree, DeletesLongHoleListsAndDeepNesting) {
    KvCtree* t = kvctr_newKvCtree();
    for (int i = 0; i < 200000; ++i) ASSERT_NE(t->addTail(), nullptr);
    KvCtree* n = t->holes->ctree;
    for (int d = 0; d < 1000; ++d) n = n->addTail()->ctree;
    kvctr_deleteKvCtree(t);
}

// (The flip of whole traces, by the left-top entry points: pinned by
// DibSectionTrace.SameResultsOnEverySystem.)
TEST(FlipShiftCTree, NullOrEmptySizeDoesNothing) {
    flipShiftCTree(nullptr, 4, 4);
    KvCtree* t = kvctr_newKvCtree();
    unsigned char c[1] = {1};
    t->init(c, 1, 5, 4);
    flipShiftCTree(t, 0, 4);
    flipShiftCTree(t, 4, -1);
    EXPECT_EQ(t->startOffset, 5);
    EXPECT_EQ(t->chain[0], 1);
    kvctr_deleteKvCtree(t);
}

TEST(MergeIntoPalette, SnapsEveryNodeToTheNearestEntryLowerIndexOnTies) {
    RGBQUAD pal[3] = {quad(0, 0, 0), quad(255, 255, 255), quad(200, 0, 0)};
    KvCtree* t = kvctr_newKvCtree();
    t->color = quad(250, 240, 245);
    KvCtree* hole = t->addTail()->ctree;
    hole->color = quad(180, 30, 10);
    KvCtree* inner = hole->addTail()->ctree;
    inner->color = quad(20, 20, 20);
    mergeIntoPalette(t, pal, 3);
    EXPECT_EQ(t->color.rgbRed, 255);
    EXPECT_EQ(t->color.rgbGreen, 255);
    EXPECT_EQ(hole->color.rgbRed, 200);
    EXPECT_EQ(hole->color.rgbGreen, 0);
    EXPECT_EQ(inner->color.rgbRed, 0);
    EXPECT_EQ(inner->color.rgbReserved, 0);
    RGBQUAD pair[2] = {quad(10, 10, 10), quad(30, 30, 30)};
    t->color = quad(20, 20, 20);
    mergeIntoPalette(t, pair, 2);
    EXPECT_EQ(t->color.rgbRed, 10);  // ties go to the lower index
    t->color = quad(99, 99, 99);
    mergeIntoPalette(t, pair, 0);  // empty inputs do nothing
    mergeIntoPalette(t, nullptr, 2);
    mergeIntoPalette(nullptr, pair, 2);
    EXPECT_EQ(t->color.rgbRed, 99);
    kvctr_deleteKvCtree(t);
}
