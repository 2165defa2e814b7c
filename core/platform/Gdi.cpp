#include "platform/Gdi.h"

#if defined(_WIN32)

namespace {
// The 1x1 bitmap every new memory device context starts with.
HGDIOBJ initialBitmap() {
    static const HGDIOBJ stock = [] {
        HDC dc = CreateCompatibleDC(nullptr);
        HGDIOBJ b = dc ? GetCurrentObject(dc, OBJ_BITMAP) : nullptr;
        if (dc) DeleteDC(dc);
        return b;
    }();
    return stock;
}
}  // namespace

HBITMAP GetSelectedBitmap(HDC hdc) {
    HGDIOBJ current = hdc ? GetCurrentObject(hdc, OBJ_BITMAP) : nullptr;
    if (!current || current == initialBitmap()) return nullptr;
    return static_cast<HBITMAP>(current);
}

#else  // the in-memory stand-in

#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <unordered_set>

struct HBITMAP__ {
    int width;
    int height;  // rows, positive
    bool topDown;
    int bitCount;  // 8 or 32
    int stride;    // bytes a row, padded to 4
    unsigned char* bits;
    RGBQUAD colors[256];
    int colorCount;
};

struct HDC__ {
    HBITMAP selected;
};

namespace {

std::mutex g_lock;
std::unordered_set<const void*>& liveBitmaps() {
    static std::unordered_set<const void*> s;
    return s;
}
std::unordered_set<const void*>& liveDCs() {
    static std::unordered_set<const void*> s;
    return s;
}

bool isBitmap(const void* h) {
    std::lock_guard<std::mutex> g(g_lock);
    return h && liveBitmaps().count(h) != 0;
}
bool isDC(const void* h) {
    std::lock_guard<std::mutex> g(g_lock);
    return h && liveDCs().count(h) != 0;
}

// Padded bytes of one row; 0 when it does not fit an int.
int rowStride(int width, int bitCount) {
    long long bitsPerRow = static_cast<long long>(width) * bitCount;
    long long stride = ((bitsPerRow + 31) / 32) * 4;
    return stride > INT_MAX ? 0 : static_cast<int>(stride);
}

const BYTE kLevels3[8] = {0, 36, 73, 109, 146, 182, 219, 255};
const BYTE kLevels2[4] = {0, 85, 170, 255};

struct FixedPalette {
    RGBQUAD entries[256];
    FixedPalette() {
        for (int i = 0; i < 256; ++i) {
            entries[i].rgbRed = kLevels3[(i >> 5) & 7];
            entries[i].rgbGreen = kLevels3[(i >> 2) & 7];
            entries[i].rgbBlue = kLevels2[i & 3];
            entries[i].rgbReserved = 0;
        }
    }
};
const FixedPalette g_fixed;

int nearestLevel(BYTE v, const BYTE* levels, int n) {
    int best = 0;
    int bestDist = 256;
    for (int i = 0; i < n; ++i) {
        int d = v > levels[i] ? v - levels[i] : levels[i] - v;
        if (d < bestDist) {
            bestDist = d;
            best = i;
        }
    }
    return best;
}

int channelDist(BYTE a, BYTE b) {
    return a > b ? a - b : b - a;
}

BYTE nearestEntry(const RGBQUAD& c, const RGBQUAD* table, int count) {
    int best = 0;
    int bestDist = INT_MAX;
    for (int i = 0; i < count; ++i) {
        int d = channelDist(c.rgbRed, table[i].rgbRed);
        int g = channelDist(c.rgbGreen, table[i].rgbGreen);
        int b = channelDist(c.rgbBlue, table[i].rgbBlue);
        if (g > d) d = g;
        if (b > d) d = b;
        if (d < bestDist) {
            bestDist = d;
            best = i;
        }
    }
    return static_cast<BYTE>(best);
}

// The colour table follows the header (biSize bytes from the start).
RGBQUAD* colorTable(BITMAPINFO* pbmi) {
    return reinterpret_cast<RGBQUAD*>(reinterpret_cast<unsigned char*>(pbmi) +
                                      pbmi->bmiHeader.biSize);
}
const RGBQUAD* colorTable(const BITMAPINFO* pbmi) {
    return reinterpret_cast<const RGBQUAD*>(reinterpret_cast<const unsigned char*>(pbmi) +
                                            pbmi->bmiHeader.biSize);
}

int tableCount(const BITMAPINFOHEADER& h) {
    return h.biClrUsed == 0 || h.biClrUsed > 256 ? 256 : static_cast<int>(h.biClrUsed);
}

// Memory row of the bitmap that holds the picture row `fromBottom`.
int memoryRow(const HBITMAP__* b, int fromBottom) {
    return b->topDown ? b->height - 1 - fromBottom : fromBottom;
}

// Checks a caller's header for a line transfer and returns its row stride.
bool transferFormat(const HBITMAP__* b, const BITMAPINFOHEADER& h, int& stride) {
    if (h.biSize < sizeof(BITMAPINFOHEADER)) return false;
    if (h.biBitCount != 8 && h.biBitCount != 32) return false;
    if (h.biCompression != BI_RGB) return false;
    int w = h.biWidth < 0 ? -h.biWidth : h.biWidth;
    if (w != b->width || h.biHeight == 0) return false;
    stride = rowStride(b->width, h.biBitCount);
    return stride > 0;
}

}  // namespace

