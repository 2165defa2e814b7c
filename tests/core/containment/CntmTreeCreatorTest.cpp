// The containment builder's parts on outline trees assembled by hand, as a
// trace would leave them: refusals, equal boxes, frames, free holes, the old
// form. (What it builds of whole traces: pinned by the golden results.)
#include <gtest/gtest.h>

#include <vector>

#include "containment/CntmTreeCreator.h"
#include "tracer/ChainCode.h"
#include "ChainShapes.h"

namespace {

// A closed w x h rectangle of boundary pixels starting at (x, y), running
// +x first (region below in memory order).
ListOfOutLines* rect(int x, int y, int w, int h, DWORD color) {
    std::vector<unsigned char> c = testchains::boxOfPixels(w, h);
    ListOfOutLines* n = new ListOfOutLines(color);
    n->FreeAllocAndPutData(c.data(), static_cast<long>(c.size()), POINT{x, y});
    return n;
}

ExportOutLineTree* exportRect(int x, int y, int w, int h, int width, int type) {
    ListOfOutLines* r = rect(x, y, w, h, 0);
    ExportOutLineTree* t = new ExportOutLineTree(r->data, r->len, y * width + x);
    t->type = type;
    delete r;
    return t;
}

struct TestCreator : CntmTreeCreator {
    using CntmTreeCreator::addFrameToFrame;
    using CntmTreeCreator::addFreeHolesToAppropriateParts;
    using CntmTreeCreator::cleanBuffer;
    using CntmTreeCreator::CntmTreeCreator;
    using CntmTreeCreator::doesFrameBoundBitmap;
    using CntmTreeCreator::freeHoleQueue;
    using CntmTreeCreator::getContainer;
    using CntmTreeCreator::markFrame;
};

std::vector<int> holeStarts(const ExportOutLineTree* t) {
    std::vector<int> v;
    for (HoleNode* h = t->holes; h; h = h->next) v.push_back(h->tree ? h->tree->startPos : -1);
    return v;
}

}  // namespace

TEST(CntmTreeCreator, RefusalsAndEmptyTraces) {
    CntmTreeCreator c(8, 6);
    ExportOutLinesStruct out(nullptr, 3);
    AllOutLines none;
    none.width = 8;
    none.height = 6;
    EXPECT_TRUE(c.createCntmTree(out, none));
    EXPECT_EQ(out.width, 3);  // untouched
    ListOfOutLines region(0);
    AllOutLines other;
    other.outLines = &region;
    other.width = 9;
    other.height = 6;
    EXPECT_FALSE(c.createCntmTree(out, other));
    CntmTreeCreator bad(0, 5);
    EXPECT_FALSE(bad.valid);
    EXPECT_FALSE(bad.createCntmTree(out, other));
}

TEST(CntmTreeCreator, EqualBoxesContainEachOther) {
    CntmTreeCreator c(10, 10);
    ListOfOutLines* a = rect(2, 2, 4, 4, 0);
    ListOfOutLines* b = rect(2, 2, 4, 4, 0);
    EXPECT_EQ(c.cmp1and2_OL_4boundsTest(a, b), FirstContainsSecond);
    EXPECT_EQ(c.cmp1and2_OL_4boundsTest(b, a), FirstContainsSecond);
    ListOfOutLines* small = rect(3, 3, 2, 2, 0);
    EXPECT_EQ(c.cmp1and2_OL_4boundsTest(small, a), FirstInsideSecond);
    ListOfOutLines* apart = rect(7, 7, 2, 2, 0);
    EXPECT_EQ(c.cmp1and2_OL_4boundsTest(apart, a), NoContainment);
    delete a;
    delete b;
    delete small;
    delete apart;
}

