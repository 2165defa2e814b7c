// Properties of every result, over a table of generated pictures, minimum
// lengths from -5 to 5 and several tolerances, in both coordinate forms:
// every chain closed and inside the raster, every start offset a pixel of
// the raster, every Bezier point inside the picture up to the curves' bulge.
#include <gtest/gtest.h>

#include <string>

#include "golden/GoldenPictures.h"
#include "interface/kvMngr.h"
#include "interface/om1.h"
#include "ResultChecker.h"

namespace {

golden::Picture twoPixels() {
    golden::Picture p(8, 5);
    p.set(2, 2, 128, 128, 128);
    p.set(0, 3, 128, 128, 128);
    return p;
}

}  // namespace

TEST(ResultInvariants, HoldAtEveryMinimumLengthAndTolerance) {
    struct Named {
        const char* name;
        golden::Picture p;
    } pictures[] = {
        {"two pixels", twoPixels()},
        {"noise4 29x40", golden::fourColourNoise(29, 40, 11)},
        {"noise4 32x20", golden::fourColourNoise(32, 20, 3)},
        {"lines", golden::thinLines(41, 30)},
        {"photo", golden::photoLike(32, 24, 2)},
        {"antialiased", golden::antiAliased(36, 26)},
    };
    for (Named& pic : pictures)
        for (int tolerance : {0, 10, 30})
            for (int minLen = -5; minLen <= 5; ++minLen)
                for (bool leftTop : {false, true}) {
                    if (leftTop && minLen % 2 == 0) continue;  // one form is enough there
                    ResultChecker c(pic.p.w, pic.p.h, leftTop,
                                    std::string(pic.name) + " tolerance " +
                                        std::to_string(tolerance) + " min length " +
                                        std::to_string(minLen) + (leftTop ? " left-top" : ""));
                    KvCtree* t = nullptr;
                    int r = leftTop ? om1_kvTrace1BmpLeftTop(t, pic.p.px.data(), pic.p.w, pic.p.h,
                                                             tolerance, nullptr, 0, minLen, 1000000,
                                                             1, 0.0)
                                    : om1_kvTrace1Bmp(t, pic.p.px.data(), pic.p.w, pic.p.h,
                                                      tolerance, minLen, 1000000, 1, 0.0);
                    ASSERT_EQ(r, 0) << c.where;
                    ASSERT_NE(t, nullptr) << c.where;
                    c.node(t);
                    om1_delKvCTree(t);
                    if (testing::Test::HasFatalFailure()) return;
                }
}
