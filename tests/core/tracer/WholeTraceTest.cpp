// Whole traces in mode 3 on synthetic images: every stored outline and every
// part is a closed chain of valid codes, and the counts add up.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "TracerFixtures.h"

namespace {

const DWORD kWhite = 0xFFFFFF;
const DWORD kBlack = 0x000000;
const DWORD kRed = 0x0000FF;
const DWORD kGreen = 0x00FF00;
const DWORD kBlue = 0xFF0000;

// Traces like the entry points do: seeds 0 to 8 until a region node with parts.
struct Trace {
    AllOutLines all;
    int result = 1;
    int outlineCount = 0;
    Trace(Image& img, int tol, int minLen, int maxOutlines) {
        for (int i = 0; i < 9; ++i) {
            OutLineManipulator olm(img.px.data(), img.w, img.h, tol, minLen, 3, 0);
            TestOmbrel t(&olm);
            if (!t.isValid()) continue;
            delete all.outLines;
            all.outLines = nullptr;
            result = t.DoOmbrel_(all, t.generateInitPoint(i, img.w, img.h), maxOutlines);
            outlineCount = t.outlineCount;
            if (all.outLines && all.outLines->parts) break;
        }
    }
    ~Trace() { delete all.outLines; }
};

bool validChain(const ListOfOutLines* n) {
    if (n->len <= 0 || !n->data) return false;
    for (int i = 0; i < n->len; ++i)
        if (n->data[i] > 3) return false;
    return chaincode::isClosed(n->data, n->len, n->start);
}

// Checks every outline and part below the region node; returns the number of
// outlines stored (child lists).
int checkTree(ListOfOutLines* root, int w, int h) {
    int stored = 0;
    std::vector<ListOfOutLines*> nodes;
    collectOutlines(root->child, nodes);
    nodes.push_back(root);
    for (ListOfOutLines* n : nodes) {
        if (n != root) {
            ++stored;
            EXPECT_TRUE(validChain(n)) << "outline at " << n->start.x << "," << n->start.y;
            POINT p = n->start;
            for (int i = 0; i < n->len; ++i) {
                EXPECT_TRUE(p.x >= 0 && p.x < w && p.y >= 0 && p.y < h);
                p.x += chaincode::stepX(n->data[i]);
                p.y += chaincode::stepY(n->data[i]);
            }
        }
        for (ListOfOutLines* part = n->parts; part; part = part->next) {
            EXPECT_TRUE(validChain(part)) << "part at " << part->start.x << "," << part->start.y;
            EXPECT_GE(part->len, 4);
        }
    }
    return stored;
}

}  // namespace

TEST(WholeTrace, EveryOutlineAndPartIsAClosedChainInTheRaster) {
    struct Case {
        const char* name;
        int w, h, tol, minLen, maxOutlines;
        void (*paint)(Image&);
    };
    const Case cases[] = {
        {"touching and separate shapes", 50, 30, 10, 4, 1000,
         [](Image& img) {
             img.fill(5, 5, 10, 10, kRed);
             img.fill(15, 5, 10, 10, kGreen);  // touches the red square
             img.fill(35, 10, 8, 8, kBlue);    // stands alone
             img.fill(20, 20, 20, 6, kBlack);
         }},
        {"shapes on the border", 30, 20, 10, 4, 1000,
         [](Image& img) {
             img.fill(0, 0, 10, 8, kRed);
             img.fill(20, 12, 10, 8, kBlue);
             img.fill(0, 15, 30, 5, kGreen);
         }},
        {"checkerboard", 24, 24, 10, 4, 10000,
         [](Image& img) {
             for (int y = 0; y < 24; ++y)
                 for (int x = 0; x < 24; ++x)
                     if (((x / 3) + (y / 3)) % 2) img.set(x, y, kBlack);
         }},
        {"noise", 32, 32, 20, 0, 100000,
         [](Image& img) {
             srand(12345);
             for (int y = 0; y < 32; ++y)
                 for (int x = 0; x < 32; ++x) img.set(x, y, static_cast<DWORD>(rand()) & 0xFFFFFF);
         }},
        {"smallest raster", 3, 3, 10, 0, 100, [](Image& img) { img.set(1, 1, kBlack); }},
        // A white band above a comb of black teeth: the band's far side holds
        // many regions that run along its outline.
        {"comb with many touching children", 1000, 8, 10, 0, 1000000,
         [](Image& img) {
             for (int x = 0; x < img.w; ++x) {
                 img.set(x, 7, kBlack);
                 if (x % 2 == 0)
                     for (int y = 3; y < 7; ++y) img.set(x, y, kBlack);
             }
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Image img(c.w, c.h, kWhite);
        c.paint(img);
        Trace t(img, c.tol, c.minLen, c.maxOutlines);
        ASSERT_EQ(t.result, 0);
        ASSERT_NE(t.all.outLines, nullptr);
        EXPECT_EQ(checkTree(t.all.outLines, c.w, c.h), t.outlineCount);
    }
}

TEST(WholeTrace, NestedRingsFromTheCentre) {
    Image img(40, 40, kWhite);
    img.fill(4, 4, 32, 32, kRed);
    img.fill(8, 8, 24, 24, kGreen);
    img.fill(12, 12, 16, 16, kBlue);
    img.fill(16, 16, 8, 8, kBlack);
    Trace t(img, 10, 4, 1000);
    ASSERT_EQ(t.result, 0);
    ASSERT_NE(t.all.outLines, nullptr);
    EXPECT_EQ(checkTree(t.all.outLines, 40, 40), t.outlineCount);
    // Seeded in the black centre: its outline, then the blue, green, red
    // and white regions level by level.
    int depth = 0;
    for (ListOfOutLines* n = t.all.outLines->child; n; n = n->child) ++depth;
    EXPECT_GE(depth, 4);
    EXPECT_EQ(t.all.outLines->color, kBlack);
}

TEST(WholeTrace, OutlineLimit) {
    Image img(40, 40, kWhite);
    for (int i = 0; i < 5; ++i) img.fill(2 + 7 * i, 5, 4, 4, kBlack);
    Trace many(img, 10, 4, 1000);
    ASSERT_EQ(many.result, 0);
    int n = many.outlineCount;
    ASSERT_GT(n, 2);
    Trace exact(img, 10, 4, n);
    EXPECT_EQ(exact.result, 0);
    Trace fewer(img, 10, 4, n - 1);
    EXPECT_EQ(fewer.result, 2);
    EXPECT_EQ(fewer.all.outLines, nullptr);
}
