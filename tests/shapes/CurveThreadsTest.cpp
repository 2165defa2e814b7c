// A large picture's curves fitted on several threads: the same curves, to
// the bit, as on one, in both layouts, with and without a picture to judge
// them; and a stop while the threads fit returns false with every thread
// ended.
#include <dirent.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "prepare/Bands.h"
#include "shapes/LabelRaster.h"
#include "shapes/ShapeBuilder.h"

namespace {

// Just above a million pixels (where the fits start to share out): a grid
// of flat cells on a background, each with a soft-edged disc biting into
// its right side (a piece between three regions, stacked siblings) and a
// smaller one inside it (an island, the cell's hole).
struct Regions {
    static const int kW = 1100, kH = 1000, kPitch = 50, kCell = 40;
    std::vector<RGBQUAD> px;
    om1::LabelRaster raster;

    Regions() {
        const int cols = (kW - kPitch / 2) / kPitch, rows = kH / kPitch;
        std::vector<int32_t> labels(static_cast<size_t>(kW) * kH, 0);
        std::vector<int32_t> parents = {-1};
        std::vector<RGBQUAD> colours = {RGBQUAD{230, 230, 230, 0}};
        px.assign(labels.size(), colours[0]);
        auto add = [&](int parent, int r, int g, int b) {
            parents.push_back(parent);
            colours.push_back(
                RGBQUAD{static_cast<BYTE>(b), static_cast<BYTE>(g), static_cast<BYTE>(r), 0});
            return static_cast<int32_t>(parents.size() - 1);
        };
        // A disc of radius `rad` at (cx, cy): labelled where it covers at
        // least half the pixel, blended by its cover everywhere.
        auto disc = [&](double cx, double cy, double rad, int32_t label) {
            const RGBQUAD c = colours[static_cast<size_t>(label)];
            for (int y = static_cast<int>(cy - rad - 2); y <= cy + rad + 2; ++y)
                for (int x = static_cast<int>(cx - rad - 2); x <= cx + rad + 2; ++x) {
                    const double d = std::hypot(x + 0.5 - cx, y + 0.5 - cy) - rad;
                    const double cover = std::min(1.0, std::max(0.0, 0.5 - d));
                    if (cover <= 0) continue;
                    const size_t i = static_cast<size_t>(y) * kW + x;
                    if (cover >= 0.5) labels[i] = label;
                    RGBQUAD& p = px[i];
                    p.rgbRed = static_cast<BYTE>(p.rgbRed + (c.rgbRed - p.rgbRed) * cover);
                    p.rgbGreen = static_cast<BYTE>(p.rgbGreen + (c.rgbGreen - p.rgbGreen) * cover);
                    p.rgbBlue = static_cast<BYTE>(p.rgbBlue + (c.rgbBlue - p.rgbBlue) * cover);
                }
        };
        for (int row = 0; row < rows; ++row)
            for (int col = 0; col < cols; ++col) {
                const int x0 = col * kPitch + 5, y0 = row * kPitch + 5;
                const int32_t cell = add(0, (col * 53) % 200, (row * 97) % 200, 120);
                for (int y = y0; y < y0 + kCell; ++y)
                    for (int x = x0; x < x0 + kCell; ++x) {
                        labels[static_cast<size_t>(y) * kW + x] = cell;
                        px[static_cast<size_t>(y) * kW + x] = colours[static_cast<size_t>(cell)];
                    }
                const double shift = 0.1 * ((row * 7 + col * 3) % 10);
                disc(x0 + kCell + shift, y0 + kCell / 2.0 + shift, 6.3 + shift,
                     add(0, 20, 180 + (col % 5) * 10, 60));
                disc(x0 + kCell / 2.0 - shift, y0 + kCell / 2.0, 8.2 + shift,
                     add(cell, 250, 40 + (row % 7) * 20, 30));
            }
        EXPECT_TRUE(raster.assign(kW, kH, std::move(labels), parents, colours, false));
    }
};

const Regions& regions() {
    static const Regions r;
    return r;
}

bool sameCurves(const om1::ShapeSet& a, const om1::ShapeSet& b) {
    if (a.shapes.size() != b.shapes.size() || a.curvedLoops != b.curvedLoops) return false;
    for (size_t i = 0; i < a.shapes.size(); ++i) {
        const auto &ca = a.shapes[i].curves, &cb = b.shapes[i].curves;
        if (ca.size() != cb.size()) return false;
        for (size_t k = 0; k < ca.size(); ++k)
            if (ca[k].size() != cb[k].size() ||
                (!ca[k].empty() &&
                 std::memcmp(ca[k].data(), cb[k].data(), ca[k].size() * sizeof(om1::PointD)) != 0))
                return false;
    }
    return true;
}

int threadsRunning() {
    int n = 0;
    if (DIR* d = opendir("/proc/self/task")) {
        while (dirent* e = readdir(d)) n += e->d_name[0] != '.';
        closedir(d);
    }
    return n;
}

}  // namespace

