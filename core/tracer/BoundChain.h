// BoundChain: the closed boundary chain that the tracer grows, with a logical
// rotation (logical code i is codes[(rotation + i) mod count]) and a second
// buffer `inner` that receives a loop split off by intersection solving.
#pragma once

#include "tracer/Arc_.h"

class OM1_API BoundChain final : public Arc_ {
public:
    int lastOffset;        // offset of the pixel claimed by the last first step; -1
    int rotation;          // logical start index
    bool innerPending;     // a loop waits in inner to be saved
    int innerLen;          // codes in inner
    unsigned char* inner;  // owned, capacity bytes; starts at `start` at the split

    BoundChain(unsigned capacity, unsigned growBy, int width);
    ~BoundChain();

    // Grows inner, then codes and spare. On failure nothing the chain uses
    // changes and the result is false.
    bool grow(unsigned index) override;

    // Logical code i (0 <= i < count); 0 without a buffer. Inline, like the
    // two below: the tracer calls them for every position it scans.
    int codeAt(int i) const {
        if (!codes || count <= 0) return 0;
        int k = rotation + i;
        if (k >= count) k -= count;
        return codes[k];
    }
    int currentCode() const { return codeAt(0); }
    // Moves start by the step of logical code 0 and advances the rotation.
    void advanceStart() {
        if (count <= 0) return;
        start = step(codeAt(0), start);
        ++rotation;
        if (rotation >= count) rotation -= count;
    }
    // Direction from start back to the previous pixel of the loop; -10 when
    // count < 2.
    int lastCodeReversed() const {
        if (count < 2) return -10;
        return opposite(codeAt(count - 1));
    }
    // 0 for start; else the first logical index 1 <= i < count at which the
    // walk from start stands on p; -10 when p is not on the chain.
    int indexOf(POINT p) const;
    // Makes the rotation physical: codes become the logical order, rotation 0.
    void normalize();

    // After a cut: makes the loop that encloses the other the main loop (the
    // two loops change places when the main box does not contain the other).
    void chooseOuterLoop();
    // True when the box of the main loop contains that of `inner` (equal boxes
    // count as containing); true when innerLen is 0; false without buffers.
    // A loop's box covers the pixels standing before every step.
    bool outerBoxContainsInner() const;
};
