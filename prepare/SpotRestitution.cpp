#include "prepare/SpotRestitution.h"

#include <algorithm>
#include <new>
#include <unordered_map>
#include <vector>

#include "platform/CView.h"
#include "platform/Gdi.h"
#include "raster/OutLineManipulator.h"
#include "prepare/Tracer.h"
#include "tracer/AllOutLines.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"
#include "prepare/PackedColour.h"

namespace om1 {

bool SpotRestitution::run(RGBQUAD* pixels, int width, int height, const TraceOptions& options,
                          int area) {
    if (!pixels || width < 3 || height < 3) return false;
    const size_t n = static_cast<size_t>(width) * height;
    const int stride = (width + 3) & ~3;
    std::vector<unsigned char> index;
    std::vector<RGBQUAD> table;
    try {
        std::unordered_map<uint32_t, unsigned char> lookup;
        index.resize(n);
        for (size_t i = 0; i < n; ++i) {
            auto it = lookup.find(packColour(pixels[i]));
            if (it == lookup.end()) {
                if (table.size() == 256) return false;
                it = lookup.emplace(packColour(pixels[i]), static_cast<unsigned char>(table.size()))
                         .first;
                RGBQUAD q = pixels[i];
                q.rgbReserved = 0;
                table.push_back(q);
            }
            index[i] = it->second;
        }
    } catch (...) {
        return false;
    }

    // The first pass: the tracer over the picture, as Tracer::trace runs it.
    const int tol = static_cast<int>(std::min(std::max(options.tolerancePercent, 0), 100) * 2.55);
    const int minLen = std::max(options.minOutlineLen, 4);
    int xs[Tracer::kMaxSeeds], ys[Tracer::kMaxSeeds], seeds = 0;
    Tracer::seeds(pixels, width, height, options.seed, xs, ys, seeds);
    AllOutLines all;
    for (int i = 0; i < seeds; ++i) {
        OutLineManipulator* olm =
            new (std::nothrow) OutLineManipulator(pixels, width, height, tol, minLen, 3, 0);
        Ombrel* tracer = olm ? new (std::nothrow) Ombrel(olm) : nullptr;
        int r = 1;
        if (tracer && tracer->isValid()) {
            delete all.outLines;
            all.outLines = nullptr;
            r = tracer->DoOmbrel_(all, CPoint(xs[i], ys[i]), options.maxOutlines);
        }
        delete tracer;
        delete olm;
        if (r == 2 || (all.outLines && all.outLines->parts)) break;
    }
    if (!all.outLines || !all.outLines->parts) {
        delete all.outLines;
        return false;
    }

    // The repaint: an 8-bit bitmap of the picture's own colours.
    struct Info {
        BITMAPINFOHEADER h;
        RGBQUAD colours[256];
    } info = {};
    info.h.biSize = sizeof(BITMAPINFOHEADER);
    info.h.biWidth = width;
    info.h.biHeight = height;
    info.h.biPlanes = 1;
    info.h.biBitCount = 8;
    info.h.biCompression = BI_RGB;
    // All 256 entries: the unused ones repeat entry 0, which the nearest-entry
    // lookup prefers (the lowest index among equals).
    info.h.biClrUsed = 256;
    std::fill(info.colours, info.colours + 256, table[0]);
    std::copy(table.begin(), table.end(), info.colours);
    void* bits = nullptr;
    HBITMAP bitmap = CreateDIBSection(nullptr, reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS,
                                      &bits, nullptr, 0);
    bool ok = false;
    if (bitmap && bits) {
        unsigned char* rows = static_cast<unsigned char*>(bits);
        for (int y = 0; y < height; ++y)
            std::copy(index.begin() + static_cast<size_t>(y) * width,
                      index.begin() + static_cast<size_t>(y + 1) * width,
                      rows + static_cast<size_t>(y) * stride);
        CView view(bitmap);
        OutLineManipulator* olm = new (std::nothrow) OutLineManipulator(
            &view, bitmap, static_cast<DWORD>(tol | tol << 8 | tol << 16), minLen, 1);
        if (olm && olm->indexRaster && olm->width == width && olm->height == height) {
            // Unpainted pixels come out white (the palette's nearest entry);
            // they keep the picture's colour below.
            olm->setContourWeight(all.outLines);
            olm->eliminateSmallWeightSpots(all.outLines, area);
            olm->restituteColors(all.outLines, minLen);
            const unsigned char white = olm->getWhite();
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    const size_t i = static_cast<size_t>(y) * width + x;
                    const unsigned char v = rows[static_cast<size_t>(y) * stride + x];
                    if (v >= table.size() || (v == white && index[i] != white)) continue;
                    const BYTE reserved = pixels[i].rgbReserved;
                    pixels[i] = table[v];
                    pixels[i].rgbReserved = reserved;
                }
            ok = true;
        }
        delete olm;
    }
    if (bitmap) DeleteObject(bitmap);
    delete all.outLines;
    return ok;
}

}  // namespace om1
