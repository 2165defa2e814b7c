#include "raster/RegionFill.h"

#include <climits>
#include <cstdlib>
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
      worker(nullptr) {
    if (width_ <= 0 || height_ <= 0 ||
        static_cast<long long>(width_) * static_cast<long long>(height_) > INT_MAX)
        return;
    size = width_ * height_;
    marks = static_cast<unsigned char*>(calloc(static_cast<size_t>(size), 1));
    queue = new (std::nothrow) PixelQueue(size);
    worker = new (std::nothrow) HierarchyWorker(size, width);
}

RegionFill::~RegionFill() {
    free(marks);
    delete queue;
    delete worker;
}

bool RegionFill::isUsable() const {
    return marks && queue && queue->items && worker;
}
