// Curve conversion of long chains: a circle of radius 2000 pixels and a
// noisy closed boundary of 100,000 steps.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "curves/CurveConverter.h"

namespace {

// The 4-connected boundary of a digital disc, walked clockwise.
std::vector<unsigned char> circleChain(int r, POINT& start) {
    std::vector<unsigned char> c;
    auto inside = [r](int x, int y) { return x * x + y * y <= r * r; };
    int x = 0, y = -r, d = 0;
    start = POINT{x + r + 1, y + r + 1};
    const int dx[4] = {1, 0, -1, 0}, dy[4] = {0, 1, 0, -1};
    for (int guard = 0; guard < 100 * r; ++guard) {
        int order[4] = {(d + 3) % 4, d, (d + 1) % 4, (d + 2) % 4};
        for (int t : order)
            if (inside(x + dx[t], y + dy[t])) {
                d = t;
                break;
            }
        x += dx[d];
        y += dy[d];
        c.push_back(static_cast<unsigned char>(d));
        if (x == 0 && y == -r) break;
    }
    return c;
}

// A closed random walk: steps of a noisy rectangle-like loop of n steps.
std::vector<unsigned char> noisyChain(int n) {
    std::vector<unsigned char> c;
    uint32_t s = 7;
    int side = n / 4;
    for (int k = 0; k < 4; ++k) {
        int wiggle = 0;
        for (int i = 0; i < side; ++i) {
            s = s * 1664525u + 1013904223u;
            int r = (s >> 28) % 4;
            if (r == 0 && wiggle < 3) {
                c.push_back(static_cast<unsigned char>((k + 3) % 4));
                ++wiggle;
            } else if (r == 1 && wiggle > -3) {
                c.push_back(static_cast<unsigned char>((k + 1) % 4));
                --wiggle;
            }
            c.push_back(static_cast<unsigned char>(k));
        }
        while (wiggle > 0) {
            c.push_back(static_cast<unsigned char>((k + 1) % 4));
            --wiggle;
        }
        while (wiggle < 0) {
            c.push_back(static_cast<unsigned char>((k + 3) % 4));
            ++wiggle;
        }
    }
    return c;
}

void convert(benchmark::State& state, std::vector<unsigned char>& c, POINT start) {
    int segments = 0;
    for (auto _ : state) {
        CurveConverter cv(1.0);
        cv.getCurveData(c.data(), static_cast<int>(c.size()), start);
        cv.dropSmartMedian();
        cv.editStraightLines();
        segments = cv.getSegmentCount();
    }
    state.counters["steps"] = static_cast<double>(c.size());
    state.counters["segments"] = segments;
}

void BM_Circle2000(benchmark::State& state) {
    POINT start;
    std::vector<unsigned char> c = circleChain(2000, start);
    convert(state, c, start);
}

void BM_Noisy100k(benchmark::State& state) {
    std::vector<unsigned char> c = noisyChain(100000);
    convert(state, c, POINT{10, 10});
}

}  // namespace

BENCHMARK(BM_Circle2000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Noisy100k)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
