#include "tracer/BoundChain.h"

#include <cstdlib>
#include <cstring>

BoundChain::BoundChain(unsigned capacity_, unsigned growBy_, int width_)
    : Arc_(capacity_, growBy_, width_),
      lastOffset(-1),
      rotation(0),
      innerPending(false),
      innerLen(0),
      inner(nullptr) {
    if (capacity > 0) {
        inner = static_cast<unsigned char*>(calloc(capacity, 1));
        if (!inner) {
            // Without inner the chain cannot split loops: drop everything so
            // that append() refuses and the tracer notices.
            free(codes);
            free(spare);
            codes = spare = nullptr;
            capacity = 0;
        }
    }
}

BoundChain::~BoundChain() {
    free(inner);
}

bool BoundChain::grow(unsigned index) {
    if (index < capacity) return true;
    unsigned n = grownCapacity(index);
    if (n == 0) return false;
    unsigned char* newInner = static_cast<unsigned char*>(calloc(n, 1));
    if (!newInner) return false;
    unsigned old = capacity;
    if (!Arc_::grow(index)) {
        free(newInner);
        return false;
    }
    if (inner) memcpy(newInner, inner, old);
    free(inner);
    inner = newInner;
    return true;
}

int BoundChain::indexOf(POINT p) const {
    if (p.x == start.x && p.y == start.y) return 0;
    POINT q = start;
    for (int i = 1; i < count; ++i) {
        q = step(codeAt(i - 1), q);
        if (q.x == p.x && q.y == p.y) return i;
    }
    return -10;
}

void BoundChain::normalize() {
    if (rotation == 0 || !codes || !spare) return;
    if (static_cast<unsigned>(count) >= capacity && !grow(static_cast<unsigned>(count))) return;
    size_t tail = static_cast<size_t>(count - rotation);
    memcpy(spare, codes + rotation, tail);
    memcpy(spare + tail, codes, static_cast<size_t>(rotation));
    unsigned char* t = codes;
    codes = spare;
    spare = t;
    rotation = 0;
}

namespace {
// Box (max x, max y, min x, min y) of the pixels standing before every step.
void loopBox(const Arc_& a, POINT start, const unsigned char* codes, int n, int* box) {
    POINT p = start;
    box[0] = box[2] = p.x;
    box[1] = box[3] = p.y;
    for (int i = 0; i + 1 < n; ++i) {
        p = a.step(codes[i], p);
        if (p.x > box[0]) box[0] = p.x;
        if (p.y > box[1]) box[1] = p.y;
        if (p.x < box[2]) box[2] = p.x;
        if (p.y < box[3]) box[3] = p.y;
    }
}
}  // namespace

bool BoundChain::outerBoxContainsInner() const {
    if (!codes) return false;
    if (innerLen == 0) return true;
    if (!inner) return false;
    int mainBox[4], innerBox[4];
    loopBox(*this, start, codes, count, mainBox);
    loopBox(*this, start, inner, innerLen, innerBox);
    return mainBox[0] >= innerBox[0] && mainBox[1] >= innerBox[1] && mainBox[2] <= innerBox[2] &&
           mainBox[3] <= innerBox[3];
}

void BoundChain::chooseOuterLoop() {
    if (!codes || !inner || outerBoxContainsInner()) return;
    int n = count;
    count = innerLen;
    innerLen = n;
    unsigned char* t = codes;
    codes = inner;
    inner = t;
}
