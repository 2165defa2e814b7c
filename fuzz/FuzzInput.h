// FuzzInput: reads the fuzzer's bytes as numbers, front to back; past the end
// every read gives 0.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>

class FuzzInput {
public:
    FuzzInput(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    uint8_t byte() { return at_ < size_ ? data_[at_++] : 0; }
    uint32_t u32() {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v |= static_cast<uint32_t>(byte()) << (8 * i);
        return v;
    }
    // A parameter over every range a caller could pass: one selector byte
    // picks small values around zero, around the usual range, the extremes,
    // or any 32-bit value.
    int parameter(int usualHigh) {
        const uint8_t mode = byte();
        switch (mode % 6) {
            case 0:
                return static_cast<int>(byte() % 11) - 5;  // -5 .. 5
            case 1:
                return static_cast<int>(byte() % (usualHigh + 1));  // 0 .. usual
            case 2:
                return INT_MAX - static_cast<int>(byte() % 4);  // huge
            case 3:
                return INT_MIN + static_cast<int>(byte() % 4);  // very negative
            case 4:
                return -static_cast<int>(byte() % 1000);  // negative
            default:
                return static_cast<int>(u32());  // anything
        }
    }
    size_t left() const { return at_ < size_ ? size_ - at_ : 0; }

private:
    const uint8_t* data_;
    size_t size_;
    size_t at_ = 0;
};
