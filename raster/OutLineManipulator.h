// OutLineManipulator: one image in the forms that tracing and the raster
// operations need: an 8-bit palette-index raster, a 32-bit colour raster, the
// BITMAPINFO with its colour table, the bitmap handles and the tracing
// parameters. A tracer built from it takes over `indexRaster` (the field is
// set to null) and borrows `colorRaster`, `palette` and the handles, so the
// object must outlive the tracer. The class is not copyable.
//
// Bad input never reaches an allocation: a null pixel buffer, a bitmap that
// cannot be read, a side of zero or less, or width x height beyond the range
// of int build an object without rasters (width, height and size 0), on which
// any tracer is invalid. A failed allocation shows "Cannot allocate memory"
// once and leaves an object that destroys cleanly.
//
// Bitmaps read through a device context: the index raster holds the rows in
// the bitmap's memory order (the header's signed height is kept, so a
// top-down bitmap is read top-down); `height` is the number of rows. The
// 8-bit rows, padded to 4 bytes by the device context, are repacked to
// `width` bytes a row, so any width is served.
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
    int restitutedCount;     // count left by the last restituteColors
    RegionFill* regionFill;  // owned; view constructor only
    CClientDC* clientDC;     // owned; view constructor only
    HDC filterDC;            // size-only constructor's DC, read by Filter
    HDC hdc;                 // device context of the bitmap
    HBITMAP hBitmap;         // the bitmap the raster operations write back
    BITMAPINFO* bitmapInfo;  // owned, 1064 bytes (header + 256 entries)
    int width;
    int height;
    int size;                    // width * height
    RGBQUAD* palette;            // colour table inside bitmapInfo
    int paletteSize;             // biClrUsed, or 256 where that is 0
    int mode;                    // trace mode handed to the tracer: 1, 2 or 3
    DWORD tolerance;             // per-channel tolerance, 0x00BBGGRR
    int minOutlineLen;           // set only when both sides are >= 3
    int avgRadius;               // seed-colour averaging half-size
    unsigned char* indexRaster;  // owned until a tracer takes it over
    RGBQUAD* colorRaster;        // owned when ownsColorRaster
    int indexRasterSize;         // bytes allocated for indexRaster
    Arc_ arc;                    // embedded chain-code buffer
    int filterPixelCount;        // set by the filters
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

    // Does nothing; true.
    bool creatDIBitmap();
    unsigned char getBlack();
    unsigned char getWhite();
    // (width / 2, height / 2).
    CPoint generateInitpoint();
    // Shows "Cannot allocate memory" with an OK button.
    void MessageCannotAllocate();

protected:
    // Every field to its empty value (no buffers, sizes 0).
    void clearFields();
    // Allocates bitmapInfo (1064 zero bytes); message and false on failure.
    bool allocBitmapInfo();
    // Header query through hdc; sets width, height, size and biSizeImage.
    // False (sizes 0) when the bitmap cannot be read or its size is unusable.
    bool readHeader(HDC dc, HBITMAP bitmap);
    // Allocates indexRaster and reads the bitmap as 8-bit indices into it,
    // filling the colour table. Message and false on allocation failure.
    bool readIndexRaster();
    // width x height when both are positive and the product fits an int; else 0.
    static int usableSize(long long width, long long height);
};
