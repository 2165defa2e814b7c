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
#include "golden/ResultHash.h"
#include "interface/om1.h"
#include "platform/Gdi.h"
#include "TestBitmaps.h"

namespace {

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
    golden::Hash h;
    golden::hashKvCtree(h, r, t);
    om1_delKvCTree(t);
    return h.h;
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
