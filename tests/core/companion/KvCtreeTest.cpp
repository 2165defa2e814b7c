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

TEST(FlipShiftCTree, FlipsAKnownTree) {
    // A 4 x 3 raster stored bottom-up. The root's chain starts at (1, 0),
    // memory row 0 = bottom picture row 2.
    KvCtree* t = kvctr_newKvCtree();
    unsigned char codes[4] = {0, 1, 2, 3};
    t->init(codes, 4, 0 * 4 + 1, 4);
    t->bezierCount = 4;
    t->newBezier(4);
    t->bezier[0] = KvPoint{2.0, 1.0};  // centre of raster pixel (1, 0)
    t->bezier[1] = KvPoint{3.0, 2.0};  // centre of raster pixel (2, 1)
    t->bezier[2] = KvPoint{1.0, 3.0};  // centre of raster pixel (0, 2)
    t->bezier[3] = KvPoint{2.0, 1.0};
    KvCtree::Holes* h = t->addTail();
    unsigned char hc[2] = {3, 1};
    h->ctree->init(hc, 2, 2 * 4 + 3, 4);  // (3, 2)

    flipShiftCTree(t, 4, 3);

    EXPECT_EQ(t->startOffset, 2 * 4 + 1);  // row 0 -> row 2
    EXPECT_EQ(std::vector<int>(t->chain, t->chain + 4), (std::vector<int>{0, 3, 2, 1}));
    // Raster pixel (x, y) has picture row 2 - y and centre (x + .5, 2 - y + .5).
    const double want[3][2] = {{1.5, 2.5}, {2.5, 1.5}, {0.5, 0.5}};
    for (int i = 0; i < 3; ++i) {
        EXPECT_DOUBLE_EQ(t->bezier[i].x, want[i][0]) << i;
        EXPECT_DOUBLE_EQ(t->bezier[i].y, want[i][1]) << i;
    }
    EXPECT_EQ(h->ctree->startOffset, 0 * 4 + 3);
    EXPECT_EQ(h->ctree->chain[0], 1);
    EXPECT_EQ(h->ctree->chain[1], 3);
    kvctr_deleteKvCtree(t);
}

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
