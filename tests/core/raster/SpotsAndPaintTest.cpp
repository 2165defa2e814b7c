// Spot weighting, small-spot marking, colour restitution, outline painting
// and the outline checks.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "platform/CView.h"
#include "platform/Gdi.h"
#include "containment/ExportOutLineTree.h"
#include "raster/RegionFill.h"
#include "raster/OutLineManipulator.h"
#include "tracer/AllOutLines.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"
#include "ChainShapes.h"
#include "TestBitmaps.h"

namespace {

ListOfOutLines* loop(POINT s, std::vector<unsigned char> codes, DWORD color = 0) {
    ListOfOutLines* n = new ListOfOutLines(color);
    n->FreeAllocAndPutData(codes.data(), static_cast<long>(codes.size()), s);
    return n;
}

// An 8-bit bitmap with a small palette and a view object over it.
struct Host {
    HBITMAP bitmap = nullptr;
    unsigned char* bits = nullptr;
    std::unique_ptr<CView> view;
    std::unique_ptr<OutLineManipulator> m;
    int w, h;
    Host(int w_, int h_, int mode) : w(w_), h(h_) {
        void* p = nullptr;
        bitmap = testbitmaps::section(
            w, h, 8, {{0, 0, 0, 0}, {255, 255, 255, 0}, {0, 0, 255, 0}, {255, 0, 0, 0}}, &p);
        bits = static_cast<unsigned char*>(p);
        view.reset(new CView(bitmap));
        m.reset(new OutLineManipulator(view.get(), bitmap, 0, 0, mode));
    }
    ~Host() {
        m.reset();
        DeleteObject(bitmap);
    }
    unsigned char at(int x, int y) const { return m->indexRaster[y * w + x]; }
};

}  // namespace

TEST(SpotWeights, SumOverNestedOutlines) {
    Host host(10, 10, 3);
    ListOfOutLines* root = loop(POINT{0, 0}, testchains::boxOfPixels(10, 10));
    root->pixelCount = 50;
    root->child = loop(POINT{1, 1}, testchains::boxOfPixels(4, 4));
    root->child->pixelCount = 10;
    root->child->next = loop(POINT{5, 5}, testchains::boxOfPixels(4, 4));
    root->child->next->pixelCount = 7;
    root->child->child = loop(POINT{2, 2}, testchains::boxOfPixels(2, 2));
    root->child->child->pixelCount = 3;
    host.m->setContourWeight(root);
    EXPECT_EQ(root->tag, 70);
    EXPECT_EQ(root->child->tag, 13);
    EXPECT_EQ(root->child->next->tag, 7);
    root->child->next->pixelCount = 100;
    host.m->setContourWeight(root);  // weights are kept
    EXPECT_EQ(root->tag, 70);
    EXPECT_EQ(host.m->culcWeigtToler(100), 5 * 100);
    EXPECT_EQ(host.m->culcWeigtToler(1), 5);
    delete root;
}

TEST(SpotWeights, MarkingThresholdAndEmptyOutlines) {
    Host host(10, 10, 3);
    // A leaf of p pixels is marked when p + 1 <= tol.
    ListOfOutLines* leaf = loop(POINT{1, 1}, testchains::boxOfPixels(3, 3));
    leaf->pixelCount = 9;
    host.m->setContourWeight(leaf);
    host.m->eliminateSmallWeightSpots(leaf, 9);
    EXPECT_EQ(leaf->extraLink, nullptr);
    host.m->eliminateSmallWeightSpots(leaf, 10);
    ASSERT_NE(leaf->extraLink, nullptr);
    EXPECT_EQ(leaf->extraLink->tag, 9);
    ASSERT_NE(leaf->extraLink->parts, nullptr);
    EXPECT_EQ(leaf->extraLink->parts->len, leaf->len);
    host.m->eliminateSmallWeightSpots(leaf, 9);  // re-run: replaced, then dropped
    EXPECT_EQ(leaf->extraLink, nullptr);
    ListOfOutLines empty(0);
    empty.pixelCount = 1;
    host.m->setContourWeight(&empty);
    host.m->eliminateSmallWeightSpots(&empty, 1000);
    EXPECT_EQ(empty.extraLink, nullptr);
    host.m->eliminateSmallWeightSpots(nullptr, 5);
    delete leaf;
}

