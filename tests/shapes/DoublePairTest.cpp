// DoublePair must round each half exactly as the same operation on one
// double: the curve fit works on two samples at a time and its output must
// not depend on that.
#include "shapes/DoublePair.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

namespace om1 {
namespace {

uint64_t bitsOf(double v) {
    uint64_t b;
    std::memcpy(&b, &v, sizeof b);
    return b;
}

// Values where rounding, signs of zeros and NaN show.
std::vector<double> edgeValues() {
    const double inf = std::numeric_limits<double>::infinity();
    return {0.0,
            -0.0,
            1.0,
            -1.0,
            1.0 / 3,
            0.1,
            -2.5e-7,
            1e-12,
            1.0000000000000002,
            std::numeric_limits<double>::denorm_min(),
            std::numeric_limits<double>::max(),
            inf,
            -inf,
            std::numeric_limits<double>::quiet_NaN(),
            123456.789,
            -9.75e15};
}

// NaN's payload aside, the same bits.
void expectSame(double want, double got, const char* what, double a, double b) {
    if (std::isnan(want)) {
        EXPECT_TRUE(std::isnan(got)) << what << " " << a << " " << b;
        return;
    }
    EXPECT_EQ(bitsOf(want), bitsOf(got))
        << what << " " << a << " " << b << ": " << want << " vs " << got;
}

TEST(DoublePair, EveryOperationRoundsEachHalfAsOneDoubleDoes) {
    const std::vector<double> v = edgeValues();
    for (double a : v)
        for (double b : v) {
            // Each pair holds (a, b) and (b, a): both halves are checked.
            const DoublePair x(a, b), y(b, a);
            auto check = [&](const char* what, DoublePair got, double first, double second) {
                expectSame(first, got.first(), what, a, b);
                expectSame(second, got.second(), what, a, b);
            };
            check("+", x + y, a + b, b + a);
            check("-", x - y, a - b, b - a);
            check("*", x * y, a * b, b * a);
            check("/", x / y, a / b, b / a);
            check("negate", -x, -a, -b);
            check("sqrt", sqrt(x), std::sqrt(a), std::sqrt(b));
            check("clamp", clamp(x, 0.0, 1.0), std::min(1.0, std::max(0.0, a)),
                  std::min(1.0, std::max(0.0, b)));
            check("pick", pickWhereAbove(x, 1e-12, y, DoublePair(7.0)),
                  std::fabs(a) > 1e-12 ? b : 7.0, std::fabs(b) > 1e-12 ? a : 7.0);
        }
}

TEST(DoublePair, LoadsStoresAndBroadcasts) {
    const double in[3] = {1.5, -0.0, 4.0};
    double out[3] = {9, 9, 9};
    DoublePair::load(in).store(out);
    EXPECT_EQ(bitsOf(out[0]), bitsOf(1.5));
    EXPECT_EQ(bitsOf(out[1]), bitsOf(-0.0));
    EXPECT_EQ(out[2], 9);  // nothing past the pair
    const DoublePair both(-0.0);
    EXPECT_EQ(bitsOf(both.first()), bitsOf(-0.0));
    EXPECT_EQ(bitsOf(both.second()), bitsOf(-0.0));
}

}  // namespace
}  // namespace om1
