// Segment: a run of a child outline that leaves its parent outline at `start`
// and reaches it again at `end` (both pixels on the parent).
#pragma once

#include <cstdlib>

#include "platform/WinTypes.h"

struct Segment {
    unsigned char* codes = nullptr;  // owned (calloc/free)
    int len = 0;
    POINT start = {0, 0};
    POINT end = {0, 0};
    int startIndex = -1;      // position of start on the working outline; -1 until known
    int endIndex = -1;        // position of end; -1 until known
    Segment* next = nullptr;  // owned: deleting a segment deletes the rest of its list

    Segment() = default;
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;
    // Releases the codes and the rest of the list, in a loop.
    ~Segment() {
        free(codes);
        Segment* n = next;
        next = nullptr;
        while (n) {
            Segment* following = n->next;
            n->next = nullptr;
            delete n;
            n = following;
        }
    }
};
