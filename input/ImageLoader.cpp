#include "input/ImageLoader.h"

#include <jpeglib.h>
#include <png.h>
#include <setjmp.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "stb/stb_image.h"

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

struct PngError {
    char message[200];
};

void pngError(png_structp png, png_const_charp msg) {
    PngError* e = static_cast<PngError*>(png_get_error_ptr(png));
    snprintf(e->message, sizeof(e->message), "%s", msg);
    png_longjmp(png, 1);
}
void pngWarning(png_structp, png_const_charp) {}

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

bool ImageLoader::loadPng(FILE* f, long long maxPixels, RasterImage& out,
                          std::vector<uint8_t>& rgba, std::string& error) {
    PngError err = {};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &err, pngError, pngWarning);
    if (!png) {
        error = "cannot allocate memory";
        return false;
    }
    png_infop info = png_create_info_struct(png);
    std::vector<png_bytep> rows;
    if (!info || setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, info ? &info : nullptr, nullptr);
        error = std::string("not a readable PNG file: ") +
                (err.message[0] ? err.message : "damaged data");
        return false;
    }
    png_init_io(png, f);
    png_read_info(png, info);
    png_uint_32 w = png_get_image_width(png, info), h = png_get_image_height(png, info);
    if (!sizeAllowed(w, h, maxPixels, error)) {
        png_destroy_read_struct(&png, &info, nullptr);
        return false;
    }
    png_set_expand(png);
    png_set_strip_16(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    out.width = static_cast<int>(w);
    out.height = static_cast<int>(h);
    rgba.resize(static_cast<size_t>(w) * h * 4);
    rows.resize(h);
    for (png_uint_32 y = 0; y < h; ++y) rows[y] = rgba.data() + static_cast<size_t>(y) * w * 4;
    png_read_image(png, rows.data());
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    return true;
}

bool ImageLoader::loadJpeg(FILE* f, long long maxPixels, RasterImage& out,
                           std::vector<uint8_t>& rgba, std::string& error) {
    jpeg_decompress_struct cinfo;
    JpegError err;
    cinfo.err = jpeg_std_error(&err.mgr);
    err.mgr.error_exit = jpegError;
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

bool ImageLoader::loadWithStb(FILE* f, long long maxPixels, RasterImage& out,
                              std::vector<uint8_t>& rgba, std::string& error) {
    int w = 0, h = 0, comp = 0;
    long pos = ftell(f);
    if (!stbi_info_from_file(f, &w, &h, &comp)) {
        error = std::string("not a readable image: ") + stbi_failure_reason();
        return false;
    }
    fseek(f, pos, SEEK_SET);
    if (!sizeAllowed(w, h, maxPixels, error)) return false;
    unsigned char* data = stbi_load_from_file(f, &w, &h, &comp, 4);
    if (!data) {
        error = std::string("not a readable image: ") + stbi_failure_reason();
        return false;
    }
    out.width = w;
    out.height = h;
    rgba.assign(data, data + static_cast<size_t>(w) * h * 4);
    stbi_image_free(data);
    return true;
}

bool ImageLoader::load(const std::string& path, long long maxPixels, Background background,
                       RasterImage& out, std::string& error) {
    std::unique_ptr<FILE, FileCloser> f(fopen(path.c_str(), "rb"));
    if (!f) {
        error = std::string("cannot open: ") + strerror(errno);
        return false;
    }
    unsigned char magic[8] = {};
    size_t got = fread(magic, 1, sizeof(magic), f.get());
    if (got == 0) {
        error = "the file is empty";
        return false;
    }
    rewind(f.get());
    bool ok;
    std::vector<uint8_t> rgba;  // straight colours and alpha, row 0 at the top
    if (got >= 8 && png_sig_cmp(magic, 0, 8) == 0) {
        ok = loadPng(f.get(), maxPixels, out, rgba, error);
    } else if (got >= 3 && magic[0] == 0xFF && magic[1] == 0xD8 && magic[2] == 0xFF) {
        ok = loadJpeg(f.get(), maxPixels, out, rgba, error);
    } else if ((got >= 2 && magic[0] == 'B' && magic[1] == 'M') ||
               (got >= 6 && memcmp(magic, "GIF8", 4) == 0)) {
        ok = loadWithStb(f.get(), maxPixels, out, rgba, error);
    } else {
        error = "unsupported format (PNG, JPEG, BMP and GIF are read)";
        return false;
    }
    if (!ok) return false;
    composite(out, rgba, background);
    return true;
}
