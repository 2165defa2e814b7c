// Walking the working outline and its segments into closed parts.
#include <cstdlib>
#include <cstring>
#include <new>

#include "tracer/HierarchyWorker.h"
#include "tracer/Junction.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Segment.h"

HierarchyWorker::ScanResult HierarchyWorker::findStop(WalkPos pos, POINT P) {
    return scan(pos, P, true);
}

HierarchyWorker::ScanResult HierarchyWorker::findNextStart(WalkPos pos, POINT P) {
    return scan(pos, P, false);
}

HierarchyWorker::ScanResult HierarchyWorker::scan(WalkPos pos, POINT P, bool stopOnParent) {
    const int n = working->len;
    int i = pos.index;
    int s = pos.side;
    int steps = 0;
    unsigned char m = mapAt(P);
    for (;;) {
        if (steps >= n) return ScanResult{WalkPos{i, s}, P, false};
        if (i >= n) i -= n;
        if (m == 10) {
            Junction* J = junctionAt(i);
            if (!J) return ScanResult{WalkPos{i, s}, P, false};  // no junction here
            if (s < 0) s = 0;
            if (J->state[s] == 5) return ScanResult{WalkPos{i, s}, P, false};
            if (J->state[s] == 8) J->state[s] = 5;
            if ((J->sideFlag && s == 1) || (!J->sideFlag && s == 0))
                return ScanResult{WalkPos{i, s}, P, true};
            if (s == 0) {
                s = 1;
                continue;  // the same junction, other side, without stepping
            }
        } else {
            if (m == 7 || (stopOnParent && m == 1)) return ScanResult{WalkPos{i, -1}, P, true};
            if (m == 5) return ScanResult{WalkPos{i, s}, P, false};
            if (m == 8) setMap(P, 5);
        }
        P = stepper.step(working->data[i], P);
        ++i;
        ++steps;
        m = mapAt(P);
        s = m == 10 ? 0 : -1;
    }
}

bool HierarchyWorker::appendCodes(Segment* acc, const unsigned char* codes, int n) {
    if (n <= 0) return true;
    unsigned char* grown =
        static_cast<unsigned char*>(realloc(acc->codes, static_cast<size_t>(acc->len + n)));
    if (!grown) return false;
    memcpy(grown + acc->len, codes, static_cast<size_t>(n));
    acc->codes = grown;
    acc->len += n;
    return true;
}

void HierarchyWorker::appendSegment(Segment* acc, Segment* seg) {
    appendCodes(acc, seg->codes, seg->len);
    acc->end = seg->end;
    acc->endIndex = seg->endIndex;
}

void HierarchyWorker::appendParentPiece(Segment* acc, WalkPos from, WalkPos to, POINT P) {
    const int n = working->len;
    if (from.index == to.index && (from.side == to.side || (from.side == 0 && to.side == 1) ||
                                   (from.side == 1 && to.side == 0)))
        return;
    if (to.index > from.index) {
        appendCodes(acc, working->data + from.index, to.index - from.index);
    } else {
        appendCodes(acc, working->data + from.index, n - from.index);
        appendCodes(acc, working->data, to.index);
    }
    acc->end = P;
    acc->endIndex = to.index;
}

ListOfOutLines* HierarchyWorker::partFromSegment(Segment* acc, unsigned long colour) {
    ListOfOutLines* part = new (std::nothrow) ListOfOutLines(static_cast<DWORD>(colour));
    if (!part) return nullptr;
    part->data = acc->codes;
    part->len = acc->len;
    part->start = acc->start;
    acc->codes = nullptr;
    acc->len = 0;
    return part;
}

namespace {
// One pending walk: the accumulated part, the segment just taken and where
// the next scan starts.
struct WalkFrame {
    Segment* acc;
    Segment* seg;
    WalkPos r;
    POINT R;
};
}  // namespace

