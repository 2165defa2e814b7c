// LoopList: the boundary loops of one shape (Shape::loops), a sequence of
// CrackLoop with the operations of a std::vector that the shapes use. One
// loop (a region without holes, most regions of a detailed picture) is held
// in the object itself, more on the heap: a picture of millions of regions
// then needs no allocation per shape for its list.
#pragma once

#include <algorithm>
#include <utility>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <new>

#include "shapes/CrackLoop.h"

namespace om1 {

class LoopList {
public:
    using value_type = CrackLoop;
    using iterator = CrackLoop*;
    using const_iterator = const CrackLoop*;

    LoopList() = default;
    LoopList(std::initializer_list<CrackLoop> loops);
    LoopList(const LoopList& other);
    LoopList(LoopList&& other) noexcept;
    LoopList& operator=(const LoopList& other);
    LoopList& operator=(LoopList&& other) noexcept;
    ~LoopList();

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    CrackLoop* data() {
        return cap_ > 1 ? heap_ : std::launder(reinterpret_cast<CrackLoop*>(local_));
    }
    const CrackLoop* data() const {
        return cap_ > 1 ? heap_ : std::launder(reinterpret_cast<const CrackLoop*>(local_));
    }
    CrackLoop& operator[](size_t i) { return data()[i]; }
    const CrackLoop& operator[](size_t i) const { return data()[i]; }
    CrackLoop* begin() { return data(); }
    CrackLoop* end() { return data() + size_; }
    const CrackLoop* begin() const { return data(); }
    const CrackLoop* end() const { return data() + size_; }
    CrackLoop& front() { return data()[0]; }
    const CrackLoop& front() const { return data()[0]; }
    CrackLoop& back() { return data()[size_ - 1]; }
    const CrackLoop& back() const { return data()[size_ - 1]; }

    void reserve(size_t n);
    void clear();
    void pop_back() { data()[--size_].~CrackLoop(); }
    void push_back(const CrackLoop& loop) { emplace_back() = loop; }
    void push_back(CrackLoop&& loop) { emplace_back() = std::move(loop); }
    // Appends an empty loop and returns it.
    CrackLoop& emplace_back();
    void assign(size_t n, const CrackLoop& loop);

private:
    uint32_t size_ = 0;
    uint32_t cap_ = 1;  // 1: the one local loop; more: on the heap
    union {
        CrackLoop* heap_;
        alignas(CrackLoop) unsigned char local_[sizeof(CrackLoop)];
    };
};

inline LoopList::LoopList(std::initializer_list<CrackLoop> loops) {
    reserve(loops.size());
    for (const CrackLoop& l : loops) push_back(l);
}

inline LoopList::LoopList(const LoopList& other) {
    reserve(other.size());
    for (const CrackLoop& l : other) push_back(l);
}

inline LoopList::LoopList(LoopList&& other) noexcept {
    if (other.cap_ > 1) {
        heap_ = other.heap_;
        cap_ = other.cap_;
        size_ = other.size_;
        other.cap_ = 1;
        other.size_ = 0;
    } else if (other.size_ == 1) {
        new (local_) CrackLoop(std::move(other.front()));
        size_ = 1;
        other.clear();
    }
}

inline LoopList& LoopList::operator=(const LoopList& other) {
    if (this != &other) {
        clear();
        reserve(other.size());
        for (const CrackLoop& l : other) push_back(l);
    }
    return *this;
}

inline LoopList& LoopList::operator=(LoopList&& other) noexcept {
    if (this != &other) {
        this->~LoopList();
        new (this) LoopList(std::move(other));
    }
    return *this;
}

inline LoopList::~LoopList() {
    clear();
    if (cap_ > 1) ::operator delete(heap_);
}

inline void LoopList::clear() {
    CrackLoop* d = data();
    for (uint32_t i = 0; i < size_; ++i) d[i].~CrackLoop();
    size_ = 0;
}

inline void LoopList::reserve(size_t n) {
    if (n <= cap_) return;
    if (n > UINT32_MAX) throw std::bad_alloc();
    CrackLoop* fresh = static_cast<CrackLoop*>(::operator new(n * sizeof(CrackLoop)));
    CrackLoop* old = data();
    for (uint32_t i = 0; i < size_; ++i) {
        new (fresh + i) CrackLoop(std::move(old[i]));
        old[i].~CrackLoop();
    }
    if (cap_ > 1) ::operator delete(heap_);
    heap_ = fresh;
    cap_ = static_cast<uint32_t>(n);
}

inline CrackLoop& LoopList::emplace_back() {
    if (size_ == cap_) reserve(std::max<size_t>(2, 2 * static_cast<size_t>(cap_)));
    CrackLoop* at = data() + size_;
    new (at) CrackLoop();
    ++size_;
    return *at;
}

inline void LoopList::assign(size_t n, const CrackLoop& loop) {
    const CrackLoop copy = loop;  // `loop` may be one of these
    clear();
    reserve(n);
    for (size_t i = 0; i < n; ++i) push_back(copy);
}

}  // namespace om1
