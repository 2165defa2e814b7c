// ListOfOutLines: one outline (a closed chain code) and the node of every
// outline list and outline tree the tracer hands out.
//
// A node owns its `data` (calloc/free) and everything reachable through
// `next`, `child`, `parts` and `extraLink`. To remove a single node from a
// list, set its `next` to null before deleting it.
#pragma once

#include "interface/Om1Export.h"
#include "platform/WinTypes.h"

class OM1_API ListOfOutLines {
public:
    int checkState;       // 1 passed, 0 failed, -1 not checked
    POINT start;          // start pixel of the chain
    unsigned char* data;  // chain codes, owned
    int len;              // number of codes
    int bounds[4];        // max x, max y, min x, min y; -1 = not computed
    int pixelCount;       // region size (sample count) on region nodes
    int paletteIndex;     // palette entry nearest to color
    DWORD color;          // 0x00BBGGRR
    int tag;              // outline weight
    bool isFrame;
    bool allHolesFree;
    int kind;  // 1 on copies made by copyOutline
    ListOfOutLines* child;
    ListOfOutLines* next;
    ListOfOutLines* parts;
    ListOfOutLines* extraLink;

    ListOfOutLines();
    explicit ListOfOutLines(DWORD color);
    // Frees data, then deletes next, child, parts and extraLink. The `next`
    // list is released in a loop, so a list of any length is deleted without
    // deep recursion.
    ~ListOfOutLines();

    ListOfOutLines(const ListOfOutLines&) = delete;
    ListOfOutLines& operator=(const ListOfOutLines&) = delete;

    // Replaces data by a copy of len bytes of src. False when the allocation
    // fails; the node then has no data (len 0). A null src with a positive
    // len is refused the same way.
    bool FreeAllocAndPutData(void* src, long len, POINT start);
    // New node of `color` in front of this one; returns it, or this node when
    // the creation failed.
    ListOfOutLines* AllocAndAddHead(DWORD color);
    // New node directly after this one; returns it, or this node on failure.
    ListOfOutLines* AllocAndAddToHead(DWORD color);
    // New node as this node's next (call on the last node); returns it, or
    // this node on failure.
    ListOfOutLines* AllocAndAddQueue(DWORD color);
    // Copies the codes into dst (the caller guarantees room) and sets len,
    // start and rotation (0). No effect when data or dst is null.
    void GetData(void* dst, int& len, POINT& start, int& rotation);
};
