// Boundary following: first steps, arcs, splices, and one loop to the end.
#include <cstring>
#include <new>

#include "tracer/BoundChain.h"
#include "tracer/ChainRing.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"

namespace {

// Whether a finished loop is stored as an outline. Besides being longer than
// the minimum length (a negative minimum acts as 0), a loop of 4 codes or
// fewer is stored only when it is the outline of a 2 x 2 block (each code
// turns toward the region, 0 3 2 1 rotated). The other short loops, a spur
// walked out and back (0 2, 0 0 2 2, 0 2 0 2) or a hole loop of 4 codes
// (0 1 2 3 rotated: a hole that the growth has filled completely), enclose
// no pixel; with a minimum length below 4 they were stored, and the part
// walk of the hierarchy cut them into parts that do not close.
bool storesLoop(const BoundChain& c, int minOutlineLen) {
    if (c.count <= minOutlineLen || c.count <= 0) return false;
    if (c.count > 4) return true;
    if (c.count < 4) return false;
    for (int i = 0; i < 4; ++i)
        if (c.codeAt((i + 1) % 4) != (c.codeAt(i) + 3) % 4) return false;
    return true;
}

}  // namespace

POINT Ombrel::GetNextPoint(int code, POINT p) {
    return arc->step(code, p);
}

bool Ombrel::IsPointOK(bool addColor, POINT p) {
    bool met = false;
    return IsPointOK(addColor, p, met);
}

bool Ombrel::IsPointOK(bool addColor, POINT p, bool& met) {
    if (!IsPointValid(p)) return false;
    if (VisitedReached(p)) {
        met = true;
        return true;
    }
    const DWORD colour = colourAround(p);
    if (!IsColorAcceptable(colour)) return false;
    if (addColor) addColour(colour);
    return true;
}

bool Ombrel::TwoStepsOK(int outward, int along, POINT q) {
    POINT p = GetNextPoint(outward, q);
    if (!IsPointOK(true, p)) return false;
    return IsPointOK(false, GetNextPoint(along, p));
}

namespace {
// The chain's count and start in either form.
int countOf(const BoundChain& c) {
    return c.count;
}
int countOf(const ChainRing& r) {
    return r.count();
}
POINT startOf(const BoundChain& c) {
    return c.start;
}
POINT startOf(const ChainRing& r) {
    return r.start();
}
// Makes the rotation physical; the ring's order always is.
void normalizeOf(BoundChain& c) {
    c.normalize();
}
void normalizeOf(ChainRing&) {}
// First-step marks (the ring keeps them; the plain chain does not).
void markColourOf(BoundChain&, DWORD) {}
void markColourOf(ChainRing& r, DWORD colour) {
    r.markColour(colour);
}
bool markedOf(const BoundChain&) {
    return false;
}
bool markedOf(const ChainRing& r) {
    return r.startMarked();
}
void markOf(BoundChain&) {}
void markOf(ChainRing& r) {
    r.markStart();
}
}  // namespace

template <class Chain>
int Ombrel::firstStepOn(Chain& v) {
    BoundChain& c = *chain;
    c.lastOffset = -1;
    c.innerPending = false;
    c.innerLen = 0;
    firstStepHadCandidate = false;
    const int n = countOf(v);
    markColourOf(v, regionColor);
    for (int i = 0; i < n; ++i) {
        int back = v.lastCodeReversed();
        int d = v.currentCode();
        int d2 = (d + 1) % 4;
        if (d2 != back && markedOf(v)) {
            // Unclaimed outward pixel of a colour not accepted, as before.
            firstStepHadCandidate = true;
        } else if (d2 != back) {
            POINT q = startOf(v);
            POINT p = GetNextPoint(d2, q);
            if (IsPointValid(p)) {
                if (VisitedReached(p)) {
                    // The region touches itself here. A visited pixel that is
                    // not on this chain cannot be cut at: skip the position.
                    int k = v.indexOf(p);
                    if (k > 0) {
                        normalizeOf(v);
                        return cutFirstStepOn(v, d2, p, k) ? 2 : 0;
                    }
                } else {
                    // TwoStepsOK(d2, d, q), its outward pixel measured once:
                    // an accepted one counts in the region's colour even when
                    // the pixel beyond it fails.
                    firstStepHadCandidate = true;
                    const DWORD colour = colourAround(p);
                    if (!IsColorAcceptable(colour)) {
                        markOf(v);
                    } else {
                        addColour(colour);
                        if (IsPointOK(false, GetNextPoint(d, p))) {
                            arc->count = 0;
                            arc->start = q;
                            arc->end = q;
                            if (!arc->append(d2, 0)) break;
                            c.lastOffset = static_cast<int>(GetOffset(p.x, p.y, width));
                            SetVisited(c.lastOffset, 1);
                            normalizeOf(v);
                            return 1;
                        }
                    }
                }
            }
        }
        v.advanceStart();
    }
    normalizeOf(v);
    return 0;
}

// The fallback first steps of GenerateInitBoundChain run on the ring too.
template int Ombrel::firstStepOn<ChainRing>(ChainRing&);

int Ombrel::DoFirstStep() {
    return firstStepOn(*chain);
}

bool Ombrel::spliceArc(int k) {
    BoundChain& c = *chain;
    const int a = arc->count;
    const int n = c.count;
    const int total = a + n - k;
    if (static_cast<unsigned>(total) >= c.capacity && !c.grow(static_cast<unsigned>(total)))
        return false;
    POINT newStart = arc->step(arc->codes[0], arc->start);
    unsigned char* out = c.spare;
    memcpy(out, arc->codes + 1, static_cast<size_t>(a - 1));
    memcpy(out + (a - 1), c.codes + k, static_cast<size_t>(n - k));
    out[total - 1] = arc->codes[0];
    c.spare = c.codes;
    c.codes = out;
    c.count = total;
    c.start = c.end = newStart;
    c.rotation = 0;
    return true;
}

