// KvCtree: the contour-tree record of the companion library (KVCT64u) and the
// library's seven operations.
//
// A tree of closed outlines; every node is a frame (isFrame 1) or an outline
// (0) and lists its holes, which are KvCtree nodes themselves. The fields the
// system reads and writes sit at fixed byte offsets (checked below); the
// others are the library's. A whole tree (root, hole entries, child nodes,
// chain copies, point arrays) belongs to the library's allocator and is
// released by kvctr_deleteKvCtree on the root.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/WinTypes.h"

// Export macro of the companion library. On Windows the library's own build
// (CMake defines KVCT64u_EXPORTS there) exports, everyone else imports.
#if defined(_WIN32)
#if defined(KVCT64u_EXPORTS)
#define KVCT_API __declspec(dllexport)
#else
#define KVCT_API __declspec(dllimport)
#endif
#else
#define KVCT_API __attribute__((visibility("default")))
#endif

// One Bezier point: x then y.
struct KvPoint {
    double x;
    double y;
};

struct KVCT_API KvCtree {
    struct Holes {
        KvCtree* ctree;  // the hole's own node, owned by the entry
        Holes* next;     // next entry, null at the end
    };

    int isFrame;           //  0: 1 frame, 0 outline or hole
    int libFlags;          //  4: library
    Holes* holes;          //  8: first hole entry, null when none
    Holes* holesTail;      // 16: library: last hole entry
    int chainWidth;        // 24: library: raster width given to init
    int libReserved[4];    // 28: library
    int dirNum;            // 44: chain-code steps
    unsigned char* chain;  // 48: the codes (0..3), a copy owned by the tree
    int startOffset;       // 56: y * width + x of the start pixel
    int libReserved2;      // 60: library
    RGBQUAD color;         // 64: blue, green, red, 0
    int bezierCount;       // 68: 3 * segments + 1
    KvPoint* bezier;       // 72: bezierCount points

    // Sets dirNum = len, chain = a copy of the codes, startOffset = start and
    // remembers width. A previous chain is released. False when the copy
    // cannot be allocated (or len < 0, or codes null with len > 0); the node
    // then has no chain and dirNum 0.
    bool init(unsigned char* codes, int len, int start, int width);
    // Appends an entry with a fresh empty node to the hole list; null on failure.
    Holes* addTail();
    // Room for count points in `bezier` (zero-filled; a previous array is
    // released). On failure, or count < 1, bezier is null and the result false.
    bool newBezier(int count);
};

// The offsets of a 64-bit build, which hosts rely on; the WebAssembly build
// (32-bit pointers) keeps the tree inside its own module.
#if UINTPTR_MAX > 0xFFFFFFFFu
static_assert(offsetof(KvCtree, isFrame) == 0, "isFrame at 0");
static_assert(offsetof(KvCtree, holes) == 8, "holes at 8");
static_assert(offsetof(KvCtree, dirNum) == 44, "dirNum at 44");
static_assert(offsetof(KvCtree, chain) == 48, "chain at 48");
static_assert(offsetof(KvCtree, startOffset) == 56, "startOffset at 56");
static_assert(offsetof(KvCtree, color) == 64, "color at 64");
static_assert(offsetof(KvCtree, bezierCount) == 68, "bezierCount at 68");
static_assert(offsetof(KvCtree, bezier) == 72, "bezier at 72");
static_assert(offsetof(KvCtree::Holes, ctree) == 0 && offsetof(KvCtree::Holes, next) == 8,
              "hole entry layout");
#endif
static_assert(sizeof(KvPoint) == 16, "a point is two doubles");

// A new empty root node (all fields zero), or null when memory is short.
KVCT_API KvCtree* kvctr_newKvCtree();

// Releases a node and everything reachable from it. Null does nothing. Hole
// lists are walked in loops; only the nesting depth recurses.
KVCT_API void kvctr_deleteKvCtree(KvCtree* tree);

// Turns a tree traced on a raster stored bottom-up (row 0 = bottom row of the
// picture) into picture coordinates with the origin at the top left:
//  - startOffset: row y becomes height - 1 - y, the column stays;
//  - chain codes: 1 (+y) and 3 (-y) are exchanged, 0 and 2 stay (the chain
//    still starts at the flipped start pixel and stays closed; its turning
//    sense is mirrored);
//  - Bezier points: the system emits the centre of raster pixel (x, y) at
//    (x + 1.0, y + 1.0); a point (bx, by) becomes
//    (bx - 0.5, height - by + 0.5), so that picture pixel (X, Y) covers the
//    square [X, X+1] x [Y, Y+1] and traced pixel centres land on
//    (X + 0.5, Y + 0.5).
// Null tree or a non-positive size: nothing happens.
KVCT_API void flipShiftCTree(KvCtree* tree, int width, int height);

// Snaps every node's colour to the nearest entry of palette (distance: the
// largest difference of one of blue, green, red; the lowest index wins ties;
// the fourth byte of the node's colour stays 0). Null tree, null palette or
// count < 1: nothing happens.
KVCT_API void mergeIntoPalette(KvCtree* tree, RGBQUAD* palette, int count);
