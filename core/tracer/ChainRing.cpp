#include "tracer/ChainRing.h"

#include <climits>
#include <cstring>
#include <new>

#include "tracer/Arc_.h"
#include "tracer/BoundChain.h"

namespace {
const unsigned kFirstCapacity = 1024;

int opposite(int d) {
    return d + 2 < 4 ? d + 2 : d - 2;
}

// Counts of positions standing on the four sides of a box.
struct SideCounts {
    int maxX = 0, maxY = 0, minX = 0, minY = 0;
    template <class Box>
    void add(int x, int y, const Box& b) {
        maxX += x == b.maxX;
        maxY += y == b.maxY;
        minX += x == b.minX;
        minY += y == b.minY;
    }
};
}  // namespace

ChainRing::ChainRing(int width, int height) : width_(width), height_(height) {
    // Keys of all pixels must fit an int.
    if (width <= 0 || height <= 0 || static_cast<long long>(width) * height > INT_MAX) return;
    histX_ = new (std::nothrow) int[static_cast<size_t>(width)]();
    histY_ = new (std::nothrow) int[static_cast<size_t>(height)]();
    if (!histX_ || !histY_ || !reserve(kFirstCapacity)) {
        delete[] histX_;
        delete[] histY_;
        histX_ = histY_ = nullptr;
    }
    clear();
}

ChainRing::~ChainRing() {
    delete[] code_;
    delete[] idAt_;
    delete[] slotOf_;
    delete[] px_;
    delete[] py_;
    delete[] freeIds_;
    delete[] mark_;
    delete[] hash_;
    delete[] hashAt_;
    delete[] histX_;
    delete[] histY_;
}

bool ChainRing::reserve(unsigned need) {
    if (need < cap_) return true;
    unsigned cap = cap_ ? cap_ : kFirstCapacity;
    while (cap <= need) {
        if (cap > (UINT_MAX >> 3)) return false;
        cap *= 2;
    }
    unsigned char* code = new (std::nothrow) unsigned char[cap];
    int* idAt = new (std::nothrow) int[cap];
    int* slotOf = new (std::nothrow) int[cap];
    int* px = new (std::nothrow) int[cap];
    int* py = new (std::nothrow) int[cap];
    int* freeIds = new (std::nothrow) int[cap];
    unsigned* mark = new (std::nothrow) unsigned[cap]();
    int* hashAt = new (std::nothrow) int[cap];
    if (!code || !idAt || !slotOf || !px || !py || !freeIds || !mark || !hashAt ||
        !growHash(2 * cap)) {
        delete[] code;
        delete[] idAt;
        delete[] slotOf;
        delete[] px;
        delete[] py;
        delete[] freeIds;
        delete[] mark;
        delete[] hashAt;
        return false;
    }
    // The ring is laid out again from slot 0; ids keep their numbers.
    for (int i = 0; i < n_; ++i) {
        unsigned from = slotAt(i);
        code[i] = code_[from];
        idAt[i] = idAt_[from];
        slotOf[idAt_[from]] = i;
    }
    if (cap_) {
        memcpy(px, px_, cap_ * sizeof(int));
        memcpy(py, py_, cap_ * sizeof(int));
        memcpy(freeIds, freeIds_, static_cast<size_t>(nFree_) * sizeof(int));
        memcpy(mark, mark_, cap_ * sizeof(unsigned));
    }
    for (unsigned id = cap; id > cap_; --id) freeIds[nFree_++] = static_cast<int>(id - 1);
    delete[] code_;
    delete[] idAt_;
    delete[] slotOf_;
    delete[] px_;
    delete[] py_;
    delete[] freeIds_;
    delete[] mark_;
    delete[] hashAt_;
    mark_ = mark;
    hashAt_ = hashAt;
    code_ = code;
    idAt_ = idAt;
    slotOf_ = slotOf;
    px_ = px;
    py_ = py;
    freeIds_ = freeIds;
    cap_ = cap;
    mask_ = cap - 1;
    s_ = 0;
    // Rehash the live positions.
    for (int i = 0; i < n_; ++i) hashInsert(idAt_[i]);
    return true;
}

bool ChainRing::growHash(unsigned capacity) {
    Entry* h = new (std::nothrow) Entry[capacity];
    if (!h) return false;
    for (unsigned i = 0; i < capacity; ++i) h[i] = Entry{0, -1};
    delete[] hash_;
    hash_ = h;
    hashMask_ = capacity - 1;
    return true;
}