const RGBQUAD* GdiFixedPalette() {
    return g_fixed.entries;
}

BYTE GdiFixedPaletteIndex(BYTE red, BYTE green, BYTE blue) {
    int r = nearestLevel(red, kLevels3, 8);
    int g = nearestLevel(green, kLevels3, 8);
    int b = nearestLevel(blue, kLevels2, 4);
    return static_cast<BYTE>(r << 5 | g << 2 | b);
}

HBITMAP CreateDIBSection(HDC, const BITMAPINFO* pbmi, UINT, void** ppvBits, HANDLE, DWORD) {
    if (ppvBits) *ppvBits = nullptr;
    if (!pbmi) return nullptr;
    const BITMAPINFOHEADER& h = pbmi->bmiHeader;
    if (h.biSize < sizeof(BITMAPINFOHEADER) || h.biWidth <= 0 || h.biHeight == 0 ||
        h.biHeight == INT_MIN || (h.biBitCount != 8 && h.biBitCount != 32) ||
        h.biCompression != BI_RGB)
        return nullptr;
    int rows = h.biHeight < 0 ? -h.biHeight : h.biHeight;
    int stride = rowStride(h.biWidth, h.biBitCount);
    if (stride == 0 || static_cast<long long>(stride) * rows > INT_MAX) return nullptr;

    HBITMAP__* b = new (std::nothrow) HBITMAP__();
    if (!b) return nullptr;
    b->bits = static_cast<unsigned char*>(calloc(static_cast<size_t>(stride) * rows, 1));
    if (!b->bits) {
        delete b;
        return nullptr;
    }
    b->width = h.biWidth;
    b->height = rows;
    b->topDown = h.biHeight < 0;
    b->bitCount = h.biBitCount;
    b->stride = stride;
    if (b->bitCount == 8) {
        b->colorCount = tableCount(h);
        memcpy(b->colors, colorTable(pbmi), sizeof(RGBQUAD) * b->colorCount);
    }
    {
        std::lock_guard<std::mutex> g(g_lock);
        liveBitmaps().insert(b);
    }
    if (ppvBits) *ppvBits = b->bits;
    return b;
}

BOOL DeleteObject(HGDIOBJ object) {
    HBITMAP__* b = static_cast<HBITMAP__*>(object);
    {
        std::lock_guard<std::mutex> g(g_lock);
        if (!b || liveBitmaps().erase(b) == 0) return FALSE;
        for (const void* dc : liveDCs()) {
            HDC__* d = const_cast<HDC__*>(static_cast<const HDC__*>(dc));
            if (d->selected == b) d->selected = nullptr;
        }
    }
    free(b->bits);
    delete b;
    return TRUE;
}

HDC CreateCompatibleDC(HDC) {
    HDC__* d = new (std::nothrow) HDC__();
    if (!d) return nullptr;
    std::lock_guard<std::mutex> g(g_lock);
    liveDCs().insert(d);
    return d;
}

BOOL DeleteDC(HDC hdc) {
    {
        std::lock_guard<std::mutex> g(g_lock);
        if (!hdc || liveDCs().erase(hdc) == 0) return FALSE;
    }
    delete hdc;
    return TRUE;
}

HGDIOBJ SelectObject(HDC hdc, HGDIOBJ object) {
    if (!isDC(hdc) || (object && !isBitmap(object))) return nullptr;
    HBITMAP old = hdc->selected;
    hdc->selected = static_cast<HBITMAP>(object);
    return old;
}

HBITMAP GetSelectedBitmap(HDC hdc) {
    return isDC(hdc) ? hdc->selected : nullptr;
}

int GetObjectW(HANDLE h, int count, LPVOID pv) {
    if (!isBitmap(h)) return 0;
    if (!pv) return static_cast<int>(sizeof(BITMAP));
    if (count < static_cast<int>(sizeof(BITMAP))) return 0;
    const HBITMAP__* b = static_cast<const HBITMAP__*>(h);
    BITMAP bm;
    bm.bmType = 0;
    bm.bmWidth = b->width;
    bm.bmHeight = b->height;
    bm.bmWidthBytes = b->stride;
    bm.bmPlanes = 1;
    bm.bmBitsPixel = static_cast<WORD>(b->bitCount);
    bm.bmBits = b->bits;
    memcpy(pv, &bm, sizeof(BITMAP));
    return static_cast<int>(sizeof(BITMAP));
}

