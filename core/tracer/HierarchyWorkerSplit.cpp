// Cutting an outline into parts where its children run on it.
#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <cstring>
#include <new>

#include "tracer/HierarchyWorker.h"
#include "tracer/Junction.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/OutlineIndex.h"
#include "tracer/Segment.h"

namespace {

bool samePoint(POINT a, POINT b) {
    return a.x == b.x && a.y == b.y;
}

void pushPart(ListOfOutLines* outline, ListOfOutLines* part) {
    if (!part) return;
    part->next = outline->parts;
    outline->parts = part;
}

}  // namespace

Junction* HierarchyWorker::junctionAt(int i) const {
    if (!slotAt || !slotKind || i < 0 || !working || i >= working->len) return nullptr;
    return slotKind[i] == SlotJunction ? static_cast<Junction*>(slotAt[i]) : nullptr;
}

Segment* HierarchyWorker::segmentAt(int i) const {
    if (!slotAt || !slotKind || i < 0 || !working || i >= working->len) return nullptr;
    return slotKind[i] == SlotSegment ? static_cast<Segment*>(slotAt[i]) : nullptr;
}

void HierarchyWorker::splitIntoParts(ListOfOutLines* O) {
    if (!O) return;
    delete O->parts;  // an outline split a second time starts afresh
    O->parts = nullptr;
    if (!O->child) {
        pushPart(O, copyOutline(O));
        return;
    }
    if (!map || !working || !O->data || O->len <= 0) {
        pushPart(O, copyOutline(O));
        return;
    }
    parent = O;
    if (parentIndex) parentIndex->reset();  // built again on the first look-up

    // working: the reversal of O, same start and colour.
    free(working->data);
    working->data = static_cast<unsigned char*>(calloc(static_cast<size_t>(O->len), 1));
    if (!working->data) {
        working->len = 0;
        pushPart(O, copyOutline(O));
        return;
    }
    working->len = O->len;
    working->start = O->start;
    working->color = O->color;
    for (int i = 0; i < O->len; ++i)
        working->data[i] = static_cast<unsigned char>(Arc_::opposite(O->data[O->len - 1 - i]));

    clearMap();
    assert(mapIsClean() && "hierarchy map not clean when a split starts");
    markPixels(working, 1);

    free(slotAt);
    free(slotKind);
    slotAt = static_cast<void**>(calloc(static_cast<size_t>(working->len), sizeof(void*)));
    slotKind = static_cast<unsigned char*>(calloc(static_cast<size_t>(working->len), 1));
    if (!slotAt || !slotKind) {
        free(slotAt);
        free(slotKind);
        slotAt = nullptr;
        slotKind = nullptr;
        pushPart(O, copyOutline(O));
        clearMap();
        return;
    }

    bool touched = false;
    for (ListOfOutLines* C = O->child; C; C = C->next) scanChild(C, touched);

    if (!touched) {
        pushPart(O, copyOutline(O));
        O->allHolesFree = true;
    } else {
        for (ListOfOutLines* C = O->child; C; C = C->next) markPixels(C, 6);
        buildJunctions();
        WalkPos pos = {0, -1};
        if (mapAt(working->start) == 10) {
            Junction* J = junctionAt(0);
            if (J) pos.side = J->sideFlag ? 1 : 0;
        }
        walkParts(pos, working->start);
    }
    free(slotAt);
    free(slotKind);
    slotAt = nullptr;
    slotKind = nullptr;
    delete segments;
    segments = nullptr;
    delete junctions;
    junctions = nullptr;
    clearMap();
    if (parentIndex) parentIndex->reset();
    parent = nullptr;
}

