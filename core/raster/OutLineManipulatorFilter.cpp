// The four-quadrant colour filter.
#include <climits>
#include <cstdlib>
#include <cstring>

#include "platform/Gdi.h"
#include "raster/OutLineManipulator.h"
#include "raster/RGB4.h"
#include "raster/RasterAlloc.h"

namespace {

int clampToInt(long long v) {
    if (v > INT_MAX) return INT_MAX;
    if (v < INT_MIN) return INT_MIN;
    return static_cast<int>(v);
}

const RGBQUAD& quadrant(const RGB4& c, int q) {
    switch (q) {
        case 0:
            return c.up;
        case 1:
            return c.leftUp;
        case 2:
            return c.left;
        default:
            return c.own;
    }
}

int absDiff(int a, int b) {
    return a > b ? a - b : b - a;
}

}  // namespace

int OutLineManipulator::getCellUp(int i, int k) {
    return clampToInt(static_cast<long long>(i) + static_cast<long long>(width) * k);
}
int OutLineManipulator::getCellLeftUp(int i, int k) {
    return clampToInt(static_cast<long long>(i) + static_cast<long long>(width) * k - k);
}
int OutLineManipulator::getCellLeft(int i, int k) {
    return clampToInt(static_cast<long long>(i) - k);
}
int OutLineManipulator::getUp(int i) {
    return i + width;
}
int OutLineManipulator::getLeftUp(int i) {
    return i + width - 1;
}
int OutLineManipulator::getLeft(int i) {
    return i - 1;
}

POINT OutLineManipulator::getPointFromPos(int pos) {
    POINT p = {0, 0};
    if (width > 0) {
        p.x = pos % width;
        p.y = pos / width;
    }
    return p;
}

bool OutLineManipulator::isInRange(int pos, int m) {
    if (width <= 0) return false;
    int y = pos / width;
    int x = pos % width;
    return m <= y && y < height - m && m <= x && x < width - m;
}

void OutLineManipulator::setColor(RGBQUAD& dst, RGBQUAD color) {
    dst = color;
}

RGBQUAD OutLineManipulator::calcColor(RGBQUAD* pixels, int p, int k) {
    RGBQUAD out = {0, 0, 0, 0};
    if (k < 0) return out;
    long long r = 0, g = 0, b = 0;
    for (long long dx = 0; dx <= k; ++dx) {
        for (long long dy = 0; dy <= k; ++dy) {
            long long idx = p - dy * width + dx;
            if (idx < 0 || idx >= filterPixelCount) {
                out.rgbReserved = 1;
                return out;
            }
            b += pixels[idx].rgbBlue;
            g += pixels[idx].rgbGreen;
            r += pixels[idx].rgbRed;
        }
    }
    long long a = static_cast<long long>(k + 1) * (k + 1);
    out.rgbBlue = static_cast<BYTE>(b / a);
    out.rgbGreen = static_cast<BYTE>(g / a);
    out.rgbRed = static_cast<BYTE>(r / a);
    return out;
}

void OutLineManipulator::filter1(RGBQUAD* pixels, RGB4* cells, int, int count, int k) {
    for (int i = 0; i < count; ++i) {
        setColor(cells[i].up, calcColor(pixels, getCellUp(i, k), k));
        setColor(cells[i].leftUp, calcColor(pixels, getCellLeftUp(i, k), k));
        setColor(cells[i].left, calcColor(pixels, getCellLeft(i, k), k));
        setColor(cells[i].own, calcColor(pixels, i, k));
    }
    for (int i = 0; i < count; ++i) changeColor(pixels, cells, i);
}

int OutLineManipulator::chooseQuadrant(const RGB4* cells, int i) {
    const int w = width;
    // Per quadrant: three neighbours (the first is the diagonal one).
    const long long nb[4][3] = {
        {static_cast<long long>(i) + w + 1, i + 1LL, static_cast<long long>(i) + w},
        {static_cast<long long>(i) + w - 1, static_cast<long long>(i) + w, i - 1LL},
        {static_cast<long long>(i) - w - 1, i - 1LL, static_cast<long long>(i) - w},
        {static_cast<long long>(i) - w + 1, static_cast<long long>(i) - w, i + 1LL}};
    const RGB4& c = cells[i];
    int score[4];
    bool flagged[4];
    for (int q = 0; q < 4; ++q) {
        const RGBQUAD& mine = quadrant(c, q);
        int s = 0;
        for (int n = 0; n < 3; ++n) {
            long long idx = nb[q][n];
            RGBQUAD other = {0, 0, 0, 0};
            if (idx >= 0 && idx < filterPixelCount) other = quadrant(cells[idx], q);
            s += absDiff(other.rgbBlue, mine.rgbBlue) + absDiff(other.rgbGreen, mine.rgbGreen) +
                 absDiff(other.rgbRed, mine.rgbRed);
        }
        score[q] = s;
        long long d = nb[q][0];
        flagged[q] = d < 0 || d >= filterPixelCount || quadrant(cells[d], q).rgbReserved == 1;
    }
    int cur = 0;
    for (int q = 1; q < 4; ++q)
        if (flagged[cur] || (!flagged[q] && score[q] < score[cur])) cur = q;
    return cur;
}

