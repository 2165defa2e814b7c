// PngReader: the quick way through the common PNG file: 8 bits a channel
// (grey, grey and alpha, RGB or RGBA), not interlaced, and no chunk but
// IHDR, IDAT and IEND. Its compressed data is inflated in one call with
// libdeflate (about three times as fast as zlib's stream) and unfiltered
// straight into RGBA.
//
// Any other file, and any file it finds fault with (a wrong checksum, data
// cut short or left over, an unknown filter, a size over the limit), it
// leaves to the full decoder (ImageLoader's libspng path), which then
// decodes it or says what is wrong: a file it reads gives the same pixels
// as libspng's, and a file it does not read costs no more than reading it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <vector>

class PngReader {
public:
    // Reads `f` from its current position (just before the signature's
    // first byte). True: `width`, `height` and `rgba` (4 bytes a pixel, row
    // 0 at the top) are set. False: nothing was set; the stream's position
    // is anywhere (the caller rewinds it). Pictures of more than `maxPixels`
    // pixels, or less than 3 pixels on a side, are left to the caller.
    static bool read(FILE* f, long long maxPixels, int& width, int& height,
                     std::vector<uint8_t>& rgba);

    // Unfilters one row in place: `filter` 0 to 4 (none, sub, up, average,
    // Paeth), `bpp` bytes a pixel, `prior` the previous row unfiltered (null
    // for the first row). False for an unknown filter.
    static bool unfilter(int filter, uint8_t* row, const uint8_t* prior, size_t bytes, int bpp);
};
