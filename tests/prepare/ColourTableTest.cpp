// ColourTable: counts survive the table's growth, colours that collide in
// their first slot stay apart, and the sorted list holds every colour once.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "prepare/ColourTable.h"

TEST(ColourTable, CountsSurviveGrowthAndColoursComeSorted) {
    om1::ColourTable table;
    // Far more colours than the first slots, added in a scattered order,
    // black and white (the extremes of the 24 bits) among them.
    const uint32_t n = 5000;
    for (uint32_t round = 0; round < 2; ++round)
        for (uint32_t i = 0; i < n; ++i) table.add((i * 7919u) % n * 3355u & 0xFFFFFFu, i + 1);
    table.add(0, 5);
    table.add(0xFFFFFFu, 6);
    std::vector<uint32_t> colours;
    table.sorted(colours);
    ASSERT_EQ(table.size(), colours.size());
    ASSERT_EQ(colours.size(), n + 1u);  // 0 is among the n
    EXPECT_EQ(colours.front(), 0u);
    EXPECT_EQ(colours.back(), 0xFFFFFFu);
    for (size_t k = 1; k < colours.size(); ++k) ASSERT_LT(colours[k - 1], colours[k]);
    for (uint32_t i = 1; i < n; ++i) {
        const uint32_t c = (i * 7919u) % n * 3355u & 0xFFFFFFu;
        ASSERT_EQ(table.value(c), 2 * (i + 1)) << i;
    }
    EXPECT_EQ(table.value(0), 2u + 5u);
    EXPECT_EQ(table.value(0xFFFFFFu), 6u);
    table.set(0xFFFFFFu, 42);
    EXPECT_EQ(table.value(0xFFFFFFu), 42u);
    EXPECT_EQ(table.value(0), 7u);
}
