// The region labelling: a worked example with exact labels and parents, and
// the failure paths (the comparison with the library's tracer is in
// tests/shapes/RegionEquivalenceTest.cpp).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "prepare/RegionTree.h"

namespace {

using om1::RegionTree;

struct Picture {
    int w, h;
    std::vector<RGBQUAD> px;
    void fill(int x0, int y0, int fw, int fh, uint32_t rgb) {
        for (int y = y0; y < y0 + fh; ++y)
            for (int x = x0; x < x0 + fw; ++x)
                px[static_cast<size_t>(y) * w + x] =
                    RGBQUAD{static_cast<BYTE>(rgb), static_cast<BYTE>(rgb >> 8),
                            static_cast<BYTE>(rgb >> 16), 0};
    }
};

// Worked example: white ground (touching every border) round a blue ring
// with a red island, and a black bar across the bottom border: three regions
// reach the border, so a frame holds them.
TEST(RegionTree, LabelsAndParentsOfAWorkedExample) {
    Picture p{9, 7, std::vector<RGBQUAD>(63)};
    p.fill(0, 0, 9, 7, 0xffffff);
    p.fill(1, 1, 5, 5, 0x2050c0);
    p.fill(3, 3, 1, 1, 0xd02030);
    p.fill(7, 4, 2, 3, 0x000000);
    RegionTree t;
    ASSERT_TRUE(t.build(p.px.data(), p.w, p.h));
    // Regions by first pixel: white 0, blue 1, red 2, black (at (7, 4)) 3.
    // Drawing order: frame, white, blue, red, black.
    EXPECT_TRUE(t.rootFrame);
    EXPECT_EQ(t.regions(), 4);
    EXPECT_EQ(t.parents, (std::vector<int32_t>{-1, 0, 1, 2, 0}));
    const char* rows[] = {"111111111", "122222111", "122222111", "122322111",
                          "122222144", "122222144", "111111144"};
    for (int y = 0; y < p.h; ++y)
        for (int x = 0; x < p.w; ++x)
            EXPECT_EQ(t.labels[y * p.w + x], rows[y][x] - '0') << x << "," << y;
    EXPECT_EQ(t.colors[3].rgbRed, 0xd0);
    EXPECT_EQ(t.colors[0].rgbRed, 0);  // the frame's
    // Without the bar, the white ground is the root itself.
    p.fill(7, 4, 2, 3, 0xffffff);
    ASSERT_TRUE(t.build(p.px.data(), p.w, p.h));
    EXPECT_FALSE(t.rootFrame);
    EXPECT_EQ(t.parents, (std::vector<int32_t>{-1, 0, 1}));
}

TEST(RegionTree, RefusesUnusableInput) {
    RegionTree t;
    const RGBQUAD px[4] = {};
    EXPECT_FALSE(t.build(nullptr, 2, 2));
    EXPECT_FALSE(t.build(px, 0, 2));
    EXPECT_FALSE(t.build(px, 2, -1));
    EXPECT_FALSE(t.build(px, 1 << 16, 1 << 16));
    EXPECT_TRUE(t.parents.empty());
    ASSERT_TRUE(t.build(px, 2, 2));  // one region: the root, no frame
    EXPECT_EQ(t.parents, std::vector<int32_t>{-1});
    EXPECT_EQ(t.labels, (std::vector<int32_t>{0, 0, 0, 0}));
}

}  // namespace

TEST(RegionTree, ThreadsGiveTheTreeOfOne) {
    // Over 2^20 pixels: nested rings and blocks, so that regions nest across
    // the bands' seams; few regions (the banded first pixels) and many.
    const int w = 1025, h = 1031;
    for (int cell : {97, 5}) {
        std::vector<RGBQUAD> px(static_cast<size_t>(w) * h);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                const int dx = x - 500, dy = y - 520;
                const int c = (dx * dx + dy * dy) / 9000 % 3 + (x / cell + y / cell) % 2 * 3;
                px[static_cast<size_t>(y) * w + x] = RGBQUAD{static_cast<BYTE>(c * 40), 0, 0, 0};
            }
        om1::RegionTree one, many;
        ASSERT_TRUE(one.build(px.data(), w, h, {}, 1));
        ASSERT_TRUE(many.build(px.data(), w, h, {}, 2));
        EXPECT_GT(one.regions(), 10);
        EXPECT_EQ(many.labels, one.labels) << cell;
        EXPECT_EQ(many.parents, one.parents) << cell;
        EXPECT_EQ(many.rootFrame, one.rootFrame);
        EXPECT_EQ(many.longestBoundary, one.longestBoundary);
        ASSERT_EQ(many.colors.size(), one.colors.size());
        for (size_t i = 0; i < one.colors.size(); ++i)
            EXPECT_EQ(many.colors[i].rgbRed, one.colors[i].rgbRed) << i;
    }
}
