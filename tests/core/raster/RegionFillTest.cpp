// The flood-fill working set and its pixel queue.
#include <gtest/gtest.h>

#include "raster/PixelQueue.h"
#include "raster/RegionFill.h"

TEST(PixelQueue, PushPopRewindClearAndZeroSize) {
    PixelQueue q(3);
    EXPECT_EQ(q.pop(), -1);
    q.rewind();
    EXPECT_EQ(q.head, -1);
    EXPECT_TRUE(q.push(7));
    EXPECT_EQ(q.head, 0);
    EXPECT_TRUE(q.push(8));
    EXPECT_TRUE(q.push(9));
    EXPECT_FALSE(q.push(10));  // full
    EXPECT_EQ(q.pop(), 7);
    EXPECT_EQ(q.pop(), 8);
    EXPECT_EQ(q.pop(), 9);
    EXPECT_EQ(q.pop(), -1);
    q.rewind();  // read the same pixels again
    EXPECT_EQ(q.pop(), 7);
    q.clear();
    EXPECT_EQ(q.head, -1);
    EXPECT_EQ(q.tail, -1);
    EXPECT_EQ(q.pop(), -1);
    PixelQueue none(0);  // refuses everything
    EXPECT_FALSE(none.push(1));
    EXPECT_EQ(none.pop(), -1);
}

TEST(RegionFill, BuildsItsBuffersOrNothingForUnusableSizes) {
    RegionFill f(7, 5);
    EXPECT_EQ(f.size, 35);
    ASSERT_TRUE(f.isUsable());
    EXPECT_EQ(f.queue->size, 35);
    RegionFill a(0, 5), b(5, -1), c(70000, 70000);
    EXPECT_FALSE(a.isUsable());
    EXPECT_FALSE(b.isUsable());
    EXPECT_FALSE(c.isUsable());
    EXPECT_EQ(c.size, 0);
}
