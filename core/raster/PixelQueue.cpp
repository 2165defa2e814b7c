#include "raster/PixelQueue.h"

#include <cstdlib>

PixelQueue::PixelQueue(int size_) : items(nullptr), size(0), head(-1), tail(-1) {
    if (size_ > 0) {
        items = static_cast<int*>(calloc(static_cast<size_t>(size_), sizeof(int)));
        if (items) size = size_;
    }
}

PixelQueue::~PixelQueue() {
    free(items);
}

bool PixelQueue::push(int offset) {
    if (!items || tail + 1 >= size) return false;
    items[++tail] = offset;
    if (head < 0) head = 0;
    return true;
}

int PixelQueue::pop() {
    if (head >= 0 && head <= tail) return items[head++];
    return -1;
}

void PixelQueue::rewind() {
    head = tail >= 0 ? 0 : -1;
}

void PixelQueue::clear() {
    head = tail = -1;
}
