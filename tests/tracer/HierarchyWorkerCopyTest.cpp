// Outline copies and reversal of the hierarchy worker.
#include <gtest/gtest.h>

#include "tracer/ChainCode.h"
#include "tracer/HierarchyWorker.h"

TEST(HierarchyWorkerCopy, CopyCarriesCodesAndRegionData) {
    ListOfOutLines src(0x112233);
    unsigned char codes[8] = {0, 0, 3, 3, 2, 2, 1, 1};
    src.FreeAllocAndPutData(codes, 8, POINT{4, 6});
    src.paletteIndex = 5;
    src.tag = 77;
    src.pixelCount = 9;
    src.isFrame = false;
    src.checkState = 1;
    ListOfOutLines* c = HierarchyWorker::copyOutline(&src);
    ASSERT_NE(c, nullptr);
    EXPECT_NE(c->data, src.data);
    EXPECT_EQ(c->len, 8);
    EXPECT_EQ(c->start.x, 4);
    EXPECT_EQ(c->color, 0x112233u);
    EXPECT_EQ(c->paletteIndex, 5);
    EXPECT_EQ(c->tag, 77);
    EXPECT_EQ(c->pixelCount, 9);
    EXPECT_EQ(c->kind, 1);
    EXPECT_TRUE(c->isFrame);  // flags are not copied
    EXPECT_EQ(c->checkState, -1);
    delete c;
    EXPECT_EQ(HierarchyWorker::copyOutline(nullptr), nullptr);
}

TEST(HierarchyWorkerCopy, ReversalOfTheSeedRing) {
    HierarchyWorker w(100, 10);
    ListOfOutLines o;
    unsigned char codes[8] = {0, 0, 3, 3, 2, 2, 1, 1};
    o.FreeAllocAndPutData(codes, 8, POINT{4, 6});
    w.reverseOutline(&o);
    const unsigned char want[8] = {3, 3, 0, 0, 1, 1, 2, 2};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(o.data[i], want[i]);
    EXPECT_EQ(o.start.x, 4);
    EXPECT_TRUE(chaincode::isClosed(o.data, o.len, o.start));
    w.reverseOutline(nullptr);
}

TEST(HierarchyWorkerCopy, WorkerOfUnusableSizeHasNoMap) {
    HierarchyWorker w(0, 0);
    EXPECT_EQ(w.map, nullptr);
    ASSERT_NE(w.working, nullptr);
    EXPECT_EQ(w.working->color, 0xff0000u);
}
