// Outline nodes: data ownership and deletion.
#include <gtest/gtest.h>

#include <vector>

#include "tracer/ListOfOutLines.h"

TEST(ListOfOutLines, PutAndGetDataOwnACopy) {
    ListOfOutLines n;
    unsigned char out[4] = {9, 9, 9, 9};
    int len = 3, rotation = 4;
    POINT s = {2, 2};
    n.GetData(out, len, s, rotation);  // no data: nothing changes
    EXPECT_EQ(len, 3);
    EXPECT_EQ(rotation, 4);
    EXPECT_EQ(out[0], 9);

    unsigned char codes[4] = {0, 1, 2, 3};
    ASSERT_TRUE(n.FreeAllocAndPutData(codes, 4, POINT{7, 8}));
    codes[0] = 3;  // the node holds its own copy
    EXPECT_EQ(n.data[0], 0);
    EXPECT_EQ(n.len, 4);
    EXPECT_EQ(n.start.x, 7);
    n.GetData(nullptr, len, s, rotation);  // no destination: nothing changes
    EXPECT_EQ(len, 3);
    n.GetData(out, len, s, rotation);
    EXPECT_EQ(len, 4);
    EXPECT_EQ(s.y, 8);
    EXPECT_EQ(rotation, 0);
    EXPECT_EQ(out[3], 3);

    // Replacing frees the old buffer (checked by the sanitizer build); bad
    // data is refused and leaves no data.
    ASSERT_TRUE(n.FreeAllocAndPutData(out, 2, POINT{1, 1}));
    EXPECT_EQ(n.len, 2);
    EXPECT_FALSE(n.FreeAllocAndPutData(nullptr, 5, POINT{0, 0}));
    EXPECT_EQ(n.data, nullptr);
    EXPECT_EQ(n.len, 0);
    EXPECT_FALSE(n.FreeAllocAndPutData(codes, -1, POINT{0, 0}));
}

TEST(ListOfOutLines, DeletingOwnsEveryLinkWithoutDeepRecursion) {
    ListOfOutLines* root = new ListOfOutLines(0);
    root->child = new ListOfOutLines(1);
    root->child->next = new ListOfOutLines(2);
    root->child->parts = new ListOfOutLines(3);
    root->parts = new ListOfOutLines(4);
    root->extraLink = new ListOfOutLines(5);
    root->extraLink->child = new ListOfOutLines(6);
    unsigned char c[4] = {0, 1, 2, 3};
    root->child->next->FreeAllocAndPutData(c, 4, POINT{1, 1});
    // Million-node next and parts lists.
    ListOfOutLines* tail = root->child->next;
    for (int i = 1; i < 1000000; ++i) tail = tail->AllocAndAddQueue(static_cast<DWORD>(i));
    EXPECT_EQ(tail->color, 999999u);
    tail = root->parts;
    for (int i = 0; i < 1000000; ++i) tail = tail->AllocAndAddQueue(2);
    delete root;  // the sanitizer build reports any leak
}
