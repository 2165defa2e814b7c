// FlatPixels: the pixels of a picture whose 3 x 3 neighbourhood (the part
// in the raster) has one key, as bits, each row starting a word. Flat pixels
// side by side, or one above the other, have one key.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "prepare/PackedColour.h"

namespace om1 {

class FlatPixels {
public:
    // Room for a picture's flags (none set) and the rows `bands` bands find
    // at once; false when memory runs out.
    bool reset(int width, int height, int bands);

    // Finds the flags of rows [y0, y1) of `key`'s picture (a band: it writes
    // only those rows) with band `band`'s rows. `going` (may be empty) is
    // asked before each row: false ends the band there.
    void find(const PixelKeys& key, int band, int y0, int y1,
              const std::function<bool(int y)>& going = {});

    size_t words() const { return words_; }
    const uint64_t* row(int y) const { return bits_.data() + static_cast<size_t>(y) * words_; }
    // The flags of pixels x0..x0 + len - 1 of `row` (len 1 to 64).
    static uint64_t run(const uint64_t* row, int x0, int len) {
        const int w0 = x0 >> 6, b = x0 & 63;
        uint64_t v = row[w0] >> b;
        if (b + len > 64) v |= row[w0 + 1] << (64 - b);
        return len == 64 ? v : v & ((uint64_t{1} << len) - 1);
    }
    uint64_t run(int x0, int len, int y) const { return run(row(y), x0, len); }

    // The pixels within `radius` (a square window) of a flat pixel of rows
    // y0..y1 (those in the raster), as bits into `nearby` (words() words): a
    // window of the rows with none there has no flat pixel.
    void nearby(int y0, int y1, int radius, uint64_t* nearby) const;

    // Pixels x0..x0 + len - 1 (len 1 to 64) of rows y0, y0 + 1, ... in
    // turn: of each row the flat pixels with no flat pixel before them in
    // the window beside them (left, or in the row above at most a column
    // away). Every other flat pixel of the window has the key of one of
    // these read before it.
    class Window {
    public:
        Window(const FlatPixels& flat, int x0, int len, int y0)
            : row_(flat.row(y0) + (x0 >> 6)),
              words_(flat.words()),
              shift_(x0 & 63),
              spans_((x0 & 63) + len > 64),
              mask_(len == 64 ? ~uint64_t{0} : (uint64_t{1} << len) - 1) {}
        // The next row's bits (bit 0 is pixel x0).
        uint64_t next() {
            uint64_t bits = row_[0] >> shift_;
            if (spans_) bits |= row_[1] << (64 - shift_);
            bits &= mask_;
            row_ += words_;
            if (!bits) {
                above_ = 0;
                return 0;
            }
            const uint64_t fresh = bits & ~(bits << 1) & ~(above_ | above_ << 1 | above_ >> 1);
            above_ = bits;
            return fresh;
        }

    private:
        const uint64_t* row_;
        size_t words_;
        int shift_;
        bool spans_;
        uint64_t mask_, above_ = 0;
    };

private:
    // H and D of row y (see find).
    void rowBits(const PixelKeys& key, int y, uint64_t* H, uint64_t* D) const;

    int width_ = 0, height_ = 0;
    size_t words_ = 0;
    uint64_t lastMask_ = 0;
    std::vector<uint64_t> bits_;
    std::vector<uint64_t> scratch_;  // six rows of bits a band
};

}  // namespace om1
