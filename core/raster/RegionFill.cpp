#include "raster/RegionFill.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

#include "raster/PixelQueue.h"
#include "tracer/HierarchyWorker.h"

RegionFill::RegionFill(int width_, int height_)
    : width(width_),
      height(height_),
      size(0),
      marks(nullptr),
      queue(nullptr),
      barrierCount(0),
      worker(nullptr),
      touched(nullptr),
      touchedCount(0),
      touchedCapacity(0),
      touchedOverflow(false) {
    if (width_ <= 0 || height_ <= 0 ||
        static_cast<long long>(width_) * static_cast<long long>(height_) > INT_MAX)
        return;
    size = width_ * height_;
    marks = static_cast<unsigned char*>(calloc(static_cast<size_t>(size), 1));
    queue = new (std::nothrow) PixelQueue(size);
    worker = new (std::nothrow) HierarchyWorker(size, width);
}

RegionFill::~RegionFill() {
    free(touched);
    free(marks);
    delete queue;
    delete worker;
}

bool RegionFill::isUsable() const {
    return marks && queue && queue->items && worker;
}

void RegionFill::setMark(int offset, unsigned char v) {
    if (!marks || offset < 0 || offset >= size) return;
    if (marks[offset] == 0 && v != 0 && !touchedOverflow) {
        if (touchedCount == touchedCapacity) {
            int cap = touchedCapacity ? touchedCapacity * 2 : 1024;
            int* grown =
                static_cast<int*>(realloc(touched, sizeof(int) * static_cast<size_t>(cap)));
            if (grown) {
                touched = grown;
                touchedCapacity = cap;
            } else {
                touchedOverflow = true;
            }
        }
        if (!touchedOverflow) touched[touchedCount++] = offset;
    }
    marks[offset] = v;
}

void RegionFill::clearMarks() {
    if (!marks) return;
    if (touchedOverflow)
        memset(marks, 0, static_cast<size_t>(size));
    else
        for (int i = 0; i < touchedCount; ++i) marks[touched[i]] = 0;
    touchedCount = 0;
    touchedOverflow = false;
}

bool RegionFill::marksClean() const {
    for (int i = 0; marks && i < size; ++i)
        if (marks[i]) return false;
    return true;
}
