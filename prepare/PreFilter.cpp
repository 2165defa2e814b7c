#include "prepare/PreFilter.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "platform/Gdi.h"
#include "raster/OutLineManipulator.h"

namespace om1 {

bool PreFilter::run(RGBQUAD* pixels, int width, int height, Kind kind, int radius, int tolerance) {
    if (!pixels || width < 3 || height < 3) return false;
    radius = std::max(1, std::min(radius, 8));
    tolerance = std::max(0, std::min(tolerance, 255));
    BITMAPINFO bi = {};
    bi.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    bi.bmiHeader.biWidth = width;
    bi.bmiHeader.biHeight = height;  // rows in memory order, as the pixels
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 32;
    bi.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    HBITMAP bitmap = CreateDIBSection(nullptr, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!bitmap || !bits) return false;
    HDC dc = CreateCompatibleDC(nullptr);
    if (!dc) {
        DeleteObject(bitmap);
        return false;
    }
    SelectObject(dc, bitmap);
    const size_t n = static_cast<size_t>(width) * height;
    RGBQUAD* dib = static_cast<RGBQUAD*>(bits);
    for (size_t i = 0; i < n; ++i) {
        dib[i] = pixels[i];
        dib[i].rgbReserved = 0;
    }
    bool ok = false;
    {
        OutLineManipulator* m = new (std::nothrow) OutLineManipulator(dc, bitmap);
        if (m && m->width == width && m->height == height) {
            if (kind == Quadrant) {
                ok = m->Filter(bitmap, radius);
            } else {
                const DWORD t = static_cast<DWORD>(tolerance);
                m->tolerance = t | t << 8 | t << 16;
                m->FilterAdaptSmooth(bitmap, radius);
                ok = true;
            }
        }
        delete m;
    }
    if (ok)
        for (size_t i = 0; i < n; ++i)
            if (dib[i].rgbReserved == 0) {
                const BYTE reserved = pixels[i].rgbReserved;
                pixels[i] = dib[i];
                pixels[i].rgbReserved = reserved;
            }
    DeleteDC(dc);
    DeleteObject(bitmap);
    return ok;
}

}  // namespace om1
