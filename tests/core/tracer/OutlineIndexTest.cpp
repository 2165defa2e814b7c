// The outline index answers every pixel as the walk along the outline does.
#include <gtest/gtest.h>

#include <vector>

#include "ChainShapes.h"
#include "tracer/HierarchyWorker.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/OutlineIndex.h"

TEST(OutlineIndex, AgreesWithTheWalkOnEveryPixel) {
    // A box, and a plus whose centre is visited four times (first visit wins).
    const std::vector<unsigned char> plus = {0, 0, 2, 2, 1, 1, 3, 3, 2, 2, 0, 0, 3, 3, 1, 1};
    const std::vector<std::vector<unsigned char>> shapes = {testchains::boxOfPixels(5, 4), plus};
    OutlineIndex index;
    for (const auto& codes : shapes) {
        ListOfOutLines o;
        ASSERT_TRUE(o.FreeAllocAndPutData(const_cast<unsigned char*>(codes.data()),
                                          static_cast<long>(codes.size()), POINT{4, 4}));
        ASSERT_TRUE(index.build(&o));
        EXPECT_EQ(index.outline(), &o);
        for (int y = -1; y < 12; ++y)
            for (int x = -1; x < 12; ++x)
                ASSERT_EQ(index.indexOf(POINT{x, y}),
                          HierarchyWorker::indexOnOutline(&o, POINT{x, y}))
                    << x << "," << y;
    }
    // Without codes only the start is on the outline.
    ListOfOutLines bare;
    bare.start = POINT{3, 3};
    ASSERT_TRUE(index.build(&bare));
    EXPECT_EQ(index.indexOf(POINT{3, 3}), 0);
    EXPECT_EQ(index.indexOf(POINT{4, 3}), -10);
    index.reset();
    EXPECT_EQ(index.indexOf(POINT{3, 3}), -10);
    EXPECT_FALSE(index.build(nullptr));
}
