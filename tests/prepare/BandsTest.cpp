// Bands: the parts cover the range once, in order, whatever the count; small
// pictures stay on one thread; a stage running by bands stops when its
// progress (heard on the calling thread only) asks it to, and gives the
// result of one thread.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "prepare/Bands.h"
#include "prepare/ColorQuantizer.h"
#include "prepare/PictureCleaner.h"
#include "prepare/RegionMerger.h"
#include "DottedPatches.h"

TEST(Bands, PartsCoverTheRangeOnceInOrder) {
    struct Case {
        int bands;
        long long total;
        int expectBands;  // parts run (no more than the items)
    };
    const Case cases[] = {{1, 10, 1}, {2, 10, 2}, {3, 10, 3}, {4, 3, 3}, {7, 1000003, 7}};
    for (const Case& c : cases) {
        std::mutex lock;
        std::vector<std::vector<long long>> parts;
        om1::Bands::run(c.bands, c.total, [&](int band, long long b, long long e) {
            std::lock_guard<std::mutex> g(lock);
            parts.push_back({band, b, e});
        });
        ASSERT_EQ(static_cast<int>(parts.size()), c.expectBands) << c.bands << " " << c.total;
        std::sort(parts.begin(), parts.end());
        long long at = 0;
        for (size_t k = 0; k < parts.size(); ++k) {
            EXPECT_EQ(parts[k][0], static_cast<long long>(k));
            EXPECT_EQ(parts[k][1], at);
            EXPECT_GT(parts[k][2], parts[k][1]);
            at = parts[k][2];
        }
        EXPECT_EQ(at, c.total);
    }
}

// The threads kept between runs: runs one after another and from several
// callers at once, each with its own count of bands, every part done once
// and every run ended before it returns (its counts are read after).
TEST(Bands, KeptThreadsServeRunsOneAfterAnotherAndAtOnce) {
    auto runs = [](int seed, int& wrong) {
        for (int k = 0; k < 300; ++k) {
            const int bands = 1 + (k * 7 + seed) % 5;
            const long long total = 1 + (k * 13 + seed) % 40;
            std::vector<std::atomic<int>> done(static_cast<size_t>(total));
            for (auto& d : done) d = 0;
            om1::Bands::run(bands, total, [&](int, long long b, long long e) {
                for (long long i = b; i < e; ++i) ++done[static_cast<size_t>(i)];
            });
            for (auto& d : done) wrong += d.load() != 1;
        }
    };
    int wrong[3] = {0, 0, 0};
    std::thread a(runs, 1, std::ref(wrong[1])), b(runs, 2, std::ref(wrong[2]));
    runs(0, wrong[0]);
    a.join();
    b.join();
    EXPECT_EQ(wrong[0] + wrong[1] + wrong[2], 0);
}

TEST(Bands, OnlyLargePicturesTakeMoreThanOneThread) {
    EXPECT_EQ(om1::Bands::count(8, om1::Bands::kMinPixels - 1), 1);
    EXPECT_EQ(om1::Bands::count(8, om1::Bands::kMinPixels), 8);
    EXPECT_EQ(om1::Bands::count(1, 1LL << 30), 1);
    EXPECT_EQ(om1::Bands::count(1000, 1LL << 30), 64);
    EXPECT_GE(om1::Bands::count(0, 1LL << 30), 1);  // one per core
}

