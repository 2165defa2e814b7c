// CrackCodes: the steps of one crack loop (CrackLoop::codes), a byte
// sequence with the operations of a std::vector<uint8_t> that the shapes
// use. Up to kLocal steps (a region of a few pixels) are held in the object
// itself, longer ones on the heap: a picture of millions of tiny regions
// then needs no allocation per loop. 16 bytes; at most 2^31 - 1 steps
// (more throws std::bad_alloc, as running out of memory does).
#pragma once

#include <algorithm>
#include <cstring>
#include <new>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

namespace om1 {

class CrackCodes {
public:
    using value_type = uint8_t;
    using iterator = uint8_t*;
    using const_iterator = const uint8_t*;
    static constexpr size_t kLocal = 12;
    static constexpr size_t kMost = (size_t(1) << 31) - 1;  // the most codes

    CrackCodes() : local_(), size_(0), heap_(0) {}
    CrackCodes(std::initializer_list<uint8_t> codes);
    CrackCodes(const CrackCodes& other);
    CrackCodes(CrackCodes&& other) noexcept;
    CrackCodes& operator=(const CrackCodes& other);
    CrackCodes& operator=(CrackCodes&& other) noexcept;
    ~CrackCodes();

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    size_t capacity() const { return heap_ ? heapCapacity() : kLocal; }
    uint8_t* data() { return heap_ ? heapData() : local_; }
    const uint8_t* data() const { return heap_ ? heapData() : local_; }
    uint8_t& operator[](size_t i) { return data()[i]; }
    const uint8_t& operator[](size_t i) const { return data()[i]; }
    uint8_t* begin() { return data(); }
    uint8_t* end() { return data() + size_; }
    const uint8_t* begin() const { return data(); }
    const uint8_t* end() const { return data() + size_; }
    uint8_t& back() { return data()[size_ - 1]; }
    const uint8_t& back() const { return data()[size_ - 1]; }

    void reserve(size_t n);
    void clear() { size_ = 0; }
    void resize(size_t n, uint8_t value = 0);
    void push_back(uint8_t code);
    void assign(size_t n, uint8_t value);
    void assign(const uint8_t* first, const uint8_t* last);
    // Inserts n copies of `value` before `at` (a pointer into the codes).
    void insert(const uint8_t* at, size_t n, uint8_t value);

    friend bool operator==(const CrackCodes& a, const CrackCodes& b);
    friend bool operator!=(const CrackCodes& a, const CrackCodes& b) { return !(a == b); }

private:
    uint8_t* heapData() const;
    size_t heapCapacity() const;
    void setHeap(uint8_t* data, size_t capacity);
    // Room for at least n codes, the codes kept.
    void grow(size_t n);

    // The codes themselves (up to kLocal), or, on the heap, the pointer to
    // them and their capacity.
    alignas(4) uint8_t local_[kLocal];
    uint32_t size_ : 31;
    uint32_t heap_ : 1;
};

inline uint8_t* CrackCodes::heapData() const {
    uint8_t* p;
    std::memcpy(&p, local_, sizeof(p));
    return p;
}

inline size_t CrackCodes::heapCapacity() const {
    uint32_t c;
    std::memcpy(&c, local_ + sizeof(uint8_t*), sizeof(c));
    return c;
}

inline void CrackCodes::setHeap(uint8_t* data, size_t capacity) {
    const uint32_t c = static_cast<uint32_t>(capacity);
    std::memcpy(local_, &data, sizeof(data));
    std::memcpy(local_ + sizeof(uint8_t*), &c, sizeof(c));
    heap_ = 1;
}

static_assert(sizeof(uint8_t*) + sizeof(uint32_t) <= CrackCodes::kLocal,
              "the pointer and the capacity fit in the local bytes");

inline CrackCodes::CrackCodes(std::initializer_list<uint8_t> codes) : CrackCodes() {
    assign(codes.begin(), codes.end());
}

inline CrackCodes::CrackCodes(const CrackCodes& other) : CrackCodes() {
    assign(other.begin(), other.end());
}

inline CrackCodes::CrackCodes(CrackCodes&& other) noexcept
    : size_(other.size_), heap_(other.heap_) {
    std::memcpy(local_, other.local_, kLocal);
    other.size_ = 0;
    other.heap_ = 0;
}

inline CrackCodes& CrackCodes::operator=(const CrackCodes& other) {
    if (this != &other) assign(other.begin(), other.end());
    return *this;
}

inline CrackCodes& CrackCodes::operator=(CrackCodes&& other) noexcept {
    if (this != &other) {
        if (heap_) delete[] heapData();
        std::memcpy(local_, other.local_, kLocal);
        size_ = other.size_;
        heap_ = other.heap_;
        other.size_ = 0;
        other.heap_ = 0;
    }
    return *this;
}

inline CrackCodes::~CrackCodes() {
    if (heap_) delete[] heapData();
}

inline void CrackCodes::grow(size_t n) {
    if (n <= capacity()) return;
    if (n > kMost) throw std::bad_alloc();
    const size_t cap = std::min(kMost, std::max(n, 2 * capacity()));
    uint8_t* fresh = new uint8_t[cap];
    if (size_) std::memcpy(fresh, data(), size_);
    if (heap_) delete[] heapData();
    setHeap(fresh, cap);
}

inline void CrackCodes::reserve(size_t n) {
    if (n > capacity()) {
        // Exactly n: a reserved loop is filled to that size.
        if (n > kMost) throw std::bad_alloc();
        uint8_t* fresh = new uint8_t[n];
        if (size_) std::memcpy(fresh, data(), size_);
        if (heap_) delete[] heapData();
        setHeap(fresh, n);
    }
}

inline void CrackCodes::resize(size_t n, uint8_t value) {
    grow(n);
    if (n > size_) std::memset(data() + size_, value, n - size_);
    size_ = static_cast<uint32_t>(n);
}

inline void CrackCodes::push_back(uint8_t code) {
    grow(static_cast<size_t>(size_) + 1);
    data()[size_] = code;
    ++size_;
}

inline void CrackCodes::assign(size_t n, uint8_t value) {
    size_ = 0;
    resize(n, value);
}

inline void CrackCodes::assign(const uint8_t* first, const uint8_t* last) {
    const size_t n = static_cast<size_t>(last - first);
    size_ = 0;
    reserve(n);
    if (n) std::memmove(data(), first, n);
    size_ = static_cast<uint32_t>(n);
}

inline void CrackCodes::insert(const uint8_t* at, size_t n, uint8_t value) {
    const size_t pos = static_cast<size_t>(at - data());
    grow(static_cast<size_t>(size_) + n);
    uint8_t* d = data();
    std::memmove(d + pos + n, d + pos, size_ - pos);
    std::memset(d + pos, value, n);
    size_ += static_cast<uint32_t>(n);
}

inline bool operator==(const CrackCodes& a, const CrackCodes& b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

}  // namespace om1
