#include "tracer/OutlineIndex.h"

#include <climits>
#include <new>

#include "tracer/ListOfOutLines.h"

OutlineIndex::~OutlineIndex() {
    delete[] table_;
}

bool OutlineIndex::build(const ListOfOutLines* o) {
    outline_ = nullptr;
    if (!o) return false;
    const int len = o->data && o->len > 0 ? o->len : 0;
    unsigned need = 16;
    while (need < 2u * static_cast<unsigned>(len) + 2) need *= 2;
    if (need > capacity_ || need * 8 < capacity_) {
        Entry* t = new (std::nothrow) Entry[need];
        if (!t) return false;
        delete[] table_;
        table_ = t;
        capacity_ = need;
        mask_ = need - 1;
    }
    for (unsigned i = 0; i < capacity_; ++i) table_[i].index = -1;
    // Positions 0 (the start) .. len-1; the first one on a pixel wins.
    long long x = o->start.x, y = o->start.y;
    for (int i = 0; i < len || i == 0; ++i) {
        if (x >= INT_MIN && x <= INT_MAX && y >= INT_MIN && y <= INT_MAX) {
            const int ix = static_cast<int>(x), iy = static_cast<int>(y);
            unsigned b = bucket(ix, iy);
            while (table_[b].index != -1 && (table_[b].x != ix || table_[b].y != iy))
                b = (b + 1) & mask_;
            if (table_[b].index == -1) table_[b] = Entry{ix, iy, i};
        }
        if (i >= len) break;
        int c = o->data[i] & 3;
        x += c == 0 ? 1 : c == 2 ? -1 : 0;
        y += c == 1 ? 1 : c == 3 ? -1 : 0;
    }
    outline_ = o;
    return true;
}

int OutlineIndex::indexOf(POINT p) const {
    if (!outline_) return -10;
    for (unsigned b = bucket(p.x, p.y); table_[b].index != -1; b = (b + 1) & mask_)
        if (table_[b].x == p.x && table_[b].y == p.y) return table_[b].index;
    return -10;
}
