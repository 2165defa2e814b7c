// Tracing every further region level by level below the seed region.
#include <algorithm>
#include <climits>
#include <new>

#include "tracer/BoundChain.h"
#include "tracer/ChainRing.h"
#include "tracer/HierarchyWorker.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"

bool Ombrel::generateAllOutlines(ListOfOutLines* list) {
    // Along the list in a loop; into children by recursion (nesting depth).
    for (ListOfOutLines* o = list; o; o = o->next) {
        if (!GenerateNextLevelOutlines(o)) return false;
        generateAllOutlines(o->child);
        if (hierarchyWorker) hierarchyWorker->splitIntoParts(o);
    }
    return true;
}

bool Ombrel::GenerateNextLevelOutlines(ListOfOutLines* o) {
    if (!o) return true;
    if (!valid || !GenerateInitBoundChain(o)) return true;
    while (DoOneOutline()) {
    }
    delete o->child;  // an outline traced twice: the old level is released
    o->child = resultHead;
    resultHead = resultTail = nullptr;
    o->pixelCount = sampleCount;
    o->paletteIndex = GetNearestColor(regionColor, palette, palette ? paletteSize : 0);
    o->color = regionColor;
    return outlineCount <= maxOutlines;
}

bool Ombrel::GenerateInitBoundChain(ListOfOutLines* o) {
    if (!o || !o->data || o->len <= 0) return false;
    BoundChain& c = *chain;
    if (static_cast<unsigned>(o->len) >= c.capacity && !c.grow(static_cast<unsigned>(o->len)))
        return false;
    o->GetData(c.codes, c.count, c.start, c.rotation);
    c.end = c.start;

    // Sampling pass: up to four pixels deep into the far side at first, then
    // the first far-side neighbour of every further position.
    //
    // The same pass notes what the first step will meet at the positions it
    // looks at (those that are no inner corner, whose outward pixel is in
    // the raster): the distinct colours of the unclaimed outward pixels, and
    // whether any outward pixel is claimed already.
    int n = 0;
    long long s1 = 0, s2 = 0, s3 = 0;
    const int kMaxSeen = 32;
    DWORD seen[kMaxSeen];
    int seenCount = 0;
    bool seenAll = avgRadius == 0;  // the first step reads single pixels then
    bool metClaimed = false, metUnclaimed = false;
    // The claimed ones are listed (unless no list can be had).
    if (claimedCapacity < c.count) {
        const int want = c.count > INT_MAX / 2 ? c.count : std::max(c.count, 2 * claimedCapacity);
        delete[] claimed;
        claimedCapacity = 0;
        claimed = new (std::nothrow) ClaimedStep[static_cast<size_t>(want)];
        if (claimed) claimedCapacity = want;
    }
    int claimedCount = 0;
    bool listed = claimed != nullptr;
    for (int i = 0; i < c.count; ++i) {
        int d = (c.currentCode() + 1) % 4;
        POINT q = c.step(d, c.start);
        if (seenAll && d != c.lastCodeReversed() && IsPointValid(q)) {
            if (VisitedReached(q)) {
                metClaimed = true;
                if (listed) claimed[claimedCount++] = ClaimedStep{i, q, d, metUnclaimed};
            } else {
                metUnclaimed = true;
                DWORD col = 0;
                GetColor(col, q.x, q.y);
                int k = seenCount;
                while (k > 0 && seen[k - 1] != col) --k;
                if (k == 0) {
                    if (seenCount == kMaxSeen)
                        seenAll = false;
                    else
                        seen[seenCount++] = col;
                }
            }
        }
        do {
            if (!IsPointValid(q) || VisitedReached(q)) break;
            DWORD col = 0;
            GetColor(col, q.x, q.y);
            ++n;
            s1 += col & 0xFF;
            s2 += (col >> 8) & 0xFF;
            s3 += (col >> 16) & 0xFF;
            q = c.step(d, q);
        } while (n < 4);
        c.advanceStart();
    }
    if (n == 0) n = 1;
    regionColor = static_cast<DWORD>((s1 / n) & 0xFF) | static_cast<DWORD>((s2 / n) & 0xFF) << 8 |
                  static_cast<DWORD>((s3 / n) & 0xFF) << 16;
    sampleCount = n;
    sumRed = s1;
    sumGreen = s2;
    sumBlue = s3;
    // When no outward pixel has a colour the mean accepts, the first step
    // with the mean grows nowhere: it fails at every position, or cuts at the
    // first claimed one on the chain. It need not walk the chain to say so.
    bool meanRejects = seenAll;
    for (int k = 0; k < seenCount && meanRejects; ++k)
        if (IsColorAcceptable(seen[k])) meanRejects = false;
    const bool meanFails = meanRejects && !metClaimed;

    // The first steps run on the ring working copy, loaded once here; the
    // loop then grows on it without a second load. Without a ring they run
    // on the chain itself.
    ringHoldsChain = false;
    if (!ring) ring = new (std::nothrow) ChainRing(width, height);
    const bool onRing = ring && ring->isValid() && ring->load(c);
    int r = 0;
    if (meanFails) {
        c.lastOffset = -1;
        c.innerPending = false;
        c.innerLen = 0;
        firstStepHadCandidate = metUnclaimed;
    } else if (meanRejects && onRing && listed) {
        r = firstStepRejectingAll(claimedCount, metUnclaimed);
    } else {
        r = onRing ? firstStepOn(*ring) : DoFirstStep();
    }
    if (r == 0 && (onRing || meanFails)) {
        // The walk went round once on the ring, or was not needed: the ring
        // stands as loaded. The chain takes the rotation a walk on it would
        // have left.
        c.normalize();
    } else if (r != 0 && onRing && !ring->store(c)) {
        r = 0;
    }
    if (c.lastOffset >= 0) SetVisited(c.lastOffset, 0);
    if (r == 1) {
        ringHoldsChain = onRing;
        return true;
    }

    // Fallback: try each valid far-side neighbour's own colour. When the
    // first step returned 0 without meeting an unclaimed outward pixel, every
    // position was skipped for reasons no colour changes (inner corner,
    // outside the raster, claimed off the chain), so every repeat would
    // return 0 as well and change nothing: the steps are not repeated (the
    // region colour still ends as the last neighbour's colour). After a cut
    // (2) they are, as after a first step that met a candidate. (A traced
    // outline never cuts here: its growth ended with a first step that found
    // no cut on the same chain. An outline a host builds may.)
    const bool canGrow = r != 0 || firstStepHadCandidate;
    bool searching = true;
    const int count = c.count;
    // The steps run on the ring, which follows the chain's start; a step
    // that succeeds hands the ring's chain back, and the ring keeps
    // following the chain to the end of the walk.
    const bool stepsOnRing = canGrow && onRing && (r == 0 || ring->load(c));
    bool holds = false;
    for (int i = 0; i < count; ++i) {
        int d = (c.currentCode() + 1) % 4;
        POINT q = c.step(d, c.start);
        if (searching && IsPointValid(q)) {
            GetColor(regionColor, q.x, q.y);
            r = !canGrow ? 0 : stepsOnRing ? firstStepOn(*ring) : DoFirstStep();
            if (r != 0 && stepsOnRing && !ring->store(c)) r = 0;
            if (r != 0) {
                sampleCount = 1;
                sumRed = regionColor & 0xFF;
                sumGreen = (regionColor >> 8) & 0xFF;
                sumBlue = (regionColor >> 16) & 0xFF;
            }
            if (c.lastOffset >= 0) SetVisited(c.lastOffset, 0);
            if (r != 0) {
                searching = false;
                holds = stepsOnRing && r == 1;
            }
        }
        c.advanceStart();
        if (stepsOnRing && (searching || holds)) ring->advanceStart();
    }
    ringHoldsChain = holds && r == 1;
    return r == 1;
}