void HierarchyWorker::scanChild(ListOfOutLines* C, bool& touched) {
    if (!C || !C->data || C->len <= 0) return;
    POINT p = C->start;
    int hits = 0;
    int firstIndex = -1;
    POINT firstPixel = p;
    for (int i = 0; i < C->len; ++i) {
        if (mapAt(p) == 1) {
            if (++hits == 1) {
                firstIndex = i;
                firstPixel = p;
            } else {
                break;
            }
        }
        p = stepper.step(C->data[i], p);
    }
    if (hits < 2) {
        ListOfOutLines* copy = copyOutline(C);
        reverseOutline(copy);
        pushPart(parent, copy);
        return;
    }
    C->isFrame = false;
    touched = true;
    ListOfOutLines* O = parent;
    POINT P = firstPixel;
    int j = indexOnParent(P);
    POINT Q = P;
    bool following = j >= 0;
    POINT prev = P;
    for (int i = firstIndex; i < C->len; ++i) {
        P = stepper.step(C->data[i], P);
        if (following) {
            Q = stepper.step(O->data[j], Q);
            if (++j == O->len) j = 0;
            if (!samePoint(Q, P)) {
                cutSegment(C, i, prev);
                following = false;
            }
        } else if (mapAt(P) == 1) {
            j = indexOnParent(P);
            following = j >= 0;
            Q = P;
        }
        prev = P;
    }
}

void HierarchyWorker::cutSegment(ListOfOutLines* C, int i, POINT prev) {
    POINT p = prev;
    int steps = 0;
    int wrapped = 0;
    bool reached = false;
    for (int s = 0; s < C->len; ++s) {
        int idx = i + s;
        if (idx >= C->len) {
            idx -= C->len;
            ++wrapped;
        }
        p = stepper.step(C->data[idx], p);
        ++steps;
        if (mapAt(p) == 1) {
            reached = true;
            break;
        }
    }
    if (!reached) return;  // never came back within one circuit: dropped
    Segment* seg = new (std::nothrow) Segment();
    if (!seg) return;
    seg->codes = static_cast<unsigned char*>(calloc(static_cast<size_t>(steps), 1));
    if (!seg->codes) {
        delete seg;
        return;
    }
    int head = steps - wrapped;
    memcpy(seg->codes, C->data + i, static_cast<size_t>(head));
    memcpy(seg->codes + head, C->data, static_cast<size_t>(wrapped));
    seg->len = steps;
    seg->start = prev;
    seg->end = p;
    seg->next = segments;
    segments = seg;
}

