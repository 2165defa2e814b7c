// Several threads trace different pictures at once, through the pixel and
// the bitmap-handle entry points; every result equals the one traced alone.
// The tsan preset runs this under ThreadSanitizer.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "golden/GoldenPictures.h"
#include "interface/om1.h"
#include "platform/Gdi.h"
#include "TestBitmaps.h"

namespace {

// A hash of the whole tree: structure, chains, colours and Bezier points.
uint64_t treeHash(const KvCtree* root) {
    uint64_t h = 1469598103934665603ull;
    auto mix = [&h](const void* p, size_t n) {
        const unsigned char* b = static_cast<const unsigned char*>(p);
        for (size_t i = 0; i < n; ++i) h = (h ^ b[i]) * 1099511628211ull;
    };
    std::vector<const KvCtree*> stack;
    if (root) stack.push_back(root);
    while (!stack.empty()) {
        const KvCtree* t = stack.back();
        stack.pop_back();
        mix(&t->isFrame, sizeof t->isFrame);
        mix(&t->dirNum, sizeof t->dirNum);
        mix(&t->startOffset, sizeof t->startOffset);
        mix(&t->color, sizeof t->color);
        if (t->chain && t->dirNum > 0) mix(t->chain, static_cast<size_t>(t->dirNum));
        if (t->bezier && t->bezierCount > 0)
            mix(t->bezier, sizeof(KvPoint) * static_cast<size_t>(t->bezierCount));
        int holes = 0;
        for (KvCtree::Holes* hl = t->holes; hl; hl = hl->next, ++holes) stack.push_back(hl->ctree);
        mix(&holes, sizeof holes);
    }
    return h;
}

struct Job {
    golden::Picture picture;
    int tolerance, minLen;
    int variant;  // 0 pixels, 1 pixels left-top, 2 bitmap handle
};

uint64_t runJob(const Job& job) {
    KvCtree* t = nullptr;
    const golden::Picture& p = job.picture;
    RGBQUAD* px = const_cast<RGBQUAD*>(p.px.data());
    int r = -1;
    if (job.variant == 0) {
        r = om1_kvTrace1Bmp(t, px, p.w, p.h, job.tolerance, job.minLen, 100000, 1, 0.0);
    } else if (job.variant == 1) {
        r = om1_kvTrace1BmpLeftTop(t, px, p.w, p.h, job.tolerance, nullptr, 0, job.minLen, 100000,
                                   1, 0.0);
    } else {
        RGBQUAD* bits = nullptr;
        HBITMAP b = testbitmaps::rgb32(p.w, p.h, RGBQUAD{}, &bits);
        if (!b) return 0;
        memcpy(bits, px, sizeof(RGBQUAD) * p.px.size());
        r = om1_kvTrace1H(t, b, job.tolerance, job.minLen, 100000, 1, 0.0);
        DeleteObject(b);
    }
    uint64_t h = treeHash(t) ^ static_cast<uint64_t>(r);
    om1_delKvCTree(t);
    return h;
}

}  // namespace

TEST(ConcurrentTraces, DifferentPicturesOnSeveralThreadsMatchTracesAlone) {
    std::vector<Job> jobs = {
        {golden::photoLike(60, 45, 1), 10, 4, 0},
        {golden::antiAliased(50, 40), 20, 4, 1},
        {golden::fourColourNoise(33, 25, 5), 30, 2, 2},
        {golden::thinLines(41, 30), 10, 0, 0},
        {golden::photoLike(48, 36, 3), 0, 8, 2},
        {golden::fourColourNoise(20, 30, 9), 0, 4, 1},
    };
    std::vector<uint64_t> alone;
    for (const Job& j : jobs) alone.push_back(runJob(j));

    const int kRounds = 3;
    std::vector<std::vector<uint64_t>> got(jobs.size());
    std::vector<std::thread> threads;
    for (size_t k = 0; k < jobs.size(); ++k)
        threads.emplace_back([&, k] {
            for (int r = 0; r < kRounds; ++r) got[k].push_back(runJob(jobs[k]));
        });
    for (std::thread& t : threads) t.join();
    for (size_t k = 0; k < jobs.size(); ++k)
        for (int r = 0; r < kRounds; ++r) EXPECT_EQ(got[k][r], alone[k]) << "job " << k;
}