TEST(Bands, AStageByBandsStopsWhenAsked) {
    const int w = 1024, h = 1024;
    std::vector<RGBQUAD> pixels(static_cast<size_t>(w) * h);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = RGBQUAD{static_cast<BYTE>(i * 7), static_cast<BYTE>(i / 1024 * 3),
                            static_cast<BYTE>(i % 5 * 60), 0};
    const std::thread::id caller = std::this_thread::get_id();
    // Stops inside the banded passes: the quantiser's painting (from 0.8
    // on), each pass of the anti-alias cleanup (first pass 0..0.5).
    struct Case {
        bool quantiser;
        double stopFrom;
    };
    for (const Case& c : {Case{true, 0.8}, Case{false, 0.0}, Case{false, 0.5}}) {
        bool elsewhere = false;
        double last = -1;
        auto progress = [&](double share) {
            elsewhere = elsewhere || std::this_thread::get_id() != caller;
            last = share;
            return share < c.stopFrom || (c.stopFrom == 0 && share == 0);
        };
        std::vector<RGBQUAD> copy = pixels;
        std::vector<RGBQUAD> palette;
        if (c.quantiser)
            EXPECT_FALSE(
                om1::ColorQuantizer::quantize(copy.data(), w, h, 16, palette, progress, 2));
        else
            EXPECT_EQ(
                om1::PictureCleaner::antialias(copy.data(), w, h, 3, 32, nullptr, progress, 2), -1);
        EXPECT_GE(last, c.stopFrom);
        EXPECT_LT(last, c.stopFrom + 0.2);
        EXPECT_FALSE(elsewhere);
    }
}

namespace {

void sameOnBands(int w, int h, uint32_t specks) {
    SCOPED_TRACE(std::to_string(w) + " x " + std::to_string(h) + ", specks " +
                 std::to_string(specks));
    // (A speck sometimes joins others.)
    const DottedPatches blobs(w, h, 37, 29, specks, 50, 70);
    const std::vector<RGBQUAD>&pixels = blobs.pixels, &input = blobs.input;
    const std::vector<uint8_t>&alpha = blobs.alpha, &inputAlpha = blobs.inputAlpha;
    using Stage = std::function<long long(RGBQUAD*, uint8_t*, int)>;
    const struct {
        const char* name;
        Stage run;
    } stages[] = {
        {"speckle",
         [&](RGBQUAD* p, uint8_t* a, int threads) {
             return om1::PictureCleaner::speckle(p, w, h, 6, a, {}, threads);
         }},
        {"merge",
         [&](RGBQUAD* p, uint8_t* a, int threads) {
             return om1::RegionMerger::merge(p, input.data(), w, h, 4e5, 3.0 * w * h * 40, 0, true,
                                             a, a ? inputAlpha.data() : nullptr, {}, threads);
         }},
    };
    auto sameColours = [](const RGBQUAD& a, const RGBQUAD& b) {
        return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
    };
    for (const auto& stage : stages)
        for (bool withAlpha : {false, true}) {
            if (specks == 0 && stage.name[0] == 's') continue;  // no speck to filter
            std::vector<RGBQUAD> one = pixels;
            std::vector<uint8_t> oneAlpha = alpha;
            const long long left = stage.run(one.data(), withAlpha ? oneAlpha.data() : nullptr, 1);
            ASSERT_GT(left, 1) << stage.name;
            ASSERT_FALSE(std::equal(one.begin(), one.end(), pixels.begin(), sameColours))
                << stage.name << " changed nothing";
            for (int threads : {2, 3}) {
                std::vector<RGBQUAD> many = pixels;
                std::vector<uint8_t> manyAlpha = alpha;
                EXPECT_EQ(stage.run(many.data(), withAlpha ? manyAlpha.data() : nullptr, threads),
                          left);
                EXPECT_TRUE(std::equal(many.begin(), many.end(), one.begin(), sameColours))
                    << stage.name << ", " << threads << " threads, alpha " << withAlpha;
                EXPECT_EQ(manyAlpha, oneAlpha) << stage.name;
            }
        }
}

}  // namespace

// The stages that run by bands give the result of one thread on 2 and 3:
// blobs of four colours with specks of every size up to the speckle area
// across the seams, over a noisy input for the merging; with and without
// alpha levels; a large picture (every pass by bands), a middling one
// (the speckle filter and the merging's passes by bands), and middling ones
// with few regions (at most one in 64 pixels: the merging's sums added by
// band), rows not divisible by 2 or 3.
TEST(Bands, StagesByBandsGiveTheResultOfOneThread) {
    for (const int side : {1031, 331}) sameOnBands(side, side - 4, 12);
    for (const uint32_t specks : {0u, 1u}) sameOnBands(331, 211, specks);
}
