// Spot weighting, small-spot elimination and colour restitution.
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <new>

#include "containment/CntmTreeCreator.h"
#include "platform/Gdi.h"
#include "raster/OutLineManipulator.h"
#include "raster/PixelQueue.h"
#include "raster/RegionFill.h"
#include "tracer/AllOutLines.h"
#include "tracer/HierarchyWorker.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"

namespace {
const int kDx[4] = {1, 0, -1, 0};
const int kDy[4] = {0, 1, 0, -1};
}  // namespace

int OutLineManipulator::weightOf(ListOfOutLines* node) {
    if (!node) return 0;
    if (node->tag != 0) return node->tag;
    int w = node->pixelCount;
    for (ListOfOutLines* c = node->child; c; c = c->next) w += weightOf(c);
    node->tag = w;
    return w;
}

void OutLineManipulator::setContourWeight(ListOfOutLines* root) {
    weightOf(root);
}

int OutLineManipulator::culcWeigtToler(double t) {
    return static_cast<int>((0.05 * t) * size);
}

int OutLineManipulator::spotOne(ListOfOutLines* node, ListOfOutLines*& out, int tol) {
    ListOfOutLines* local = nullptr;
    int m = spotVisit(node->child, local, tol);
    delete node->extraLink;
    node->extraLink = nullptr;
    if (node->len != 0 && node->tag - m <= tol) {
        ListOfOutLines* e = new (std::nothrow) ListOfOutLines(node->color);
        if (e) {
            e->parts = HierarchyWorker::copyOutline(node);
            e->paletteIndex = local ? local->paletteIndex : node->paletteIndex;
            e->color = node->color;
            e->tag = node->tag;
            e->pixelCount = node->pixelCount;
            node->extraLink = e;
        }
        out = e;
        return node->tag;
    }
    out = node->pixelCount <= m ? local : node;
    return m > node->pixelCount ? m : node->pixelCount;
}

int OutLineManipulator::spotVisit(ListOfOutLines* node, ListOfOutLines*& out, int tol) {
    if (!node) {
        out = nullptr;
        return -1;
    }
    // Every sibling is handled on its own; only the first node's result is
    // returned.
    for (ListOfOutLines* n = node->next; n; n = n->next) {
        ListOfOutLines* scratch = nullptr;
        spotOne(n, scratch, tol);
    }
    return spotOne(node, out, tol);
}

void OutLineManipulator::eliminateSmallWeightSpots(ListOfOutLines* root, int tol) {
    ListOfOutLines* scratch = nullptr;
    if (root) spotVisit(root, scratch, tol);
}

void OutLineManipulator::drawInto(unsigned char* target, POINT p, const unsigned char* codes,
                                  int len, unsigned char v) {
    if (!target) return;
    auto put = [&](POINT q) {
        if (q.x >= 0 && q.x < width && q.y >= 0 && q.y < height) target[q.y * width + q.x] = v;
    };
    put(p);
    for (int i = 0; codes && i < len; ++i) {
        p.x += kDx[codes[i] & 3];
        p.y += kDy[codes[i] & 3];
        put(p);
    }
}

void OutLineManipulator::drawBarrier(RegionFill& fill, POINT p, const unsigned char* codes,
                                     int len) {
    auto put = [&](POINT q) {
        if (q.x >= 0 && q.x < width && q.y >= 0 && q.y < height) fill.setMark(q.y * width + q.x, 1);
    };
    put(p);
    for (int i = 0; codes && i < len; ++i) {
        p.x += kDx[codes[i] & 3];
        p.y += kDy[codes[i] & 3];
        put(p);
    }
}

void OutLineManipulator::fillFrom(RegionFill& fill, POINT p, const unsigned char* codes, int len) {
    PixelQueue& q = *fill.queue;
    for (int i = 0; codes && i < len; ++i) {
        int d = codes[i] & 3;
        p.x += kDx[d];
        p.y += kDy[d];
        int side = (d + 1) % 4;
        long long off = static_cast<long long>(p.y + kDy[side]) * width + (p.x + kDx[side]);
        if (off < 0 || off >= fill.size || fill.marks[off] != 0) continue;
        // A seed: fill breadth first.
        fill.setMark(static_cast<int>(off), 11);
        q.push(static_cast<int>(off));
        for (int cur = q.pop(); cur >= 0; cur = q.pop()) {
            int x = cur % width, y = cur / width;
            int next[4] = {x >= 1 ? cur - 1 : -1, y < height - 1 ? cur + width : -1,
                           x < width - 1 ? cur + 1 : -1, y >= 1 ? cur - width : -1};
            for (int n : next)
                if (n >= 0 && fill.marks[n] == 0) {
                    fill.setMark(n, 11);
                    q.push(n);
                }
        }
    }
}

