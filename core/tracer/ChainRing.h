// ChainRing: the tracer's working copy of the boundary chain while one loop
// grows, laid out so that every growth step costs what it touches rather
// than the length of the chain.
//
// - The codes sit in a circular buffer (capacity a power of two); logical
//   code i is at slot (s + i) & mask. Advancing the start moves the first
//   code behind the last one, so the logical order is always physical from
//   s and no rotation is ever made physical by copying the whole chain.
// - Every chain position (the pixel that a code leaves) has an id; a hash
//   multimap from pixel to ids gives the logical index of a pixel in time
//   independent of the chain length (a pixel may stand on the chain more
//   than once; the smallest index wins, as in a walk from the start).
// - Column and row counts of the chain's positions give the box of the
//   whole chain; at a cut only the shorter of the two loops is walked, and
//   the box of the other follows from the counts. Only the loop that is set
//   aside is copied out.
//
// The operations do exactly what BoundChain and the tracer's splice and cuts
// do on the chain fields (same codes, same start, same loop chosen as
// main); the tracer loads a ChainRing from its BoundChain when a loop starts
// growing and stores it back when the loop is finished.
#pragma once

#include "platform/WinTypes.h"

class Arc_;
class BoundChain;

class ChainRing {
public:
    // Positions must lie in a width x height raster.
    ChainRing(int width, int height);
    ~ChainRing();
    ChainRing(const ChainRing&) = delete;
    ChainRing& operator=(const ChainRing&) = delete;

    // False when the first buffers could not be allocated.
    bool isValid() const { return histX_ != nullptr; }

    // Takes the chain's logical loop (codes from its rotation, count, start,
    // end). False when a buffer cannot be allocated, the chain is empty or
    // leaves the raster; the ring is empty then.
    bool load(const BoundChain& c);
    // Puts the loop back: codes in logical order, rotation 0, count, start,
    // end. False when the chain cannot be grown (the chain is unchanged).
    bool store(BoundChain& c) const;

    int count() const { return n_; }

    // Marks for the tracer's first steps. A position whose outward pixel is
    // unclaimed and of a colour the growing region does not accept stays so
    // while the region keeps its colour and the position keeps its code: a
    // region claims only pixels it accepts. The tracer marks such positions
    // and passes them by on later rounds without looking at the pixels.
    // `markColour` forgets every mark when the colour differs from the last
    // one given; loading or clearing the ring forgets them too, and a
    // position whose code changes loses its mark.
    void markColour(DWORD colour);
    bool startMarked() const { return mark_[idAt_[s_]] == epoch_; }
    void markStart() { mark_[idAt_[s_]] = epoch_; }
    POINT start() const { return start_; }
    int codeAt(int i) const { return code_[(s_ + static_cast<unsigned>(i)) & mask_]; }
    int currentCode() const { return code_[s_]; }
    // The opposite of the last code; -10 when count < 2.
    int lastCodeReversed() const {
        if (n_ < 2) return -10;
        int d = code_[(s_ + static_cast<unsigned>(n_) - 1) & mask_];
        return d + 2 < 4 ? d + 2 : d - 2;
    }
    // Moves the start by the step of code 0; the code goes behind the last.
    // Inline: the tracer's first steps call it for every position they pass.
    void advanceStart() {
        if (n_ <= 0) return;
        const int code = code_[s_];
        start_ = stepOf(code, start_);
        moveTo(s_, slotAt(n_), code);
        s_ = (s_ + 1) & mask_;
    }
    // 0 for the start; else the smallest logical index >= 1 at which the
    // chain stands on p; -10 when p is not on the chain.
    int indexOf(POINT p) const;

