// The hierarchy worker on outlines built by hand: copies and reversal,
// cutting outlines into parts and simplifying parts lists.
#include <gtest/gtest.h>

#include <vector>

#include "tracer/ChainCode.h"
#include "tracer/HierarchyWorker.h"
#include "ChainShapes.h"

namespace {

ListOfOutLines* outline(POINT start, std::vector<unsigned char> codes, DWORD color = 0x123456) {
    ListOfOutLines* n = new ListOfOutLines(color);
    n->FreeAllocAndPutData(codes.data(), static_cast<long>(codes.size()), start);
    return n;
}

std::vector<int> codesOf(const ListOfOutLines* n) {
    return std::vector<int>(n->data, n->data + n->len);
}

int listLength(const ListOfOutLines* n) {
    int k = 0;
    for (; n; n = n->next) ++k;
    return k;
}

}  // namespace

TEST(HierarchyWorker, CopyCarriesCodesAndRegionDataNotFlags) {
    ListOfOutLines* src = outline(POINT{4, 6}, {0, 0, 3, 3, 2, 2, 1, 1}, 0x112233);
    src->paletteIndex = 5;
    src->tag = 77;
    src->pixelCount = 9;
    src->isFrame = false;
    src->checkState = 1;
    ListOfOutLines* c = HierarchyWorker::copyOutline(src);
    ASSERT_NE(c, nullptr);
    EXPECT_NE(c->data, src->data);
    EXPECT_EQ(codesOf(c), codesOf(src));
    EXPECT_EQ(std::vector<long long>(
                  {c->start.x, c->color, c->paletteIndex, c->tag, c->pixelCount, c->kind}),
              std::vector<long long>({4, 0x112233, 5, 77, 9, 1}));
    EXPECT_TRUE(c->isFrame);  // flags are not copied
    EXPECT_EQ(c->checkState, -1);
    EXPECT_EQ(HierarchyWorker::copyOutline(nullptr), nullptr);

    HierarchyWorker w(100, 10);
    w.reverseOutline(c);
    EXPECT_EQ(codesOf(c), (std::vector<int>{3, 3, 0, 0, 1, 1, 2, 2}));
    EXPECT_EQ(c->start.x, 4);
    EXPECT_EQ(c->start.y, 6);
    w.reverseOutline(nullptr);
    delete c;
    delete src;
}

TEST(HierarchyWorkerSplit, DetourThatNeverReturnsIsDropped) {
    HierarchyWorker w(10 * 10, 10);
    ListOfOutLines* o = outline(POINT{0, 0}, testchains::boxOfPixels(6, 4));
    // The child shares two pixels with o and then wanders off for good.
    ListOfOutLines* c = outline(POINT{0, 0}, {0, 1, 1, 2, 3, 3});
    o->child = c;
    w.splitIntoParts(o);
    EXPECT_FALSE(c->isFrame);
    for (ListOfOutLines* p = o->parts; p; p = p->next)
        EXPECT_TRUE(chaincode::isClosed(p->data, p->len, p->start));
    delete o;
}

TEST(HierarchyWorkerSimplify, FigureEightBecomesTwoSimpleLoops) {
    HierarchyWorker w(10 * 10, 10);
    ListOfOutLines* node = new ListOfOutLines(0);
    node->parts = outline(POINT{4, 3}, {1, 2, 2, 3, 3, 2, 2, 3, 3, 0, 0, 1, 1, 0, 0, 1}, 0x777777);
    ASSERT_TRUE(chaincode::isClosed(node->parts->data, node->parts->len, node->parts->start));
    w.simplifyAllParts(node);
    ASSERT_EQ(listLength(node->parts), 2);
    ListOfOutLines* first = node->parts;
    ListOfOutLines* second = first->next;
    EXPECT_EQ(first->start.x, 2);
    EXPECT_EQ(first->start.y, 2);
    EXPECT_EQ(codesOf(first), (std::vector<int>{2, 2, 3, 3, 0, 0, 1, 1}));
    EXPECT_EQ(second->start.x, 2);
    EXPECT_EQ(codesOf(second), (std::vector<int>{0, 0, 1, 1, 2, 2, 3, 3}));
    EXPECT_EQ(second->color, 0x777777u);
    delete node;
}

TEST(HierarchyWorkerSimplify, ShortLoopsAreDroppedAndSimpleOnesKept) {
    HierarchyWorker w(10 * 10, 10);
    ListOfOutLines* node = new ListOfOutLines(0);
    node->parts = outline(POINT{1, 1}, {0, 1, 2});  // three codes
    node->parts->next = outline(POINT{1, 1}, testchains::boxOfPixels(3, 3));
    node->parts->next->next = outline(POINT{5, 5}, {0, 2, 0, 2});  // no pixel visited once
    node->child = new ListOfOutLines(0);
    node->child->parts = outline(POINT{2, 2}, {0, 2});
    w.simplifyAllParts(node);
    ASSERT_EQ(listLength(node->parts), 1);
    EXPECT_EQ(node->parts->len, 8);
    EXPECT_EQ(node->child->parts, nullptr);
    delete node;
}
