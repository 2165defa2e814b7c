// The five entry points: the whole pipeline on the caller's thread.
#include "interface/om1.h"

#include <climits>
#include <new>

#include "containment/CntmTreeCreator.h"
#include "containment/ExportOutLinesStruct.h"
#include "interface/kvMngr.h"
#include "platform/Gdi.h"
#include "raster/OutLineManipulator.h"
#include "tracer/AllOutLines.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"

namespace {

// Retries of om1_kvTrace1H: each raises the tolerance by 5 percent, so 21
// calls cover every tolerance from the caller's value up to 100 percent and
// beyond (where the low byte wraps); an image that yields nothing by then
// never will.
const int kMaxHandleRetries = 21;

// True when width x height is a raster the pipeline can handle. The
// containment tree's owner map (one pointer a pixel, its byte count an int)
// is the narrowest: 268,435,455 pixels. A larger picture would be traced in
// full (minutes) and then refused there; it is refused here at once.
bool sizeUsable(int width, int height) {
    if (width <= 0 || height <= 0) return false;
    return static_cast<long long>(width) * height <=
           INT_MAX / static_cast<long long>(sizeof(void*));
}

// The colour tolerance from percent: (int)(percent x 2.55), of which the
// tracer uses only the low byte, so values above 100 wrap (105 gives 267,
// low byte 11). The product is truncated in 64 bits, where every int's
// product fits; a value outside the int range is handed on as its low byte,
// which is all that is read of it. So every int, INT_MAX and INT_MIN
// included, gives a defined tolerance (INT_MAX gives 99, INT_MIN 154).
int toleranceFromPercent(int percent) {
    long long t = static_cast<long long>(percent * 2.55);
    if (t > INT_MAX || t < INT_MIN) return static_cast<int>(t & 0xFF);
    return static_cast<int>(t);
}

void releaseOutlines(AllOutLines& all) {
    delete all.outLines;
    all.outLines = nullptr;
}

int traceBmp(KvCtree*& outTree, RGBQUAD* pixels, int width, int height, int tolerancePercent,
             int minOutlineLen, int maxOutlines, int curveTolerance) {
    outTree = nullptr;
    AllOutLines all;
    int tol = toleranceFromPercent(tolerancePercent);
    if (!pixels || !sizeUsable(width, height)) return OM1_TRACE_NO_OUTLINES;

    int result = 1;
    for (int i = 0; i < 9; ++i) {
        OutLineManipulator* olm =
            new (std::nothrow) OutLineManipulator(pixels, width, height, tol, minOutlineLen, 3, 0);
        if (!olm) continue;
        Ombrel* tracer = new (std::nothrow) Ombrel(olm);
        if (!tracer) {
            delete olm;
            continue;
        }
        if (!tracer->isValid()) {
            delete tracer;
            delete olm;
            continue;
        }
        CPoint seed = tracer->generateInitPoint(i, width, height);
        releaseOutlines(all);
        result = tracer->DoOmbrel_(all, seed, maxOutlines);
        delete tracer;
        bool found = all.outLines && all.outLines->parts;
        delete olm;
        if (found) break;
    }

    if (result == 2) {
        releaseOutlines(all);
        return OM1_TRACE_LIMIT_EXCEEDED;
    }
    if (result != 0 || !all.outLines || !all.outLines->parts) {
        releaseOutlines(all);
        return OM1_TRACE_NO_OUTLINES;
    }

    ExportOutLinesStruct* exported = new (std::nothrow) ExportOutLinesStruct(nullptr, width);
    CntmTreeCreator* creator = new (std::nothrow) CntmTreeCreator(width, height);
    bool built = exported && creator && creator->createCntmTree(*exported, all);
    releaseOutlines(all);
    if (!built) {
        delete creator;
        delete exported;
        return OM1_TRACE_NO_OUTLINES;
    }

    ExportOutLineTree* r = exported->exportTree;
    kvMngr manager(width, height);
    manager.delSmallOutLn(minOutlineLen, r);
    manager.createKvCTree(outTree, r, width);
    manager.convBmToBezierRecurs(outTree, curveTolerance, width);
    delete creator;
    delete exported;
    return OM1_TRACE_DONE;
}

}  // namespace

