// ImageLoader: reads PNG, JPEG, BMP and GIF files (the format is told by the
// file's first bytes, not its name) with libspng, libjpeg and stb_image. The
// size is checked against a pixel limit from the header, before the pixels
// are decoded. Transparent pixels are composited over a background colour.
//
// Files cut short or with damaged data are refused, never decoded with
// made-up pixels: libspng's errors (checksums included; a PNG is read when it ends inside the
// checksum of its final IEND chunk, not before), every libjpeg warning (the
// library would otherwise fill missing data with grey), a BMP shorter than the rows its header
// promises, and any read past the end of a BMP or GIF. No decoder writes to the terminal; every
// message comes back in `error`, starting with the format ("not a readable JPEG file: Premature end
// of JPEG file").
//
// On Windows (no MinGW builds of libspng and libjpeg in Debian) stb_image
// decodes PNG and JPEG too. Its refusals there: a PNG chunk with a wrong
// checksum and a PNG that ends before its end chunk's checksum (both checked
// before decoding, as stb_image checks neither), any read past the end of the
// file, and the JPEG markers stb_image does not know (such as
// one inside the entropy-coded data). Damage that keeps a JPEG's structure
// intact is decoded as the data says, where libjpeg would warn. The
// WebAssembly build (Emscripten) decodes as Windows does.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "decode/RasterImage.h"

#if defined(_WIN32) || defined(__EMSCRIPTEN__)
#define OM1_DECODE_STB_ONLY 1
#endif

class ImageLoader {
public:
    struct Background {
        uint8_t red = 255, green = 255, blue = 255;
    };

    // True with `out` filled, or false with `error` saying why (without the
    // file name; the caller names the file).
    static bool load(const std::string& path, long long maxPixels, Background background,
                     RasterImage& out, std::string& error);
    // The same from an open stream positioned at its start (a file, or memory
    // opened with fmemopen); the stream stays open. Without a file size (not
    // a regular file) a BMP's rows are checked while they are read.
    static bool loadStream(FILE* f, long long maxPixels, Background background, RasterImage& out,
                           std::string& error);

    // The picture as it is in the file: `out.rgba` (4 bytes a pixel: red,
    // green, blue, alpha; row 0 at the top), nothing composited; `pixels`
    // and `alpha` stay empty.
    static bool loadRgba(const std::string& path, long long maxPixels, RasterImage& out,
                         std::string& error);
    // The same from an open stream positioned at its start (memory opened
    // with fmemopen: the WebAssembly build decodes a file's bytes so).
    static bool loadRgbaStream(FILE* f, long long maxPixels, RasterImage& out, std::string& error);

protected:
    // Tells the format by the first bytes and decodes into `rgba`.
    static bool decode(FILE* f, long long maxPixels, RasterImage& out, std::vector<uint8_t>& rgba,
                       std::string& error);
    // Each decoder sets out.width and out.height and fills rgba (4 bytes a
    // pixel: red, green, blue, alpha; row 0 at the top).
#ifndef OM1_DECODE_STB_ONLY
    static bool loadPng(FILE* f, long long maxPixels, RasterImage& out, std::vector<uint8_t>& rgba,
                        std::string& error);
    static bool loadJpeg(FILE* f, long long maxPixels, RasterImage& out, std::vector<uint8_t>& rgba,
                         std::string& error);
#endif
    // BMP and GIF ("BMP" or "GIF" in `format`), and on Windows PNG and JPEG;
    // `fileSize` is the file's length in bytes (LLONG_MAX when unknown).
    static bool loadWithStb(FILE* f, long long fileSize, const char* format, long long maxPixels,
                            RasterImage& out, std::vector<uint8_t>& rgba, std::string& error);
    static void composite(RasterImage& img, const std::vector<uint8_t>& rgba, Background bg);
};
