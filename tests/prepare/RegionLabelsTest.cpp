// Region labels by bands: the same labels and count as one band, for every
// number of bands, on pictures whose regions cross the seams in every way
// (combs that join only below a seam, spirals, noise, one colour), into
// new labels and over labels held; and a stop asked for inside the banded
// passes.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "prepare/RegionLabels.h"

namespace {

using Painter = std::function<int(int x, int y)>;  // a colour index per pixel

std::vector<RGBQUAD> paint(int w, int h, const Painter& p) {
    std::vector<RGBQUAD> v(static_cast<size_t>(w) * h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int c = p(x, y);
            v[static_cast<size_t>(y) * w + x] =
                RGBQUAD{static_cast<BYTE>(c * 40), static_cast<BYTE>(c * 7), 0, 0};
        }
    return v;
}

}  // namespace

TEST(RegionLabels, BandsGiveTheLabelsOfOneBand) {
    struct Case {
        const char* name;
        int w, h;
        Painter colour;
        long long regions;  // -1: not checked
    };
    const Case cases[] = {
        {"one colour", 23, 31, [](int, int) { return 0; }, 1},
        // Teeth hanging from a bar at the bottom: each tooth is its own set in
        // every band above the bar, one region in the end.
        {"comb joined at the bottom", 41, 37,
         [](int x, int y) { return y == 36 || x % 4 == 0 ? 1 : 0; }, 11},
        {"comb joined at the top", 41, 37,
         [](int x, int y) { return y == 0 || x % 3 == 1 ? 1 : 0; }, -1},
        {"spiral", 40, 40,
         [](int x, int y) {
             // Square rings, every other one opened at one corner.
             const int ring = std::min(std::min(x, y), std::min(39 - x, 39 - y));
             if (ring % 2) return 0;
             return x == ring && y == ring + 1 && ring % 4 == 0 ? 0 : 1;
         },
         -1},
        {"noise of three colours", 37, 29,
         [](int x, int y) {
             return static_cast<int>((x * 7919u + y * 104729u) * 2654435761u >> 30) % 3;
         },
         -1},
        {"checkerboard", 16, 16, [](int x, int y) { return (x + y) % 2; }, 256},
        {"diagonal stripes", 33, 35, [](int x, int y) { return (x + y) / 3 % 2; }, -1},
        {"one column", 1, 19, [](int, int y) { return y / 4 % 2; }, 5},
    };
    for (const Case& c : cases) {
        const std::vector<RGBQUAD> px = paint(c.w, c.h, c.colour);
        std::vector<int32_t> one, firsts;
        const long long count =
            om1::labelRegions(px.data(), nullptr, c.w, c.h, one, {}, 1, &firsts);
        if (c.regions >= 0) {
            EXPECT_EQ(count, c.regions) << c.name;
        }
        // Labels rank the regions by first pixel, and `firsts` names it.
        std::vector<int32_t> expected;
        for (size_t i = 0; i < one.size(); ++i)
            if (one[i] == static_cast<int32_t>(expected.size()))
                expected.push_back(static_cast<int32_t>(i));
        EXPECT_EQ(firsts, expected) << c.name;
        // Labels held from an earlier labelling (longer, any values) are
        // written over.
        std::vector<int32_t> held(one.size() + 7, -3);
        EXPECT_EQ(om1::labelRegions(px.data(), nullptr, c.w, c.h, held, {}, 1), count) << c.name;
        EXPECT_EQ(held, one) << c.name;
        for (int bands = 2; bands <= std::min(c.h, 9); ++bands) {
            std::vector<int32_t> banded(held.size() + 1, 5), bandedFirsts;
            EXPECT_EQ(om1::detail::labelRegionsInBands(om1::detail::ColourKeys{px.data()}, c.w, c.h,
                                                       banded, {}, bands, &bandedFirsts),
                      count)
                << c.name << ", " << bands << " bands";
            EXPECT_EQ(banded, one) << c.name << ", " << bands << " bands";
            EXPECT_EQ(bandedFirsts, expected) << c.name << ", " << bands << " bands";
        }
    }
}

TEST(RegionLabels, BandsWithAlphaAndOnThreads) {
    // A picture large enough for threads (over 2^20 pixels): rings of
    // colour with alpha levels crossing them.
    const int w = 1100, h = 1000;
    std::vector<RGBQUAD> px = paint(w, h, [](int x, int y) {
        const int dx = x - 550, dy = y - 500;
        return (dx * dx + dy * dy) / 5000 % 3 + (x % 97 == 0 ? 3 : 0);
    });
    std::vector<uint8_t> alpha(px.size());
    for (size_t i = 0; i < alpha.size(); ++i) alpha[i] = (i / w + i % w) / 200 % 2 ? 255 : 128;
    std::vector<int32_t> one, many;
    const long long count = om1::labelRegions(px.data(), alpha.data(), w, h, one, {}, 1);
    for (int threads : {2, 3, 8}) {
        EXPECT_EQ(om1::labelRegions(px.data(), alpha.data(), w, h, many, {}, threads), count);
        EXPECT_EQ(many, one) << threads << " threads";
    }
    // Asked to stop: -1, at the first question and at a later one.
    for (int answerYesTimes : {0, 3}) {
        int asked = 0;
        EXPECT_EQ(
            om1::labelRegions(
                px.data(), alpha.data(), w, h, many, [&]() { return asked++ < answerYesTimes; }, 2),
            -1);
        EXPECT_GT(asked, answerYesTimes);
    }
}
