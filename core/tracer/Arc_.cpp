#include "tracer/Arc_.h"

#include <cstdlib>
#include <cstring>

namespace {
void initTables(int* dx, int* dy) {
    static const int kDx[4] = {1, 0, -1, 0};
    static const int kDy[4] = {0, 1, 0, -1};
    for (int i = 0; i < 4; ++i) {
        dx[i] = kDx[i];
        dy[i] = kDy[i];
    }
}
}  // namespace

Arc_::Arc_()
    : count(0),
      end{0, 0},
      start{0, 0},
      codes(nullptr),
      spare(nullptr),
      capacity(0),
      growBy(0),
      width(0) {
    initTables(dx, dy);
}

Arc_::Arc_(unsigned capacity_, unsigned growBy_, int width_)
    : count(0),
      end{0, 0},
      start{0, 0},
      codes(nullptr),
      spare(nullptr),
      capacity(0),
      growBy(growBy_),
      width(width_) {
    initTables(dx, dy);
    if (capacity_ == 0) return;
    codes = static_cast<unsigned char*>(calloc(capacity_, 1));
    spare = static_cast<unsigned char*>(calloc(capacity_, 1));
    if (!codes || !spare) {
        free(codes);
        free(spare);
        codes = spare = nullptr;
        return;
    }
    capacity = capacity_;
}

Arc_::~Arc_() {
    free(codes);
    free(spare);
}

unsigned Arc_::grownCapacity(unsigned index) const {
    unsigned n = capacity;
    unsigned by = growBy ? growBy : 1;
    while (n <= index) {
        if (n > 0xFFFFFFFFu - by) return 0;  // would wrap: refuse
        n += by;
    }
    return n;
}

bool Arc_::grow(unsigned index) {
    if (index < capacity) return true;
    unsigned n = grownCapacity(index);
    if (n == 0) return false;
    // Allocate both first so that a failure leaves everything as it was.
    unsigned char* newCodes = static_cast<unsigned char*>(calloc(n, 1));
    unsigned char* newSpare = static_cast<unsigned char*>(calloc(n, 1));
    if (!newCodes || !newSpare) {
        free(newCodes);
        free(newSpare);
        return false;
    }
    if (codes) memcpy(newCodes, codes, capacity);
    if (spare) memcpy(newSpare, spare, capacity);
    free(codes);
    free(spare);
    codes = newCodes;
    spare = newSpare;
    capacity = n;
    return true;
}

bool Arc_::append(int code, unsigned index) {
    if (!codes) return false;
    if (index >= capacity && !grow(index)) return false;
    codes[index] = static_cast<unsigned char>(code);
    ++count;
    end = step(code, end);
    return true;
}
