// HierarchyWorker: the per-raster worker that cuts outlines into parts where
// their children run on them, and simplifies parts lists into simple loops.
//
// One byte per pixel (`map`) and one slot per position of the outline being
// split (`slotAt`) make every membership test a single lookup.
//
// Choices of this implementation:
// - `map` is never cleared in full: every write goes through setMap, which
//   records the pixels it dirtied, and clearing undoes exactly those (the
//   same result as zeroing the whole map). Debug builds check that the map is
//   clean whenever a split or a simplification starts.
// - The part walk runs on an explicit stack, so an outline with any number
//   of touching children is walked without deep recursion.
// - A scan that stops on a pixel marked as a segment start or a junction
//   whose position has no segment or junction in slotAt ends that walk
//   without a part.
// - Segments that cutSegment or buildJunctions drop are deleted; an outline
//   split a second time has its old parts released first.
// - A stretch of a child is accumulated into a part of its own (the
//   segments themselves are not changed).
#pragma once

#include "interface/Om1Export.h"
#include "tracer/Arc_.h"
#include "tracer/WalkPos.h"

class ListOfOutLines;
class OutlineIndex;
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

    // 0 when p is the outline's start, else the first 1 <= i < len at which
    // the walk from start stands on p; -10 when p is not on it.
    static int indexOnOutline(ListOfOutLines* outline, POINT p);
    // True when no pixel of the map is marked (checked in tests).
    bool mapIsCleanForTesting() const { return mapIsClean(); }

protected:
    // What a slot of slotAt holds.
    enum SlotKind : unsigned char { SlotNone = 0, SlotSegment = 1, SlotJunction = 2 };
    // The end of a scan along working: where it stopped (or ended) and the
    // pixel there; found is false for the -10 result.
    struct ScanResult {
        WalkPos pos;
        POINT pixel;
        bool found;
    };

    void scanChild(ListOfOutLines* C, bool& touched);
    void cutSegment(ListOfOutLines* C, int i, POINT prev);
    void markPixels(ListOfOutLines* outline, unsigned char v);
    void buildJunctions();
    void setJunctionSides();
    void walkParts(WalkPos pos, POINT P);
    ScanResult findStop(WalkPos pos, POINT P);
    ScanResult findNextStart(WalkPos pos, POINT P);
    ScanResult scan(WalkPos pos, POINT P, bool stopOnParent);
    void appendSegment(Segment* acc, Segment* seg);
    void appendParentPiece(Segment* acc, WalkPos from, WalkPos to, POINT P);
    ListOfOutLines* partFromSegment(Segment* acc, unsigned long colour);
    void simplifyParts(ListOfOutLines* node);
    // Returns the head of list when it is simple (unlinked), null otherwise
    // (the head was deleted or cut in two).
    ListOfOutLines* takeSimplePart(ListOfOutLines*& list);

    // The map and its undo list.
    // Inline: the part walk reads the map at every position of every child.
    unsigned char mapAt(POINT p) const {
        if (!map || p.x < 0 || p.y < 0 || width <= 0 || p.x >= width) return 0;
        long long off = static_cast<long long>(p.y) * width + p.x;
        return off < size ? map[off] : 0;
    }
    void setMap(POINT p, unsigned char v);
    // Room for `more` further pixels in the dirty list; false when it cannot
    // be had (setMap then records what it can).
    bool reserveDirty(int more);
    void clearMap();
    bool mapIsClean() const;
    // Appends n codes to acc (growing its buffer); false when memory is short.
    static bool appendCodes(Segment* acc, const unsigned char* codes, int n);
    // The slot kind and the slot of position i, checked.
    Junction* junctionAt(int i) const;
    Segment* segmentAt(int i) const;

    unsigned char* slotKind;  // owned: per position of working, what slotAt holds
    int* dirty;               // pixels written since the last clear
    int dirtyCount;
    int dirtyCapacity;
    bool dirtyOverflow;  // a pixel could not be recorded: clear the whole map

private:
    // indexOnOutline of the parent being split, from an index built on the
    // first look-up of a split.
    int indexOnParent(POINT p);

    OutlineIndex* parentIndex;  // owned; null until a split looks a pixel up
};
