// HierarchyWorker: the per-raster worker that cuts outlines into parts where
// their children run on them, and simplifies parts lists into simple loops.
//
// One byte per pixel (`map`) and one slot per position of the outline being
// split (`slotAt`) make every membership test a single lookup.
#pragma once

#include "interface/Om1Export.h"
#include "tracer/Arc_.h"

class ListOfOutLines;
struct Junction;
struct Segment;

class OM1_API HierarchyWorker {
public:
    Junction* junctions;     // owned: the junctions of the current split
    Arc_ stepper;            // supplies step()
    ListOfOutLines* parent;  // the outline being split, not owned
    int width;
    unsigned char* map;  // owned, size bytes
    int size;
    void** slotAt;            // owned: per position of working, a Segment or a Junction
    Segment* segments;        // owned: the segments of the current split
    ListOfOutLines* working;  // owned: reversed copy of parent

    // Allocates map (size zero bytes) and `working` (colour 0xff0000). With a
    // size below 1 or a failed allocation map stays null and no split is made.
    HierarchyWorker(int size, int width);
    ~HierarchyWorker();

    HierarchyWorker(const HierarchyWorker&) = delete;
    HierarchyWorker& operator=(const HierarchyWorker&) = delete;

    // A new node of src's colour with a copy of its codes, len and start, and
    // paletteIndex, color, tag and pixelCount copied; kind 1. Null for a null
    // src or when memory is short.
    static ListOfOutLines* copyOutline(ListOfOutLines* src);
    // Replaces the codes by their reversal (r[i] = opposite(c[len-1-i]));
    // start unchanged. Null outline: nothing.
    void reverseOutline(ListOfOutLines* outline);

    // Computes outline->parts (closed loops pushed at the front) and the
    // isFrame / allHolesFree flags of the outline's children.
    void splitIntoParts(ListOfOutLines* outline);
    // The post-pass: visits node, the rest of its next list and, below each,
    // its child list, and rebuilds every visited parts list into simple loops.
    void simplifyAllParts(ListOfOutLines* node);
};
