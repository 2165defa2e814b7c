// Construction of the working raster and its small operations.
#include "raster/OutLineManipulator.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/AfxMessageBox.h"
#include "platform/CClientDC.h"
#include "platform/Gdi.h"
#include "raster/RasterAlloc.h"
#include "raster/RegionFill.h"
#include "tracer/Ombrel.h"

namespace {
DWORD greyTolerance(int t) {
    DWORD b = static_cast<DWORD>(t) & 0xFF;
    return b | b << 8 | b << 16;
}
}  // namespace

int OutLineManipulator::usableSize(long long w, long long h) {
    if (w <= 0 || h <= 0 || w * h > INT_MAX) return 0;
    return static_cast<int>(w * h);
}

void OutLineManipulator::clearFields() {
    restitutedCount = 0;
    regionFill = nullptr;
    clientDC = nullptr;
    filterDC = nullptr;
    hdc = nullptr;
    hBitmap = nullptr;
    bitmapInfo = nullptr;
    width = height = size = 0;
    palette = nullptr;
    paletteSize = 0;
    mode = 0;
    tolerance = 0;
    minOutlineLen = 0;
    avgRadius = 0;
    indexRaster = nullptr;
    colorRaster = nullptr;
    indexRasterSize = 0;
    filterPixelCount = 0;
    ownsColorRaster = false;
}

bool OutLineManipulator::allocBitmapInfo() {
    bitmapInfo = static_cast<BITMAPINFO*>(rasteralloc::zeroed(kBitmapInfoBytes, 1));
    if (!bitmapInfo) {
        MessageCannotAllocate();
        return false;
    }
    return true;
}

bool OutLineManipulator::readHeader(HDC dc, HBITMAP bitmap) {
    BITMAPINFOHEADER& h = bitmapInfo->bmiHeader;
    h.biBitCount = 0;
    h.biSize = sizeof(BITMAPINFOHEADER);
    if (!GetDIBits(dc, bitmap, 0, 1, nullptr, bitmapInfo, DIB_RGB_COLORS)) return false;
    long long rows = h.biHeight < 0 ? -static_cast<long long>(h.biHeight) : h.biHeight;
    size = usableSize(h.biWidth, rows);
    if (size == 0) return false;
    width = h.biWidth;
    height = static_cast<int>(rows);
    h.biSizeImage = static_cast<DWORD>(size);
    return true;
}

bool OutLineManipulator::readIndexRaster() {
    BITMAPINFOHEADER& h = bitmapInfo->bmiHeader;
    indexRaster = static_cast<unsigned char*>(rasteralloc::zeroed(static_cast<size_t>(size), 1));
    if (!indexRaster) {
        MessageCannotAllocate();
        return false;
    }
    indexRasterSize = size;
    h.biCompression = BI_RGB;
    h.biBitCount = 8;
    paletteSize = h.biClrUsed ? static_cast<int>(h.biClrUsed) : 256;
    if (paletteSize > 256) paletteSize = 256;
    palette = reinterpret_cast<RGBQUAD*>(reinterpret_cast<unsigned char*>(bitmapInfo) + h.biSize);

    // The device context pads every row to 4 bytes; read with that stride and
    // repack to width bytes a row when the two differ.
    size_t stride = (static_cast<size_t>(width) + 3) & ~static_cast<size_t>(3);
    if (stride == static_cast<size_t>(width)) {
        GetDIBits(hdc, hBitmap, 0, static_cast<UINT>(height), indexRaster, bitmapInfo,
                  DIB_RGB_COLORS);
        return true;
    }
    unsigned char* padded =
        static_cast<unsigned char*>(rasteralloc::zeroed(stride * static_cast<size_t>(height), 1));
    if (!padded) {
        free(indexRaster);
        indexRaster = nullptr;
        indexRasterSize = 0;
        MessageCannotAllocate();
        return false;
    }
    GetDIBits(hdc, hBitmap, 0, static_cast<UINT>(height), padded, bitmapInfo, DIB_RGB_COLORS);
    for (int y = 0; y < height; ++y)
        memcpy(indexRaster + static_cast<size_t>(y) * width, padded + y * stride,
               static_cast<size_t>(width));
    free(padded);
    return true;
}

OutLineManipulator::OutLineManipulator() {
    clearFields();
}

OutLineManipulator::OutLineManipulator(RGBQUAD* pixels, int width_, int height_, int tolerance_,
                                       int minOutlineLen_, int mode_, int avgRadius_) {
    clearFields();
    mode = mode_;
    avgRadius = avgRadius_;
    colorRaster = pixels;
    tolerance = greyTolerance(tolerance_);
    int n = usableSize(width_, height_);
    if (!pixels || n == 0) return;  // nothing to read: no rasters

    if (!allocBitmapInfo()) return;
    BITMAPINFOHEADER& h = bitmapInfo->bmiHeader;
    h.biSize = sizeof(BITMAPINFOHEADER);
    h.biWidth = width_;
    h.biHeight = height_;
    h.biSizeImage = static_cast<DWORD>(n);
    width = width_;
    height = height_;
    size = n;

    indexRaster = static_cast<unsigned char*>(rasteralloc::zeroed(static_cast<size_t>(size), 1));
    if (!indexRaster) {
        MessageCannotAllocate();
        return;
    }
    indexRasterSize = size;
    paletteSize = h.biClrUsed ? static_cast<int>(h.biClrUsed) : 256;
    palette = reinterpret_cast<RGBQUAD*>(reinterpret_cast<unsigned char*>(bitmapInfo) + h.biSize);
    if (height >= 3 && width >= 3) minOutlineLen = minOutlineLen_;
}