void ChainRing::clear() {
    // Every hash entry belongs to a live position, whose bucket is known:
    // the work follows the positions, not the size of the table.
    for (int i = 0; i < n_; ++i) {
        const int id = idAt_[slotAt(i)];
        --histX_[px_[id]];
        --histY_[py_[id]];
        hash_[hashAt_[id]].id = -1;
        freeIds_[nFree_++] = id;
    }
    n_ = 0;
    s_ = 0;
    loose_ = Box{INT_MIN, INT_MIN, INT_MAX, INT_MAX};
    forgetMarks();
}

void ChainRing::forgetMarks() {
    hasMarkColour_ = false;
    if (++epoch_ == 0) {
        // After 2^32 epochs the old numbers come round again: wipe them.
        for (unsigned id = 0; id < cap_; ++id) mark_[id] = 0;
        epoch_ = 1;
    }
}

void ChainRing::markColour(DWORD colour) {
    if (hasMarkColour_ && colour == markColour_) return;
    forgetMarks();
    markColour_ = colour;
    hasMarkColour_ = true;
}

void ChainRing::hashInsert(int id) {
    int key = keyOf(px_[id], py_[id]);
    unsigned b = bucket(key);
    while (hash_[b].id != -1) b = (b + 1) & hashMask_;
    hash_[b] = Entry{key, id};
    hashAt_[id] = static_cast<int>(b);
}

void ChainRing::hashErase(int id) {
    unsigned i = bucket(keyOf(px_[id], py_[id]));
    while (hash_[i].id != id) i = (i + 1) & hashMask_;
    // Backward-shift deletion: later entries of the probe run move up when
    // their home bucket does not lie cyclically in (i, j].
    unsigned j = i;
    for (;;) {
        j = (j + 1) & hashMask_;
        Entry e = hash_[j];
        if (e.id == -1) break;
        unsigned h = bucket(e.key);
        bool stays = i <= j ? (i < h && h <= j) : (i < h || h <= j);
        if (!stays) {
            hash_[i] = e;
            hashAt_[e.id] = static_cast<int>(i);
            i = j;
        }
    }
    hash_[i].id = -1;
}

void ChainRing::widen(int x, int y) {
    if (x > loose_.maxX) loose_.maxX = x;
    if (y > loose_.maxY) loose_.maxY = y;
    if (x < loose_.minX) loose_.minX = x;
    if (y < loose_.minY) loose_.minY = y;
}

void ChainRing::addAt(unsigned slot, int x, int y, int code) {
    int id = freeIds_[--nFree_];
    px_[id] = x;
    py_[id] = y;
    slotOf_[id] = static_cast<int>(slot);
    idAt_[slot] = id;
    code_[slot] = static_cast<unsigned char>(code);
    mark_[id] = 0;
    hashInsert(id);
    ++histX_[x];
    ++histY_[y];
    widen(x, y);
}

void ChainRing::removeAt(unsigned slot) {
    int id = idAt_[slot];
    hashErase(id);
    --histX_[px_[id]];
    --histY_[py_[id]];
    freeIds_[nFree_++] = id;
}

ChainRing::Box ChainRing::wholeBox() {
    while (histX_[loose_.maxX] == 0) --loose_.maxX;
    while (histY_[loose_.maxY] == 0) --loose_.maxY;
    while (histX_[loose_.minX] == 0) ++loose_.minX;
    while (histY_[loose_.minY] == 0) ++loose_.minY;
    return loose_;
}

void ChainRing::copyOut(unsigned char* dst, int from, int len) const {
    if (len <= 0) return;
    unsigned first = slotAt(from);
    unsigned run = cap_ - first;
    if (run >= static_cast<unsigned>(len)) {
        memcpy(dst, code_ + first, static_cast<size_t>(len));
    } else {
        memcpy(dst, code_ + first, run);
        memcpy(dst + run, code_, static_cast<size_t>(len) - run);
    }
}

bool ChainRing::load(const BoundChain& c) {
    clear();
    if (!isValid() || !c.codes || c.count <= 0) return false;
    if (!reserve(static_cast<unsigned>(c.count) + 2)) return false;
    POINT p = c.start;
    for (int i = 0; i < c.count; ++i) {
        if (p.x < 0 || p.x >= width_ || p.y < 0 || p.y >= height_) {
            clear();
            return false;
        }
        int code = c.codeAt(i) & 3;
        addAt(static_cast<unsigned>(i), p.x, p.y, code);
        ++n_;
        p = stepOf(code, p);
    }
    // An open chain would move its positions when the start advances.
    if (p.x != c.start.x || p.y != c.start.y) {
        clear();
        return false;
    }
    start_ = c.start;
    end_ = c.end;
    return true;
}