bool Ombrel::spliceOn(BoundChain&, int k) {
    return spliceArc(k);
}

bool Ombrel::spliceOn(ChainRing& r, int k) {
    return r.splice(*arc, k);
}

bool Ombrel::cutFirstStepOn(BoundChain&, int d2, POINT p, int) {
    return SolveOneStepIntersect(d2, p);
}

bool Ombrel::cutFirstStepOn(ChainRing& r, int d2, POINT, int k) {
    return r.cutAtFirstStep(d2, k, *chain);
}

bool Ombrel::cutArcOn(BoundChain&, int k) {
    SolveIntersect(k);
    return true;
}

bool Ombrel::cutArcOn(ChainRing& r, int k) {
    return r.cutAtArc(*arc, k, *chain);
}

template <class Chain>
int Ombrel::arcOn(Chain& v) {
    bool met = false;
    const int n = countOf(v);
    const int d2 = arc->codes[0];
    int i = 0;
    for (; i < n; ++i) {
        int d = v.codeAt(i);
        POINT r = GetNextPoint(d, arc->end);
        if (!IsPointOK(true, r, met)) break;
        if (met) {
            // A visited pixel off this chain is treated as not acceptable.
            int k = v.indexOf(r);
            if (k < 0) break;
            if (!arc->append(d, static_cast<unsigned>(i + 1))) return 0;
            if (k <= arc->count) return spliceOn(v, k) ? 1 : 0;
            return cutArcOn(v, k) ? 2 : 0;
        }
        SetVisited(r);
        if (!arc->append(d, static_cast<unsigned>(i + 1))) return 0;
    }
    if (i == n) return 0;
    // Close: step back onto the chain beside chain pixel i.
    if (!arc->append(Arc_::opposite(d2), static_cast<unsigned>(arc->count))) return 0;
    return spliceOn(v, arc->count - 2) ? 1 : 0;
}

int Ombrel::createAddArc() {
    return arcOn(*chain);
}

template <class Chain>
int Ombrel::growthStepOn(Chain& v) {
    int r = firstStepOn(v);
    if (r == 0) return 0;
    if (r != 2) {
        r = arcOn(v);
        if (r == 0) return 0;
    }
    if (chain->innerPending && chain->innerLen > minOutlineLen) r = SaveInnerOutline() ? 1 : 0;
    UpdateRegionColor();
    return r;
}

int Ombrel::addArcToOutline() {
    return growthStepOn(*chain);
}

bool Ombrel::SaveInnerOutline() {
    BoundChain& c = *chain;
    if (c.innerLen == 0) return true;
    ListOfOutLines* node;
    if (innerStack) {
        node = innerStack->AllocAndAddHead(regionColor);
        if (node == innerStack) return false;
    } else {
        node = new (std::nothrow) ListOfOutLines(regionColor);
        if (!node) return false;
    }
    innerStack = node;
    return node->FreeAllocAndPutData(c.inner, c.innerLen, c.start);
}

bool Ombrel::DoOneOutline() {
    BoundChain& c = *chain;
    // The loop grows in the ring working copy when one can be had; the
    // chain fields hold the finished loop either way.
    if (ringReadyFor(c)) {
        while (growthStepOn(*ring) != 0) {
        }
        if (!ring->store(c)) return false;
    } else {
        while (growthStepOn(c) != 0) {
        }
    }
    if (storesLoop(c, minOutlineLen)) {
        ++outlineCount;
        ListOfOutLines* node;
        if (!resultHead) {
            node = new (std::nothrow) ListOfOutLines(regionColor);
            if (!node) return false;
            resultHead = resultTail = node;
        } else {
            if (!resultTail) return false;
            node = resultTail->AllocAndAddQueue(regionColor);
            if (node == resultTail) return false;
            resultTail = node;
        }
        node->FreeAllocAndPutData(c.codes, c.count, c.start);
    }
    if (!innerStack) return false;
    ListOfOutLines* top = innerStack;
    if (top->len > 0 && static_cast<unsigned>(top->len) >= c.capacity &&
        !c.grow(static_cast<unsigned>(top->len)))
        return false;
    top->GetData(c.codes, c.count, c.start, c.rotation);
    c.end = c.start;
    innerStack = top->next;
    top->next = nullptr;
    delete top;
    return true;
}

void Ombrel::PaintInnerOutLines(BYTE index) {
    if (!indexRaster) return;
    for (ListOfOutLines* n = innerStack; n; n = n->next) {
        POINT p = n->start;
        if (IsPointValid(p)) indexRaster[GetOffset(p.x, p.y, width)] = index;
        for (int i = 0; i < n->len && n->data; ++i) {
            p = GetNextPoint(n->data[i], p);
            if (IsPointValid(p)) indexRaster[GetOffset(p.x, p.y, width)] = index;
        }
    }
}

void Ombrel::PaintSQ(POINT p, BYTE index, BYTE side) {
    if (!indexRaster) return;
    int x0 = p.x - side / 2, y0 = p.y - side / 2;
    for (int y = y0; y < y0 + side; ++y)
        for (int x = x0; x < x0 + side; ++x)
            if (IsPointValid(POINT{x, y})) indexRaster[GetOffset(x, y, width)] = index;
}