int om1_kvTrace1Bmp(KvCtree*& outTree, RGBQUAD* pixels, int width, int height, int tolerancePercent,
                    int minOutlineLen, int maxOutlines, int curveTolerance, double /*reserved*/) {
    try {
        return traceBmp(outTree, pixels, width, height, tolerancePercent, minOutlineLen,
                        maxOutlines, curveTolerance);
    } catch (...) {
        // Nothing in the pipeline throws; this keeps any surprise inside.
        outTree = nullptr;
        return OM1_TRACE_NO_OUTLINES;
    }
}

int om1_kvTrace1BmpLeftTop(KvCtree*& outTree, RGBQUAD* pixels, int width, int height,
                           int tolerancePercent, RGBQUAD* palette, int paletteCount,
                           int minOutlineLen, int maxOutlines, int curveTolerance,
                           double reserved) {
    int r = om1_kvTrace1Bmp(outTree, pixels, width, height, tolerancePercent, minOutlineLen,
                            maxOutlines, curveTolerance, reserved);
    if (r == 0) flipShiftCTree(outTree, width, height);
    if (palette && paletteCount != 0) mergeIntoPalette(outTree, palette, paletteCount);
    return r;
}

namespace {

// Reads a bitmap handle's description; false unless it is a 32-bit DIB
// section with pixels of a usable size.
bool readDibSection(HBITMAP hBitmap, BITMAP& bm) {
    if (GetObjectW(hBitmap, sizeof(BITMAP), &bm) != static_cast<int>(sizeof(BITMAP))) return false;
    if (!bm.bmBits || bm.bmBitsPixel != 32) return false;
    // A top-down section (negative height) is addressed with its size.
    return sizeUsable(bm.bmWidth, bm.bmHeight < 0 ? -bm.bmHeight : bm.bmHeight);
}

}  // namespace

int om1_kvTrace1H(KvCtree*& outTree, HBITMAP hBitmap, int tolerancePercent, int minOutlineLen,
                  int maxOutlines, int curveTolerance, double reserved) {
    if (!hBitmap) return OM1_TRACE_DONE;
    BITMAP bm = {};
    if (!readDibSection(hBitmap, bm)) {
        outTree = nullptr;
        return OM1_TRACE_NO_OUTLINES;
    }
    int height = bm.bmHeight < 0 ? -bm.bmHeight : bm.bmHeight;
    int r = OM1_TRACE_NO_OUTLINES;
    for (int attempt = 0; attempt < kMaxHandleRetries; ++attempt) {
        r = om1_kvTrace1Bmp(outTree, static_cast<RGBQUAD*>(bm.bmBits), bm.bmWidth, height,
                            tolerancePercent, minOutlineLen, maxOutlines, curveTolerance, reserved);
        if (r == 0) break;
        // Modular, so that a caller's INT_MAX wraps instead of overflowing.
        tolerancePercent = static_cast<int>(static_cast<unsigned>(tolerancePercent) + 5u);
        if (r == 2) maxOutlines = maxOutlines > INT_MAX / 2 ? INT_MAX : maxOutlines * 2;
    }
    return r;
}

int om1_kvTrace1HLeftTop(KvCtree*& outTree, HBITMAP hBitmap, int tolerancePercent, RGBQUAD* palette,
                         int paletteCount, int minOutlineLen, int maxOutlines, int curveTolerance,
                         double reserved) {
    if (!hBitmap) return OM1_TRACE_DONE;
    BITMAP bm = {};
    GetObjectW(hBitmap, sizeof(BITMAP), &bm);
    int r = om1_kvTrace1H(outTree, hBitmap, tolerancePercent, minOutlineLen, maxOutlines,
                          curveTolerance, reserved);
    if (r == 0) flipShiftCTree(outTree, bm.bmWidth, bm.bmHeight < 0 ? -bm.bmHeight : bm.bmHeight);
    if (palette && paletteCount != 0) mergeIntoPalette(outTree, palette, paletteCount);
    return r;
}

void om1_delKvCTree(KvCtree*& outTree) {
    if (outTree) kvctr_deleteKvCtree(outTree);
    outTree = nullptr;
}
