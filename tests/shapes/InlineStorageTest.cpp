// The shapes' inline storage: a loop's steps (CrackCodes) and a shape's loops
// (LoopList) held in the object up to a few, on the heap beyond, with the
// results of the std::vector they stand for across that edge, and their
// ownership when copied, moved and grown.
#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "shapes/CrackCodes.h"
#include "shapes/LoopList.h"

namespace {

using om1::CrackCodes;
using om1::CrackLoop;
using om1::LoopList;

std::vector<uint8_t> bytes(const CrackCodes& c) {
    return std::vector<uint8_t>(c.begin(), c.end());
}

// Every operation, at sizes around the local capacity, against a vector.
TEST(CrackCodes, MatchesAVectorAcrossTheLocalCapacity) {
    const size_t local = CrackCodes::kLocal;
    for (size_t n : {size_t(0), size_t(1), local - 1, local, local + 1, 3 * local}) {
        std::vector<uint8_t> want;
        CrackCodes got;
        for (size_t i = 0; i < n; ++i) {
            want.push_back(static_cast<uint8_t>(i & 3));
            got.push_back(static_cast<uint8_t>(i & 3));
        }
        ASSERT_EQ(bytes(got), want) << n;
        EXPECT_EQ(got.capacity() > local, n > local) << n;
        // Insert in the middle, across the edge.
        want.insert(want.begin() + static_cast<long>(n / 2), 2, 3);
        got.insert(got.begin() + n / 2, 2, 3);
        EXPECT_EQ(bytes(got), want) << n;
        // Copies are equal and independent; a move empties its source.
        CrackCodes copy = got;
        EXPECT_TRUE(copy == got);
        copy.push_back(1);
        EXPECT_TRUE(copy != got);
        EXPECT_EQ(bytes(got), want);
        CrackCodes moved = std::move(copy);
        EXPECT_TRUE(copy.empty());
        want.push_back(1);
        EXPECT_EQ(bytes(moved), want);
        moved = got;  // heap or local over heap or local
        want.pop_back();
        EXPECT_EQ(bytes(moved), want);
        got.assign(n + 1, 2);
        EXPECT_EQ(bytes(got), std::vector<uint8_t>(n + 1, 2));
        got.assign(want.data(), want.data() + want.size());
        EXPECT_EQ(bytes(got), want);
        got.clear();
        EXPECT_TRUE(got.empty());
    }
    EXPECT_EQ(sizeof(CrackCodes), 16u);
    // Reserving holds exactly what is asked beyond the local bytes.
    CrackCodes c{0, 1, 2, 3};
    c.reserve(CrackCodes::kLocal);
    EXPECT_EQ(c.capacity(), CrackCodes::kLocal);  // still local
    c.reserve(1000);
    EXPECT_EQ(c.capacity(), 1000u);
    EXPECT_EQ(bytes(c), (std::vector<uint8_t>{0, 1, 2, 3}));
}

CrackLoop loop(int x, size_t steps) {
    CrackLoop l;
    l.x = x;
    l.y = -x;
    l.codes.assign(steps, static_cast<uint8_t>(x & 3));
    return l;
}

// The loops' starts and lengths, which tell them apart.
std::vector<std::pair<int, size_t>> keys(const LoopList& list) {
    std::vector<std::pair<int, size_t>> out;
    for (const CrackLoop& l : list) out.emplace_back(l.x, l.codes.size());
    return out;
}

TEST(LoopList, OneLoopInlineMoreOnTheHeapWithTheirSteps) {
    for (size_t count : {0, 1, 2, 5}) {
        LoopList list;
        std::vector<std::pair<int, size_t>> want;
        for (size_t i = 0; i < count; ++i) {
            // Short steps (local) and long ones (on the heap) alike.
            const size_t steps = i % 2 ? 4 : 40;
            list.push_back(loop(static_cast<int>(i), steps));
            want.emplace_back(static_cast<int>(i), steps);
        }
        ASSERT_EQ(keys(list), want) << count;
        LoopList copy = list;
        EXPECT_EQ(keys(copy), want);
        LoopList moved = std::move(copy);
        EXPECT_EQ(keys(moved), want);
        EXPECT_TRUE(copy.empty());
        moved = list;
        EXPECT_EQ(keys(moved), want);
        if (count > 0) {
            // assign from one of its own loops, then shrink and grow again.
            list.assign(3, list.back());
            const std::vector<std::pair<int, size_t>> three(3, want.back());
            EXPECT_EQ(keys(list), three);
            list.pop_back();
            list.emplace_back().x = 7;
            EXPECT_EQ(list.back().x, 7);
            EXPECT_TRUE(list.back().codes.empty());
        }
        list.clear();
        EXPECT_TRUE(list.empty());
    }
    EXPECT_EQ(sizeof(LoopList), 32u);
}

}  // namespace