void HierarchyWorker::walkParts(WalkPos pos0, POINT P0) {
    if (!slotAt) return;
    const int n = working->len;

    // Steps 1 to 5 of a walk: find where its first segment starts.
    auto begin = [&](WalkPos pos, POINT P, WalkPos& r, POINT& R) -> bool {
        bool close = false;
        unsigned char m = mapAt(P);
        if (m == 8) {
            setMap(P, 5);
            close = true;
        } else if (m == 10) {
            Junction* J = junctionAt(pos.index);
            int side = pos.side < 0 ? 0 : pos.side;
            if (J && J->state[side] == 8) {
                J->state[side] = 5;
                if (J->sideFlag)
                    close = true;
                else
                    pos.side = 1;
            }
        }
        if (close) {
            P = stepper.step(working->data[pos.index], P);
            pos.side = mapAt(P) == 10 ? 0 : -1;
            if (++pos.index == n) pos.index = 0;
        }
        ScanResult stop = findStop(pos, P);
        if (!stop.found || stop.pos.index < 0) return false;
        ScanResult start = findNextStart(stop.pos, stop.pixel);
        if (!start.found || start.pos.index < 0) return false;
        r = start.pos;
        R = start.pixel;
        return true;
    };

    // Step a to c: take the segment that starts at f.r into the part and
    // close its end. False when there is no segment there.
    auto take = [&](WalkFrame& f) -> bool {
        Segment* seg = nullptr;
        if (f.r.side < 0) {
            seg = segmentAt(f.r.index);
            if (!seg) return false;
            setMap(seg->start, 8);
        } else {
            Junction* J = junctionAt(f.r.index);
            if (!J) return false;
            seg = J->starting;
            J->state[f.r.side] = 8;
        }
        f.seg = seg;
        if (!f.acc) {
            f.acc = new (std::nothrow) Segment();
            if (!f.acc) return false;
            f.acc->start = seg->start;
            f.acc->startIndex = seg->startIndex;
        }
        appendSegment(f.acc, seg);
        if (mapAt(seg->end) == 10) {
            Junction* E = junctionAt(seg->endIndex);
            if (E) E->state[E->sideFlag ? 0 : 1] = 5;
        } else {
            setMap(seg->end, 5);
        }
        return true;
    };

    WalkFrame* stack = nullptr;
    int depth = 0, capacity = 0;
    auto push = [&](const WalkFrame& f) -> bool {
        if (depth == capacity) {
            int cap = capacity ? capacity * 2 : 64;
            WalkFrame* grown = static_cast<WalkFrame*>(
                realloc(stack, sizeof(WalkFrame) * static_cast<size_t>(cap)));
            if (!grown) return false;
            stack = grown;
            capacity = cap;
        }
        stack[depth++] = f;
        return true;
    };

    // Starts a walk at (pos, P): pushes its frame with the first segment
    // taken; false when the walk yields nothing.
    auto enter = [&](WalkPos pos, POINT P) -> bool {
        WalkFrame f = {nullptr, nullptr, WalkPos{-10, -1}, POINT{0, 0}};
        if (!begin(pos, P, f.r, f.R)) return false;
        if (!take(f) || !push(f)) {
            delete f.acc;
            return false;
        }
        return true;
    };

    bool call = enter(pos0, P0);
    WalkPos callPos{0, -1};
    POINT callPixel{0, 0};
    if (call) {
        callPos = stack[depth - 1].r;
        callPixel = stack[depth - 1].R;
    }
    while (depth > 0) {
        if (call) {
            // The other side of the segment is walked first.
            call = enter(callPos, callPixel);
            if (call) {
                callPos = stack[depth - 1].r;
                callPixel = stack[depth - 1].R;
            }
            continue;
        }
        WalkFrame& f = stack[depth - 1];
        Segment* seg = f.seg;
        // Reopen the segment's end.
        if (mapAt(seg->end) == 10) {
            Junction* E = junctionAt(seg->endIndex);
            if (E) E->state[E->sideFlag ? 0 : 1] = 8;
        } else {
            setMap(seg->end, 8);
        }
        WalkPos c = {seg->endIndex, -1};
        if (mapAt(seg->end) == 10) {
            Junction* E = junctionAt(seg->endIndex);
            if (E) c.side = E->sideFlag ? 0 : 1;
        }
        ScanResult next = findNextStart(c, seg->end);
        appendParentPiece(f.acc, c, next.pos, next.pixel);
        if (next.found && next.pos.index >= 0) {
            f.r = next.pos;
            f.R = next.pixel;
            if (take(f)) {
                call = true;
                callPos = f.r;
                callPixel = f.R;
                continue;
            }
            // No segment where the scan stopped: this walk ends without a part.
            delete f.acc;
            --depth;
            continue;
        }
        // The loop has closed.
        ListOfOutLines* part = partFromSegment(f.acc, working->color);
        delete f.acc;
        --depth;
        if (part) {
            part->isFrame = false;
            part->next = parent->parts;
            parent->parts = part;
            reverseOutline(part);
        }
    }
    free(stack);
}