void OutLineManipulator::changeColor(RGBQUAD* pixels, RGB4* cells, int i) {
    pixels[i] = quadrant(cells[i], chooseQuadrant(cells, i));
}

void OutLineManipulator::readColourTable(HDC dc, HBITMAP bitmap) {
    // The description stays at 32 bits; its colour table becomes the one the
    // bitmap's 8-bit lines use, read through an 8-bit copy and one line, so
    // that indices painted or restituted later (written through an 8-bit copy
    // of this description) mean the bitmap's colours.
    unsigned char copy[kBitmapInfoBytes];
    memcpy(copy, bitmapInfo, sizeof(copy));
    BITMAPINFO* eight = reinterpret_cast<BITMAPINFO*>(copy);
    eight->bmiHeader.biBitCount = 8;
    eight->bmiHeader.biCompression = BI_RGB;
    size_t stride = (static_cast<size_t>(width) + 3) & ~static_cast<size_t>(3);
    unsigned char* line = static_cast<unsigned char*>(calloc(stride, 1));
    if (!line) return;
    if (GetDIBits(dc, bitmap, 0, 1, line, eight, DIB_RGB_COLORS) == 1)
        memcpy(palette, copy + bitmapInfo->bmiHeader.biSize, 256 * sizeof(RGBQUAD));
    free(line);
}

bool OutLineManipulator::readFilterPixels(HDC dc, HBITMAP bitmap, RGBQUAD** buffers,
                                          int bufferCount) {
    for (int b = 0; b < bufferCount; ++b) buffers[b] = nullptr;
    free(bitmapInfo);
    bitmapInfo = nullptr;
    palette = nullptr;
    if (!allocBitmapInfo()) return false;
    hdc = dc;
    hBitmap = bitmap;
    if (!readHeader(dc, bitmap) || size > INT_MAX / 4) return false;
    filterPixelCount = size;
    BITMAPINFOHEADER& h = bitmapInfo->bmiHeader;
    h.biSizeImage = static_cast<DWORD>(4 * filterPixelCount);

    free(indexRaster);
    indexRaster = static_cast<unsigned char*>(rasteralloc::zeroed(static_cast<size_t>(size), 1));
    indexRasterSize = indexRaster ? size : 0;
    if (!indexRaster) {
        MessageCannotAllocate();
        return false;
    }
    for (int b = 0; b < bufferCount; ++b) {
        buffers[b] = static_cast<RGBQUAD*>(rasteralloc::zeroed(h.biSizeImage, 1));
        if (!buffers[b]) {
            for (int f = 0; f < b; ++f) {
                free(buffers[f]);
                buffers[f] = nullptr;
            }
            MessageCannotAllocate();
            return false;
        }
    }
    // Read 32-bit lines whatever the bitmap's own depth.
    h.biCompression = BI_RGB;
    h.biBitCount = 32;
    GetDIBits(dc, bitmap, 0, static_cast<UINT>(height), buffers[0], bitmapInfo, DIB_RGB_COLORS);
    palette = reinterpret_cast<RGBQUAD*>(reinterpret_cast<unsigned char*>(bitmapInfo) + h.biSize);
    readColourTable(dc, bitmap);
    return true;
}

bool OutLineManipulator::Filter(HBITMAP& bitmap, int k) {
    HDC dc = filterDC ? filterDC : hdc;
    RGBQUAD* pixels = nullptr;
    if (!readFilterPixels(dc, bitmap, &pixels, 1)) return false;
    bool ok = true;
    if (height >= 3 && width >= 3) {
        RGB4* cells = static_cast<RGB4*>(
            rasteralloc::zeroed(static_cast<size_t>(filterPixelCount), sizeof(RGB4)));
        if (!cells) {
            MessageCannotAllocate();
            ok = false;
        } else {
            filter1(pixels, cells, width, filterPixelCount, k);
            free(cells);
            SetDIBits(hdc, hBitmap, 0, static_cast<UINT>(height), pixels, bitmapInfo,
                      DIB_RGB_COLORS);
        }
    }
    free(pixels);
    return ok;
}
