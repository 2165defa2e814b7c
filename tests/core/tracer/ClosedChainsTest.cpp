// Every outline and every part that a trace stores is a closed chain, at
// every minimum length, negative ones included.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TracerFixtures.h"
#include "tracer/AllOutLines.h"
#include "tracer/ListOfOutLines.h"

namespace {

bool isClosed(const ListOfOutLines* o) {
    return chaincode::isClosed(o->data, o->len, o->start);
}

// Outlines (child, next) and their parts: how many, how many open, and a
// signature of lengths and starts to compare two traces.
struct TreeStats {
    int nodes = 0, open = 0, outOfRaster = 0;
    std::string signature;
};

void collect(const ListOfOutLines* n, int w, int h, TreeStats& s, bool isRoot) {
    for (; n; n = n->next) {
        for (const ListOfOutLines* p = n->parts; p; p = p->next) {
            ++s.nodes;
            if (!p->data || p->len <= 0 || !isClosed(p)) ++s.open;
            if (p->start.x < 0 || p->start.x >= w || p->start.y < 0 || p->start.y >= h)
                ++s.outOfRaster;
            s.signature += "p" + std::to_string(p->len) + "@" + std::to_string(p->start.x) + "," +
                           std::to_string(p->start.y);
        }
        if (!isRoot) {
            ++s.nodes;
            if (!n->data || n->len <= 0 || !isClosed(n)) ++s.open;
            s.signature += "o" + std::to_string(n->len);
        }
        s.signature += "(";
        collect(n->child, w, h, s, false);
        s.signature += ")";
    }
}

TreeStats traceRows(const std::vector<std::string>& rows, int minLen) {
    const int h = static_cast<int>(rows.size()), w = static_cast<int>(rows[0].size());
    Image img(w, h, 0);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (rows[y][x] == 'o') img.set(x, y, 0x808080);
    OutLineManipulator olm(img.px.data(), w, h, 20, minLen, 3, 0);
    TestOmbrel t(&olm);
    TreeStats s;
    if (!t.isValid()) return s;
    AllOutLines all{};
    EXPECT_EQ(t.DoOmbrel_(all, t.generateInitPoint(0, w, h), 100000), 0);
    collect(all.outLines, w, h, s, true);
    delete all.outLines;
    return s;
}

}  // namespace

// The smallest picture found whose trace stored open parts: two grey pixels
// on black. Traced from the centre with a minimum length below 4, the black
// region's far side (grey, mixed by the sampling) was grown and left two hole
// loops of 4 codes (0 1 2 3 rotated) round holes it had filled completely;
// the part walk over those children gave the black outline a part of 4 codes
// that ends two pixels from its start.
TEST(ClosedChains, TwoPixelsOnBlackAtEveryMinimumLength) {
    const std::vector<std::string> rows = {"........", "........", "..o.....", "o.......",
                                           "........"};
    for (int minLen = -5; minLen <= 5; ++minLen) {
        TreeStats s = traceRows(rows, minLen);
        EXPECT_GT(s.nodes, 0) << minLen;
        EXPECT_EQ(s.open, 0) << "minimum length " << minLen;
        EXPECT_EQ(s.outOfRaster, 0) << minLen;
    }
}

// A negative minimum length behaves as 0; the short loops that enclose no
// pixel are not stored at 0 either, so 0 to 3 agree wherever no 2 x 2 block
// is traced as a region of its own.
TEST(ClosedChains, NegativeMinimumLengthActsAsZero) {
    const std::vector<std::string> rows = {"..........", ".oo...o...", ".oo..o.o..", "......o...",
                                           "...o......", "..........", "....oo..o."};
    const std::string zero = traceRows(rows, 0).signature;
    for (int minLen : {-1, -2, -5, -1000000})
        EXPECT_EQ(traceRows(rows, minLen).signature, zero) << minLen;
}
