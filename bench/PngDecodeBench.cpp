// PNG decoding of a 4096 x 4096 picture into 8-bit RGBA, libpng against
// libspng, to choose the decoder of input/ImageLoader. The picture is written
// once with libpng's default compression: smooth gradients with flat shapes
// and a little noise (RGB), and the same with an alpha channel (RGBA).
#include <benchmark/benchmark.h>
#include <png.h>
#include <spng.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

const int kSide = 4096;

std::string writePicture(int channels) {
    std::string path = "/tmp/om1-pngbench-" + std::to_string(channels) + ".png";
    if (FILE* f = fopen(path.c_str(), "rb")) {
        fclose(f);
        return path;
    }
    std::vector<uint8_t> px(static_cast<size_t>(kSide) * kSide * channels);
    uint32_t seed = 12345;
    for (int y = 0; y < kSide; ++y)
        for (int x = 0; x < kSide; ++x) {
            uint8_t* p = &px[(static_cast<size_t>(y) * kSide + x) * channels];
            seed = seed * 1664525u + 1013904223u;
            const int noise = (seed >> 28) & 3;
            const bool shape = ((x / 256) + (y / 256)) % 3 == 0;
            p[0] = static_cast<uint8_t>(shape ? 200 : (x * 255 / kSide) + noise);
            p[1] = static_cast<uint8_t>(shape ? 40 : (y * 255 / kSide) + noise);
            p[2] = static_cast<uint8_t>(((x + y) / 64) % 2 ? 90 : 160);
            if (channels == 4) p[3] = static_cast<uint8_t>(shape ? 255 : 128 + (x % 128));
        }
    FILE* f = fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, f);
    png_set_IHDR(png, info, kSide, kSide, 8,
                 channels == 4 ? PNG_COLOR_TYPE_RGBA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < kSide; ++y)
        png_write_row(png, &px[static_cast<size_t>(y) * kSide * channels]);
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    fclose(f);
    return path;
}

// As input/ImageLoader reads PNG with libpng: expand, strip 16 bits, grey to
// RGB, add opaque alpha.
bool decodeLibpng(const std::string& path, std::vector<uint8_t>& rgba) {
    FILE* f = fopen(path.c_str(), "rb");
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, f);
    png_read_info(png, info);
    const png_uint_32 w = png_get_image_width(png, info), h = png_get_image_height(png, info);
    png_set_expand(png);
    png_set_strip_16(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    rgba.resize(static_cast<size_t>(w) * h * 4);
    std::vector<png_bytep> rows(h);
    for (png_uint_32 y = 0; y < h; ++y) rows[y] = rgba.data() + static_cast<size_t>(y) * w * 4;
    png_read_image(png, rows.data());
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
    fclose(f);
    return true;
}

bool decodeSpng(const std::string& path, std::vector<uint8_t>& rgba) {
    FILE* f = fopen(path.c_str(), "rb");
    spng_ctx* ctx = spng_ctx_new(0);
    spng_set_png_file(ctx, f);
    size_t size = 0;
    bool ok = spng_decoded_image_size(ctx, SPNG_FMT_RGBA8, &size) == 0;
    rgba.resize(size);
    ok = ok && spng_decode_image(ctx, rgba.data(), size, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) == 0;
    spng_ctx_free(ctx);
    fclose(f);
    return ok;
}

template <bool (*Decode)(const std::string&, std::vector<uint8_t>&)>
void BM_Decode(benchmark::State& state) {
    const std::string path = writePicture(static_cast<int>(state.range(0)));
    std::vector<uint8_t> rgba;
    for (auto _ : state) {
        if (!Decode(path, rgba)) state.SkipWithError("decoding failed");
        benchmark::DoNotOptimize(rgba.data());
    }
    state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

}  // namespace

BENCHMARK_TEMPLATE(BM_Decode, decodeLibpng)->Arg(3)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Decode, decodeSpng)->Arg(3)->Arg(4)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
