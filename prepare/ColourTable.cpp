#include "prepare/ColourTable.h"

#include <algorithm>

namespace om1 {

namespace {

const int kFirstBits = 10;

}  // namespace

ColourTable::ColourTable() : slots_(size_t{1} << kFirstBits, 0), shift_(32 - kFirstBits) {}

void ColourTable::add(uint32_t colour, uint32_t count) {
    size_t s = slotOf(colour);
    if (!slots_[s]) {
        if (2 * (used_ + 1) > slots_.size()) {
            grow();
            s = slotOf(colour);
        }
        slots_[s] = colour | kUsed;
        ++used_;
    }
    slots_[s] += uint64_t{count} << 32;
}

void ColourTable::set(uint32_t colour, uint32_t value) {
    uint64_t& slot = slots_[slotOf(colour)];
    slot = (slot & 0xFFFFFFFFu) | uint64_t{value} << 32;
}

void ColourTable::sorted(std::vector<uint32_t>& colours) const {
    colours.clear();
    colours.reserve(used_);
    for (uint64_t slot : slots_)
        if (slot) colours.push_back(static_cast<uint32_t>(slot) & 0xFFFFFFu);
    std::sort(colours.begin(), colours.end());
}

void ColourTable::grow() {
    std::vector<uint64_t> old(slots_.size() * 2, 0);
    old.swap(slots_);
    --shift_;
    for (uint64_t slot : old)
        if (slot) slots_[slotOf(static_cast<uint32_t>(slot) & 0xFFFFFFu)] = slot;
}

}  // namespace om1
