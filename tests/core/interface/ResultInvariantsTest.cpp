// Properties of every result (ResultChecker), over a table of generated
// pictures, minimum lengths from -5 to 5 and several tolerances, in both
// coordinate forms.
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

// A white band above a comb of black teeth: the band's far side holds many
// regions that run along its outline.
golden::Picture comb() {
    golden::Picture p(1000, 8, RGBQUAD{255, 255, 255, 0});
    for (int x = 0; x < p.w; ++x)
        for (int y = x % 2 ? 7 : 3; y < 8; ++y) p.set(x, y, 0, 0, 0);
    return p;
}

// Nested squares whose holes hold frames, and shapes touching the border.
golden::Picture nested() {
    golden::Picture p(60, 60, RGBQUAD{255, 255, 255, 0});
    p.fill(5, 5, 50, 50, RGBQUAD{0, 0, 200, 0});
    p.fill(12, 12, 36, 36, RGBQUAD{0, 200, 0, 0});
    p.fill(20, 20, 20, 20, RGBQUAD{200, 0, 0, 0});
    p.fill(26, 26, 8, 8, RGBQUAD{255, 255, 255, 0});
    p.fill(0, 0, 4, 9, RGBQUAD{0, 0, 200, 0});
    p.fill(50, 56, 10, 4, RGBQUAD{200, 0, 0, 0});
    return p;
}

golden::Picture smallest() {
    golden::Picture p(3, 3, RGBQUAD{255, 255, 255, 0});
    p.set(1, 1, 0, 0, 0);
    return p;
}

}  // namespace

TEST(ResultInvariants, HoldAtEveryMinimumLengthAndTolerance) {
    struct Named {
        const char* name;
        golden::Picture p;
        bool once = false;  // a slow picture: tolerance 10, minimum length 0 only
    } pictures[] = {
        {"two pixels", twoPixels()},
        {"noise4 29x40", golden::fourColourNoise(29, 40, 11)},
        {"noise4 32x20", golden::fourColourNoise(32, 20, 3)},
        {"lines", golden::thinLines(41, 30)},
        {"photo", golden::photoLike(32, 24, 2)},
        {"antialiased", golden::antiAliased(36, 26)},
        {"comb", comb(), true},
        {"nested", nested()},
        {"smallest", smallest()},
    };
    for (Named& pic : pictures)
        for (int tolerance : {0, 10, 30})
            for (int minLen = -5; minLen <= 5; ++minLen)
                for (bool leftTop : {false, true}) {
                    if (leftTop && minLen % 2 == 0) continue;  // one form is enough there
                    if (pic.once && (tolerance != 10 || minLen != 0 || leftTop)) continue;
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