TEST(Restitution, RepaintsTracedRegionsWithTheirPaletteEntries) {
    // A red square on white, traced in mode 2 (the list walk).
    Host host(16, 12, 2);
    for (int y = 0; y < 12; ++y)
        for (int x = 0; x < 16; ++x) host.bits[y * 16 + x] = 1;  // white (stride 16)
    for (int y = 3; y < 8; ++y)
        for (int x = 4; x < 10; ++x) host.bits[y * 16 + x] = 2;  // red
    Host traced(16, 12, 2);
    std::memcpy(traced.bits, host.bits, 16 * 12);
    OutLineManipulator olm(traced.view.get(), traced.bitmap, 0x101010, 0, 3);
    Ombrel t(&olm);
    AllOutLines all;
    ASSERT_EQ(t.DoOmbrel_(all, CPoint(6, 5), 100), Ombrel::Traced);
    ASSERT_NE(all.outLines, nullptr);
    host.m->restituteColors(all.outLines, 0);
    EXPECT_GT(host.m->restitutedCount, 0);
    EXPECT_EQ(host.at(6, 5), 2);  // inside the red square
    // Its boundary ring is also a part of the white region round it, which
    // is painted after it.
    EXPECT_EQ(host.at(4, 3), 1);
    EXPECT_EQ(host.at(0, 0), 1);
    EXPECT_EQ(host.bits[5 * 16 + 6], 2);  // written into the bitmap
    delete all.outLines;
}

TEST(Restitution, IsWrittenAfterAFilterOnTheSameObject) {
    // The filters read the bitmap as 32-bit and leave the description so;
    // restitution and painting afterwards still write the 8-bit indices.
    for (int filter = 0; filter < 2; ++filter) {
        Host host(14, 12, 2);  // rows padded from 14 to 16 bytes
        for (int y = 0; y < 12; ++y)
            for (int x = 0; x < 14; ++x) host.bits[y * 16 + x] = 1;
        HBITMAP b = host.bitmap;
        if (filter == 0)
            ASSERT_TRUE(host.m->Filter(b, 0));
        else
            host.m->FilterAdaptSmooth(b, 0);
        ASSERT_EQ(host.m->bitmapInfo->bmiHeader.biBitCount, 32);
        ListOfOutLines root(0x0000FF);                          // red
        root.parts = loop(POINT{2, 2}, testchains::box(5, 5));  // a part runs the other way round
        host.m->restituteColors(&root, 0);
        EXPECT_EQ(host.at(4, 4), 2) << filter;
        EXPECT_EQ(host.bits[4 * 16 + 4], 2) << filter;  // written into the bitmap
        EXPECT_EQ(host.bits[4 * 16 + 13], 1) << filter;
        EXPECT_EQ(host.bits[4 * 16 + 14], 0) << filter;  // padding untouched
    }
}

TEST(Restitution, PartsEnclosingNothingLeaveWhite) {
    Host host(10, 10, 2);
    ListOfOutLines root(0x0000FF);
    // A 2 x 2 loop encloses no free pixel.
    root.parts = loop(POINT{3, 3}, {0, 1, 2, 3});
    host.m->restituteColors(&root, 0);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(host.m->indexRaster[i], 1) << i;
}

TEST(Restitution, Mode3PaintsThroughTheContainmentTree) {
    Host host(12, 12, 3);
    ListOfOutLines* region = new ListOfOutLines(0x0000FF);
    // The region's outer boundary as the tracer leaves it (region on the
    // side (d + 3) mod 4 of every step).
    std::vector<unsigned char> ccw;
    ccw.insert(ccw.end(), 9, 1);
    ccw.insert(ccw.end(), 9, 0);
    ccw.insert(ccw.end(), 9, 3);
    ccw.insert(ccw.end(), 9, 2);
    ListOfOutLines* outer = loop(POINT{1, 1}, ccw, 0xFF0000);
    region->child = outer;
    host.m->restituteColors(region, 0);
    // One outline node coloured like the region: its inside painted red.
    EXPECT_EQ(host.at(5, 5), 2);
    delete region;
}

