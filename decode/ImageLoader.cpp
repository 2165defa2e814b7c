#include "decode/ImageLoader.h"

#ifndef OM1_DECODE_STB_ONLY
#include <jpeglib.h>
#include <setjmp.h>
#include <spng.h>
#endif

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "stb_image.h"

#ifndef OM1_DECODE_STB_ONLY
#include "decode/PngReader.h"
#endif

namespace {

struct FileCloser {
    void operator()(FILE* f) const {
        if (f) fclose(f);
    }
};

bool sizeAllowed(long long w, long long h, long long maxPixels, std::string& error) {
    if (w <= 0 || h <= 0) {
        error = "the image has no pixels";
        return false;
    }
    if (w * h > maxPixels) {
        error = "the image has " + std::to_string(w * h) + " pixels, more than the limit of " +
                std::to_string(maxPixels) + " (see --max-pixels)";
        return false;
    }
    if (w < 3 || h < 3) {
        error = "the image is smaller than 3 x 3 pixels";
        return false;
    }
    return true;
}

#ifndef OM1_DECODE_STB_ONLY
struct JpegError {
    jpeg_error_mgr mgr;
    jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

void jpegError(j_common_ptr cinfo) {
    JpegError* e = reinterpret_cast<JpegError*>(cinfo->err);
    (*cinfo->err->format_message)(cinfo, e->message);
    longjmp(e->jump, 1);
}

// libjpeg reports damaged or missing data as a warning (level -1) and goes on
// with made-up pixels; here a warning ends the decoding like an error.
// Trace messages (levels 0 and up) are dropped: nothing reaches the terminal.
void jpegMessage(j_common_ptr cinfo, int level) {
    if (level < 0) jpegError(cinfo);
}
void jpegOutput(j_common_ptr) {}
#endif

// stb_image reads through these callbacks. A read that finds no byte left
// means the decoder wanted more data than the file has: stb_image would go on
// with zero bytes, so the file is refused as cut short.
struct StbFile {
    FILE* f;
    bool ranOut = false;
};

int stbRead(void* user, char* data, int size) {
    StbFile* s = static_cast<StbFile*>(user);
    size_t n = fread(data, 1, static_cast<size_t>(size), s->f);
    if (n == 0 && size > 0) s->ranOut = true;
    return static_cast<int>(n);
}
void stbSkip(void* user, int n) {
    fseek(static_cast<StbFile*>(user)->f, n, SEEK_CUR);
}
int stbEof(void* user) {
    return feof(static_cast<StbFile*>(user)->f);
}

uint32_t le(const unsigned char* p, int n) {
    uint32_t v = 0;
    for (int i = n - 1; i >= 0; --i) v = v << 8 | p[i];
    return v;
}

// Reads the BMP headers stb_image accepts and checks that the file holds
// every row the header promises (the last row's padding may be missing).
bool checkBmp(FILE* f, long long fileSize, std::string& error) {
    unsigned char h[34] = {};
    const size_t got = fread(h, 1, sizeof(h), f);
    rewind(f);
    const uint32_t offset = le(h + 10, 4), headerSize = le(h + 14, 4);
    if (got < 26 || (headerSize != 12 && got < 34)) {
        error = "the headers are cut short";
        return false;
    }
    long long w, height, bits, compression = 0;
    if (headerSize == 12) {
        w = le(h + 18, 2);
        height = le(h + 20, 2);
        bits = le(h + 24, 2);
    } else {
        w = static_cast<int32_t>(le(h + 18, 4));
        height = static_cast<int32_t>(le(h + 22, 4));
        bits = le(h + 28, 2);
        compression = le(h + 30, 4);
    }
    if (height == INT_MIN || w <= 0 || height == 0) {
        error = "the image has no pixels";
        return false;
    }
    if (compression != 0 && compression != 3) return true;  // stb_image refuses or checks
    // Widths and heights below 2^31 and at most 32 bits a pixel: 128 bits
    // hold the product.
    using Big = unsigned __int128;
    const Big rows = static_cast<Big>(std::llabs(height));
    const Big stride = (static_cast<Big>(w) * bits + 31) / 32 * 4,
              last = (static_cast<Big>(w) * bits + 7) / 8;
    const Big total = offset + stride * (rows - 1) + last;
    const long long need =
        total > static_cast<Big>(LLONG_MAX) ? LLONG_MAX : static_cast<long long>(total);
    if (fileSize < need) {
        error = "the file is cut short (" + std::to_string(fileSize) + " of " +
                std::to_string(need) + " bytes)";
        return false;
    }
    return true;
}

#ifdef OM1_DECODE_STB_ONLY
uint32_t be(const unsigned char* p) {
    return static_cast<uint32_t>(p[0]) << 24 | p[1] << 16 | p[2] << 8 | p[3];
}

// Walks a PNG's chunks and checks every checksum, as stb_image checks none.
// As on Linux, a file may end inside the checksum of its end chunk (IEND),
// not before; `endCut` tells that it does (stb_image then reads past the end
// for that checksum alone, after every pixel).
bool checkPng(FILE* f, bool& endCut, std::string& error) {
    endCut = false;
    uint32_t table[256];
    for (uint32_t n = 0; n < 256; ++n) {
        uint32_t c = n;
        for (int k = 0; k < 8; ++k) c = c & 1 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
        table[n] = c;
    }
    std::vector<unsigned char> buf(1 << 16);
    fseek(f, 8, SEEK_SET);
    for (;;) {
        unsigned char head[8];
        if (fread(head, 1, sizeof(head), f) < sizeof(head)) {
            error = "the file is cut short";
            return false;
        }
        const std::string type(reinterpret_cast<const char*>(head + 4), 4);
        uint32_t left = be(head), crc = 0xFFFFFFFFu;
        if (left > 0x7FFFFFFFu) {
            error = "the chunk " + type + " is too long";
            return false;
        }
        for (int k = 4; k < 8; ++k) crc = table[(crc ^ head[k]) & 0xFF] ^ (crc >> 8);
        while (left > 0) {
            const size_t n = fread(buf.data(), 1, std::min<size_t>(left, buf.size()), f);
            if (n == 0) {
                error = "the file is cut short";
                return false;
            }
            for (size_t k = 0; k < n; ++k) crc = table[(crc ^ buf[k]) & 0xFF] ^ (crc >> 8);
            left -= static_cast<uint32_t>(n);
        }
        unsigned char stored[4];
        if (fread(stored, 1, 4, f) != 4) {
            endCut = type == "IEND";
            if (endCut) break;
            error = "the file is cut short";
            return false;
        }
        if ((crc ^ 0xFFFFFFFFu) != be(stored)) {
            error = "the chunk " + type + " has a wrong checksum";
            return false;
        }
        if (type == "IEND") break;
    }
    rewind(f);
    return true;
}
#endif

}  // namespace

void ImageLoader::composite(RasterImage& img, const std::vector<uint8_t>& rgba, Background bg) {
    size_t n = static_cast<size_t>(img.width) * img.height;
    img.pixels.resize(n);
    img.alpha.resize(n);
    for (size_t i = 0; i < n; ++i) {
        unsigned a = rgba[4 * i + 3];
        auto mix = [a](unsigned c, unsigned b) {
            return static_cast<BYTE>((c * a + b * (255 - a) + 127) / 255);
        };
        img.pixels[i].rgbRed = mix(rgba[4 * i], bg.red);
        img.pixels[i].rgbGreen = mix(rgba[4 * i + 1], bg.green);
        img.pixels[i].rgbBlue = mix(rgba[4 * i + 2], bg.blue);
        img.pixels[i].rgbReserved = 0;
        img.alpha[i] = static_cast<uint8_t>(a);
    }
}

#ifndef OM1_DECODE_STB_ONLY
bool ImageLoader::loadPng(FILE* f, long long maxPixels, RasterImage& out,
                          std::vector<uint8_t>& rgba, std::string& error) {
    // The common file the quick way; any other, or one it finds fault with,
    // from the start again with libspng.
    const long start = ftell(f);
    if (PngReader::read(f, maxPixels, out.width, out.height, rgba)) return true;
    if (start < 0 || fseek(f, start, SEEK_SET) != 0) {
        error = "cannot read: " + std::string(strerror(errno));
        return false;
    }
    std::unique_ptr<spng_ctx, void (*)(spng_ctx*)> ctx(spng_ctx_new(0), spng_ctx_free);
    if (!ctx) {
        error = "cannot allocate memory";
        return false;
    }
    auto failed = [&error](int r) {
        error = std::string("not a readable PNG file: ") + spng_strerror(r);
        return false;
    };
    spng_ihdr ihdr = {};
    int r = spng_set_png_file(ctx.get(), f);
    if (r == 0) r = spng_get_ihdr(ctx.get(), &ihdr);
    if (r != 0) return failed(r);
    if (!sizeAllowed(ihdr.width, ihdr.height, maxPixels, error)) return false;
    // 8-bit RGBA from every colour type and depth; a tRNS chunk gives alpha.
    size_t size = 0;
    r = spng_decoded_image_size(ctx.get(), SPNG_FMT_RGBA8, &size);
    if (r != 0) return failed(r);
    rgba.resize(size);
    r = spng_decode_image(ctx.get(), rgba.data(), size, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS);
    // The chunks after the pixels up to IEND, so that a file cut there is
    // refused too.
    if (r == 0) r = spng_decode_chunks(ctx.get());
    if (r != 0) return failed(r);
    out.width = static_cast<int>(ihdr.width);
    out.height = static_cast<int>(ihdr.height);
    return true;
}

bool ImageLoader::loadJpeg(FILE* f, long long maxPixels, RasterImage& out,
                           std::vector<uint8_t>& rgba, std::string& error) {
    jpeg_decompress_struct cinfo;
    JpegError err;
    cinfo.err = jpeg_std_error(&err.mgr);
    err.mgr.error_exit = jpegError;
    err.mgr.emit_message = jpegMessage;
    err.mgr.output_message = jpegOutput;
    err.message[0] = 0;
    std::vector<uint8_t> rgb;
    if (setjmp(err.jump)) {
        jpeg_destroy_decompress(&cinfo);
        error = std::string("not a readable JPEG file: ") + err.message;
        return false;
    }
    jpeg_create_decompress(&cinfo);
    jpeg_stdio_src(&cinfo, f);
    jpeg_read_header(&cinfo, TRUE);
    if (!sizeAllowed(cinfo.image_width, cinfo.image_height, maxPixels, error)) {
        jpeg_destroy_decompress(&cinfo);
        return false;
    }
    cinfo.out_color_space = JCS_RGB;
    jpeg_start_decompress(&cinfo);
    int w = static_cast<int>(cinfo.output_width), h = static_cast<int>(cinfo.output_height);
    rgb.resize(static_cast<size_t>(w) * h * 3);
    while (cinfo.output_scanline < cinfo.output_height) {
        JSAMPROW row = rgb.data() + static_cast<size_t>(cinfo.output_scanline) * w * 3;
        jpeg_read_scanlines(&cinfo, &row, 1);
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    out.width = w;
    out.height = h;
    size_t n = static_cast<size_t>(w) * h;
    rgba.resize(n * 4);
    for (size_t i = 0; i < n; ++i) {
        rgba[4 * i] = rgb[3 * i];
        rgba[4 * i + 1] = rgb[3 * i + 1];
        rgba[4 * i + 2] = rgb[3 * i + 2];
        rgba[4 * i + 3] = 255;
    }
    return true;
}

#endif

bool ImageLoader::loadWithStb(FILE* f, long long fileSize, const char* format, long long maxPixels,
                              RasterImage& out, std::vector<uint8_t>& rgba, std::string& error) {
    const std::string prefix = std::string("not a readable ") + format + " file: ";
    if (strcmp(format, "BMP") == 0 && !checkBmp(f, fileSize, error)) {
        error = prefix + error;
        return false;
    }
    bool endCut = false;  // a PNG ending inside its end chunk's checksum
#ifdef OM1_DECODE_STB_ONLY
    if (strcmp(format, "PNG") == 0 && !checkPng(f, endCut, error)) {
        error = prefix + error;
        return false;
    }
#endif
    StbFile src{f};
    const stbi_io_callbacks io = {stbRead, stbSkip, stbEof};
    int w = 0, h = 0, comp = 0;
    if (!stbi_info_from_callbacks(&io, &src, &w, &h, &comp)) {
        error = prefix + stbi_failure_reason();
        return false;
    }
    rewind(f);
    h = h == INT_MIN ? 0 : std::abs(h);  // a BMP stored top-down has a negative height
    if (!sizeAllowed(w, h, maxPixels, error)) return false;
    src.ranOut = false;
    unsigned char* data = stbi_load_from_callbacks(&io, &src, &w, &h, &comp, 4);
    if (!data) {
        error = prefix + stbi_failure_reason();
        return false;
    }
    if (src.ranOut && !endCut) {
        stbi_image_free(data);
        error = prefix + "the file is cut short";
        return false;
    }
    out.width = w;
    out.height = h;
    rgba.assign(data, data + static_cast<size_t>(w) * h * 4);
    stbi_image_free(data);
    return true;
}

namespace {

// The file opened for reading, or null with `error` saying why.
std::unique_ptr<FILE, FileCloser> openPicture(const std::string& path, std::string& error) {
    std::unique_ptr<FILE, FileCloser> f(fopen(path.c_str(), "rb"));
    if (!f) {
        const int e = errno;
        struct stat st = {};
        // Windows does not open folders at all.
        error = stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)
                    ? std::string("is a directory")
                    : std::string("cannot open: ") + strerror(e);
    }
    return f;
}

}  // namespace

bool ImageLoader::load(const std::string& path, long long maxPixels, Background background,
                       RasterImage& out, std::string& error) {
    const std::unique_ptr<FILE, FileCloser> f = openPicture(path, error);
    return f && loadStream(f.get(), maxPixels, background, out, error);
}

bool ImageLoader::loadStream(FILE* f, long long maxPixels, Background background, RasterImage& out,
                             std::string& error) {
    std::vector<uint8_t> rgba;  // straight colours and alpha, row 0 at the top
    if (!decode(f, maxPixels, out, rgba, error)) return false;
    composite(out, rgba, background);
    return true;
}

bool ImageLoader::loadRgba(const std::string& path, long long maxPixels, RasterImage& out,
                           std::string& error) {
    const std::unique_ptr<FILE, FileCloser> f = openPicture(path, error);
    return f && decode(f.get(), maxPixels, out, out.rgba, error);
}

bool ImageLoader::loadRgbaStream(FILE* f, long long maxPixels, RasterImage& out,
                                 std::string& error) {
    return decode(f, maxPixels, out, out.rgba, error);
}

bool ImageLoader::decode(FILE* f, long long maxPixels, RasterImage& out, std::vector<uint8_t>& rgba,
                         std::string& error) {
    struct stat st = {};
    const bool known = fileno(f) >= 0 && fstat(fileno(f), &st) == 0;
    if (known && S_ISDIR(st.st_mode)) {
        error = "is a directory";
        return false;
    }
    const long long fileSize = known && S_ISREG(st.st_mode) ? st.st_size : LLONG_MAX;
    unsigned char magic[8] = {};
    size_t got = fread(magic, 1, sizeof(magic), f);
    if (got == 0) {
        error = ferror(f) ? std::string("cannot read: ") + strerror(errno)
                          : std::string("the file is empty");
        return false;
    }
    rewind(f);
    bool ok;
    if (got >= 8 && memcmp(magic, "\x89PNG\r\n\x1a\n", 8) == 0) {
#ifdef OM1_DECODE_STB_ONLY
        ok = loadWithStb(f, fileSize, "PNG", maxPixels, out, rgba, error);
#else
        ok = loadPng(f, maxPixels, out, rgba, error);
#endif
    } else if (got >= 3 && magic[0] == 0xFF && magic[1] == 0xD8 && magic[2] == 0xFF) {
#ifdef OM1_DECODE_STB_ONLY
        ok = loadWithStb(f, fileSize, "JPEG", maxPixels, out, rgba, error);
#else
        ok = loadJpeg(f, maxPixels, out, rgba, error);
#endif
    } else if (got >= 2 && magic[0] == 'B' && magic[1] == 'M') {
        ok = loadWithStb(f, fileSize, "BMP", maxPixels, out, rgba, error);
    } else if (got >= 6 && memcmp(magic, "GIF8", 4) == 0) {
        ok = loadWithStb(f, fileSize, "GIF", maxPixels, out, rgba, error);
    } else {
        error = "unsupported format (PNG, JPEG, BMP and GIF are read)";
        return false;
    }
    return ok;
}
