// Construction, the visited map, colours, region statistics and seeds.
#include "tracer/Ombrel.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/Gdi.h"
#include "raster/OutLineManipulator.h"
#include "tracer/BoundChain.h"
#include "tracer/ChainRing.h"
#include "tracer/HierarchyWorker.h"
#include "tracer/ListOfOutLines.h"

namespace {
const unsigned kChainCapacity = 100000;
const int kBitmapInfoBytes = 1064;
}  // namespace

void Ombrel::clearState() {
    avgRadius = 0;
    sampleCount = sumRed = sumGreen = sumBlue = 0;
    paletteSize = 0;
    seedPoint = POINT{0, 0};
    chain = nullptr;
    visited = nullptr;
    mode = 3;
    valid = false;
    indexRaster = nullptr;
    colorRaster = nullptr;
    regionColor = 0;
    arc = nullptr;
    innerStack = nullptr;
    minOutlineLen = 0;
    resultHead = resultTail = root = nullptr;
    hdc = nullptr;
    hBitmap = nullptr;
    palette = nullptr;
    bitmapInfo = nullptr;
    tolerance = 0;
    width = height = size = 0;
    hierarchyWorker = nullptr;
    failurePoint = POINT{-1, -1};
    maxOutlines = 300;
    outlineCount = 0;
    ownedColorRaster = nullptr;
    firstStepHadCandidate = false;
    ring = nullptr;
    ringHoldsChain = false;
    claimed = nullptr;
    claimedCapacity = 0;
}

Ombrel::Ombrel(OutLineManipulator* olm) {
    clearState();
    if (!olm) return;
    avgRadius = olm->avgRadius;
    mode = olm->mode;
    bitmapInfo = static_cast<BITMAPINFO*>(calloc(kBitmapInfoBytes, 1));
    if (bitmapInfo && olm->bitmapInfo) memcpy(bitmapInfo, olm->bitmapInfo, kBitmapInfoBytes);
    hdc = olm->hdc;
    hBitmap = olm->hBitmap;
    width = olm->width;
    height = olm->height;
    size = olm->size;
    hierarchyWorker = new (std::nothrow) HierarchyWorker(size, width);
    chain = new (std::nothrow) BoundChain(kChainCapacity, kChainCapacity, width);
    arc = new (std::nothrow) Arc_(kChainCapacity, kChainCapacity, width);
    tolerance = olm->tolerance & 0xFF;
    paletteSize = static_cast<DWORD>(olm->paletteSize > 0 ? olm->paletteSize : 0);
    indexRaster = olm->indexRaster;
    olm->indexRaster = nullptr;
    colorRaster = olm->colorRaster;
    palette = olm->palette;
    if (size > 0) visited = static_cast<unsigned char*>(calloc(static_cast<size_t>(size), 1));
    // Valid without a colour raster (a manipulator read from a bitmap handle
    // with parameters keeps none): GetColor then fails and every pixel's
    // average colour is 0.
    if (indexRaster && visited && height >= 3 && width >= 3 && chain && chain->codes && arc &&
        arc->codes && hierarchyWorker && hierarchyWorker->map && hierarchyWorker->working) {
        valid = true;
        // A negative minimum length acts as 0: every loop long enough to be
        // an outline (see DoOneOutline) is stored.
        minOutlineLen = olm->minOutlineLen < 0 ? 0 : olm->minOutlineLen;
        failurePoint = POINT{-1, -1};
    }
}

