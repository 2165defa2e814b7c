// Cutting a self-touching boundary into two loops, and the outline checks.
#include <cstring>

#include "tracer/BoundChain.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"

bool Ombrel::SolveOneStepIntersect(int d2, POINT p) {
    BoundChain& c = *chain;
    const int n = c.count;
    const int k = c.indexOf(p);
    if (k <= 0) return true;  // not on the chain: nothing to cut (never called so)
    c.start = c.end = p;
    if (static_cast<unsigned>(n) >= c.capacity) c.grow(static_cast<unsigned>(n));
    // The split-off loop: back from p to q, then the chain up to p.
    c.inner[0] = static_cast<unsigned char>(Arc_::opposite(d2));
    memcpy(c.inner + 1, c.codes, static_cast<size_t>(k));
    c.innerLen = k + 1;
    // The main loop: from p round to q, then out to p.
    memcpy(c.spare, c.codes + k, static_cast<size_t>(n - k));
    c.spare[n - k] = static_cast<unsigned char>(d2);
    unsigned char* t = c.codes;
    c.codes = c.spare;
    c.spare = t;
    c.count = n - k + 1;
    c.rotation = 0;
    c.chooseOuterLoop();
    c.innerPending = true;
    return true;
}

void Ombrel::SolveIntersect(int k) {
    BoundChain& c = *chain;
    const int n = c.count;
    const int a = arc->count;
    // Where the arc ends: chain pixel k.
    POINT e = arc->end;
    c.inner[0] = static_cast<unsigned char>(Arc_::opposite(arc->codes[0]));
    memcpy(c.inner + 1, c.codes + (a - 1), static_cast<size_t>(k - a + 1));
    c.innerLen = k - a + 2;
    memcpy(c.spare, c.codes + k, static_cast<size_t>(n - k));
    memcpy(c.spare + (n - k), arc->codes, static_cast<size_t>(a));
    unsigned char* t = c.codes;
    c.codes = c.spare;
    c.spare = t;
    c.count = n - k + a;
    c.start = c.end = e;
    c.rotation = 0;
    c.chooseOuterLoop();
    c.innerPending = true;
}

bool Ombrel::testloop(ListOfOutLines* ol) {
    if (!ol) return false;
    POINT p = ol->start;
    for (int i = 0; i < ol->len && ol->data; ++i) {
        int code = ol->data[i] & 3;
        p.x += code == 0 ? 1 : code == 2 ? -1 : 0;
        p.y += code == 1 ? 1 : code == 3 ? -1 : 0;
    }
    return p.x == ol->start.x && p.y == ol->start.y;
}

bool Ombrel::checkLoopValid() {
    BoundChain& c = *chain;
    POINT p = c.start;
    for (int i = 0; i < c.count; ++i) p = c.step(c.codeAt(i), p);
    return p.x == c.start.x && p.y == c.start.y;
}

bool Ombrel::checkNoOpposDirs() {
    BoundChain& c = *chain;
    bool r = true;
    for (int i = 0; i < c.count; ++i) {
        int next = i + 1 < c.count ? i + 1 : 0;
        r = c.codeAt(i) != Arc_::opposite(c.codeAt(next));
    }
    return r;
}

int Ombrel::generalCheckVisitedOnlyOnce() {
    int n = 0;
    for (int i = 0; visited && i < size; ++i)
        if (visited[i]) ++n;
    return n;
}

void Ombrel::ShowFailurePoint() {
    if (!IsPointValid(failurePoint)) return;
    PaintSQ(failurePoint, GetNearestColor(255, palette, palette ? paletteSize : 0), 3);
}