bool ChainRing::store(BoundChain& c) const {
    if (static_cast<unsigned>(n_) >= c.capacity && !c.grow(static_cast<unsigned>(n_))) return false;
    copyOut(c.codes, 0, n_);
    c.count = n_;
    c.rotation = 0;
    c.start = start_;
    c.end = end_;
    return true;
}

int ChainRing::indexOf(POINT p) const {
    if (p.x == start_.x && p.y == start_.y) return 0;
    if (p.x < 0 || p.x >= width_ || p.y < 0 || p.y >= height_) return -10;
    const int key = keyOf(p.x, p.y);
    unsigned best = UINT_MAX;
    for (unsigned b = bucket(key); hash_[b].id != -1; b = (b + 1) & hashMask_) {
        if (hash_[b].key != key) continue;
        unsigned i = (static_cast<unsigned>(slotOf_[hash_[b].id]) - s_) & mask_;
        if (i < best) best = i;
    }
    return best == UINT_MAX ? -10 : static_cast<int>(best);
}

bool ChainRing::splice(const Arc_& arc, int k) {
    const int a = arc.count;
    const int n = n_;
    if (a < 1 || k < 0 || k >= n || !arc.codes) return false;
    if (!reserve(static_cast<unsigned>(n + a + 2))) return false;
    const int d2 = arc.codes[0];
    for (int i = 1; i < k; ++i) removeAt(slotAt(i));
    if (k == 0)
        addAt(slotAt(n), start_.x, start_.y, d2);  // q stays where it is and comes again last
    else
        moveTo(slotAt(0), slotAt(n), d2);
    POINT p = stepOf(d2, arc.start);
    const POINT first = p;
    for (int j = 1; j < a; ++j) {
        addAt(slotAt(k - a + j), p.x, p.y, arc.codes[j]);
        p = stepOf(arc.codes[j], p);
    }
    s_ = slotAt(k - a + 1);
    n_ = a + n - k;
    start_ = end_ = first;
    return true;
}

bool ChainRing::cutAtFirstStep(int d2, int k, BoundChain& c) {
    const int n = n_;
    if (k <= 0 || k >= n) return false;
    if (static_cast<unsigned>(n) + 1 >= c.capacity && !c.grow(static_cast<unsigned>(n) + 1))
        return false;
    const int idP = idAt_[slotAt(k)];
    const POINT p = {px_[idP], py_[idP]};
    const Box w = wholeBox();
    // Split-off loop: chain pixels 0..k; main loop: chain pixels k..n-1 and 0.
    bool mainContains;
    if (k + 1 <= n - k + 1) {
        // The main loop reaches a side of the whole box unless every
        // position there belongs to the split-off loop alone (pixels 1..k-1).
        SideCounts only;
        for (int i = 1; i < k; ++i) {
            int id = idAt_[slotAt(i)];
            only.add(px_[id], py_[id], w);
        }
        mainContains = histX_[w.maxX] > only.maxX && histY_[w.maxY] > only.maxY &&
                       histX_[w.minX] > only.minX && histY_[w.minY] > only.minY;
    } else {
        Box m{start_.x, start_.y, start_.x, start_.y};
        for (int i = k; i < n; ++i) {
            int id = idAt_[slotAt(i)];
            int x = px_[id], y = py_[id];
            if (x > m.maxX) m.maxX = x;
            if (y > m.maxY) m.maxY = y;
            if (x < m.minX) m.minX = x;
            if (y < m.minY) m.minY = y;
        }
        mainContains = sameBox(m, w);
    }
    if (mainContains) {
        c.inner[0] = static_cast<unsigned char>(opposite(d2));
        copyOut(c.inner + 1, 0, k);
        c.innerLen = k + 1;
        for (int i = 1; i < k; ++i) removeAt(slotAt(i));
        moveTo(slotAt(0), slotAt(n), d2);
        s_ = slotAt(k);
        n_ = n - k + 1;
    } else {
        copyOut(c.inner, k, n - k);
        c.inner[n - k] = static_cast<unsigned char>(d2);
        c.innerLen = n - k + 1;
        for (int i = k + 1; i < n; ++i) removeAt(slotAt(i));
        moveTo(slotAt(k), slotAt(-1), opposite(d2));
        s_ = slotAt(-1);
        n_ = k + 1;
    }
    start_ = end_ = p;
    c.start = c.end = p;
    c.rotation = 0;
    c.innerPending = true;
    return true;
}