void OutLineManipulator::restituteRegion(RegionFill& fill, ListOfOutLines* node, int minLen) {
    fill.clearMarks();
    assert(fill.marksClean() && "fill marks not clean when a region starts");
    fill.queue->clear();
    for (ListOfOutLines* p = node->parts; p; p = p->next)
        if (p->len >= minLen) {
            drawBarrier(fill, p->start, p->data, p->len);
            ++fill.barrierCount;
        }
    for (ListOfOutLines* p = node->parts; p; p = p->next)
        if (p->len >= minLen) fillFrom(fill, p->start, p->data, p->len);
    fill.queue->rewind();
    if (fill.queue->pop() < 0) return;
    BYTE idx = Ombrel::GetNearestColor(node->color, palette, palette ? paletteSize : 0);
    fill.queue->rewind();
    for (int p = fill.queue->pop(); p >= 0; p = fill.queue->pop()) indexRaster[p] = idx;
    for (ListOfOutLines* p = node->parts; p; p = p->next)
        if (p->len >= minLen) drawInto(indexRaster, p->start, p->data, p->len, idx);
}

void OutLineManipulator::restituteList(RegionFill& fill, ListOfOutLines* node, int minLen) {
    if (!node) return;
    // Paint the siblings in order, then walk their subtrees from the last
    // sibling back to the first: the order in which the regions overwrite
    // each other.
    int n = 0;
    for (ListOfOutLines* s = node; s; s = s->next) ++n;
    ListOfOutLines** order =
        static_cast<ListOfOutLines**>(calloc(static_cast<size_t>(n), sizeof(*order)));
    if (!order) return;
    int k = 0;
    for (ListOfOutLines* s = node; s; s = s->next) {
        order[k++] = s;
        fill.clearMarks();
        if (!s->extraLink) restituteRegion(fill, s, minLen);
    }
    for (int i = n - 1; i >= 0; --i)
        restituteList(fill, order[i]->extraLink ? order[i]->extraLink : order[i]->child, minLen);
    free(order);
}

void OutLineManipulator::restituteExport(RegionFill& fill, ExportOutLineTree* node, int minLen) {
    if (!node) return;
    fill.clearMarks();
    if (node->type != 1 && node->len >= minLen) {
        fill.queue->clear();
        POINT s = {node->startPos % width, node->startPos / width};
        drawBarrier(fill, s, node->data, node->len);
        ++fill.barrierCount;
        for (HoleNode* h = node->holes; h; h = h->next)
            if (h->tree && h->tree->len >= minLen) {
                POINT hs = {h->tree->startPos % width, h->tree->startPos / width};
                drawBarrier(fill, hs, h->tree->data, h->tree->len);
                ++fill.barrierCount;
            }
        fillFrom(fill, s, node->data, node->len);
        DWORD c = static_cast<DWORD>(node->color.rgbRed) |
                  static_cast<DWORD>(node->color.rgbGreen) << 8 |
                  static_cast<DWORD>(node->color.rgbBlue) << 16;
        BYTE idx = Ombrel::GetNearestColor(c, palette, palette ? paletteSize : 0);
        fill.queue->rewind();
        for (int p = fill.queue->pop(); p >= 0; p = fill.queue->pop()) indexRaster[p] = idx;
    }
    for (HoleNode* h = node->holes; h; h = h->next) restituteExport(fill, h->tree, minLen);
}

void OutLineManipulator::restituteColors(ListOfOutLines* root, int minLen) {
    if (!indexRaster || size <= 0) return;
    RegionFill fill(width, height);
    if (!fill.isUsable()) {
        MessageCannotAllocate();
        return;
    }
    memset(indexRaster, getWhite(), static_cast<size_t>(indexRasterSize));
    if (mode != 3) {
        restituteList(fill, root, minLen);
    } else {
        CntmTreeCreator creator(width, height);
        AllOutLines all;
        all.outLines = root;
        all.width = width;
        all.height = height;
        all.size = size;
        ExportOutLinesStruct out(nullptr, width);
        creator.createCntmTree(out, all);
        restituteExport(fill, out.exportTree, minLen);
    }
    WriteIndexRaster(hdc, hBitmap, bitmapInfo, indexRaster, width, height);
    restitutedCount = fill.barrierCount;
}
