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

struct RGB4;
struct AllOutLines;
class CClientDC;
class ExportOutLineTree;
class ListOfOutLines;
class Walker;
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
    // Writes an index raster of width x height packed bytes into the bitmap
    // through the device context, padding every row to 4 bytes as the 8-bit
    // lines require. The description (1064 bytes: header and 256 colours)
    // may have been left at 32 bits by Filter or FilterAdaptSmooth; the
    // raster is then written through an 8-bit copy of it, so that painting
    // and restitution after a filter reach the bitmap. False when the bitmap
    // cannot be written.
    static bool WriteIndexRaster(HDC hdc, HBITMAP bitmap, BITMAPINFO* info,
                                 const unsigned char* raster, int width, int height);

    // --- colour filters -------------------------------------------------
    // Edge-preserving smoothing of a bitmap: every pixel takes the mean of
    // the most uniform of the four (k + 1) x (k + 1) quadrants that have it as
    // a corner. Reads through filterDC (or, on objects without one, through
    // hdc). The bitmap is always read and written as 32-bit pixels: an 8-bit
    // bitmap is converted on the way in and its pixels take the nearest entry
    // of its own table on the way out. False, with the bitmap unchanged, when
    // the bitmap cannot be read or its size is unusable, or when a buffer
    // cannot be allocated ("Cannot allocate memory" in that case). A side
    // below 3 pixels: read, not changed, true.
    bool Filter(HBITMAP& bitmap, int k);
    // Like Filter, but the chosen quadrant's mean is extended along a run of
    // pixels beyond the quadrant that stay within the per-channel tolerance.
    // Reads through the view's client DC (or hdc when there is none).
    void FilterAdaptSmooth(HBITMAP& bitmap, int k);
    // The mean c extended along the run from p + (k + 1) * dy * width in
    // steps of dx over the unchanged source pixels.
    RGBQUAD setColorAdaptSmooth(RGBQUAD* source, RGBQUAD c, int p, int k, int dx, int dy);

    // --- spot weighting and colour restitution ---
    // Weight of every node: its pixelCount plus the weights of its child
    // list, kept in `tag` (a non-zero tag is taken as it is).
    void setContourWeight(ListOfOutLines* root);
    // (int)((0.05 * t) * size).
    int culcWeigtToler(double t);
    // Marks the nodes whose own share of their weight is at most tol with a
    // replacement outline in extraLink (visited along next in a loop).
    void eliminateSmallWeightSpots(ListOfOutLines* root, int tol);
    // Repaints indexRaster from the outlines alone and writes it into the
    // bitmap; restitutedCount = outlines drawn as barriers. Marks are undone
    // pixel by pixel between regions (the same result as clearing them).
    void restituteColors(ListOfOutLines* root, int minLen);

    // --- outline painting and validation ---
    void paintWhite();
    // Paints the outlines of a trace on white and writes the raster into the
    // bitmap. A record of another raster size is refused (nothing painted).
    // The list variant writes the caller's colour index into every pixel of
    // a painted outline (-1 meaning getBlack); the tree variant (mode 3)
    // writes each outline's nearest palette entry.
    void PaintOutLines(AllOutLines& record, int minLen, int maxLen, int colour);
    void PaintOutlines_pOl(ListOfOutLines* node, unsigned char colour, int minLen, int maxLen);
    void PaintOutlines_pOl(ExportOutLineTree* node, Walker& walker);
    bool checkLoops(ListOfOutLines* outline);
    bool checkSelfIntersect(ListOfOutLines* outline);
    bool checkOutLinesAll(ListOfOutLines* node);
    void elimDoublelines(ListOfOutLines* root, int radius);
    bool isOutLineOK(ListOfOutLines* outline);
    void markNeighborhood(ListOfOutLines* outline, int radius, int value);
    int GetMaxLen(AllOutLines& record);
    void GetMaxLen_(int& maximum, ListOfOutLines* node);

protected:
    void elimDoublelinesRec(ListOfOutLines* node, int radius);
    // Spot marking of one node (its siblings are handled by spotVisit).
    int spotOne(ListOfOutLines* node, ListOfOutLines*& out, int tol);
    int spotVisit(ListOfOutLines* node, ListOfOutLines*& out, int tol);
    int weightOf(ListOfOutLines* node);
    // Restitution helpers over a fill set.
    void restituteList(RegionFill& fill, ListOfOutLines* node, int minLen);
    void restituteRegion(RegionFill& fill, ListOfOutLines* node, int minLen);
    void restituteExport(RegionFill& fill, ExportOutLineTree* node, int minLen);
    void drawBarrier(RegionFill& fill, POINT start, const unsigned char* codes, int len);
    void fillFrom(RegionFill& fill, POINT start, const unsigned char* codes, int len);
    void drawInto(unsigned char* target, POINT start, const unsigned char* codes, int len,
                  unsigned char v);
    void filter1(RGBQUAD* pixels, RGB4* cells, int width, int count, int k);
    RGBQUAD calcColor(RGBQUAD* pixels, int p, int k);
    void changeColor(RGBQUAD* pixels, RGB4* cells, int i);
    void setColor(RGBQUAD& dst, RGBQUAD color);
    int getCellUp(int i, int k);
    int getCellLeftUp(int i, int k);
    int getCellLeft(int i, int k);
    int getUp(int i);
    int getLeftUp(int i);
    int getLeft(int i);
    POINT getPointFromPos(int pos);
    // m <= y < height - m and m <= x < width - m.
    bool isInRange(int pos, int m);
    void filterAdaptSmooth(RGBQUAD* pixels, RGB4* cells, int width, int count, int k,
                           RGBQUAD* source);
    void changeColorAdaptSmooth(RGBQUAD* pixels, RGB4* cells, int i, int k, RGBQUAD* source);
    // The quadrant (0 up, 1 leftUp, 2 left, 3 own) that changeColor takes.
    int chooseQuadrant(const RGB4* cells, int i);
    // Fills the colour table of the 32-bit description with the bitmap's
    // 8-bit table (see the source).
    void readColourTable(HDC dc, HBITMAP bitmap);
    // Re-reads the bitmap's header through dc and allocates a new index
    // raster and `buffers` pixel buffers (32-bit) holding its lines. False,
    // nothing kept, on failure (the message for allocation failures).
    bool readFilterPixels(HDC dc, HBITMAP bitmap, RGBQUAD** buffers, int buffers_count);

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
