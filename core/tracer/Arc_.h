// Arc_: a growable chain-code buffer with the step tables of the chain code.
//
// Codes: 0 = +x, 1 = +y, 2 = -x, 3 = -y. `codes` and `spare` have the same
// capacity; operations that rearrange a chain write into `spare` and exchange
// the two pointers, so no step allocates.
#pragma once

#include "interface/Om1Export.h"
#include "platform/WinTypes.h"

class OM1_API Arc_ {
public:
    int count;             // codes in use
    POINT end;             // pixel reached by walking all codes from start
    POINT start;           // first pixel
    unsigned char* codes;  // owned, capacity bytes
    unsigned char* spare;  // owned, capacity bytes
    int dx[4];
    int dy[4];
    unsigned int capacity;
    unsigned int growBy;
    int width;

    // Step tables only: no buffers, count 0. For classes that only need step().
    Arc_();
    // Allocates codes and spare of `capacity` zero bytes each. When an
    // allocation fails the buffers stay null and capacity is 0, so append()
    // refuses.
    Arc_(unsigned capacity, unsigned growBy, int width);
    ~Arc_();

    Arc_(const Arc_&) = delete;
    Arc_& operator=(const Arc_&) = delete;

    // Makes room for `index`: when index < capacity nothing happens; otherwise
    // the capacity grows by growBy until it exceeds index. On allocation
    // failure the buffers and capacity stay as they were and the result is false.
    virtual bool grow(unsigned index);

    // Stores `code` at `index` (growing when needed), increments count and
    // moves end. False without a buffer or when growing fails.
    bool append(int code, unsigned index);
    void pushBack(int code) { append(code, static_cast<unsigned>(count)); }

    POINT step(int code, POINT p) const {
        POINT q = {p.x + dx[code & 3], p.y + dy[code & 3]};
        return q;
    }
    int firstCode() const { return codes ? codes[0] : 0; }
    void setFirstCode(int code) {
        if (codes) codes[0] = static_cast<unsigned char>(code);
    }
    static int opposite(int code) { return code + 2 < 4 ? code + 2 : code - 2; }

protected:
    // The capacity that grow(index) reaches; 0 when it would overflow.
    unsigned grownCapacity(unsigned index) const;
};
