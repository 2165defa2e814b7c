// A picture of concentric one-pixel rings traced, converted and released on
// a thread whose stack allows 256 bytes per nesting level: the budget of
// 4096 levels on a 1 MB stack (the default of some hosts). The recursions
// over nesting depth (hierarchy generation, part simplification, containment
// tree, output conversion, releases) must stay within it; the ones over list
// length must not exist.
//
// Measured: the optimised build traces 1000 levels on 128 KB (2000 on 1 MB
// directly); the sanitizer build 250 levels on 64 KB but not on 32 KB. The
// rings cost time that grows faster than the pixel count, so the sanitizer
// build checks fewer levels on a stack shrunk in proportion.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "interface/om1.h"

namespace {

// Levels of nesting: a picture of 2 x levels + 1 pixels square.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
const int kRingLevels = 250;
#else
const int kRingLevels = 1000;
#endif
const size_t kStackPerLevel = 256;  // 1 MB / 4096 levels

struct RingsJob {
    int levels = 0;
    int result = -1;
    int depth = 0;
    int contours = 0;
    bool closed = true;
};

// Square rings round the centre, alternating black and white, one pixel
// wide: ring r is every pixel at Chebyshev distance r from the centre.
void* traceRings(void* arg) {
    RingsJob& job = *static_cast<RingsJob*>(arg);
    const int L = job.levels, n = 2 * L + 1;
    std::vector<RGBQUAD> px(static_cast<size_t>(n) * n);
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            int r = std::max(std::abs(x - L), std::abs(y - L));
            px[static_cast<size_t>(y) * n + x] =
                r % 2 ? RGBQUAD{0, 0, 0, 0} : RGBQUAD{255, 255, 255, 0};
        }
    KvCtree* t = nullptr;
    job.result = om1_kvTrace1Bmp(t, px.data(), n, n, 10, 4, 10000000, 1, 0.0);
    std::vector<std::pair<const KvCtree*, int>> stack;
    if (t) stack.push_back({t, 1});
    while (!stack.empty()) {
        const KvCtree* k = stack.back().first;
        int d = stack.back().second;
        stack.pop_back();
        ++job.contours;
        job.depth = std::max(job.depth, d);
        long x = k->startOffset % n, y = k->startOffset / n;
        for (int i = 0; i < k->dirNum; ++i) {
            x += k->chain[i] == 0 ? 1 : k->chain[i] == 2 ? -1 : 0;
            y += k->chain[i] == 1 ? 1 : k->chain[i] == 3 ? -1 : 0;
        }
        if (x != k->startOffset % n || y != k->startOffset / n) job.closed = false;
        for (KvCtree::Holes* h = k->holes; h; h = h->next) stack.push_back({h->ctree, d + 1});
    }
    om1_delKvCTree(t);
    return nullptr;
}

}  // namespace

TEST(DeepNesting, ConcentricRingsWithinAOneMegabyteStackBudget) {
    RingsJob job;
    job.levels = kRingLevels;
    pthread_attr_t attr;
    ASSERT_EQ(pthread_attr_init(&attr), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attr, kRingLevels * kStackPerLevel), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attr, traceRings, &job), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attr);
    EXPECT_EQ(job.result, 0);
    // One contour per ring but the innermost (a single pixel is no loop).
    EXPECT_EQ(job.contours, job.levels);
    EXPECT_EQ(job.depth, job.levels);
    EXPECT_TRUE(job.closed);
}