Ombrel::Ombrel(HBITMAP hBitmap_, DWORD paletteSize_, HDC hdc_, int) {
    clearState();
    mode = 2;
    hdc = hdc_;
    hBitmap = hBitmap_;
    tolerance = 0x404040;
    paletteSize = paletteSize_ > 256 ? 256 : paletteSize_;
    bitmapInfo = static_cast<BITMAPINFO*>(calloc(kBitmapInfoBytes, 1));
    if (!bitmapInfo) return;
    BITMAPINFOHEADER& h = bitmapInfo->bmiHeader;
    h.biSize = sizeof(BITMAPINFOHEADER);
    h.biBitCount = 0;
    if (!GetDIBits(hdc, hBitmap, 0, 1, nullptr, bitmapInfo, DIB_RGB_COLORS)) return;
    long long rows = h.biHeight < 0 ? -static_cast<long long>(h.biHeight) : h.biHeight;
    if (h.biWidth <= 0 || rows <= 0 || h.biWidth * rows > INT_MAX / 4) return;
    width = h.biWidth;
    height = static_cast<int>(rows);
    size = width * height;
    chain = new (std::nothrow) BoundChain(kChainCapacity, kChainCapacity, width);
    arc = new (std::nothrow) Arc_(kChainCapacity, kChainCapacity, width);

    // The 32-bit colours, in the same row order as the index raster.
    ownedColorRaster = static_cast<RGBQUAD*>(calloc(static_cast<size_t>(size), sizeof(RGBQUAD)));
    if (ownedColorRaster) {
        h.biBitCount = 32;
        h.biCompression = BI_RGB;
        if (GetDIBits(hdc, hBitmap, 0, static_cast<UINT>(height), ownedColorRaster, bitmapInfo,
                      DIB_RGB_COLORS) != height) {
            free(ownedColorRaster);
            ownedColorRaster = nullptr;
        }
    }
    colorRaster = ownedColorRaster;

    // The 8-bit index raster, read with padded rows and repacked.
    size_t stride = (static_cast<size_t>(width) + 3) & ~static_cast<size_t>(3);
    unsigned char* padded = static_cast<unsigned char*>(calloc(stride * height, 1));
    indexRaster = static_cast<unsigned char*>(calloc(static_cast<size_t>(size), 1));
    if (padded && indexRaster) {
        h.biBitCount = 8;
        h.biCompression = BI_RGB;
        GetDIBits(hdc, hBitmap, 0, static_cast<UINT>(height), padded, bitmapInfo, DIB_RGB_COLORS);
        for (int y = 0; y < height; ++y)
            memcpy(indexRaster + static_cast<size_t>(y) * width, padded + y * stride,
                   static_cast<size_t>(width));
    } else {
        free(indexRaster);
        indexRaster = nullptr;
    }
    free(padded);
    palette = reinterpret_cast<RGBQUAD*>(reinterpret_cast<unsigned char*>(bitmapInfo) + h.biSize);
    visited = static_cast<unsigned char*>(calloc(static_cast<size_t>(size), 1));
    if (indexRaster && visited && colorRaster && size != 0 && width >= 3 && height >= 3 && chain &&
        chain->codes && arc && arc->codes) {
        valid = true;
        minOutlineLen = 9;
    }
}

Ombrel::~Ombrel() {
    delete chain;
    // The scratch arc is always a plain Arc_ (Arc_ keeps no virtual destructor).
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdelete-non-virtual-dtor"
    delete arc;
#pragma GCC diagnostic pop
    free(visited);
    delete innerStack;
    delete resultHead;
    delete root;
    free(bitmapInfo);
    free(indexRaster);
    delete hierarchyWorker;
    free(ownedColorRaster);
    delete ring;
    delete[] claimed;
}

CPoint Ombrel::generateInitPoint(int index, int w, int h) {
    if (index < 0 || index > 8) index = 0;
    int qx = w / 4, qy = h / 4, cx = w / 2, cy = h / 2;
    static const int kX[9] = {0, -1, -1, -1, 0, 1, 1, 1, 0};
    static const int kY[9] = {0, -1, 0, 1, 1, 1, 0, -1, -1};
    int x = cx + kX[index] * qx;
    int y = cy + kY[index] * qy;
    if (x > w - 1) x = w - 1;
    if (x < 0) x = 0;
    if (y > h - 1) y = h - 1;
    if (y < 0) y = 0;
    return CPoint(x, y);
}

void Ombrel::setMousepos(CPoint p) {
    seedPoint = p;
    POINT q = p;
    if (valid) Initialization(q);
}