    // Splices the tracer's arc in at chain pixel k (the arc ends there): the
    // chain becomes arc codes 1.., chain codes k.., arc code 0, starting at
    // the first arc pixel. False when the ring cannot grow (unchanged then).
    bool splice(const Arc_& arc, int k);
    // The cut when the first step's outward pixel (chain pixel k) is already
    // in the region: main loop c[k..] + d2, split-off loop opposite(d2) +
    // c[0..k-1], both from chain pixel k; the loop whose box encloses the
    // other's stays main. The split-off loop goes to the chain's inner and
    // innerLen; the chain's start and end become the cut pixel. False when
    // the chain's buffers cannot be grown (nothing changed then).
    bool cutAtFirstStep(int d2, int k, BoundChain& c);
    // The cut when the arc (first code d2, a codes) ends on chain pixel k > a:
    // main loop c[k..] + arc, split-off loop opposite(d2) + c[a-1..k-1].
    bool cutAtArc(const Arc_& arc, int k, BoundChain& c);

private:
    struct Box {
        int maxX, maxY, minX, minY;
    };

    // The pixel one step of `code` from p.
    static POINT stepOf(int code, POINT p) {
        static const int kDx[4] = {1, 0, -1, 0};
        static const int kDy[4] = {0, 1, 0, -1};
        return POINT{p.x + kDx[code & 3], p.y + kDy[code & 3]};
    }
    bool reserve(unsigned need);
    bool growHash(unsigned capacity);
    void clear();
    unsigned slotAt(int i) const { return (s_ + static_cast<unsigned>(i)) & mask_; }
    // A key is the pixel's linear offset.
    unsigned bucket(int key) const {
        unsigned h = static_cast<unsigned>(key) * 0x9E3779B1u;
        return (h ^ (h >> 16)) & hashMask_;
    }
    int keyOf(int x, int y) const { return y * width_ + x; }
    void hashInsert(int id);
    void hashErase(int id);
    // A new position at `slot` standing on (x, y) with `code`.
    void addAt(unsigned slot, int x, int y, int code);
    void removeAt(unsigned slot);
    void moveTo(unsigned from, unsigned to, int code) {
        const int id = idAt_[from];
        if (code_[from] != code) mark_[id] = 0;
        idAt_[to] = id;
        code_[to] = static_cast<unsigned char>(code);
        slotOf_[id] = static_cast<int>(to);
    }
    // The exact box of all positions.
    Box wholeBox();
    void widen(int x, int y);
    bool sameBox(const Box& a, const Box& b) const {
        return a.maxX == b.maxX && a.maxY == b.maxY && a.minX == b.minX && a.minY == b.minY;
    }
    // Copies `len` logical codes from logical index `from` to dst.
    void copyOut(unsigned char* dst, int from, int len) const;

    int width_, height_;
    // Ring of codes and the position id of every slot.
    unsigned char* code_ = nullptr;
    int* idAt_ = nullptr;
    unsigned cap_ = 0, mask_ = 0;
    unsigned s_ = 0;  // slot of logical code 0
    int n_ = 0;
    POINT start_{0, 0}, end_{0, 0};
    // Per position id: slot and pixel; a stack of free ids.
    int* slotOf_ = nullptr;
    int* px_ = nullptr;
    int* py_ = nullptr;
    int* freeIds_ = nullptr;
    int nFree_ = 0;
    // Per position id: the epoch of its first-step mark (0: none). The
    // epoch moves on whenever all marks are forgotten.
    unsigned* mark_ = nullptr;
    unsigned epoch_ = 1;
    DWORD markColour_ = 0;
    bool hasMarkColour_ = false;
    void forgetMarks();
    // Open-addressing multimap pixel -> id, linear probing; an entry holds
    // the pixel's linear offset and the id (id -1: empty).
    struct Entry {
        int key, id;
    };
    Entry* hash_ = nullptr;
    unsigned hashMask_ = 0;
    // Per position id: the bucket of its hash entry.
    int* hashAt_ = nullptr;
    // Positions per column and row; box bounds kept loose (every count
    // outside them is zero) and tightened on demand.
    int* histX_ = nullptr;
    int* histY_ = nullptr;
    Box loose_{-1, -1, 0, 0};
};