TEST(CurveThreads, SameCurvesForAnyThreadCount) {
    const Regions& r = regions();
    ASSERT_GE(static_cast<long long>(r.raster.width) * r.raster.height, 1LL << 20);
    struct Case {
        om1::OutputOptions::Layout layout;
        bool judged;  // with the picture; else the flat colours of the labels
        int curved;   // loops with a curve (without a picture, only those
                      // within the area limit)
    };
    const Case cases[] = {{om1::OutputOptions::Layout::Stacked, true, 1260},
                          {om1::OutputOptions::Layout::Cutout, true, 2100},
                          {om1::OutputOptions::Layout::Stacked, false, 420}};
    for (const Case& c : cases) {
        om1::OutputOptions o;
        o.layout = c.layout;
        o.threads = 1;
        om1::ShapeSet one;
        ASSERT_TRUE(
            om1::ShapeBuilder::build(r.raster, false, o, one, c.judged ? r.px.data() : nullptr));
        ASSERT_EQ(one.curvedLoops, c.curved);
        for (int threads : {2, 3}) {
            o.threads = threads;
            om1::ShapeSet many;
            ASSERT_TRUE(om1::ShapeBuilder::build(r.raster, false, o, many,
                                                 c.judged ? r.px.data() : nullptr));
            EXPECT_TRUE(sameCurves(one, many))
                << "layout " << static_cast<int>(c.layout) << (c.judged ? " judged" : " flat")
                << " threads " << threads;
        }
    }
}

TEST(CurveThreads, AStopWhileTheFitsRunReturnsFalseWithEveryThreadEnded) {
    const Regions& r = regions();
    // The threads kept for three bands started first by a run of three (the
    // fits take them and, stopped, leave them waiting: no other thread is
    // left), and a thread started and ended: a runtime that keeps a thread of
    // its own once threads are used (the thread sanitizer's) has it by now.
    // Each band waits (up to 2 s) until all three have begun, so that the
    // first thread, done at once, is not given the third band too.
    std::atomic<int> begun{0};
    om1::Bands::run(3, 3, [&begun](int, long long, long long) {
        ++begun;
        const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(2);
        while (begun.load() < 3 && std::chrono::steady_clock::now() < until)
            std::this_thread::yield();
    });
    std::thread([]() {}).join();
    const int before = threadsRunning();
    om1::OutputOptions o;
    o.threads = 3;
    // The shapes' share 0.6 to 1 is the curves'; the fits lie past its
    // first fifth.
    int calls = 0, callsAtStop = -1;
    double shareAtStop = 0;
    om1::ShapeSet set;
    const bool built =
        om1::ShapeBuilder::build(r.raster, false, o, set, r.px.data(), [&](double share) {
            ++calls;
            if (share < 0.7) return true;
            if (callsAtStop < 0) callsAtStop = calls, shareAtStop = share;
            return false;
        });
    EXPECT_FALSE(built);
    EXPECT_LT(shareAtStop, 0.6 + 0.4 * 0.9);  // among the fits
    EXPECT_EQ(calls, callsAtStop);            // not asked again after the stop
    EXPECT_TRUE(set.unfinished != nullptr);
    EXPECT_EQ(threadsRunning(), before);
}
