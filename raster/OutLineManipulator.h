// OutLineManipulator: one image in the forms that tracing and the raster
// operations need: an 8-bit palette-index raster, a 32-bit colour raster, the
// BITMAPINFO with its colour table, the bitmap handles and the tracing
// parameters. A tracer built from it takes over `indexRaster` (the field is
// set to null) and borrows `colorRaster`, `palette` and the handles, so the
// object must outlive the tracer. The class is not copyable.
#pragma once

#include "interface/Om1Export.h"
#include "platform/CPoint.h"
#include "platform/WinTypes.h"
#include "tracer/Arc_.h"

class CClientDC;
class CView;
class RegionFill;

class OM1_API OutLineManipulator {
public:
    int restitutedCount;        // count left by the last restituteColors
    RegionFill* regionFill;     // owned; view constructor only
    CClientDC* clientDC;        // owned; view constructor only
    HDC filterDC;               // size-only constructor's DC, read by Filter
    HDC hdc;                    // device context of the bitmap
    HBITMAP hBitmap;            // the bitmap the raster operations write back
    BITMAPINFO* bitmapInfo;     // owned, 1064 bytes (header + 256 entries)
    int width;
    int height;
    int size;                   // width * height
    RGBQUAD* palette;           // colour table inside bitmapInfo
    int paletteSize;            // biClrUsed, or 256 where that is 0
    int mode;                   // trace mode handed to the tracer: 1, 2 or 3
    DWORD tolerance;            // per-channel tolerance, 0x00BBGGRR
    int minOutlineLen;          // set only when both sides are >= 3
    int avgRadius;              // seed-colour averaging half-size
    unsigned char* indexRaster; // owned until a tracer takes it over
    RGBQUAD* colorRaster;       // owned when ownsColorRaster
    int indexRasterSize;        // bytes allocated for indexRaster
    Arc_ arc;                   // embedded chain-code buffer
    int filterPixelCount;       // set by the filters
    bool ownsColorRaster;

    // Size of the bitmap description: the 40-byte header and 256 entries.
    static const int kBitmapInfoBytes = 1064;

    OutLineManipulator();
    OutLineManipulator(RGBQUAD* pixels, int width, int height, int tolerance, int minOutlineLen,
                       int mode, int avgRadius);
    OutLineManipulator(HDC hdc, HBITMAP hBitmap);
    OutLineManipulator(HDC hdc, HBITMAP hBitmap, int tolerance, int minOutlineLen, int mode,
                       int avgRadius);
    OutLineManipulator(CView* view, HBITMAP hBitmap, DWORD tolerance, int minOutlineLen, int mode);
    virtual ~OutLineManipulator();

    OutLineManipulator(const OutLineManipulator&) = delete;
    OutLineManipulator& operator=(const OutLineManipulator&) = delete;

    bool creatDIBitmap();
    unsigned char getBlack();
    unsigned char getWhite();
    CPoint generateInitpoint();
    void MessageCannotAllocate();
};
