// OutlineIndex: the position of a pixel on one outline, looked up in time
// independent of the outline's length.
//
// Built from an outline's start and codes; indexOf gives what a walk from
// the start gives (HierarchyWorker::indexOnOutline): 0 for the start, else
// the first index 1 <= i < len at which the walk stands on the pixel, -10
// for a pixel that is not on it. The outline must not change while the
// index is used.
#pragma once

#include "platform/WinTypes.h"

class ListOfOutLines;

class OutlineIndex {
public:
    OutlineIndex() = default;
    ~OutlineIndex();
    OutlineIndex(const OutlineIndex&) = delete;
    OutlineIndex& operator=(const OutlineIndex&) = delete;

    // Indexes the outline; false when memory is short (the index is empty).
    bool build(const ListOfOutLines* outline);
    // The outline last built, null when empty.
    const ListOfOutLines* outline() const { return outline_; }
    void reset() { outline_ = nullptr; }
    int indexOf(POINT p) const;

private:
    // Positions are kept as ints: a walk that leaves the int range (only an
    // outline a host builds can) stands on no pixel indexOf is asked for.
    struct Entry {
        int x, y;
        int index;  // -1: empty
    };
    unsigned bucket(int x, int y) const {
        unsigned long long h =
            static_cast<unsigned long long>(static_cast<unsigned>(x)) * 0x9E3779B97F4A7C15ull ^
            static_cast<unsigned long long>(static_cast<unsigned>(y)) * 0xC2B2AE3D27D4EB4Full;
        return static_cast<unsigned>(h >> 32) & mask_;
    }

    const ListOfOutLines* outline_ = nullptr;
    Entry* table_ = nullptr;
    unsigned capacity_ = 0, mask_ = 0;
};
