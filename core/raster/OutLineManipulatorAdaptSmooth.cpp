// The adaptive smoothing filter: the chosen quadrant's mean extended along a
// run of similar source pixels.
#include <climits>
#include <cstdlib>
#include <cstring>

#include "platform/CClientDC.h"
#include "platform/Gdi.h"
#include "raster/OutLineManipulator.h"
#include "raster/RGB4.h"
#include "raster/RasterAlloc.h"

namespace {

// Quadrant directions (up, leftUp, left, own), pointing away from the pixel.
const int kDx[4] = {1, -1, -1, 1};
const int kDy[4] = {1, 1, -1, -1};

int absDiff(int a, int b) {
    return a > b ? a - b : b - a;
}

}  // namespace

RGBQUAD OutLineManipulator::setColorAdaptSmooth(RGBQUAD* source, RGBQUAD c, int p, int k, int dx,
                                                int dy) {
    if (!source || k < 0) return c;
    const int tolRed = static_cast<int>(tolerance & 0xFF);
    const int tolGreen = static_cast<int>((tolerance >> 8) & 0xFF);
    const int tolBlue = static_cast<int>((tolerance >> 16) & 0xFF);
    long long a = static_cast<long long>(k + 1) * (k + 1);
    long long r = 0, g = 0, b = 0, n = 0;
    long long base = static_cast<long long>(p) + static_cast<long long>(k + 1) * dy * width;
    for (long long j = 0;; ++j) {
        long long q = base + j * dx;
        if (q < INT_MIN || q > INT_MAX || !isInRange(static_cast<int>(q), k)) break;
        const RGBQUAD& s = source[q];
        if (absDiff(c.rgbRed, s.rgbRed) > tolRed || absDiff(c.rgbGreen, s.rgbGreen) > tolGreen ||
            absDiff(c.rgbBlue, s.rgbBlue) > tolBlue)
            break;
        r += s.rgbRed;
        g += s.rgbGreen;
        b += s.rgbBlue;
        ++n;
    }
    if (n == 0) return c;
    RGBQUAD out = c;
    out.rgbRed = static_cast<BYTE>((c.rgbRed * a + r) / (a + n));
    out.rgbGreen = static_cast<BYTE>((c.rgbGreen * a + g) / (a + n));
    out.rgbBlue = static_cast<BYTE>((c.rgbBlue * a + b) / (a + n));
    return out;
}

void OutLineManipulator::changeColorAdaptSmooth(RGBQUAD* pixels, RGB4* cells, int i, int k,
                                                RGBQUAD* source) {
    int q = chooseQuadrant(cells, i);
    const RGBQUAD c = q == 0   ? cells[i].up
                      : q == 1 ? cells[i].leftUp
                      : q == 2 ? cells[i].left
                               : cells[i].own;
    pixels[i] = setColorAdaptSmooth(source, c, i, k, kDx[q], kDy[q]);
}

void OutLineManipulator::filterAdaptSmooth(RGBQUAD* pixels, RGB4* cells, int, int count, int k,
                                           RGBQUAD* source) {
    for (int i = 0; i < count; ++i) {
        setColor(cells[i].up, calcColor(pixels, getCellUp(i, k), k));
        setColor(cells[i].leftUp, calcColor(pixels, getCellLeftUp(i, k), k));
        setColor(cells[i].left, calcColor(pixels, getCellLeft(i, k), k));
        setColor(cells[i].own, calcColor(pixels, i, k));
    }
    for (int i = 0; i < count; ++i) changeColorAdaptSmooth(pixels, cells, i, k, source);
}

void OutLineManipulator::FilterAdaptSmooth(HBITMAP& bitmap, int k) {
    HDC dc = clientDC && clientDC->m_hDC ? clientDC->m_hDC : hdc;
    RGBQUAD* buffers[2] = {nullptr, nullptr};
    if (!readFilterPixels(dc, bitmap, buffers, 2)) return;
    RGBQUAD* pixels = buffers[0];
    RGBQUAD* source = buffers[1];
    memcpy(source, pixels, static_cast<size_t>(filterPixelCount) * sizeof(RGBQUAD));
    if (height >= 3 && width >= 3) {
        RGB4* cells = static_cast<RGB4*>(
            rasteralloc::zeroed(static_cast<size_t>(filterPixelCount), sizeof(RGB4)));
        if (!cells) {
            MessageCannotAllocate();
        } else {
            filterAdaptSmooth(pixels, cells, width, filterPixelCount, k, source);
            free(cells);
            SetDIBits(hdc, hBitmap, 0, static_cast<UINT>(height), pixels, bitmapInfo,
                      DIB_RGB_COLORS);
        }
    }
    free(pixels);
    free(source);
}
