// Ombrel: the region tracer.
//
// One tracer grows one region of similar colour from a seed pixel, follows
// its boundary and the boundaries of its holes, and hands the result out as
// an AllOutLines record; in mode 3 it then traces every other region of the
// image level by level below the seed region's outlines.
//
// Colours are DWORDs 0x00BBGGRR (red in the low byte). The visited map holds
// one byte per pixel; a pixel belongs to the region when its byte is non-zero.
//
// Choices of this implementation:
// - A visited pixel met by a first step or an arc that is not on the current
//   chain (it lies on a pending loop, a dropped loop or inside the region) is
//   treated as not acceptable: the first step skips that position, the arc
//   closes there as if the colour test had failed. So every cut and splice
//   works on a pixel of the chain and every stored loop stays closed.
// - The constructor from a bitmap handle reads the bitmap's 32-bit colours
//   into a buffer of its own (ownedColorRaster), so it can trace; it traces
//   in mode 2 (outer loop and holes, then repaints the region into the
//   bitmap) and has no hierarchy worker.
// - An outline whose level is traced twice has its old child list released.
#pragma once

#include "interface/Om1Export.h"
#include "platform/CObject.h"
#include "platform/CPoint.h"
#include "platform/WinTypes.h"
#include "tracer/AllOutLines.h"

class Arc_;
class BoundChain;
class ChainRing;
class ExportOutLineTree;
class HierarchyWorker;
class ListOfOutLines;
class OutLineManipulator;

class OM1_API Ombrel : public CObject {
public:
    // The result of DoOmbrel_.
    enum RetVal { Traced = 0, NotTraced = 1, LimitExceeded = 2 };

    int avgRadius;
    int sampleCount;
    // Sums of the sampled red, green and blue bytes. 64 bits: a region of
    // more than 2^32 / 255 (about 16.8 million) bright pixels would wrap a
    // 32-bit sum, and its running colour with it.
    long long sumRed;
    long long sumGreen;
    long long sumBlue;
    DWORD paletteSize;
    POINT seedPoint;
    BoundChain* chain;       // owned
    unsigned char* visited;  // owned, size bytes
    int mode;                // 1, 2 or 3
    bool valid;
    unsigned char* indexRaster;  // owned (taken over from the manipulator)
    RGBQUAD* colorRaster;        // borrowed (or ownedColorRaster)
    DWORD regionColor;
    Arc_* arc;                   // owned scratch arc
    ListOfOutLines* innerStack;  // owned, loops waiting to be grown, newest first
    int minOutlineLen;
    ListOfOutLines* resultHead;  // owned
    ListOfOutLines* resultTail;
    ListOfOutLines* root;  // owned
    HDC hdc;
    HBITMAP hBitmap;
    RGBQUAD* palette;
    BITMAPINFO* bitmapInfo;  // owned, 1064 bytes
    DWORD tolerance;
    int width;
    int height;
    int size;
    HierarchyWorker* hierarchyWorker;  // owned
    POINT failurePoint;
    int maxOutlines;
    int outlineCount;
    RGBQUAD* ownedColorRaster;  // owned: the colours read by the bitmap-handle constructor
    // Set by DoFirstStep: some position had an outward pixel in the raster,
    // not yet claimed and not the previous pixel of the loop. When a first
    // step found none, no other region colour can make one succeed.
    bool firstStepHadCandidate;

    // Takes over the manipulator's index raster (its field becomes null) and
    // borrows its colours, palette and handles. Valid when both rasters exist
    // and both sides are at least 3.
    explicit Ombrel(OutLineManipulator* olm);
    // Over a bitmap read through a device context; the int is not used.
    Ombrel(HBITMAP hBitmap, DWORD paletteSize, HDC hdc, int unused);
    ~Ombrel() override;

    Ombrel(const Ombrel&) = delete;
    Ombrel& operator=(const Ombrel&) = delete;

    bool isValid() const { return valid; }
    // Seed position number index (0 the centre, 1 to 8 a quarter of the size
    // away); an index outside 0..8 is taken as 0; clamped to the raster.
    CPoint generateInitPoint(int index, int width, int height);
    void setMousepos(CPoint p);