void HierarchyWorker::buildJunctions() {
    const int n = working->len;
    // Index the segments' start and end pixels so that one walk along
    // working finds every index.
    int count = 0;
    for (Segment* s = segments; s; s = s->next) ++count;
    struct Want {
        long long pixel;
        int order;  // position of the segment in the list
        bool isEnd;
        Segment* seg;
    };
    auto less = [](const Want& a, const Want& b) {
        return a.pixel != b.pixel ? a.pixel < b.pixel : a.order < b.order;
    };
    Want* wants = nullptr;
    Segment** all = nullptr;
    Segment** completed = nullptr;
    if (count) {
        wants = static_cast<Want*>(calloc(static_cast<size_t>(count) * 2, sizeof(Want)));
        all = static_cast<Segment**>(calloc(static_cast<size_t>(count), sizeof(Segment*)));
        completed = static_cast<Segment**>(calloc(static_cast<size_t>(count), sizeof(Segment*)));
        if (!wants || !all || !completed) {
            free(wants);
            free(all);
            free(completed);
            delete segments;
            segments = nullptr;
            return;
        }
    }
    int order = 0;
    for (Segment* s = segments; s; s = s->next, ++order) {
        s->startIndex = s->endIndex = -1;
        all[order] = s;
        wants[2 * order] =
            Want{static_cast<long long>(s->start.y) * width + s->start.x, order, false, s};
        wants[2 * order + 1] =
            Want{static_cast<long long>(s->end.y) * width + s->end.x, order, true, s};
    }
    std::sort(wants, wants + 2 * count, less);
    // A filter of the wanted pixels: most positions of the walk are none,
    // and pass without a search.
    const unsigned kFilterBits = 1u << 12;
    unsigned long long filter[kFilterBits / 64] = {0};
    auto filterBit = [](long long pixel) {
        return static_cast<unsigned>(
            (static_cast<unsigned long long>(pixel) * 0x9E3779B97F4A7C15ull) >> 52);
    };
    for (int k = 0; k < 2 * count; ++k) {
        const unsigned b = filterBit(wants[k].pixel);
        filter[b >> 6] |= 1ull << (b & 63);
    }

    // Segments leave the pending set once both indices are known; those
    // completing at the same position leave in list order (the entries of a
    // pixel are sorted by list order).
    int completedCount = 0;
    POINT p = working->start;
    for (int i = 0; i < n && completedCount < count; ++i) {
        long long px = static_cast<long long>(p.y) * width + p.x;
        const unsigned bit = filterBit(px);
        if (!(filter[bit >> 6] >> (bit & 63) & 1)) {
            p = stepper.step(working->data[i], p);
            continue;
        }
        Want key{px, -1, false, nullptr};
        Want* const first = std::lower_bound(wants, wants + 2 * count, key, less);
        Want* it = first;
        for (; it != wants + 2 * count && it->pixel == px; ++it) {
            Segment* s = it->seg;
            if (s->startIndex >= 0 && s->endIndex >= 0) continue;
            if (it->isEnd)
                s->endIndex = i;
            else
                s->startIndex = i;
        }
        for (it = first; it != wants + 2 * count && it->pixel == px; ++it) {
            Segment* s = it->seg;
            if (s->startIndex >= 0 && s->endIndex >= 0 && s->len >= 0) {
                completed[completedCount++] = s;
                s->len = -s->len - 1;  // mark as taken (restored below)
            }
        }
        p = stepper.step(working->data[i], p);
    }
    // Rebuild the list: completed segments pushed in front in completion
    // order; the others are deleted.
    for (int k = 0; k < count; ++k) all[k]->next = nullptr;
    segments = nullptr;
    for (int k = 0; k < completedCount; ++k) {
        Segment* s = completed[k];
        s->len = -s->len - 1;
        s->next = segments;
        segments = s;
    }
    for (int k = 0; k < count; ++k)
        if (all[k]->startIndex < 0 || all[k]->endIndex < 0) delete all[k];
    free(wants);
    free(all);
    free(completed);

    // Table by end position (a later segment replaces an earlier one).
    Segment** byEnd = static_cast<Segment**>(calloc(static_cast<size_t>(n), sizeof(Segment*)));
    if (!byEnd) {
        delete segments;
        segments = nullptr;
        return;
    }
    for (Segment* s = segments; s; s = s->next) byEnd[s->endIndex] = s;

    delete junctions;
    junctions = nullptr;
    for (Segment* s = segments; s; s = s->next) {
        int k = s->startIndex;
        if (byEnd[k]) {
            Junction* J = new (std::nothrow) Junction();
            if (!J) continue;
            J->ending = byEnd[k];
            J->starting = s;
            J->index = k;
            J->state[0] = 6;
            J->state[1] = 7;
            slotAt[k] = J;
            slotKind[k] = SlotJunction;
            setMap(s->start, 10);
            J->next = junctions;
            junctions = J;
        } else {
            setMap(s->start, 7);
            slotAt[k] = s;
            slotKind[k] = SlotSegment;
        }
    }
    free(byEnd);
    setJunctionSides();
}

void HierarchyWorker::setJunctionSides() {
    const int n = working->len;
    for (Junction* J = junctions; J; J = J->next) {
        int a = J->ending->startIndex - J->ending->endIndex;
        int b = J->starting->endIndex - J->ending->endIndex;
        if (a < 0) a += n;
        if (b < 0) b += n;
        J->sideFlag = b < a;
    }
}
