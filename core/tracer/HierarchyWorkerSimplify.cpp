// The post-pass that turns every parts list into simple loops.
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <new>

#include "tracer/HierarchyWorker.h"
#include "tracer/ListOfOutLines.h"

void HierarchyWorker::simplifyAllParts(ListOfOutLines* node) {
    // Along next in a loop, into child by recursion (nesting depth). Every
    // node is simplified on its own, so the visiting order does not change
    // the result.
    for (ListOfOutLines* n = node; n; n = n->next) {
        simplifyParts(n);
        simplifyAllParts(n->child);
    }
}

void HierarchyWorker::simplifyParts(ListOfOutLines* node) {
    if (!node) return;
    ListOfOutLines* input = node->parts;
    node->parts = nullptr;
    ListOfOutLines* tail = nullptr;
    while (input) {
        ListOfOutLines* loop = takeSimplePart(input);
        if (!loop) continue;
        if (tail)
            tail->next = loop;
        else
            node->parts = loop;
        tail = loop;
    }
}

ListOfOutLines* HierarchyWorker::takeSimplePart(ListOfOutLines*& list) {
    ListOfOutLines* H = list;
    if (!H) return nullptr;
    auto unlink = [&]() {
        list = H->next;
        H->next = nullptr;
    };
    if (!map || !H->data || H->len < 4) {
        unlink();
        if (H->len < 4 || !H->data) {
            delete H;
            return nullptr;
        }
        return H;  // nothing to examine it with
    }

    // Count the visits of every pixel (saturating at 255).
    clearMap();
    assert(mapIsClean() && "hierarchy map not clean when a loop is examined");
    POINT p = H->start;
    int repeatedPos = -1;
    POINT repeated = p;
    for (int i = 0; i < H->len; ++i) {
        unsigned char c = mapAt(p);
        if (c != 0) {
            repeatedPos = i;
            repeated = p;
        }
        setMap(p, c < 255 ? static_cast<unsigned char>(c + 1) : c);
        p = stepper.step(H->data[i], p);
    }
    if (repeatedPos < 0) {
        unlink();
        return H;
    }

    // From the last repeated pixel forward to the first pixel visited once.
    int k = -1;
    POINT S = repeated;
    int pos = repeatedPos;
    p = repeated;
    for (int t = 0; t < H->len; ++t) {
        POINT q = stepper.step(H->data[pos], p);
        if (mapAt(q) == 1) {
            k = pos;
            S = p;
            break;
        }
        p = q;
        if (++pos == H->len) pos = 0;
    }
    if (k < 0) {
        unlink();
        delete H;
        return nullptr;
    }

    // Rotate H to start at S.
    unsigned char* rotated = static_cast<unsigned char*>(calloc(static_cast<size_t>(H->len), 1));
    if (!rotated) {
        unlink();
        return H;
    }
    memcpy(rotated, H->data + k, static_cast<size_t>(H->len - k));
    memcpy(rotated + (H->len - k), H->data, static_cast<size_t>(k));
    free(H->data);
    H->data = rotated;
    H->start = S;

    // Cut at the first return to S.
    int t = 0;
    p = S;
    for (int i = 0; i < H->len; ++i) {
        p = stepper.step(H->data[i], p);
        if (p.x == S.x && p.y == S.y) {
            t = i + 1;
            break;
        }
    }
    if (t <= 0 || t >= H->len) {
        unlink();
        return H;
    }
    ListOfOutLines* lobe = new (std::nothrow) ListOfOutLines(H->color);
    unsigned char* rest = static_cast<unsigned char*>(calloc(static_cast<size_t>(H->len - t), 1));
    if (lobe) lobe->data = static_cast<unsigned char*>(calloc(static_cast<size_t>(t), 1));
    if (!lobe || !lobe->data || !rest) {
        delete lobe;
        free(rest);
        unlink();
        return H;
    }
    memcpy(lobe->data, H->data, static_cast<size_t>(t));
    lobe->len = t;
    lobe->start = S;
    lobe->paletteIndex = H->paletteIndex;
    lobe->pixelCount = H->pixelCount;
    lobe->tag = H->tag;
    lobe->isFrame = H->isFrame;
    lobe->allHolesFree = H->allHolesFree;
    lobe->kind = H->kind;
    lobe->checkState = H->checkState;
    memcpy(rest, H->data + t, static_cast<size_t>(H->len - t));
    free(H->data);
    H->data = rest;
    H->len -= t;
    lobe->next = H->next;
    H->next = lobe;
    return nullptr;
}