bool ChainRing::cutAtArc(const Arc_& arc, int k, BoundChain& c) {
    const int n = n_;
    const int a = arc.count;
    if (a < 2 || k <= a || k >= n || !arc.codes) return false;
    if (static_cast<unsigned>(n + a) + 1 >= c.capacity && !c.grow(static_cast<unsigned>(n + a) + 1))
        return false;
    if (!reserve(static_cast<unsigned>(n + a + 2))) return false;
    const int d2 = arc.codes[0];
    const int idE = idAt_[slotAt(k)];
    const POINT e = {px_[idE], py_[idE]};
    // Chain pixels 1..a-2 end up inside the region, in neither loop.
    for (int i = 1; i <= a - 2; ++i) removeAt(slotAt(i));
    // The whole box: the remaining chain and the arc pixels 1..a-1.
    Box w = wholeBox();
    {
        POINT p = stepOf(d2, arc.start);
        for (int j = 1; j < a; ++j) {
            if (p.x > w.maxX) w.maxX = p.x;
            if (p.y > w.maxY) w.maxY = p.y;
            if (p.x < w.minX) w.minX = p.x;
            if (p.y < w.minY) w.minY = p.y;
            p = stepOf(arc.codes[j], p);
        }
    }
    // Split-off loop: chain pixels k and a-1..k-1; main loop: chain pixels
    // k..n-1, 0 and the arc pixels.
    bool mainContains;
    if (k - a + 2 <= n - k + a) {
        SideCounts only, arcs;
        for (int i = a - 1; i < k; ++i) {
            int id = idAt_[slotAt(i)];
            only.add(px_[id], py_[id], w);
        }
        POINT p = stepOf(d2, arc.start);
        for (int j = 1; j < a; ++j) {
            arcs.add(p.x, p.y, w);
            p = stepOf(arc.codes[j], p);
        }
        mainContains =
            histX_[w.maxX] + arcs.maxX > only.maxX && histY_[w.maxY] + arcs.maxY > only.maxY &&
            histX_[w.minX] + arcs.minX > only.minX && histY_[w.minY] + arcs.minY > only.minY;
    } else {
        Box m{start_.x, start_.y, start_.x, start_.y};
        auto take = [&m](int x, int y) {
            if (x > m.maxX) m.maxX = x;
            if (y > m.maxY) m.maxY = y;
            if (x < m.minX) m.minX = x;
            if (y < m.minY) m.minY = y;
        };
        for (int i = k; i < n; ++i) {
            int id = idAt_[slotAt(i)];
            take(px_[id], py_[id]);
        }
        POINT p = stepOf(d2, arc.start);
        for (int j = 1; j < a; ++j) {
            take(p.x, p.y);
            p = stepOf(arc.codes[j], p);
        }
        mainContains = sameBox(m, w);
    }
    if (mainContains) {
        c.inner[0] = static_cast<unsigned char>(opposite(d2));
        copyOut(c.inner + 1, a - 1, k - a + 1);
        c.innerLen = k - a + 2;
        for (int i = a - 1; i < k; ++i) removeAt(slotAt(i));
        moveTo(slotAt(0), slotAt(n), d2);
        POINT p = stepOf(d2, arc.start);
        for (int j = 1; j < a; ++j) {
            addAt(slotAt(n + j), p.x, p.y, arc.codes[j]);
            p = stepOf(arc.codes[j], p);
        }
        s_ = slotAt(k);
        n_ = n - k + a;
    } else {
        copyOut(c.inner, k, n - k);
        memcpy(c.inner + (n - k), arc.codes, static_cast<size_t>(a));
        c.innerLen = n - k + a;
        for (int i = k + 1; i < n; ++i) removeAt(slotAt(i));
        removeAt(slotAt(0));
        moveTo(slotAt(k), slotAt(a - 2), opposite(d2));
        s_ = slotAt(a - 2);
        n_ = k - a + 2;
    }
    start_ = end_ = e;
    c.start = c.end = e;
    c.rotation = 0;
    c.innerPending = true;
    return true;
}
