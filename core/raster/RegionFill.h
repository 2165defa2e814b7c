// RegionFill: the flood-fill working set over one raster: a mark per pixel
// (0 free, 1 barrier, 11 filled), the queue of filled pixels, the number of
// outlines drawn as barriers, and a hierarchy worker of the raster's size.
#pragma once

#include "interface/Om1Export.h"

class HierarchyWorker;
class PixelQueue;

class OM1_API RegionFill {
public:
    int width;
    int height;
    int size;                 // width * height; 0 for an unusable size
    unsigned char* marks;     // owned, size bytes (calloc/free)
    PixelQueue* queue;        // owned
    int barrierCount;         // outlines drawn as barriers since creation
    HierarchyWorker* worker;  // owned, built with (size, width)

    // A side of zero or less, or width x height beyond int, gives a set
    // without buffers (size 0). Allocation failures leave null members.
    RegionFill(int width, int height);
    ~RegionFill();

    RegionFill(const RegionFill&) = delete;
    RegionFill& operator=(const RegionFill&) = delete;

    // True when marks, queue and worker all exist.
    bool isUsable() const;

    // Marks are written through setMark, which remembers the pixels it
    // dirtied; clearMarks undoes exactly those (the same result as zeroing all
    // `size` bytes, at the cost of the pixels marked). marksClean checks the
    // whole map (used by debug assertions).
    void setMark(int offset, unsigned char v);
    void clearMarks();
    bool marksClean() const;

protected:
    int* touched;
    int touchedCount;
    int touchedCapacity;
    bool touchedOverflow;
};
