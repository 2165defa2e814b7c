// Painting outlines into the bitmap and checking them.
#include <cstdlib>
#include <cstring>

#include "containment/CntmTreeCreator.h"
#include "containment/Walker.h"
#include "platform/Gdi.h"
#include "raster/OutLineManipulator.h"
#include "tracer/AllOutLines.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"

namespace {
// Calls f(offset) for every pixel reached after each step of the outline
// that lies in the raster.
template <class F>
void walkPixels(const OutLineManipulator& m, const ListOfOutLines* o, F f) {
    if (!o || !o->data) return;
    POINT p = o->start;
    for (int i = 0; i < o->len; ++i) {
        p = m.arc.step(o->data[i], p);
        if (p.x >= 0 && p.x < m.width && p.y >= 0 && p.y < m.height) f(p.y * m.width + p.x);
    }
}
}  // namespace

void OutLineManipulator::paintWhite() {
    if (indexRaster && indexRasterSize > 0)
        memset(indexRaster, getWhite(), static_cast<size_t>(indexRasterSize));
}

void OutLineManipulator::PaintOutlines_pOl(ListOfOutLines* node, unsigned char colour, int minLen,
                                           int maxLen) {
    for (ListOfOutLines* n = node; n; n = n->next) {
        if (minLen <= n->len && (maxLen < 0 || n->len <= maxLen) && n->checkState != 0)
            walkPixels(*this, n, [&](int off) { indexRaster[off] = colour; });
        if (!n->extraLink) PaintOutlines_pOl(n->child, colour, minLen, maxLen);
    }
}

void OutLineManipulator::PaintOutlines_pOl(ExportOutLineTree* node, Walker& walker) {
    if (!node || !indexRaster) return;
    if (node->type == 0) {
        DWORD c = static_cast<DWORD>(node->color.rgbRed) |
                  static_cast<DWORD>(node->color.rgbGreen) << 8 |
                  static_cast<DWORD>(node->color.rgbBlue) << 16;
        BYTE idx = Ombrel::GetNearestColor(c, palette, palette ? paletteSize : 0);
        long long off = node->startPos;
        for (int i = 0; i < node->len && node->data; ++i) {
            if (off >= 0 && off < indexRasterSize) indexRaster[off] = idx;
            off += walker.offset[node->data[i] & 3];
        }
    }
    for (HoleNode* h = node->holes; h; h = h->next) PaintOutlines_pOl(h->tree, walker);
}

void OutLineManipulator::PaintOutLines(AllOutLines& record, int minLen, int maxLen, int colour) {
    if (size <= 0) return;
    if (record.outLines && (record.width != width || record.height != height)) return;
    if (!indexRaster) {
        indexRaster = static_cast<unsigned char*>(calloc(static_cast<size_t>(size), 1));
        if (!indexRaster) {
            MessageCannotAllocate();
            return;
        }
        indexRasterSize = size;
    }
    paintWhite();
    unsigned char value = colour == -1 ? getBlack() : static_cast<unsigned char>(colour);
    if (mode == 3) {
        CntmTreeCreator creator(width, height);
        ExportOutLinesStruct out(nullptr, width);
        creator.createCntmTree(out, record);
        Walker walker(width);
        PaintOutlines_pOl(out.exportTree, walker);
    } else {
        PaintOutlines_pOl(record.outLines, value, minLen, maxLen);
    }
    WriteIndexRaster(hdc, hBitmap, bitmapInfo, indexRaster, width, height);
}

bool OutLineManipulator::checkLoops(ListOfOutLines* outline) {
    if (!outline) return true;
    POINT p = outline->start;
    for (int i = 0; i < outline->len && outline->data; ++i) p = arc.step(outline->data[i], p);
    return p.x == outline->start.x && p.y == outline->start.y;
}

bool OutLineManipulator::checkSelfIntersect(ListOfOutLines* outline) {
    if (!outline) return true;
    if (!indexRaster) return false;
    memset(indexRaster, 0, static_cast<size_t>(indexRasterSize));
    bool ok = true;
    walkPixels(*this, outline, [&](int off) {
        if (indexRaster[off]) ok = false;
        indexRaster[off] = 1;
    });
    return ok;
}

bool OutLineManipulator::checkOutLinesAll(ListOfOutLines* node) {
    for (ListOfOutLines* n = node; n; n = n->next)
        if (!checkLoops(n) || !checkSelfIntersect(n)) return false;
    for (ListOfOutLines* n = node; n; n = n->next)
        if (!checkOutLinesAll(n->child)) return false;
    return true;
}

bool OutLineManipulator::isOutLineOK(ListOfOutLines* outline) {
    if (!outline || !indexRaster) return false;
    bool ok = false;
    walkPixels(*this, outline, [&](int off) {
        if (indexRaster[off] == 0) ok = true;
    });
    return ok;
}

void OutLineManipulator::markNeighborhood(ListOfOutLines* outline, int r, int value) {
    if (!indexRaster) return;
    walkPixels(*this, outline, [&](int p) {
        for (int dx = -r; dx <= r; ++dx)
            for (int dy = -r; dy <= r; ++dy) {
                long long k = static_cast<long long>(p) + dx + static_cast<long long>(dy) * width;
                if (k >= 0 && k < indexRasterSize)
                    indexRaster[k] = static_cast<unsigned char>(value);
            }
    });
}

void OutLineManipulator::elimDoublelinesRec(ListOfOutLines* node, int radius) {
    for (ListOfOutLines* n = node; n; n = n->next) {
        for (ListOfOutLines* o = n->parts; o; o = o->next) {
            if (isOutLineOK(o)) {
                o->checkState = 1;
                markNeighborhood(o, radius, 1);
            } else {
                o->checkState = 0;
            }
        }
    }
    // Subtrees from the last sibling back to the first, the order in which
    // outlines are accepted.
    int count = 0;
    for (ListOfOutLines* n = node; n; n = n->next) ++count;
    if (count == 0) return;
    ListOfOutLines** order =
        static_cast<ListOfOutLines**>(calloc(static_cast<size_t>(count), sizeof(*order)));
    if (!order) return;
    int k = 0;
    for (ListOfOutLines* n = node; n; n = n->next) order[k++] = n;
    for (int i = count - 1; i >= 0; --i) elimDoublelinesRec(order[i]->child, radius);
    free(order);
}

void OutLineManipulator::elimDoublelines(ListOfOutLines* root, int radius) {
    if (size <= 0) return;
    if (!indexRaster) {
        indexRaster = static_cast<unsigned char*>(calloc(static_cast<size_t>(size), 1));
        if (!indexRaster) {
            MessageCannotAllocate();
            return;
        }
        indexRasterSize = size;
    }
    memset(indexRaster, 0, static_cast<size_t>(indexRasterSize));
    elimDoublelinesRec(root, radius);
}

void OutLineManipulator::GetMaxLen_(int& maximum, ListOfOutLines* node) {
    for (ListOfOutLines* n = node; n; n = n->next) {
        if (n->len > maximum) maximum = n->len;
        GetMaxLen_(maximum, n->child);
    }
}

int OutLineManipulator::GetMaxLen(AllOutLines& record) {
    int m = 0;
    GetMaxLen_(m, record.outLines);
    return m;
}
