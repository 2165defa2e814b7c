// Construction and the outline copies of the hierarchy worker.
#include "tracer/HierarchyWorker.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "tracer/Junction.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Segment.h"

HierarchyWorker::HierarchyWorker(int size_, int width_)
    : junctions(nullptr),
      stepper(),
      parent(nullptr),
      width(width_),
      map(nullptr),
      size(size_ > 0 ? size_ : 0),
      slotAt(nullptr),
      segments(nullptr),
      working(nullptr) {
    if (size > 0) map = static_cast<unsigned char*>(calloc(static_cast<size_t>(size), 1));
    working = new (std::nothrow) ListOfOutLines(0xff0000);
}

HierarchyWorker::~HierarchyWorker() {
    free(slotAt);
    delete segments;
    delete working;
    free(map);
    delete junctions;
}

ListOfOutLines* HierarchyWorker::copyOutline(ListOfOutLines* src) {
    if (!src) return nullptr;
    ListOfOutLines* n = new (std::nothrow) ListOfOutLines(src->color);
    if (!n) return nullptr;
    if (src->data && src->len > 0) {
        n->data = static_cast<unsigned char*>(calloc(static_cast<size_t>(src->len), 1));
        if (!n->data) {
            delete n;
            return nullptr;
        }
        memcpy(n->data, src->data, static_cast<size_t>(src->len));
        n->len = src->len;
    }
    n->start = src->start;
    n->paletteIndex = src->paletteIndex;
    n->tag = src->tag;
    n->pixelCount = src->pixelCount;
    n->kind = 1;
    return n;
}

void HierarchyWorker::reverseOutline(ListOfOutLines* outline) {
    if (!outline || !outline->data) return;
    unsigned char* c = outline->data;
    int n = outline->len;
    for (int i = 0, j = n - 1; i < j; ++i, --j) {
        unsigned char t = c[i];
        c[i] = c[j];
        c[j] = t;
    }
    for (int i = 0; i < n; ++i) c[i] = static_cast<unsigned char>(Arc_::opposite(c[i]));
}
