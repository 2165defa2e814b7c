// LabelRun reads labels four at a time: a label that differs at any one
// place, and a run's end at every place relative to those groups, must be
// found exactly as a plain loop finds them.
#include "shapes/LabelRun.h"

#include <gtest/gtest.h>

#include <vector>

namespace om1 {
namespace {

TEST(LabelRun, EightSeesADifferenceAtEveryPlace) {
    std::vector<int32_t> row(12, 7);
    EXPECT_TRUE(LabelRun::eight(row.data() + 1, 7));
    EXPECT_FALSE(LabelRun::eight(row.data() + 1, 6));
    for (int k = 0; k < 8; ++k) {
        for (int32_t other : {-1, 6, 7 + (1 << 16), static_cast<int32_t>(0x80000007)}) {
            std::vector<int32_t> r = row;
            r[1 + k] = other;
            EXPECT_FALSE(LabelRun::eight(r.data() + 1, 7)) << "place " << k << " label " << other;
        }
    }
    // Labels beside the eight do not count.
    std::vector<int32_t> r = row;
    r[0] = r[9] = 3;
    EXPECT_TRUE(LabelRun::eight(r.data() + 1, 7));
    EXPECT_TRUE(LabelRun::eight(std::vector<int32_t>(8, -1).data(), -1));
}

TEST(LabelRun, EndOfEveryRunWithinEveryLimit) {
    // A run of label 5 from `from` up to `stop` (exclusive), another label
    // after it; the limit `end` cuts it short where it comes first.
    for (int from = 0; from < 6; ++from)
        for (int stop = from; stop <= 20; ++stop)
            for (int end = from; end <= 21; ++end) {
                std::vector<int32_t> row(22, 9);
                for (int x = from; x < stop; ++x) row[static_cast<size_t>(x)] = 5;
                int expected = from;
                while (expected < end && row[static_cast<size_t>(expected)] == 5) ++expected;
                EXPECT_EQ(LabelRun::end(row.data(), from, end, 5), expected)
                    << "from " << from << " stop " << stop << " end " << end;
            }
    EXPECT_EQ(LabelRun::end(std::vector<int32_t>(4, 1).data(), 0, 0, 1), 0);
}

}  // namespace
}  // namespace om1
