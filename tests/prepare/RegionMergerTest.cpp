// Region merging by the cost of a union: worked examples with exact costs.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "prepare/PictureCleaner.h"
#include "prepare/RegionLabels.h"
#include "prepare/RegionMerger.h"
#include "DottedPatches.h"

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

// The speckle filter hands its last labelling to the merging: it is the
// labelling of the pixels it leaves, and merging with it gives what merging
// alone gives; with and without alpha levels, for an area that removes
// specks over several passes and one that finds none to remove. Without
// alpha the merging hands on the labelling of the pixels it leaves.
TEST(RegionMerger, TakesTheSpeckleFiltersLabellingAsItsOwn) {
    const int w = 97, h = 61;
    // (Specks, some touching.)
    const DottedPatches blobs(w, h, 13, 11, 20, 20, 15);
    const std::vector<RGBQUAD>&pixels = blobs.pixels, &input = blobs.input;
    const std::vector<uint8_t>&alpha = blobs.alpha, &inputAlpha = blobs.inputAlpha;
    for (bool withAlpha : {false, true})
        for (int area : {2, 8}) {
            SCOPED_TRACE(std::string(withAlpha ? "alpha, area " : "area ") + std::to_string(area));
            std::vector<RGBQUAD> p = pixels;
            std::vector<uint8_t> a = alpha;
            uint8_t* const levels = withAlpha ? a.data() : nullptr;
            om1::Labelling labelled;
            const long long left =
                om1::PictureCleaner::speckle(p.data(), w, h, area, levels, {}, 1, &labelled);
            ASSERT_GT(left, 1);
            std::vector<int32_t> labels, firsts;
            EXPECT_EQ(om1::labelRegions(p.data(), levels, w, h, labels, {}, 1, &firsts), left);
            EXPECT_EQ(labelled.count, left);
            EXPECT_EQ(labelled.labels, labels);
            EXPECT_EQ(labelled.firsts, firsts);
            std::vector<RGBQUAD> alone = p, handed = p;
            std::vector<uint8_t> aloneAlpha = a, handedAlpha = a;
            auto merge = [&](std::vector<RGBQUAD>& q, std::vector<uint8_t>& qa,
                             om1::Labelling* given) {
                return RegionMerger::merge(q.data(), input.data(), w, h, 4e5, 3.0 * w * h * 40, 0,
                                           true, withAlpha ? qa.data() : nullptr,
                                           withAlpha ? inputAlpha.data() : nullptr, {}, 1, given,
                                           given);
            };
            const long long regions = merge(alone, aloneAlpha, nullptr);
            EXPECT_LT(regions, left);
            EXPECT_EQ(merge(handed, handedAlpha, &labelled), regions);
            if (withAlpha) {
                EXPECT_EQ(labelled.count, -1);
            } else {
                // Handed on: the labelling of the pixels the merging leaves.
                EXPECT_EQ(om1::labelRegions(handed.data(), nullptr, w, h, labels, {}, 1, &firsts),
                          labelled.count);
                EXPECT_EQ(labelled.labels, labels);
                EXPECT_EQ(labelled.firsts, firsts);
            }
            for (size_t i = 0; i < p.size(); ++i)
                ASSERT_TRUE(handed[i].rgbRed == alone[i].rgbRed &&
                            handed[i].rgbGreen == alone[i].rgbGreen &&
                            handed[i].rgbBlue == alone[i].rgbBlue)
                    << i;
            EXPECT_EQ(handedAlpha, aloneAlpha);
        }
}

// Two regions of one colour that only a merged region between them joins:
// the merging keeps two (its unions), the picture it leaves has one, and the
// labelling handed on is the picture's.
TEST(RegionMerger, HandsOnOneRegionWhereUnionsOfOneColourMeet) {
    const int w = 21, h = 3;
    std::vector<RGBQUAD> p(static_cast<size_t>(w) * h), original(p.size());
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const size_t i = static_cast<size_t>(y) * w + x;
            // Left and right of one colour; the column between them close
            // to the left one's input, the right one's input far from both.
            p[i] = x == 10 ? rgb(104, 100, 100) : rgb(100, 100, 100);
            original[i] = x < 10    ? rgb(100, 100, 100)
                          : x == 10 ? rgb(104, 100, 100)
                                    : rgb(200, 200, 200);
        }
    om1::Labelling labelled;
    // Joining the column to the left costs 30 * 3 / 33 * 16 (about 44).
    EXPECT_EQ(RegionMerger::merge(p.data(), original.data(), w, h, 100, 0, 0, false, nullptr,
                                  nullptr, {}, 1, nullptr, &labelled),
              2);
    for (const RGBQUAD& q : p) ASSERT_EQ(q.rgbRed, 100);
    EXPECT_EQ(labelled.count, 1);
    EXPECT_EQ(labelled.labels, std::vector<int32_t>(p.size(), 0));
    EXPECT_EQ(labelled.firsts, std::vector<int32_t>{0});
}