// A non-zero value increments the pixel's count, saturating at 255 instead
// of wrapping: a count that wrapped to 0 would drop a claimed pixel from the
// region. Tracing never counts a pixel past 1 (each pixel is claimed once;
// the far-side probe's claim is cleared with 0), so the two readings agree
// on every trace; only a host calling this 256 times on one pixel sees the
// difference.
void Ombrel::SetVisited(int offset, int value) {
    if (!visited || offset < 0 || offset >= size) return;
    if (value) {
        if (visited[offset] < 255) ++visited[offset];
    } else {
        visited[offset] = 0;
    }
}

void Ombrel::SetVisited(POINT p) {
    if (IsPointValid(p)) SetVisited(static_cast<int>(GetOffset(p.x, p.y, width)), 1);
}

DWORD Ombrel::GetPointAvarageColor(POINT p, int radius) {
    if (radius == 0) {
        // One pixel: its own colour (the mean of one sample).
        DWORD c = 0;
        GetColor(c, p.x, p.y);
        return c;
    }
    long long s0 = 0, s1 = 0, s2 = 0, n = 0;
    for (int dx = -radius; dx <= radius; ++dx) {
        for (int dy = -radius; dy <= radius; ++dy) {
            long long x = static_cast<long long>(p.x) + dx;
            long long y = static_cast<long long>(p.y) + dy;
            if (x < 0 || x >= width || y < 0 || y >= height) continue;
            long long off = y * width + x;
            if (off < 0 || off >= size) continue;
            DWORD c = 0;
            GetColor(c, static_cast<int>(x), static_cast<int>(y));
            s0 += c & 0xFF;
            s1 += (c >> 8) & 0xFF;
            s2 += (c >> 16) & 0xFF;
            ++n;
        }
    }
    if (n == 0) return 0;
    return static_cast<DWORD>(s0 / n) | static_cast<DWORD>(s1 / n) << 8 |
           static_cast<DWORD>(s2 / n) << 16;
}

void Ombrel::AddColorOfPoint(POINT p) {
    addColour(colourAround(p));
}

void Ombrel::UpdateRegionColor() {
    if (sampleCount == 0) return;
    const long long n = sampleCount;
    regionColor = static_cast<DWORD>(sumRed / n) | static_cast<DWORD>(sumGreen / n) << 8 |
                  static_cast<DWORD>(sumBlue / n) << 16;
}

void Ombrel::RePaintRegion() {
    if (!indexRaster || !visited) return;
    BYTE index = GetNearestColor(regionColor, palette, palette ? paletteSize : 0);
    for (int i = 0; i < size; ++i)
        if (visited[i]) indexRaster[i] = index;
}

void Ombrel::TestDIBits(CPoint p) {
    if (!indexRaster) return;
    for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
            POINT q = {p.x + dx, p.y + dy};
            if (IsPointValid(q)) indexRaster[GetOffset(q.x, q.y, width)] = 0;
        }
    if (palette) {
        palette[0].rgbRed = 250;
        palette[0].rgbGreen = 0;
        palette[0].rgbBlue = 0;
    }
}

void Ombrel::Initialization(POINT& seed) {
    if (seed.x == 0) seed.x = 1;
    if (seed.x == width - 1) seed.x = width - 2;
    if (seed.y == 0) seed.y = 1;
    if (seed.y == height - 1) seed.y = height - 2;
    DWORD c = 0;
    if (GetColor(c, seed.x, seed.y)) regionColor = c;
    chain->count = 0;
    chain->rotation = 0;
    AddColorOfPoint(seed);
    SetVisited(seed);
    POINT q = {seed.x - 1, seed.y + 1};
    AddColorOfPoint(q);
    SetVisited(q);
    chain->end = chain->start = q;
    static const int kRing[8] = {0, 0, 3, 3, 2, 2, 1, 1};
    for (unsigned i = 0; i < 8; ++i) {
        chain->append(kRing[i], i);
        if (i < 7) {
            AddColorOfPoint(chain->end);
            SetVisited(chain->end);
        }
    }
    AddColorOfPoint(q);
    chain->rotation = 0;
    UpdateRegionColor();
}
