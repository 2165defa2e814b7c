// Construction and the outline copies of the hierarchy worker.
#include "tracer/HierarchyWorker.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>

#include "tracer/Junction.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/OutlineIndex.h"
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
      working(nullptr),
      slotKind(nullptr),
      dirty(nullptr),
      dirtyCount(0),
      dirtyCapacity(0),
      dirtyOverflow(false),
      parentIndex(nullptr) {
    if (size > 0) map = static_cast<unsigned char*>(calloc(static_cast<size_t>(size), 1));
    working = new (std::nothrow) ListOfOutLines(0xff0000);
}

HierarchyWorker::~HierarchyWorker() {
    free(slotAt);
    free(slotKind);
    free(dirty);
    delete segments;
    delete working;
    free(map);
    delete junctions;
    delete parentIndex;
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

int HierarchyWorker::indexOnOutline(ListOfOutLines* outline, POINT p) {
    if (!outline) return -10;
    POINT q = outline->start;
    if (q.x == p.x && q.y == p.y) return 0;
    for (int i = 1; i < outline->len && outline->data; ++i) {
        int c = outline->data[i - 1] & 3;
        q.x += c == 0 ? 1 : c == 2 ? -1 : 0;
        q.y += c == 1 ? 1 : c == 3 ? -1 : 0;
        if (q.x == p.x && q.y == p.y) return i;
    }
    return -10;
}

int HierarchyWorker::indexOnParent(POINT p) {
    if (!parentIndex) parentIndex = new (std::nothrow) OutlineIndex();
    if (parentIndex && (parentIndex->outline() == parent || parentIndex->build(parent)))
        return parentIndex->indexOf(p);
    return indexOnOutline(parent, p);
}

void HierarchyWorker::setMap(POINT p, unsigned char v) {
    if (!map || p.x < 0 || p.y < 0 || width <= 0 || p.x >= width) return;
    long long off = static_cast<long long>(p.y) * width + p.x;
    if (off >= size) return;
    if (map[off] == 0 && v != 0 && !dirtyOverflow) {
        if (dirtyCount == dirtyCapacity) {
            int cap = dirtyCapacity ? dirtyCapacity * 2 : 4096;
            int* grown = static_cast<int*>(realloc(dirty, sizeof(int) * static_cast<size_t>(cap)));
            if (grown) {
                dirty = grown;
                dirtyCapacity = cap;
            } else {
                dirtyOverflow = true;
            }
        }
        if (!dirtyOverflow) dirty[dirtyCount++] = static_cast<int>(off);
    }
    map[off] = v;
}

void HierarchyWorker::clearMap() {
    if (!map) return;
    if (dirtyOverflow) {
        memset(map, 0, static_cast<size_t>(size));
    } else {
        for (int i = 0; i < dirtyCount; ++i) map[dirty[i]] = 0;
    }
    dirtyCount = 0;
    dirtyOverflow = false;
}

bool HierarchyWorker::mapIsClean() const {
    for (int i = 0; map && i < size; ++i)
        if (map[i]) return false;
    return true;
}

void HierarchyWorker::markPixels(ListOfOutLines* outline, unsigned char v) {
    if (!outline || !outline->data) return;
    POINT p = outline->start;
    // With room for every position in the dirty list, the marks are written
    // here (what setMap does, without its checks per pixel).
    if (map && width > 0 && v != 0 && !dirtyOverflow && reserveDirty(outline->len)) {
        for (int i = 0; i < outline->len; ++i) {
            p = stepper.step(outline->data[i], p);
            if (p.x < 0 || p.y < 0 || p.x >= width) continue;
            const long long off = static_cast<long long>(p.y) * width + p.x;
            if (off >= size) continue;
            if (map[off] == 0) dirty[dirtyCount++] = static_cast<int>(off);
            map[off] = v;
        }
        return;
    }
    for (int i = 0; i < outline->len; ++i) {
        p = stepper.step(outline->data[i], p);
        setMap(p, v);
    }
}

bool HierarchyWorker::reserveDirty(int more) {
    if (more < 0 || dirtyCount > INT_MAX - more) return false;
    const int need = dirtyCount + more;
    if (need <= dirtyCapacity) return true;
    int cap = dirtyCapacity ? dirtyCapacity : 4096;
    while (cap < need) cap = cap > INT_MAX / 2 ? INT_MAX : cap * 2;
    int* grown = static_cast<int*>(realloc(dirty, sizeof(int) * static_cast<size_t>(cap)));
    if (!grown) return false;
    dirty = grown;
    dirtyCapacity = cap;
    return true;
}