    bool IsPointValid(POINT p) const { return p.x >= 0 && p.x < width && p.y >= 0 && p.y < height; }
    static long GetOffset(int x, int y, int width) { return static_cast<long>(y) * width + x; }

    // One whole trace: 0 traced, 1 not traced (invalid tracer or seed
    // outside), 2 more outlines than maxOutlines (the record is left as it was).
    RetVal DoOmbrel_(AllOutLines& all, CPoint seed, int maxOutlines);
    // -1 invalid, -7 seed outside, 1 otherwise.
    int DoOmbrel(AllOutLines& all, CPoint seed);
    // Always null: the containment tree is built by CntmTreeCreator.
    ExportOutLineTree* createOutLineOutPutTree(AllOutLines& all);
    // Traces the region on the far side of an outline and makes its outlines
    // the outline's children. False when the outline limit is exceeded.
    bool GenerateNextLevelOutlines(ListOfOutLines* outline);

    // True when walking ol's codes from its start ends on its start.
    bool testloop(ListOfOutLines* ol);

    // --- outline lists for hosts (none of them is used by the pipeline) ---
    // Total len of list, of every node behind it and of everything below.
    static int getTotalPointNum(ListOfOutLines* list);
    // Number of nodes without a child list in the same walk.
    int getOLnumber(ListOfOutLines* list);
    // Closure test of an outline (false for null).
    bool checkOutLine(ListOfOutLines* outline);
    // The flat list of one export node (its codes moved) followed by copies
    // of its holes in reverse order, all in the node's colour; holes of
    // holes are not converted. The export tree is deleted and node set null.
    static ListOfOutLines* convertExpIntoOldOl(ExportOutLineTree*& node, int width);

    // --- colour measure (the top byte of a colour is ignored) ---
    static DWORD ColorDist(DWORD a, DWORD b);
    static DWORD ColorDist(DWORD a, BYTE red, BYTE green, BYTE blue);
    // Index of the nearest palette entry; the lowest index among equally near
    // ones; 0 for an empty or null palette.
    static BYTE GetNearestColor(DWORD color, RGBQUAD* palette, DWORD count);
    // The last index from 1 on whose distance exceeds that of entry 0; else 0.
    static BYTE GetContrastColor(DWORD color, RGBQUAD* palette, DWORD count);

protected:
    // --- state, visited map, colours and statistics ---
    void Initialization(POINT& seed);
    // The pixel accessors below are inline: the tracer calls them for every
    // pixel it tests.
    bool GetColor(DWORD& color, int x, int y) {
        if (x < 0 || x >= width || y < 0 || y >= height || !colorRaster) return false;
        const RGBQUAD& q = colorRaster[GetOffset(x, y, width)];
        color = static_cast<DWORD>(q.rgbRed) | static_cast<DWORD>(q.rgbGreen) << 8 |
                static_cast<DWORD>(q.rgbBlue) << 16;
        return true;
    }
    int GetVisited(int offset) {
        if (!visited || offset < 0 || offset >= size) return 0;
        return visited[offset];
    }
    void SetVisited(int offset, int value);
    void SetVisited(POINT p);
    int VisitedReached(POINT p) { return VisitedReached(p.x, p.y); }
    int VisitedReached(int x, int y) {
        if (x < 0 || x >= width || y < 0 || y >= height) return 0;
        return GetVisited(static_cast<int>(GetOffset(x, y, width)));
    }
    bool IsColorAcceptable(DWORD color) {
        for (int shift = 0; shift <= 16; shift += 8) {
            int a = static_cast<int>((color >> shift) & 0xFF);
            int b = static_cast<int>((regionColor >> shift) & 0xFF);
            int d = a > b ? a - b : b - a;
            if (static_cast<DWORD>(d) > tolerance) return false;
        }
        return true;
    }
    DWORD GetPointAvarageColor(POINT p, int radius);
    void AddColorOfPoint(POINT p);
    void UpdateRegionColor();
    void RePaintRegion();
    void TestDIBits(CPoint p);

