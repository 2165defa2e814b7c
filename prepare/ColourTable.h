// ColourTable: the distinct colours of a picture with few of them, and a
// number per colour (a pixel count, then whatever its user keeps there).
//
// Open addressing with linear probing, at most half full, growing with the
// colours: its memory follows the colours, where a bit per possible colour
// costs 2 MB (and a page fault for every range of 32 K colours touched).
// Throws std::bad_alloc when memory runs out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace om1 {

class ColourTable {
public:
    ColourTable();

    size_t size() const { return used_; }
    // Adds `count` to the colour's number (a new colour starts at 0).
    void add(uint32_t colour, uint32_t count);
    // The number of a colour in the table.
    uint32_t value(uint32_t colour) const {
        return static_cast<uint32_t>(slots_[slotOf(colour)] >> 32);
    }
    void set(uint32_t colour, uint32_t value);
    // Every colour of the table, in increasing order.
    void sorted(std::vector<uint32_t>& colours) const;

private:
    static const uint32_t kUsed = uint32_t{1} << 24;  // above the colour's 24 bits

    // The colour's slot, or the empty one it would take.
    size_t slotOf(uint32_t colour) const {
        const size_t mask = slots_.size() - 1;
        const uint32_t key = colour | kUsed;
        size_t s = (colour * 0x9E3779B1u) >> shift_;
        while (slots_[s] && static_cast<uint32_t>(slots_[s]) != key) s = (s + 1) & mask;
        return s;
    }
    void grow();

    // 0: empty; else the colour with kUsed (low half) and its number (high).
    std::vector<uint64_t> slots_;
    int shift_;
    size_t used_ = 0;
};

}  // namespace om1
