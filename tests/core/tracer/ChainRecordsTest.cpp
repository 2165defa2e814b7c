// Chain-code buffers: walking, reversing, rotation, growth and normalisation.
#include <gtest/gtest.h>

#include <vector>

#include "tracer/ChainCode.h"

namespace {

const unsigned char kSeedRing[8] = {0, 0, 3, 3, 2, 2, 1, 1};

void layRing(BoundChain& c, POINT seed) {
    c.start = c.end = POINT{seed.x - 1, seed.y + 1};
    for (unsigned i = 0; i < 8; ++i) c.append(kSeedRing[i], i);
}

}  // namespace

TEST(ChainCode, SeedRingWalksTheEightNeighboursAndReversesClosed) {
    Arc_ a;
    POINT p = {4, 6};
    const POINT want[8] = {{5, 6}, {6, 6}, {6, 5}, {6, 4}, {5, 4}, {4, 4}, {4, 5}, {4, 6}};
    for (int i = 0; i < 8; ++i) {
        p = a.step(kSeedRing[i], p);
        EXPECT_EQ(p.x, want[i].x) << i;
        EXPECT_EQ(p.y, want[i].y) << i;
    }
    EXPECT_TRUE(chaincode::isClosed(kSeedRing, 8, POINT{4, 6}));
    unsigned char r[8];
    for (int i = 0; i < 8; ++i) r[i] = static_cast<unsigned char>(Arc_::opposite(kSeedRing[7 - i]));
    EXPECT_EQ(std::vector<unsigned char>(r, r + 8),
              (std::vector<unsigned char>{3, 3, 0, 0, 1, 1, 2, 2}));
    EXPECT_TRUE(chaincode::isClosed(r, 8, POINT{4, 6}));
    const unsigned char open[3] = {0, 1, 2};
    EXPECT_FALSE(chaincode::isClosed(open, 3, POINT{0, 0}));
    for (int d = 0; d < 4; ++d) {
        EXPECT_EQ(Arc_::opposite(d), (d + 2) % 4);
        EXPECT_EQ(chaincode::stepX(d), Arc_().dx[d]);
        EXPECT_EQ(chaincode::stepY(d), Arc_().dy[d]);
    }
}

TEST(Arc, AppendMovesEndAndCountsOrIsRefusedWithoutBuffers) {
    Arc_ a(4, 4, 10);
    a.start = a.end = POINT{2, 2};
    EXPECT_TRUE(a.append(0, 0));
    EXPECT_TRUE(a.append(1, 1));
    EXPECT_EQ(a.count, 2);
    EXPECT_EQ(a.end.x, 3);
    EXPECT_EQ(a.end.y, 3);
    EXPECT_EQ(a.firstCode(), 0);
    a.setFirstCode(3);
    EXPECT_EQ(a.codes[0], 3);

    Arc_ none;
    EXPECT_FALSE(none.append(0, 0));
    EXPECT_EQ(none.count, 0);
    EXPECT_EQ(none.firstCode(), 0);
    none.setFirstCode(2);  // no buffer: nothing happens
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

    Arc_ wrap(4, 0x80000000u, 10);
    EXPECT_FALSE(wrap.grow(0xFFFFFFF0u));
    EXPECT_EQ(wrap.capacity, 4u);
}

TEST(BoundChain, IndexOfAndRotationReadLogicalPositions) {
    BoundChain c(16, 16, 20);
    EXPECT_EQ(c.lastCodeReversed(), -10);  // empty
    layRing(c, POINT{5, 5});
    EXPECT_EQ(c.indexOf(POINT{4, 6}), 0);
    EXPECT_EQ(c.indexOf(POINT{5, 6}), 1);
    EXPECT_EQ(c.indexOf(POINT{4, 5}), 7);
    EXPECT_EQ(c.indexOf(POINT{5, 5}), -10);  // the seed is inside, not on the ring
    EXPECT_EQ(c.indexOf(POINT{40, 40}), -10);
    for (int i = 0; i < 3; ++i) c.advanceStart();
    EXPECT_EQ(c.rotation, 3);
    EXPECT_EQ(c.start.x, 6);
    EXPECT_EQ(c.start.y, 5);
    EXPECT_EQ(c.codeAt(0), kSeedRing[3]);
    // The last logical code is the byte stored just before index rotation.
    EXPECT_EQ(c.codeAt(c.count - 1), kSeedRing[2]);
    EXPECT_EQ(c.lastCodeReversed(), Arc_::opposite(kSeedRing[2]));
    // indexOf walks from the logical start.
    EXPECT_EQ(c.indexOf(POINT{6, 5}), 0);
    EXPECT_EQ(c.indexOf(POINT{6, 4}), 1);
    EXPECT_EQ(c.indexOf(POINT{6, 6}), 7);
    for (int i = 3; i < c.count; ++i) c.advanceStart();  // a full turn
    EXPECT_EQ(c.start.x, 4);
    EXPECT_EQ(c.start.y, 6);
    EXPECT_EQ(c.rotation, 0);
}

TEST(BoundChain, NormalizeMakesRotationPhysical) {
    BoundChain c(16, 16, 20);
    layRing(c, POINT{5, 5});
    unsigned char* before = c.codes;
    c.normalize();  // without rotation: nothing changes
    EXPECT_EQ(c.codes, before);
    for (int i = 0; i < 5; ++i) c.advanceStart();
    POINT s = c.start;
    c.normalize();
    EXPECT_EQ(c.rotation, 0);
    EXPECT_EQ(c.start.x, s.x);
    EXPECT_EQ(c.start.y, s.y);
    EXPECT_NE(c.codes, before);  // exchanged with spare, not reallocated
    EXPECT_EQ(c.spare, before);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(c.codes[i], kSeedRing[(5 + i) % 8]) << i;
    EXPECT_TRUE(chaincode::isClosed(c.codes, c.count, c.start));
}

TEST(BoundChain, StartsUnclaimedAndGrowKeepsInner) {
    BoundChain c(4, 4, 10);
    EXPECT_EQ(c.lastOffset, -1);  // no pixel claimed by a first step yet
    EXPECT_FALSE(c.innerPending);
    EXPECT_EQ(c.innerLen, 0);
    ASSERT_NE(c.inner, nullptr);
    c.inner[3] = 2;
    c.innerLen = 4;
    ASSERT_TRUE(c.grow(9));
    EXPECT_EQ(c.capacity, 12u);
    EXPECT_EQ(c.inner[3], 2);
    EXPECT_EQ(c.inner[11], 0);
}