TEST(CntmTreeCreator, AddFrameToFrame) {
    TestCreator c(20, 20);
    ExportOutLineTree t(nullptr, 0, 0);
    t.insertHoleAtHead(exportRect(1, 1, 2, 2, 20, 0));
    ExportOutLineTree* frame = exportRect(0, 0, 20, 20, 20, 1);
    frame->insertHoleAtHead(exportRect(5, 5, 2, 2, 20, 0));
    frame->insertHoleAtHead(exportRect(4, 4, 2, 2, 20, 0));
    c.addFrameToFrame(&t, frame);  // holes appended in order, frame deleted
    EXPECT_EQ(holeStarts(&t), (std::vector<int>{21, 84, 105}));
    c.addFrameToFrame(&t, exportRect(9, 9, 2, 2, 20, 0));  // an outline: second hole
    EXPECT_EQ(holeStarts(&t), (std::vector<int>{21, 189, 84, 105}));
    c.addFrameToFrame(nullptr, exportRect(9, 9, 2, 2, 20, 0));  // nowhere: deleted
}

TEST(CntmTreeCreator, FrameBoundingTheRaster) {
    TestCreator c(4, 4);
    ExportOutLineTree* border = exportRect(0, 0, 4, 4, 4, 1);
    EXPECT_EQ(border->len, 12);
    EXPECT_TRUE(c.doesFrameBoundBitmap(border));
    ExportOutLineTree* inner = exportRect(1, 1, 2, 2, 4, 1);
    EXPECT_FALSE(c.doesFrameBoundBitmap(inner));
    EXPECT_FALSE(c.doesFrameBoundBitmap(nullptr));
    delete border;
    delete inner;
}

TEST(CntmTreeCreator, FreeHolesFindTheOwnerToTheirLeft) {
    TestCreator c(20, 10);
    ExportOutLineTree* part = exportRect(1, 1, 12, 8, 20, 0);
    c.cleanBuffer();
    c.markFrame(part);
    ExportOutLineTree* onEdge = exportRect(0, 3, 2, 2, 20, 0);
    EXPECT_EQ(c.getContainer(onEdge), nullptr);  // column 0: never a container
    delete onEdge;
    ExportOutLineTree* inside = exportRect(5, 3, 2, 2, 20, 0);
    EXPECT_EQ(c.getContainer(inside), part);
    ExportOutLineTree* colZero = exportRect(0, 4, 2, 2, 20, 0);
    ExportOutLineTree* later = exportRect(6, 6, 2, 2, 20, 0);
    c.freeHoleQueue.push(inside);
    c.freeHoleQueue.push(colZero);
    c.freeHoleQueue.push(later);
    c.addFreeHolesToAppropriateParts();
    EXPECT_EQ(holeStarts(part), (std::vector<int>{65}));
    EXPECT_EQ(c.freeHoleQueue.count(), 1);  // waits for the next call
    c.cleanBuffer();                        // the map is clean again
    EXPECT_EQ(c.getContainer(part), nullptr);
    delete part;
    // `later` is deleted with the builder.
}

TEST(CntmTreeCreator, ConvertToOldFasionTree) {
    CntmTreeCreator c(10, 10);
    ExportOutLineTree* root = exportRect(0, 0, 10, 10, 10, 0);
    root->setColor(0x00332211);
    ExportOutLineTree* a = exportRect(1, 1, 2, 2, 10, 0);
    ExportOutLineTree* b = exportRect(5, 5, 2, 2, 10, 0);
    a->insertHoleAtHead(exportRect(1, 1, 2, 2, 10, 0));
    root->insertHoleAtHead(b);
    root->insertHoleAtHead(a);  // holes A, B
    ListOfOutLines* l = c.convertToOldFasionTree(root);
    ASSERT_NE(l, nullptr);
    EXPECT_EQ(l->color, 0x00332211u);
    EXPECT_EQ(root->data, nullptr);  // codes moved
    std::vector<int> starts;
    for (ListOfOutLines* n = l; n; n = n->next) starts.push_back(n->start.y * 10 + n->start.x);
    // The node, then B, then A followed by what A's conversion linked.
    EXPECT_EQ(starts, (std::vector<int>{0, 55, 11, 11}));
    delete l;
    delete root;
    EXPECT_EQ(c.convertToOldFasionTree(nullptr), nullptr);
}
