// CntmTreeCreator: turns the outline tree of one trace into the containment
// tree of frames and holes.
//
// From the region node the builder goes outward along the chain of first
// children (the extern frames), wrapping the tree built so far into a new
// node at every step; every other child becomes a subtree by going inward.
// Where a region is bounded by outlines that touch their parent, the node
// becomes a frame whose holes are the region's parts; free holes are put into
// the part that contains them, found through a per-pixel owner map.
//
// Choices of this implementation:
// - Nothing is leaked: a free hole with no owner to its left is deleted, a
//   subtree still queued when the builder is destroyed is deleted, a hole
//   moved to a null node is deleted, and a subtree whose container is missing
//   (a frame without parts) is deleted.
// - The owner map is cleared by undoing the entries the last marking wrote
//   (same result as zeroing the whole map); debug builds check that the map
//   is clean when a marking starts.
#pragma once

#include "containment/Compare.h"
#include "containment/ExportOutLineTree.h"
#include "containment/ExportOutLinesStruct.h"
#include "containment/FreeHoleQueue.h"
#include "containment/Walker.h"
#include "interface/Om1Export.h"
#include "tracer/AllOutLines.h"

class ListOfOutLines;

class OM1_API CntmTreeCreator {
public:
    int width;
    int height;
    ExportOutLineTree** ownerMap;  // owned, width * height entries
    int mapBytes;
    bool valid;
    FreeHoleQueue freeHoleQueue;
    Walker* walker;  // owned

    CntmTreeCreator(int width, int height);
    virtual ~CntmTreeCreator();

    CntmTreeCreator(const CntmTreeCreator&) = delete;
    CntmTreeCreator& operator=(const CntmTreeCreator&) = delete;

    // Builds the tree of all.outLines into out.exportTree (a tree out held
    // before is deleted). False when the builder is not valid or the trace's
    // raster size differs; true with out untouched when there is no region
    // node. The outline tree is only read, except that the region node's
    // allHolesFree is set.
    bool createCntmTree(ExportOutLinesStruct& out, AllOutLines all);
    Compare cmp1and2_OL_4boundsTest(ListOfOutLines* first, ListOfOutLines* second);
    // Fills the outline's bounds from its start and codes.
    void set4Bounds(ListOfOutLines* outline);
    // Turns an export tree back into an outline list: a node with the
    // export node's colour, codes (moved out of the export node) and start,
    // followed by the converted holes, last hole first. Each converted hole
    // keeps the nodes its own conversion linked behind it (they follow it in
    // the list). A hole whose conversion fails is skipped.
    ListOfOutLines* convertToOldFasionTree(ExportOutLineTree* node);
    // Gives every frame below node the colour of its nearest enclosing node.
    void editExTree(ExportOutLineTree* node);

protected:
    ExportOutLineTree* createCntmTreeExpanding(ExportOutLineTree* prev, ListOfOutLines* L);
    ExportOutLineTree* createCntmTreeCollapsing(ListOfOutLines* L);

    ListOfOutLines* getExternFrame(ListOfOutLines* L);
    ListOfOutLines* getFirstFreeHole(ListOfOutLines* L);
    ListOfOutLines* getNextFreeHole(ListOfOutLines* C);
    ListOfOutLines* getFirstNonFreeHole(ListOfOutLines* L);
    ListOfOutLines* getNextNonFreeHole(ListOfOutLines* C);
    ListOfOutLines* getFirstNonExternFreeHole(ListOfOutLines* L);
    ListOfOutLines* getFirstNonExternNonFreeHole(ListOfOutLines* L);
    bool isFrameOutLine(ListOfOutLines* L);
    bool areAllHolesFree(ListOfOutLines* L);
    bool doesFrameBoundBitmap(ExportOutLineTree* S);

    void addFreeHolesWhenAllOfThemAreFree(ExportOutLineTree* T, ListOfOutLines* L);
    void addFreeHolesExceptExternWhenAllOfThemAreFree(ExportOutLineTree* T, ListOfOutLines* L);
    void addNonFreeHolesToFrame(ExportOutLineTree* T, ListOfOutLines* L);
    void addNonFreeHolesExceptExternToFrame(ExportOutLineTree* T, ListOfOutLines* L);
    void addPartsToFrame(ExportOutLineTree* T, ListOfOutLines* L);
    void addFrameToFrame(ExportOutLineTree* T, ExportOutLineTree* S);
    void addFrameToFirstHole(ExportOutLineTree* T, ExportOutLineTree* S);
    bool createEmptyFirstHole(ExportOutLineTree* T);
    void markFirstHoleAsFrame(ExportOutLineTree* T);
    void setLargestHoleFirst(ExportOutLineTree* T);
    void treatFreeHoles(ExportOutLineTree* T, ListOfOutLines* L);
    void treatFreeHolesExceptExtern(ExportOutLineTree* T, ListOfOutLines* L);
    void addFreeHolesToAppropriateParts();
    ExportOutLineTree* getContainer(ExportOutLineTree* S);

    void cleanBuffer();
    void markFrame(ExportOutLineTree* S);
    void markFrame(ExportOutLineTree* owner, ExportOutLineTree* S);
    void markHoles(ExportOutLineTree* T);

    void set4Bounds(ExportOutLineTree* node);
    Compare cmp1and2_OL_4boundsTest(ExportOutLineTree* first, ExportOutLineTree* second);
    void invertOutLineDir(unsigned char*& codes, int len);

    // Helpers of this implementation.
    int startPosOf(ListOfOutLines* L) const;
    // Adds the collapsed subtrees of L's free children (from the first, or
    // from the second child) to the front of T's holes.
    void addFreeHolesFrom(ExportOutLineTree* T, ListOfOutLines* first);
    void addNonFreeHolesFrom(ExportOutLineTree* T, ListOfOutLines* first);
    void treatFreeHolesFrom(ListOfOutLines* first);
    static Compare compareBoxes(const int* a, const int* b);

    // Offsets written by the markings since the last clean.
    int* marked;
    int markedCount;
    int markedCapacity;
    bool markedOverflow;  // an offset could not be recorded: clear everything
};
