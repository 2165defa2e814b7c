// Chain-code buffers: closure and growth. (Steps, look-ups, rotation and
// normalisation: against the ring at every rotation, ChainRingTest.)
#include <gtest/gtest.h>

#include "tracer/ChainCode.h"

namespace {

const unsigned char kSeedRing[8] = {0, 0, 3, 3, 2, 2, 1, 1};

}  // namespace

TEST(ChainCode, ClosureOfTheSeedRingAndAnOpenChain) {
    EXPECT_TRUE(chaincode::isClosed(kSeedRing, 8, POINT{4, 6}));
    const unsigned char open[3] = {0, 1, 2};
    EXPECT_FALSE(chaincode::isClosed(open, 3, POINT{0, 0}));
}

TEST(Arc, GrowthStepsByGrowByKeepsBytesAndRefusesToWrap) {
    Arc_ a(100000, 100000, 10);
    a.codes[99999] = 3;
    EXPECT_TRUE(a.grow(99999));
    EXPECT_EQ(a.capacity, 100000u);
    EXPECT_TRUE(a.grow(100000));
    EXPECT_EQ(a.capacity, 200000u);
    EXPECT_EQ(a.codes[99999], 3);
    EXPECT_EQ(a.codes[100000], 0);
    EXPECT_TRUE(a.grow(450000));
    EXPECT_EQ(a.capacity, 500000u);

    Arc_ small(2, 3, 10);  // appending beyond the capacity grows
    for (unsigned i = 0; i < 7; ++i) ASSERT_TRUE(small.append(static_cast<int>(i % 4), i));
    EXPECT_EQ(small.count, 7);
    EXPECT_EQ(small.capacity, 8u);
    for (unsigned i = 0; i < 7; ++i) EXPECT_EQ(small.codes[i], i % 4);

    Arc_ none;  // no buffers: appending is refused
    EXPECT_FALSE(none.append(0, 0));
    EXPECT_EQ(none.count, 0);

    Arc_ wrap(4, 0x80000000u, 10);
    EXPECT_FALSE(wrap.grow(0xFFFFFFF0u));
    EXPECT_EQ(wrap.capacity, 4u);
}

TEST(BoundChain, StartsUnclaimedAndGrowKeepsInner) {
    BoundChain c(4, 4, 10);
    EXPECT_EQ(c.lastOffset, -1);  // no pixel claimed by a first step yet
    ASSERT_NE(c.inner, nullptr);
    c.inner[3] = 2;
    c.innerLen = 4;
    ASSERT_TRUE(c.grow(9));
    EXPECT_EQ(c.capacity, 12u);
    EXPECT_EQ(c.inner[3], 2);
    EXPECT_EQ(c.inner[11], 0);
}
