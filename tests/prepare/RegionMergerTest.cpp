// Region merging by the cost of a union: worked examples with exact costs.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "prepare/RegionMerger.h"

namespace {

using om1::RegionMerger;

RGBQUAD rgb(int r, int g, int b) {
    return RGBQUAD{static_cast<BYTE>(b), static_cast<BYTE>(g), static_cast<BYTE>(r), 0};
}

// 6 x 2 pixels: columns 0-2 grey A (6 pixels), column 3 a slightly redder
// grey B (2 pixels), columns 4-5 red C (4 pixels). Joining A and B costs
// 6 * 2 / 8 * 10^2 = 150; joining B and C 2 * 4 / 6 * (140^2 + 100^2 +
// 100^2) = 52800; joining A+B (mean red 102.5) and C 8 * 4 / 12 * (147.5^2
// + 100^2 + 100^2) = 111350.
std::vector<RGBQUAD> stripes() {
    std::vector<RGBQUAD> p;
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 6; ++x)
            p.push_back(x < 3 ? rgb(100, 100, 100) : x == 3 ? rgb(110, 100, 100) : rgb(250, 0, 0));
    return p;
}

TEST(RegionMerger, MergesWhileTheUnionCostsAtMostTheLimit) {
    struct Case {
        double cost, budget;
        long long regions;
        int leftRed, rightRed, rightGreen;  // painted colours of columns 0 and 5
    };
    const Case cases[] = {
        {149, 0, 3, 100, 250, 0},        // the cheapest union costs 150
        {150, 0, 2, 103, 250, 0},        // A and B: mean red 102.5, rounded up
        {52800, 0, 2, 103, 250, 0},      // B is gone before its union with C is cheapest
        {0, 150, 2, 103, 250, 0},        // the error budget allows A and B
        {150, 111499, 2, 103, 250, 0},   // but not C on top (150 + 111350)
        {150, 111500, 1, 152, 152, 67},  // everything: (100*6 + 110*2 + 250*4) / 12
    };
    for (const Case& c : cases) {
        std::vector<RGBQUAD> p = stripes();
        const std::vector<RGBQUAD> original = p;
        EXPECT_EQ(RegionMerger::merge(p.data(), original.data(), 6, 2, c.cost, c.budget), c.regions)
            << c.cost << " " << c.budget;
        EXPECT_EQ(p[0].rgbRed, c.leftRed) << c.cost << " " << c.budget;
        EXPECT_EQ(p[11].rgbRed, c.rightRed) << c.cost << " " << c.budget;
        EXPECT_EQ(p[11].rgbGreen, c.rightGreen) << c.cost << " " << c.budget;
        EXPECT_EQ(p[6].rgbRed, p[0].rgbRed);  // a region is painted whole
    }
}

TEST(RegionMerger, CheapUnionsStopWhereTheErrorHasGrownByTheFactor) {
    // The stripes with the input under A at red 104 and 96 in column 0:
    // means and costs as above, but the regions start at a squared error of
    // 4^2 + 4^2 = 32, and A with B takes it to 182.
    struct Case {
        double cost, budget, growth;
        long long regions;
    };
    const Case cases[] = {
        {150, 0, 5, 3},       // bound 160: A and B would exceed it
        {150, 0, 5.7, 2},     // bound 182.4
        {150, 182, 1, 2},     // the budget goes on where the bound stops
        {1e9, 0, 5.7, 2},     // C on top (182 + 111350) stays apart however cheap
        {1e9, 0, 0, 1},       // no bound
        {1e9, 111540, 1, 1},  // the budget allows everything
    };
    for (const Case& c : cases) {
        std::vector<RGBQUAD> p = stripes();
        std::vector<RGBQUAD> original = p;
        original[0] = rgb(104, 100, 100);
        original[6] = rgb(96, 100, 100);
        EXPECT_EQ(RegionMerger::merge(p.data(), original.data(), 6, 2, c.cost, c.budget, c.growth),
                  c.regions)
            << c.cost << " " << c.budget << " " << c.growth;
    }
}

TEST(RegionMerger, RegionsTakeTheMeanOfTheInputTheyCover) {
    // One region in `pixels`; the input under it is half 10, half 21.
    std::vector<RGBQUAD> p(8, rgb(0, 0, 0)), original(8, rgb(10, 10, 10));
    for (int i = 4; i < 8; ++i) original[i] = rgb(21, 30, 40);
    for (int i = 0; i < 8; ++i) p[i].rgbReserved = static_cast<BYTE>(i);
    EXPECT_EQ(RegionMerger::merge(p.data(), original.data(), 4, 2, 0, 0), 1);
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(p[i].rgbRed, 16);  // 15.5 rounded up
        EXPECT_EQ(p[i].rgbGreen, 20);
        EXPECT_EQ(p[i].rgbBlue, 25);
        EXPECT_EQ(p[i].rgbReserved, i);  // the reserved byte is kept
    }
    EXPECT_EQ(RegionMerger::merge(nullptr, original.data(), 4, 2, 1, 0), 0);
    EXPECT_EQ(RegionMerger::merge(p.data(), original.data(), 0, 2, 1, 0), 0);
}

}  // namespace
