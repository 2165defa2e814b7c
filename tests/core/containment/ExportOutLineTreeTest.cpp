// Export nodes: construction, colours, hole-list moves, painting and release;
// positions and boxes.
#include <gtest/gtest.h>

#include <vector>

#include "containment/ExportOutLineTree.h"
#include "containment/ExportOutLinesStruct.h"
#include "containment/GeneralFuncs.h"

namespace {

unsigned char kRing[8] = {0, 0, 3, 3, 2, 2, 1, 1};

ExportOutLineTree* node(int tag) {
    ExportOutLineTree* t = new ExportOutLineTree(kRing, 8, tag);
    return t;
}

std::vector<int> holeTags(const ExportOutLineTree* t) {
    std::vector<int> v;
    for (HoleNode* h = t->holes; h; h = h->next) v.push_back(h->tree ? h->tree->startPos : -1);
    return v;
}

}  // namespace

TEST(ExportOutLineTree, ConstructionCopiesCodesAndSetColorStoresBlueGreenRed) {
    unsigned char codes[4] = {0, 1, 2, 3};
    ExportOutLineTree t(codes, 4, 17);
    codes[0] = 3;
    EXPECT_EQ(t.valid, 1);
    EXPECT_EQ(t.data[0], 0);
    t.color.rgbReserved = 9;
    t.setColor(0x123456);  // red 0x56, green 0x34, blue 0x12; reserved kept
    EXPECT_EQ(
        std::vector<int>({t.color.rgbBlue, t.color.rgbGreen, t.color.rgbRed, t.color.rgbReserved}),
        (std::vector<int>{0x12, 0x34, 0x56, 9}));

    ExportOutLineTree empty(nullptr, 9, 33);
    EXPECT_EQ(empty.valid, 1);
    EXPECT_EQ(empty.data, nullptr);

    ExportOutLineTree bad(codes, -3, 0);
    EXPECT_EQ(bad.valid, 0);
}

TEST(ExportOutLineTree, HoleInsertions) {
    ExportOutLineTree t(nullptr, 0, 0);
    ASSERT_TRUE(t.insertHoleAfterHead(node(1)));  // no holes yet: becomes the first
    ASSERT_TRUE(t.insertHoleAtHead(node(2)));
    ASSERT_TRUE(t.insertHoleAfterHead(node(3)));
    ASSERT_TRUE(t.addHoleAtHead(kRing, 8, 4));
    EXPECT_EQ(holeTags(&t), (std::vector<int>{4, 2, 3, 1}));
    EXPECT_FALSE(t.addHoleAtHead(kRing, -1, 5));  // not valid: nothing added
    EXPECT_EQ(holeTags(&t).size(), 4u);
}

TEST(ExportOutLineTree, MoveHolesToFirstOne) {
    ExportOutLineTree t(nullptr, 0, 0);
    ExportOutLineTree* a = node(1);
    a->insertHoleAtHead(node(10));
    t.insertHoleAtHead(node(3));  // C
    t.insertHoleAtHead(node(2));  // B
    t.insertHoleAtHead(a);        // A
    t.moveHolesToFirstOne();
    EXPECT_EQ(holeTags(&t), (std::vector<int>{1}));
    EXPECT_EQ(holeTags(a), (std::vector<int>{10, 2, 3}));

    ExportOutLineTree one(nullptr, 0, 0);
    one.insertHoleAtHead(node(5));
    one.moveHolesToFirstOne();
    EXPECT_EQ(holeTags(&one), (std::vector<int>{5}));
}