OutLineManipulator::OutLineManipulator(HDC hdc_, HBITMAP hBitmap_) {
    clearFields();
    filterDC = hdc = hdc_;
    hBitmap = hBitmap_;
    ownsColorRaster = true;
    if (!allocBitmapInfo()) return;
    palette = reinterpret_cast<RGBQUAD*>(reinterpret_cast<unsigned char*>(bitmapInfo) +
                                         sizeof(BITMAPINFOHEADER));
    paletteSize = 256;
    readHeader(hdc, hBitmap);
}

OutLineManipulator::OutLineManipulator(HDC hdc_, HBITMAP hBitmap_, int tolerance_,
                                       int minOutlineLen_, int mode_, int avgRadius_) {
    clearFields();
    mode = mode_;
    ownsColorRaster = true;
    tolerance = greyTolerance(tolerance_);
    avgRadius = avgRadius_;
    hdc = hdc_;
    hBitmap = hBitmap_;
    if (!allocBitmapInfo()) return;
    if (!readHeader(hdc, hBitmap)) return;
    if (!readIndexRaster()) return;
    if (height >= 3 && width >= 3) minOutlineLen = minOutlineLen_;
}

OutLineManipulator::OutLineManipulator(CView* view, HBITMAP hBitmap_, DWORD tolerance_,
                                       int minOutlineLen_, int mode_) {
    clearFields();
    mode = mode_;
    clientDC = new (std::nothrow) CClientDC(view);
    hdc = clientDC ? clientDC->m_hDC : nullptr;
    hBitmap = hBitmap_;
    ownsColorRaster = true;
    tolerance = tolerance_;
    if (!clientDC) {
        MessageCannotAllocate();
        return;
    }
    if (!allocBitmapInfo()) return;
    if (!readHeader(hdc, hBitmap)) return;
    if (!readIndexRaster()) return;
    if (height >= 3 && width >= 3) {
        colorRaster =
            static_cast<RGBQUAD*>(rasteralloc::zeroed(static_cast<size_t>(size), sizeof(RGBQUAD)));
        if (!colorRaster) {
            MessageCannotAllocate();
            return;
        }
        for (int i = 0; i < size; ++i) {
            const RGBQUAD& c = palette[indexRaster[i]];
            colorRaster[i].rgbBlue = c.rgbBlue;
            colorRaster[i].rgbGreen = c.rgbGreen;
            colorRaster[i].rgbRed = c.rgbRed;
        }
        minOutlineLen = minOutlineLen_;
        regionFill = new (std::nothrow) RegionFill(width, height);
        if (!regionFill) MessageCannotAllocate();
    }
}

OutLineManipulator::~OutLineManipulator() {
    free(indexRaster);
    free(bitmapInfo);
    delete clientDC;
    delete regionFill;
    if (ownsColorRaster) free(colorRaster);
}

bool OutLineManipulator::creatDIBitmap() {
    return true;
}

unsigned char OutLineManipulator::getBlack() {
    return Ombrel::GetNearestColor(0x000000, palette,
                                   static_cast<DWORD>(palette ? paletteSize : 0));
}

unsigned char OutLineManipulator::getWhite() {
    return Ombrel::GetNearestColor(0xFFFFFF, palette,
                                   static_cast<DWORD>(palette ? paletteSize : 0));
}

CPoint OutLineManipulator::generateInitpoint() {
    return CPoint(width / 2, height / 2);
}

void OutLineManipulator::MessageCannotAllocate() {
    AfxMessageBox("Cannot allocate memory", MB_OK, 0);
}

bool OutLineManipulator::WriteIndexRaster(HDC dc, HBITMAP bitmap, BITMAPINFO* info,
                                          const unsigned char* raster, int w, int h) {
    if (!info || !raster || w <= 0 || h <= 0) return false;
    // A description left at 32 bits by a colour filter is written through an
    // 8-bit copy of it: same size, same colour table, no compression.
    BITMAPINFO* eight = info;
    unsigned char copy[kBitmapInfoBytes];
    if (info->bmiHeader.biBitCount != 8 || info->bmiHeader.biCompression != BI_RGB) {
        memcpy(copy, info, sizeof(copy));
        eight = reinterpret_cast<BITMAPINFO*>(copy);
        eight->bmiHeader.biBitCount = 8;
        eight->bmiHeader.biCompression = BI_RGB;
    }
    size_t stride = (static_cast<size_t>(w) + 3) & ~static_cast<size_t>(3);
    if (stride == static_cast<size_t>(w))
        return SetDIBits(dc, bitmap, 0, static_cast<UINT>(h), raster, eight, DIB_RGB_COLORS) > 0;
    unsigned char* padded = static_cast<unsigned char*>(calloc(stride * h, 1));
    if (!padded) return false;
    for (int y = 0; y < h; ++y)
        memcpy(padded + y * stride, raster + static_cast<size_t>(y) * w, static_cast<size_t>(w));
    bool ok = SetDIBits(dc, bitmap, 0, static_cast<UINT>(h), padded, eight, DIB_RGB_COLORS) > 0;
    free(padded);
    return ok;
}
