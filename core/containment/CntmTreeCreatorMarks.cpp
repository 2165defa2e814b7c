// The owner map, bounding boxes, chain reversal, colouring and conversion
// back to outline lists.
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <new>

#include "containment/CntmTreeCreator.h"
#include "containment/GeneralFuncs.h"
#include "tracer/Arc_.h"
#include "tracer/ListOfOutLines.h"

void CntmTreeCreator::cleanBuffer() {
    if (!ownerMap) return;
    if (markedOverflow) {
        memset(ownerMap, 0, static_cast<size_t>(mapBytes));
    } else {
        for (int i = 0; i < markedCount; ++i) ownerMap[marked[i]] = nullptr;
    }
    markedCount = 0;
    markedOverflow = false;
#ifndef NDEBUG
    const int n = mapBytes / static_cast<int>(sizeof(*ownerMap));
    for (int i = 0; i < n; ++i) assert(ownerMap[i] == nullptr && "owner map not clean");
#endif
}

void CntmTreeCreator::markFrame(ExportOutLineTree* S) {
    markFrame(S, S);
}

void CntmTreeCreator::markFrame(ExportOutLineTree* owner, ExportOutLineTree* S) {
    if (!S || !ownerMap || !walker) return;
    const long long n = static_cast<long long>(width) * height;
    long long pos = S->startPos;
    for (int i = 0; i < S->len && S->data; ++i) {
        if (pos >= 0 && pos < n) {
            if (!markedOverflow && markedCount == markedCapacity) {
                int cap = markedCapacity ? markedCapacity * 2 : 1024;
                int* grown =
                    static_cast<int*>(realloc(marked, sizeof(int) * static_cast<size_t>(cap)));
                if (grown) {
                    marked = grown;
                    markedCapacity = cap;
                } else {
                    markedOverflow = true;
                }
            }
            if (!markedOverflow) marked[markedCount++] = static_cast<int>(pos);
            ownerMap[pos] = owner;
        }
        pos += walker->offset[S->data[i] & 3];
    }
}

void CntmTreeCreator::markHoles(ExportOutLineTree* T) {
    if (!T) return;
    for (HoleNode* h = T->holes; h; h = h->next) markFrame(h->tree);
}

void CntmTreeCreator::set4Bounds(ListOfOutLines* outline) {
    if (!outline) return;
    int x = outline->start.x, y = outline->start.y;
    int* b = outline->bounds;
    b[0] = b[2] = x;
    b[1] = b[3] = y;
    for (int i = 0; outline->data && i < outline->len; ++i) {
        int c = outline->data[i] & 3;
        x += c == 0 ? 1 : c == 2 ? -1 : 0;
        y += c == 1 ? 1 : c == 3 ? -1 : 0;
        if (x > b[0]) b[0] = x;
        if (y > b[1]) b[1] = y;
        if (x < b[2]) b[2] = x;
        if (y < b[3]) b[3] = y;
    }
}

void CntmTreeCreator::set4Bounds(ExportOutLineTree* node) {
    if (!node) return;
    GeneralFuncs::set4Bounds(node->bounds, node->startPos, node->data, node->len, width);
}

Compare CntmTreeCreator::compareBoxes(const int* a, const int* b) {
    if (GeneralFuncs::isLeftInRight(const_cast<int*>(b), const_cast<int*>(a)))
        return FirstContainsSecond;
    if (GeneralFuncs::isLeftInRight(const_cast<int*>(a), const_cast<int*>(b)))
        return FirstInsideSecond;
    return NoContainment;
}

Compare CntmTreeCreator::cmp1and2_OL_4boundsTest(ListOfOutLines* first, ListOfOutLines* second) {
    if (!first || !second) return NoContainment;
    if (first->bounds[0] < 0) set4Bounds(first);
    if (second->bounds[0] < 0) set4Bounds(second);
    return compareBoxes(first->bounds, second->bounds);
}

Compare CntmTreeCreator::cmp1and2_OL_4boundsTest(ExportOutLineTree* first,
                                                 ExportOutLineTree* second) {
    if (!first || !second) return NoContainment;
    if (first->bounds[0] < 0) set4Bounds(first);
    if (second->bounds[0] < 0) set4Bounds(second);
    return compareBoxes(first->bounds, second->bounds);
}

void CntmTreeCreator::invertOutLineDir(unsigned char*& codes, int len) {
    if (!codes || len <= 0) return;
    unsigned char* r = static_cast<unsigned char*>(calloc(static_cast<size_t>(len), 1));
    if (!r) {
        // Same result in place.
        for (int i = 0, j = len - 1; i < j; ++i, --j) {
            unsigned char t = codes[i];
            codes[i] = codes[j];
            codes[j] = t;
        }
        for (int i = 0; i < len; ++i)
            codes[i] = static_cast<unsigned char>(Arc_::opposite(codes[i]));
        return;
    }
    for (int i = 0; i < len; ++i)
        r[i] = static_cast<unsigned char>(Arc_::opposite(codes[len - 1 - i]));
    free(codes);
    codes = r;
}

void CntmTreeCreator::editExTree(ExportOutLineTree* node) {
    if (!node) return;
    for (HoleNode* h = node->holes; h; h = h->next) {
        if (!h->tree) continue;
        if (h->tree->type == 1) h->tree->color = node->color;
        editExTree(h->tree);
    }
}

ListOfOutLines* CntmTreeCreator::convertToOldFasionTree(ExportOutLineTree* node) {
    if (!node) return nullptr;
    DWORD c = static_cast<DWORD>(node->color.rgbRed) |
              static_cast<DWORD>(node->color.rgbGreen) << 8 |
              static_cast<DWORD>(node->color.rgbBlue) << 16;
    ListOfOutLines* n = new (std::nothrow) ListOfOutLines(c);
    if (!n) return nullptr;
    n->data = node->data;
    n->len = node->len;
    node->data = nullptr;
    node->len = 0;
    if (width > 0) {
        n->start.x = node->startPos % width;
        n->start.y = node->startPos / width;
    }
    for (HoleNode* h = node->holes; h; h = h->next) {
        ListOfOutLines* r = convertToOldFasionTree(h->tree);
        if (!r) continue;
        ListOfOutLines* last = r;
        while (last->next) last = last->next;
        last->next = n->next;
        n->next = r;
    }
    return n;
}