int GetDIBits(HDC, HBITMAP hbm, UINT start, UINT lines, LPVOID bits, BITMAPINFO* pbmi, UINT) {
    if (!isBitmap(hbm) || !pbmi) return 0;
    const HBITMAP__* b = hbm;
    BITMAPINFOHEADER& h = pbmi->bmiHeader;
    if (h.biSize < sizeof(BITMAPINFOHEADER)) return 0;

    if (!bits) {
        if (h.biBitCount != 0) return 0;
        h.biWidth = b->width;
        h.biHeight = b->height;
        h.biPlanes = 1;
        h.biBitCount = static_cast<WORD>(b->bitCount);
        h.biCompression = BI_RGB;
        h.biSizeImage = static_cast<DWORD>(b->stride) * static_cast<DWORD>(b->height);
        h.biClrUsed = 0;
        return 1;
    }

    int dstStride = 0;
    if (!transferFormat(b, h, dstStride)) return 0;
    if (start >= static_cast<UINT>(b->height)) return 0;
    int n = static_cast<int>(lines < static_cast<UINT>(b->height) - start
                                 ? lines
                                 : static_cast<UINT>(b->height) - start);
    bool dstTopDown = h.biHeight < 0;
    unsigned char* out = static_cast<unsigned char*>(bits);

    const RGBQUAD* table8 = nullptr;
    if (h.biBitCount == 8) {
        if (b->bitCount == 32) {
            table8 = g_fixed.entries;
        } else {
            static const RGBQUAD kBlack = {0, 0, 0, 0};
            RGBQUAD* dst = colorTable(pbmi);
            for (int i = 0; i < 256; ++i) dst[i] = i < b->colorCount ? b->colors[i] : kBlack;
        }
        if (table8) memcpy(colorTable(pbmi), table8, sizeof(RGBQUAD) * 256);
        h.biClrUsed = 0;
    }

    for (int j = 0; j < n; ++j) {
        int scan = static_cast<int>(start) + j;
        int fromBottom = dstTopDown ? b->height - 1 - scan : scan;
        const unsigned char* src =
            b->bits + static_cast<size_t>(memoryRow(b, fromBottom)) * b->stride;
        unsigned char* dst = out + static_cast<size_t>(j) * dstStride;
        memset(dst, 0, static_cast<size_t>(dstStride));
        for (int x = 0; x < b->width; ++x) {
            if (b->bitCount == 32 && h.biBitCount == 32) {
                memcpy(dst + 4 * x, src + 4 * x, 4);
            } else if (b->bitCount == 32) {
                const unsigned char* p = src + 4 * x;
                dst[x] = GdiFixedPaletteIndex(p[2], p[1], p[0]);
            } else if (h.biBitCount == 32) {
                const RGBQUAD& c = b->colors[src[x] < b->colorCount ? src[x] : 0];
                dst[4 * x] = c.rgbBlue;
                dst[4 * x + 1] = c.rgbGreen;
                dst[4 * x + 2] = c.rgbRed;
                dst[4 * x + 3] = 0;
            } else {
                dst[x] = src[x];
            }
        }
    }
    return n;
}

int SetDIBits(HDC, HBITMAP hbm, UINT start, UINT lines, const void* bits, const BITMAPINFO* pbmi,
              UINT) {
    if (!isBitmap(hbm) || !pbmi || !bits) return 0;
    HBITMAP__* b = hbm;
    const BITMAPINFOHEADER& h = pbmi->bmiHeader;
    int srcStride = 0;
    if (!transferFormat(b, h, srcStride)) return 0;
    if (start >= static_cast<UINT>(b->height)) return 0;
    int n = static_cast<int>(lines < static_cast<UINT>(b->height) - start
                                 ? lines
                                 : static_cast<UINT>(b->height) - start);
    bool srcTopDown = h.biHeight < 0;
    int srcTable = tableCount(h);
    const unsigned char* in = static_cast<const unsigned char*>(bits);

    for (int j = 0; j < n; ++j) {
        int scan = static_cast<int>(start) + j;
        int fromBottom = srcTopDown ? b->height - 1 - scan : scan;
        unsigned char* dst = b->bits + static_cast<size_t>(memoryRow(b, fromBottom)) * b->stride;
        const unsigned char* src = in + static_cast<size_t>(j) * srcStride;
        for (int x = 0; x < b->width; ++x) {
            if (b->bitCount == 32 && h.biBitCount == 32) {
                memcpy(dst + 4 * x, src + 4 * x, 4);
            } else if (b->bitCount == 32) {
                const RGBQUAD& c = colorTable(pbmi)[src[x] < srcTable ? src[x] : 0];
                dst[4 * x] = c.rgbBlue;
                dst[4 * x + 1] = c.rgbGreen;
                dst[4 * x + 2] = c.rgbRed;
                dst[4 * x + 3] = 0;
            } else if (h.biBitCount == 32) {
                RGBQUAD c = {src[4 * x], src[4 * x + 1], src[4 * x + 2], 0};
                dst[x] = nearestEntry(c, b->colors, b->colorCount > 0 ? b->colorCount : 1);
            } else {
                dst[x] = src[x];
            }
        }
    }
    return n;
}

#endif  // _WIN32
