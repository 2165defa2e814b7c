// NodeArena: memory for many small objects that are all freed together (the
// nodes of a map of hundreds of thousands of entries): handed out from
// blocks of 64 KB, never given back one by one, freed in a few blocks when
// the arena ends. `Allocator<T>` lets a standard container take its memory
// from one; the arena must outlive the containers that use it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <new>
#include <vector>

namespace om1 {

class NodeArena {
public:
    NodeArena() = default;
    NodeArena(const NodeArena&) = delete;
    NodeArena& operator=(const NodeArena&) = delete;
    ~NodeArena() {
        for (void* b : blocks_) ::operator delete(b);
    }

    // `bytes` aligned to `align` (at most the default new alignment).
    // Throws std::bad_alloc when memory runs out.
    void* allocate(size_t bytes, size_t align) {
        size_t at = (used_ + align - 1) / align * align;
        if (blocks_.empty() || at + bytes > size_) {
            const size_t size = std::max(kBlock, bytes);
            blocks_.reserve(blocks_.size() + 1);
            blocks_.push_back(::operator new(size));
            size_ = size;
            at = 0;
        }
        used_ = at + bytes;
        return static_cast<char*>(blocks_.back()) + at;
    }

    template <class T>
    struct Allocator {
        using value_type = T;
        NodeArena* arena;
        explicit Allocator(NodeArena* a) : arena(a) {}
        template <class U>
        Allocator(const Allocator<U>& other) : arena(other.arena) {}
        T* allocate(size_t n) {
            return static_cast<T*>(arena->allocate(n * sizeof(T), alignof(T)));
        }
        void deallocate(T*, size_t) {}
        template <class U>
        bool operator==(const Allocator<U>& other) const {
            return arena == other.arena;
        }
        template <class U>
        bool operator!=(const Allocator<U>& other) const {
            return arena != other.arena;
        }
    };

private:
    static constexpr size_t kBlock = 64 * 1024;
    std::vector<void*> blocks_;
    size_t size_ = 0, used_ = 0;
};

}  // namespace om1
