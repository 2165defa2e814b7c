// Small operations on outline lists offered to hosts: counts, positions,
// rotation, closure and coverage against a byte map, legacy conversion.
// Map pixels outside the raster are never read or written.
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "containment/ExportOutLineTree.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"

int Ombrel::getTotalPointNum(ListOfOutLines* list) {
    int total = 0;
    for (ListOfOutLines* n = list; n; n = n->next) total += n->len + getTotalPointNum(n->child);
    return total;
}

int Ombrel::getOLnumber(ListOfOutLines* list) {
    int count = 0;
    for (ListOfOutLines* n = list; n; n = n->next) count += n->child ? getOLnumber(n->child) : 1;
    return count;
}

int Ombrel::getPointIndex(ListOfOutLines* outline, POINT p) {
    if (!outline) return -10;
    POINT q = outline->start;
    if (q.x == p.x && q.y == p.y) return 0;
    for (int i = 1; i < outline->len && outline->data; ++i) {
        q = GetNextPoint(outline->data[i - 1], q);
        if (q.x == p.x && q.y == p.y) return i;
    }
    return -10;
}

void Ombrel::normalizeOutLine(ListOfOutLines* outline, POINT p, int index) {
    if (!outline || !outline->data) return;
    if (index < 0) index = getPointIndex(outline, p);
    if (index < 0 || index >= outline->len) return;
    unsigned char* fresh =
        static_cast<unsigned char*>(calloc(static_cast<size_t>(outline->len), 1));
    if (!fresh) return;
    memcpy(fresh, outline->data + index, static_cast<size_t>(outline->len - index));
    memcpy(fresh + (outline->len - index), outline->data, static_cast<size_t>(index));
    free(outline->data);
    outline->data = fresh;
    outline->start = p;
}

bool Ombrel::checkOutLine(ListOfOutLines* outline) {
    return testloop(outline);
}

void Ombrel::markOutline(unsigned char* map, ListOfOutLines* outline, int value) {
    if (!map || !outline || !outline->data) return;
    POINT p = outline->start;
    for (int i = 0; i < outline->len; ++i) {
        p = GetNextPoint(outline->data[i], p);
        if (IsPointValid(p)) map[GetOffset(p.x, p.y, width)] = static_cast<unsigned char>(value);
    }
}

int Ombrel::checkOutlineCovered(unsigned char* map, ListOfOutLines* outline, int value) {
    if (!map || !outline || !outline->data) return 0;
    int uncovered = 0;
    POINT p = outline->start;
    for (int i = 0; i < outline->len; ++i) {
        p = GetNextPoint(outline->data[i], p);
        if (!IsPointValid(p) ||
            map[GetOffset(p.x, p.y, width)] != static_cast<unsigned char>(value))
            ++uncovered;
    }
    return uncovered;
}

int Ombrel::findEndCoincidence(unsigned char* map, ListOfOutLines* outline, POINT& hit) {
    if (!map || !outline || !outline->data) return -10;
    POINT p = outline->start;
    if (IsPointValid(p)) map[GetOffset(p.x, p.y, width)] = 4;
    for (int i = 0; i < outline->len; ++i) {
        p = GetNextPoint(outline->data[i], p);
        if (!IsPointValid(p)) continue;
        unsigned char& m = map[GetOffset(p.x, p.y, width)];
        if (m == 4) return -20;
        if (m == 1) {
            hit = p;
            return i + 1;
        }
        m = 4;
    }
    return -10;
}

bool Ombrel::checkCoveredByChilds(unsigned char* map, ListOfOutLines* outline) {
    if (!map || !outline) return true;
    if (outline->parts) {
        markOutline(map, outline->parts, 1);
        for (ListOfOutLines* n = outline->parts; n; n = n->parts) markOutline(map, n, 40);
    }
    for (ListOfOutLines* c = outline->child; c; c = c->next) markOutline(map, c, 40);
    checkOutlineCovered(map, outline, 40);
    return true;
}

ListOfOutLines* Ombrel::convertExpIntoOldOl(ExportOutLineTree*& node, int width_) {
    if (!node || width_ <= 0) return nullptr;
    DWORD c = static_cast<DWORD>(node->color.rgbRed) |
              static_cast<DWORD>(node->color.rgbGreen) << 8 |
              static_cast<DWORD>(node->color.rgbBlue) << 16;
    ListOfOutLines* L = new (std::nothrow) ListOfOutLines(c);
    if (!L) return nullptr;
    L->data = node->data;
    L->len = node->len;
    node->data = nullptr;
    node->len = 0;
    L->start = POINT{node->startPos % width_, node->startPos / width_};
    for (HoleNode* h = node->holes; h; h = h->next) {
        if (!h->tree) continue;
        ListOfOutLines* n = L->AllocAndAddToHead(c);
        if (n == L) continue;
        n->FreeAllocAndPutData(h->tree->data, h->tree->len,
                               POINT{h->tree->startPos % width_, h->tree->startPos / width_});
    }
    delete node;
    node = nullptr;
    return L;
}
