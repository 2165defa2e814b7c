// The output conversion manager on export trees built by hand.
#include <gtest/gtest.h>

#include <vector>

#include "containment/ExportOutLineTree.h"
#include "interface/kvMngr.h"
#include "ChainShapes.h"

namespace {
ExportOutLineTree* node(int w, int h, int pos) {
    std::vector<unsigned char> c = testchains::box(w, h);
    return new ExportOutLineTree(c.data(), static_cast<int>(c.size()), pos);
}
int holes(const ExportOutLineTree* t) {
    int n = 0;
    for (HoleNode* h = t->holes; h; h = h->next) ++n;
    return n;
}
}  // namespace

TEST(kvMngr, DelSmallOutLnKeepsEqualLengthsAndTheRoot) {
    kvMngr m(50, 50);
    ExportOutLineTree* root = node(1, 1, 0);  // length 4, shorter than any minimum
    ExportOutLineTree* a = node(3, 3, 0);     // 12
    ExportOutLineTree* b = node(2, 2, 0);     // 8
    a->insertHoleAtHead(node(1, 1, 0));       // 4, below a
    root->insertHoleAtHead(b);
    root->insertHoleAtHead(a);
    m.delSmallOutLn(0, root);
    EXPECT_EQ(holes(root), 2);
    m.delSmallOutLn(8, root);  // b (8) stays, a's own hole (4) goes
    EXPECT_EQ(holes(root), 2);
    EXPECT_EQ(holes(a), 0);
    m.delSmallOutLn(9, root);
    EXPECT_EQ(holes(root), 1);
    EXPECT_EQ(root->holes->tree, a);
    delete root;
}

TEST(kvMngr, CopiesTheTreeAndConvertsEveryNode) {
    kvMngr m(40, 40);
    ExportOutLineTree* root = node(10, 8, 2 * 40 + 2);
    root->setTypeAsOutLine();
    root->setColor(0x00332211);
    ExportOutLineTree* frame = node(4, 4, 4 * 40 + 4);
    root->insertHoleAtHead(frame);
    frame->insertHoleAtHead(new ExportOutLineTree(nullptr, 0, 0));  // empty chain
    KvCtree* out = nullptr;
    ASSERT_TRUE(m.createKvCTree(out, root, 40));
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->isFrame, 0);
    EXPECT_EQ(out->color.rgbRed, 0x11);
    EXPECT_EQ(out->dirNum, 36);
    EXPECT_EQ(out->startOffset, 82);
    ASSERT_NE(out->holes, nullptr);
    EXPECT_EQ(out->holes->ctree->isFrame, 1);
    ASSERT_TRUE(m.convBmToBezierRecurs(out, 1, 40));
    // Four corners: four segments, thirteen points, closed.
    EXPECT_EQ(out->bezierCount, 13);
    EXPECT_DOUBLE_EQ(out->bezier[0].x, 3.0);
    EXPECT_DOUBLE_EQ(out->bezier[0].y, 3.0);
    EXPECT_DOUBLE_EQ(out->bezier[12].x, out->bezier[0].x);
    KvCtree* empty = out->holes->ctree->holes->ctree;
    EXPECT_EQ(empty->dirNum, 0);
    EXPECT_EQ(empty->bezierCount, 0);
    EXPECT_EQ(empty->bezier, nullptr);
    kvctr_deleteKvCtree(out);
    delete root;
    EXPECT_TRUE(m.convBmToBezierRecurs(nullptr, 1, 40));
    KvCtree* none = nullptr;
    EXPECT_TRUE(m.createKvCTree(none, nullptr, 40));  // an empty root
    kvctr_deleteKvCtree(none);
}
