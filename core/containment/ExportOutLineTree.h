// ExportOutLineTree: one node of the containment tree: a closed outline
// (chain code) that is either a frame (a container without colour of its own,
// type 1) or an outline (a coloured region boundary, type 0), with a list of
// holes that are nodes themselves. A node owns its codes and its whole hole
// list, so a root owns the whole tree.
#pragma once

#include "containment/HoleNode.h"
#include "interface/Om1Export.h"
#include "platform/WinTypes.h"

class OM1_API ExportOutLineTree {
public:
    int type;             // 1 frame, 0 outline
    HoleNode* holes;      // owned
    int valid;            // 1 when construction succeeded
    int bounds[4];        // max x, max y, min x, min y; -1 until computed
    unsigned char* data;  // owned chain codes (calloc/free)
    int len;
    int startPos;   // y * width + x of the start pixel
    RGBQUAD color;  // blue, green, red, reserved

    // With codes: a copy of len codes (valid 0 when it cannot be allocated, or
    // len is negative). Without codes: no data, len and startPos 0, valid 1.
    // Always a frame with no holes and colour 0.
    ExportOutLineTree(unsigned char* codes, int len, int startPos);
    // Deletes the hole list (every hole's tree) and frees the codes.
    ~ExportOutLineTree();

    ExportOutLineTree(const ExportOutLineTree&) = delete;
    ExportOutLineTree& operator=(const ExportOutLineTree&) = delete;

    void setTypeAsFrame() { type = 1; }
    void setTypeAsOutLine() { type = 0; }
    // Stores a 0x00BBGGRR colour as blue, green, red; the reserved byte stays.
    void setColor(DWORD c);

    // A new node from a copy of the codes at the front of the holes. False,
    // nothing added, when it cannot be built or is not valid.
    bool addHoleAtHead(unsigned char* codes, int len, int startPos);
    // Puts hole at the front of the holes; false when no entry can be made.
    bool insertHoleAtHead(ExportOutLineTree* hole);
    // Puts hole second (first when there are none); false when no entry can
    // be made.
    bool insertHoleAfterHead(ExportOutLineTree* hole);
    // other's holes are deleted and replaced by this node's; this node is
    // left without holes.
    void moveReplaceHoles(ExportOutLineTree* other);
    // Appends other's holes behind this node's (order of both kept) and
    // leaves other without holes. Null other: nothing.
    void moveAddHolesToTail(ExportOutLineTree* other);
    // Unlinks the first hole and puts it at the front of other's holes; with a
    // null other the unlinked hole is deleted.
    void moveFirstHole(ExportOutLineTree* other);
    // With two holes or more and a first hole that has a tree: the holes
    // behind the first move behind the first hole's own holes.
    void moveHolesToFirstOne();

    // Paints node and all its holes into a 32-bit pixel buffer of width x
    // height: every pixel of a chain (the closing pixel not twice) gets the
    // node's colour, all four bytes. Offsets outside the buffer are skipped
    // (the offset is checked, not the coordinates, so a step off the first
    // column lands on the previous row's last pixel). Null node or buffer, or
    // a non-positive size: nothing.
    static void prnOutLinesToDIB(RGBQUAD* pixels, int width, int height, ExportOutLineTree* node);
};