int Ombrel::firstStepRejectingAll(int claimedCount, bool metUnclaimed) {
    BoundChain& c = *chain;
    c.lastOffset = -1;
    c.innerPending = false;
    c.innerLen = 0;
    ring->markColour(regionColor);
    // A claimed outward pixel is never the position's own pixel, so it is on
    // the chain (a cut) exactly when the ring finds it from any start.
    for (int j = 0; j < claimedCount; ++j) {
        const ClaimedStep& s = claimed[j];
        if (ring->indexOf(s.p) < 0) continue;
        firstStepHadCandidate = s.afterCandidate;
        for (int i = 0; i < s.index; ++i) ring->advanceStart();
        return ring->cutAtFirstStep(s.d2, ring->indexOf(s.p), c) ? 2 : 0;
    }
    firstStepHadCandidate = metUnclaimed;
    return 0;
}

bool Ombrel::ringReadyFor(const BoundChain& c) {
    const bool holds = ringHoldsChain;
    ringHoldsChain = false;
    if (!ring) ring = new (std::nothrow) ChainRing(width, height);
    if (!ring || !ring->isValid()) return false;
    if (holds && ring->count() == c.count && ring->start().x == c.start.x &&
        ring->start().y == c.start.y)
        return true;
    return ring->load(c);
}

ListOfOutLines* Ombrel::delSmallOutlines(ListOfOutLines*& list) {
    // Drop short heads, then walk the rest of the list in a loop.
    while (list && list->start.x != -1 && list->len < minOutlineLen) {
        ListOfOutLines* dead = list;
        list = dead->next;
        dead->next = nullptr;
        delete dead;
    }
    for (ListOfOutLines* n = list; n; n = n->next) {
        while (n->next && n->next->start.x != -1 && n->next->len < minOutlineLen) {
            ListOfOutLines* dead = n->next;
            n->next = dead->next;
            dead->next = nullptr;
            delete dead;
        }
        if (n->child && n->child->len < minOutlineLen) {
            delete n->child;
            n->child = nullptr;
        } else if (n->child) {
            delSmallOutlines(n->child);
        }
    }
    return list;
}