TEST(ExportOutLineTree, MovesBetweenHoleListsKeepOrder) {
    ExportOutLineTree t(nullptr, 0, 0), o(nullptr, 0, 0);
    t.insertHoleAtHead(node(2));
    t.insertHoleAtHead(node(1));
    o.insertHoleAtHead(node(4));
    o.insertHoleAtHead(node(3));
    t.moveAddHolesToTail(&o);
    EXPECT_EQ(holeTags(&t), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(o.holes, nullptr);
    ExportOutLineTree e(nullptr, 0, 0);
    e.moveAddHolesToTail(&t);
    EXPECT_EQ(holeTags(&e), (std::vector<int>{1, 2, 3, 4}));
    e.moveAddHolesToTail(nullptr);

    o.insertHoleAtHead(node(9));
    e.moveReplaceHoles(&o);  // o's old hole is deleted
    EXPECT_EQ(holeTags(&o), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(e.holes, nullptr);
    o.moveFirstHole(&t);
    EXPECT_EQ(holeTags(&t), (std::vector<int>{1}));
    EXPECT_EQ(holeTags(&o), (std::vector<int>{2, 3, 4}));
    o.moveFirstHole(nullptr);  // unlinked and deleted, no leak
    EXPECT_EQ(holeTags(&o), (std::vector<int>{3, 4}));
    e.moveFirstHole(&t);  // no holes: nothing
    EXPECT_EQ(holeTags(&t), (std::vector<int>{1}));
}

TEST(ExportOutLineTree, PaintsTheExactColourOnEveryChainPixel) {
    std::vector<RGBQUAD> px(6 * 5, RGBQUAD{1, 1, 1, 1});
    ExportOutLineTree t(kRing, 8, 3 * 6 + 1);  // ring round (2, 2) from (1, 3)
    t.setColor(0x123456);
    t.color.rgbReserved = 0;
    ExportOutLineTree::prnOutLinesToDIB(px.data(), 6, 5, &t);
    int painted = 0;
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 6; ++x) {
            const RGBQUAD& p = px[y * 6 + x];
            bool onRing = x >= 1 && x <= 3 && y >= 1 && y <= 3 && !(x == 2 && y == 2);
            const std::vector<int> want =
                onRing ? std::vector<int>{0x12, 0x34, 0x56, 0} : std::vector<int>{1, 1, 1, 1};
            EXPECT_EQ(std::vector<int>({p.rgbBlue, p.rgbGreen, p.rgbRed, p.rgbReserved}), want)
                << x << "," << y;
            painted += onRing;
        }
    EXPECT_EQ(painted, 8);
}

TEST(ExportOutLineTree, PaintingWrapsAtColumnZeroAndStaysInTheBuffer) {
    std::vector<RGBQUAD> px(4 * 3, RGBQUAD{0, 0, 0, 0});
    unsigned char codes[3] = {2, 2, 3};  // from (0, 1): to (-1, 1), (-2, 1), (-2, 0)
    ExportOutLineTree t(codes, 3, 4);
    t.setColor(0x0000FF);
    ExportOutLineTree* h = new ExportOutLineTree(nullptr, 0, 0);
    unsigned char down[6] = {3, 3, 3, 3, 3, 3};
    h->insertHoleAtHead(new ExportOutLineTree(down, 6, 9));  // (1, 2) runs off row 0
    h->holes->tree->setColor(0x00FF00);
    t.insertHoleAtHead(h);
    ExportOutLineTree::prnOutLinesToDIB(px.data(), 4, 3, &t);
    EXPECT_EQ(px[4].rgbRed, 255);  // start (0, 1)
    EXPECT_EQ(px[3].rgbRed, 255);  // x = -1 on row 1 is the last pixel of row 0
    EXPECT_EQ(px[2].rgbRed, 255);  // x = -2
    EXPECT_EQ(px[9].rgbGreen, 255);
    EXPECT_EQ(px[5].rgbGreen, 255);
    EXPECT_EQ(px[1].rgbGreen, 255);
    EXPECT_EQ(px[0].rgbGreen, 0);
    ExportOutLineTree::prnOutLinesToDIB(nullptr, 4, 3, &t);
    ExportOutLineTree::prnOutLinesToDIB(px.data(), 4, 3, nullptr);
}

TEST(ExportOutLineTree, DeletesLongHoleLists) {
    ExportOutLinesStruct s(new ExportOutLineTree(nullptr, 0, 0), 10);
    for (int i = 0; i < 300000; ++i)
        s.exportTree->insertHoleAtHead(new ExportOutLineTree(kRing, 8, i));
}

TEST(GeneralFuncs, PositionsAndBoxes) {
    POINT p;
    GeneralFuncs::cnvPosToPoint(p, 23, 10);
    EXPECT_EQ(p.x, 3);
    EXPECT_EQ(p.y, 2);
    int b[4];
    GeneralFuncs::set4Bounds(b, 3 * 10 + 4, kRing, 8, 10);  // ring from (4, 3)
    EXPECT_EQ(b[0], 6);
    EXPECT_EQ(b[1], 3);
    EXPECT_EQ(b[2], 4);
    EXPECT_EQ(b[3], 1);
    int inner[4] = {5, 5, 2, 2}, outer[4] = {6, 6, 1, 1}, cross[4] = {7, 4, 3, 3};
    EXPECT_TRUE(GeneralFuncs::isLeftInRight(inner, outer));
    EXPECT_FALSE(GeneralFuncs::isLeftInRight(outer, inner));
    EXPECT_TRUE(GeneralFuncs::isLeftInRight(inner, inner));
    EXPECT_FALSE(GeneralFuncs::isLeftInRight(cross, outer));
}