    // --- boundary following ---
    POINT GetNextPoint(int code, POINT p);
    bool IsPointOK(bool addColor, POINT p);
    bool IsPointOK(bool addColor, POINT p, bool& met);
    bool TwoStepsOK(int outward, int along, POINT q);
    int DoFirstStep();
    int createAddArc();
    int addArcToOutline();
    bool DoOneOutline();
    bool SaveInnerOutline();
    void PaintInnerOutLines(BYTE index);
    void PaintSQ(POINT p, BYTE index, BYTE side);
    // Splices the arc into the chain at chain pixel k; false when the chain
    // cannot be grown to hold the result (nothing changed then).
    bool spliceArc(int k);

    // --- intersection solving and checks ---
    bool SolveOneStepIntersect(int d2, POINT p);
    void SolveIntersect(int k);
    bool checkLoopValid();
    bool checkNoOpposDirs();
    int generalCheckVisitedOnlyOnce();
    void ShowFailurePoint();

    // --- outline coverage and normalisation (the map is width x height) ---
    int getPointIndex(ListOfOutLines* outline, POINT p);
    void normalizeOutLine(ListOfOutLines* outline, POINT p, int index);
    void markOutline(unsigned char* map, ListOfOutLines* outline, int value);
    int checkOutlineCovered(unsigned char* map, ListOfOutLines* outline, int value);
    int findEndCoincidence(unsigned char* map, ListOfOutLines* outline, POINT& hit);
    bool checkCoveredByChilds(unsigned char* map, ListOfOutLines* outline);

    // --- hierarchy generation ---
    bool generateAllOutlines(ListOfOutLines* list);
    bool GenerateInitBoundChain(ListOfOutLines* outline);
    ListOfOutLines* delSmallOutlines(ListOfOutLines*& list);

    void clearState();

private:
    // The growth of one loop, written once for both forms of the chain: the
    // BoundChain fields (the single-step operations above) and the ChainRing
    // working copy that DoOneOutline grows a loop in.
    template <class Chain>
    int firstStepOn(Chain& c);
    template <class Chain>
    int arcOn(Chain& c);
    template <class Chain>
    int growthStepOn(Chain& c);
    bool spliceOn(BoundChain& c, int k);
    bool spliceOn(ChainRing& r, int k);
    bool cutFirstStepOn(BoundChain& c, int d2, POINT p, int k);
    bool cutFirstStepOn(ChainRing& r, int d2, POINT p, int k);
    bool cutArcOn(BoundChain& c, int k);
    bool cutArcOn(ChainRing& r, int k);

    // The colour IsPointOK measures at p (the pixel's own at radius 0,
    // without a call), and adding a colour so measured to the region's sums
    // (what AddColorOfPoint does).
    DWORD colourAround(POINT p) {
        if (avgRadius != 0) return GetPointAvarageColor(p, avgRadius);
        DWORD c = 0;
        GetColor(c, p.x, p.y);
        return c;
    }
    void addColour(DWORD c) {
        ++sampleCount;
        sumRed += c & 0xFF;
        sumGreen += (c >> 8) & 0xFF;
        sumBlue += (c >> 16) & 0xFF;
    }

    // The positions of a new level's chain whose outward pixel is claimed
    // already, in walk order, as the sampling pass meets them: where the
    // first step could cut. `afterCandidate`: an unclaimed outward pixel
    // came before. Owned; grown as chains grow.
    struct ClaimedStep {
        int index;
        POINT p;
        int d2;
        bool afterCandidate;
    };
    ClaimedStep* claimed;
    int claimedCapacity;
    // The first step with a colour that accepts no outward pixel of the
    // chain, on the ring as loaded: only a claimed outward pixel on the
    // chain can stop it (a cut). What firstStepOn(*ring) returns then,
    // without walking the positions between.
    int firstStepRejectingAll(int claimedCount, bool metUnclaimed);

    ChainRing* ring;  // owned; null until the first loop grows
    // The ring holds exactly the chain's loop (codes, start, end) as a load
    // would give it: set when a new level's first step found its region on
    // the ring, so that the loop grows without loading the ring again.
    bool ringHoldsChain;
    // Whether the ring can be used for the chain as it stands: it holds the
    // chain already, or it is loaded from it now.
    bool ringReadyFor(const BoundChain& c);
};
