// Counting, locating, rotating and checking outlines, and legacy conversion.
#include <gtest/gtest.h>

#include <vector>

#include "TracerFixtures.h"
#include "containment/ExportOutLineTree.h"

namespace {

struct ListOps : TestOmbrel {
    using Ombrel::checkCoveredByChilds;
    using Ombrel::checkOutlineCovered;
    using Ombrel::findEndCoincidence;
    using Ombrel::getPointIndex;
    using Ombrel::markOutline;
    using Ombrel::normalizeOutLine;
    using TestOmbrel::TestOmbrel;
};

ListOfOutLines* ring(POINT s) {
    unsigned char codes[8] = {0, 0, 3, 3, 2, 2, 1, 1};
    ListOfOutLines* n = new ListOfOutLines(0);
    n->FreeAllocAndPutData(codes, 8, s);
    return n;
}

// A tracer over a blank 10 x 10 picture.
struct OutlineListOps : ::testing::Test {
    Image img{10, 10, 0};
    OutLineManipulator olm{img.px.data(), 10, 10, 0, 0, 3, 0};
    ListOps t{&olm};
};

}  // namespace

TEST_F(OutlineListOps, IndexRotationAndClosure) {
    ListOfOutLines* r = ring(POINT{2, 3});
    EXPECT_EQ(t.getPointIndex(r, POINT{2, 3}), 0);  // revisited at the end, still 0
    EXPECT_EQ(t.getPointIndex(r, POINT{4, 3}), 2);
    EXPECT_EQ(t.getPointIndex(r, POINT{3, 2}), -10);
    t.normalizeOutLine(r, POINT{4, 3}, -1);
    EXPECT_EQ(r->start.x, 4);
    EXPECT_EQ(r->data[0], 3);
    EXPECT_TRUE(t.checkOutLine(r));
    t.normalizeOutLine(r, POINT{9, 9}, 0);  // index 0: codes kept, start set
    EXPECT_EQ(r->start.x, 9);
    EXPECT_EQ(r->data[0], 3);
    EXPECT_FALSE(t.checkOutLine(nullptr));
    delete r;
}

TEST_F(OutlineListOps, MapsAndCoverage) {
    std::vector<unsigned char> map(100, 0);
    ListOfOutLines* r = ring(POINT{2, 3});
    POINT hit = {-1, -1};
    EXPECT_EQ(t.findEndCoincidence(map.data(), r, hit), -20);
    std::fill(map.begin(), map.end(), 0);
    map[3 * 10 + 4] = 1;
    EXPECT_EQ(t.findEndCoincidence(map.data(), r, hit), 2);
    EXPECT_EQ(hit.x, 4);
    std::fill(map.begin(), map.end(), 0);
    t.markOutline(map.data(), r, 40);
    EXPECT_EQ(t.checkOutlineCovered(map.data(), r, 40), 0);
    map[3 * 10 + 3] = 0;
    EXPECT_EQ(t.checkOutlineCovered(map.data(), r, 40), 1);
    r->child = ring(POINT{2, 3});
    EXPECT_TRUE(t.checkCoveredByChilds(map.data(), r));
    EXPECT_EQ(map[3 * 10 + 3], 40);
    delete r;
}

TEST_F(OutlineListOps, ConvertExportNodeWithHoles) {
    unsigned char codes[8] = {0, 0, 3, 3, 2, 2, 1, 1};
    ExportOutLineTree* node = new ExportOutLineTree(codes, 8, 33);
    node->setColor(0x00112233);
    ExportOutLineTree* a = new ExportOutLineTree(codes, 8, 11);
    a->insertHoleAtHead(new ExportOutLineTree(codes, 8, 77));     // not converted
    node->insertHoleAtHead(new ExportOutLineTree(codes, 8, 55));  // B
    node->insertHoleAtHead(a);                                    // A first
    ListOfOutLines* l = Ombrel::convertExpIntoOldOl(node, 10);
    EXPECT_EQ(node, nullptr);
    ASSERT_NE(l, nullptr);
    std::vector<int> starts;
    for (ListOfOutLines* n = l; n; n = n->next) {
        starts.push_back(n->start.y * 10 + n->start.x);
        EXPECT_EQ(n->color, 0x00112233u);
    }
    EXPECT_EQ(starts, (std::vector<int>{33, 55, 11}));
    delete l;
}
