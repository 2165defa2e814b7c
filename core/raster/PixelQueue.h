// PixelQueue: the queue of filled pixel offsets of a flood fill. An array of
// `size` ints with a read index `head` and a write index `tail`, both -1 when
// empty; the pixels pushed since the last clear can be read again after
// rewind().
#pragma once

#include "interface/Om1Export.h"

class OM1_API PixelQueue {
public:
    int* items;  // owned, size ints (calloc/free)
    int size;
    int head;
    int tail;

    // With a size below 1 or a failed allocation there is no array and every
    // push is refused.
    explicit PixelQueue(int size);
    ~PixelQueue();

    PixelQueue(const PixelQueue&) = delete;
    PixelQueue& operator=(const PixelQueue&) = delete;

    // Stores at ++tail; head becomes 0 when it was negative. False when full.
    bool push(int offset);
    // The element at head, advancing head, while 0 <= head <= tail; else -1.
    int pop();
    // head back to 0, or -1 when nothing was pushed since the last clear.
    void rewind();
    void clear();
};
