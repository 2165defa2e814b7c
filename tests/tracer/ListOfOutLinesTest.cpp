// Outline nodes: construction, data ownership and list building.
#include <gtest/gtest.h>

#include "tracer/ListOfOutLines.h"

TEST(ListOfOutLines, ConstructorsSetDocumentedValues) {
    ListOfOutLines a;
    ListOfOutLines b(0x123456);
    for (ListOfOutLines* n : {&a, &b}) {
        EXPECT_EQ(n->checkState, -1);
        EXPECT_EQ(n->start.x, -1);
        EXPECT_EQ(n->start.y, -1);
        EXPECT_EQ(n->data, nullptr);
        EXPECT_EQ(n->len, 0);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(n->bounds[i], -1);
        EXPECT_EQ(n->pixelCount, -1);
        EXPECT_EQ(n->paletteIndex, 0);
        EXPECT_EQ(n->tag, 0);
        EXPECT_TRUE(n->isFrame);
        EXPECT_FALSE(n->allHolesFree);
        EXPECT_EQ(n->kind, 0);
        EXPECT_EQ(n->child, nullptr);
        EXPECT_EQ(n->next, nullptr);
        EXPECT_EQ(n->parts, nullptr);
        EXPECT_EQ(n->extraLink, nullptr);
    }
    EXPECT_EQ(a.color, 0u);
    EXPECT_EQ(b.color, 0x123456u);
}

TEST(ListOfOutLines, PutAndGetData) {
    ListOfOutLines n;
    unsigned char codes[4] = {0, 1, 2, 3};
    ASSERT_TRUE(n.FreeAllocAndPutData(codes, 4, POINT{7, 8}));
    codes[0] = 3;  // the node holds its own copy
    EXPECT_EQ(n.data[0], 0);
    EXPECT_EQ(n.len, 4);
    EXPECT_EQ(n.start.x, 7);

    unsigned char out[4] = {9, 9, 9, 9};
    int len = 0, rotation = 5;
    POINT s = {0, 0};
    n.GetData(out, len, s, rotation);
    EXPECT_EQ(len, 4);
    EXPECT_EQ(s.y, 8);
    EXPECT_EQ(rotation, 0);
    EXPECT_EQ(out[3], 3);

    // Replacing frees the old buffer (checked by the sanitizer build).
    ASSERT_TRUE(n.FreeAllocAndPutData(out, 2, POINT{1, 1}));
    EXPECT_EQ(n.len, 2);
}

TEST(ListOfOutLines, GetDataWithoutDataOrDestinationChangesNothing) {
    ListOfOutLines n;
    unsigned char out[2] = {7, 7};
    int len = 3, rotation = 4;
    POINT s = {2, 2};
    n.GetData(out, len, s, rotation);
    EXPECT_EQ(len, 3);
    EXPECT_EQ(rotation, 4);
    unsigned char c[1] = {1};
    n.FreeAllocAndPutData(c, 1, POINT{0, 0});
    n.GetData(nullptr, len, s, rotation);
    EXPECT_EQ(len, 3);
}

TEST(ListOfOutLines, BadDataIsRefusedAndLeavesNoData) {
    ListOfOutLines n;
    unsigned char c[2] = {0, 2};
    ASSERT_TRUE(n.FreeAllocAndPutData(c, 2, POINT{0, 0}));
    EXPECT_FALSE(n.FreeAllocAndPutData(nullptr, 5, POINT{0, 0}));
    EXPECT_EQ(n.data, nullptr);
    EXPECT_EQ(n.len, 0);
    EXPECT_FALSE(n.FreeAllocAndPutData(c, -1, POINT{0, 0}));
}

TEST(ListOfOutLines, ListBuilders) {
    ListOfOutLines* head = new ListOfOutLines(1);
    ListOfOutLines* h2 = head->AllocAndAddHead(2);
    ASSERT_NE(h2, head);
    EXPECT_EQ(h2->next, head);
    EXPECT_EQ(h2->color, 2u);

    ListOfOutLines* tail = head->AllocAndAddQueue(3);
    EXPECT_EQ(head->next, tail);
    ListOfOutLines* mid = h2->AllocAndAddToHead(4);  // directly after the first node
    EXPECT_EQ(h2->next, mid);
    EXPECT_EQ(mid->next, head);

    int colors[4], n = 0;
    for (ListOfOutLines* p = h2; p; p = p->next) colors[n++] = static_cast<int>(p->color);
    ASSERT_EQ(n, 4);
    EXPECT_EQ(colors[0], 2);
    EXPECT_EQ(colors[1], 4);
    EXPECT_EQ(colors[2], 1);
    EXPECT_EQ(colors[3], 3);
    delete h2;  // the whole list
}

TEST(ListOfOutLines, UnlinkingDeletesOneNode) {
    ListOfOutLines* a = new ListOfOutLines(1);
    ListOfOutLines* b = a->AllocAndAddQueue(2);
    ListOfOutLines* c = b->AllocAndAddQueue(3);
    a->next = c;
    b->next = nullptr;
    delete b;
    EXPECT_EQ(a->next->color, 3u);
    delete a;
}

TEST(ListOfOutLines, DeletingOwnsEveryLink) {
    ListOfOutLines* root = new ListOfOutLines(0);
    root->child = new ListOfOutLines(1);
    root->child->next = new ListOfOutLines(2);
    root->child->parts = new ListOfOutLines(3);
    root->parts = new ListOfOutLines(4);
    root->extraLink = new ListOfOutLines(5);
    root->extraLink->child = new ListOfOutLines(6);
    unsigned char c[4] = {0, 1, 2, 3};
    root->child->next->FreeAllocAndPutData(c, 4, POINT{1, 1});
    delete root;  // the sanitizer build reports any leak
}

TEST(ListOfOutLines, DeletesAMillionNodeList) {
    ListOfOutLines* head = new ListOfOutLines(0);
    ListOfOutLines* tail = head;
    for (int i = 1; i < 1000000; ++i) tail = tail->AllocAndAddQueue(static_cast<DWORD>(i));
    EXPECT_EQ(tail->color, 999999u);
    delete head;
}

TEST(ListOfOutLines, DeletesAMillionNodePartsList) {
    ListOfOutLines* n = new ListOfOutLines(0);
    n->parts = new ListOfOutLines(1);
    ListOfOutLines* t = n->parts;
    for (int i = 0; i < 1000000; ++i) t = t->AllocAndAddQueue(2);
    delete n;
}