TEST(OutlineChecks, LoopsSelfIntersectionAndMaxLen) {
    Host host(10, 10, 2);
    ListOfOutLines* open = loop(POINT{1, 1}, {0, 0, 1});
    ListOfOutLines* closed = loop(POINT{1, 1}, testchains::boxOfPixels(3, 3));
    ListOfOutLines* eight = loop(POINT{4, 3}, {1, 2, 2, 3, 3, 2, 2, 3, 3, 0, 0, 1, 1, 0, 0, 1});
    ListOfOutLines empty(0);
    EXPECT_FALSE(host.m->checkLoops(open));
    EXPECT_TRUE(host.m->checkLoops(&empty));
    EXPECT_TRUE(host.m->checkLoops(closed));
    EXPECT_TRUE(host.m->checkSelfIntersect(closed));
    EXPECT_TRUE(host.m->checkLoops(eight));
    EXPECT_FALSE(host.m->checkSelfIntersect(eight));
    closed->next = eight;
    EXPECT_FALSE(host.m->checkOutLinesAll(closed));
    closed->next = nullptr;
    EXPECT_TRUE(host.m->checkOutLinesAll(closed));
    AllOutLines rec;
    EXPECT_EQ(host.m->GetMaxLen(rec), 0);
    rec.outLines = closed;
    closed->child = open;
    EXPECT_EQ(host.m->GetMaxLen(rec), 8);
    rec.outLines = nullptr;
    delete closed;
    delete eight;
}

TEST(OutlineChecks, DoubleLinesWithRadiusZero) {
    Host host(10, 10, 2);
    ListOfOutLines node(0);
    node.parts = loop(POINT{1, 1}, testchains::boxOfPixels(4, 4));
    node.parts->next = loop(POINT{1, 1}, testchains::boxOfPixels(4, 4));        // the same pixels
    node.parts->next->next = loop(POINT{1, 1}, testchains::boxOfPixels(5, 4));  // one pixel more
    host.m->elimDoublelines(&node, 0);
    EXPECT_EQ(node.parts->checkState, 1);
    EXPECT_EQ(node.parts->next->checkState, 0);
    EXPECT_EQ(node.parts->next->next->checkState, 1);
}

TEST(OutlinePainting, PaintsOnWhiteAndHonoursLengths) {
    Host host(12, 12, 2);
    AllOutLines rec;
    rec.width = rec.height = 12;
    rec.outLines = loop(POINT{1, 1}, testchains::boxOfPixels(6, 6));
    rec.outLines->child = loop(POINT{3, 3}, testchains::boxOfPixels(2, 2));  // 4 steps
    host.m->PaintOutLines(rec, 5, -1, 2);
    EXPECT_EQ(host.at(1, 1), 2);
    EXPECT_EQ(host.at(6, 6), 2);
    EXPECT_EQ(host.at(3, 3), 1);  // shorter than the minimum: not painted
    host.m->PaintOutLines(rec, 0, -1, -1);
    EXPECT_EQ(host.at(3, 3), 0);          // -1 stands for black
    EXPECT_EQ(host.bits[1 * 16 + 1], 0);  // written into the bitmap
    AllOutLines other = rec;
    other.width = 20;
    host.m->paintWhite();
    host.m->PaintOutLines(other, 0, -1, 2);  // another raster size: refused
    EXPECT_EQ(host.at(1, 1), 1);
    delete rec.outLines;
}

namespace {
struct ExposedManipulator : OutLineManipulator {
    using OutLineManipulator::OutLineManipulator;
    using OutLineManipulator::restituteExport;
};
}  // namespace

TEST(Restitution, FramesAreNotPaintedButTheirHolesAre) {
    Host host(12, 12, 3);
    ExposedManipulator m(host.view.get(), host.bitmap, 0, 0, 3);
    // A frame round the whole raster (clockwise: filling would reach inside)
    // with one outline hole, also clockwise, in blue.
    std::vector<unsigned char> big = testchains::boxOfPixels(12, 12),
                               small = testchains::boxOfPixels(4, 4);
    ExportOutLineTree* frame = new ExportOutLineTree(big.data(), static_cast<int>(big.size()), 0);
    frame->setColor(0x0000FF);
    ExportOutLineTree* hole =
        new ExportOutLineTree(small.data(), static_cast<int>(small.size()), 4 * 12 + 4);
    hole->setTypeAsOutLine();
    hole->setColor(0xFF0000);
    frame->insertHoleAtHead(hole);
    memset(m.indexRaster, 1, 144);
    RegionFill fill(12, 12);
    m.restituteExport(fill, frame, 0);
    EXPECT_EQ(m.indexRaster[2 * 12 + 2], 1);  // inside the frame, outside the hole: untouched
    EXPECT_EQ(m.indexRaster[5 * 12 + 5], 3);  // inside the hole: blue
    EXPECT_EQ(fill.barrierCount, 1);          // only the hole was drawn
    delete frame;
}
