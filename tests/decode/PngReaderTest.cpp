// The quick PNG path: every filter and 8-bit colour type decodes as an
// independent decoder (stb_image) reads it, and every file outside its
// reach is left to libspng, which then decodes or refuses it as before.
#include "decode/PngReader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "decode/ImageLoader.h"
#include "decode/TestPictures.h"
#include "stb_image.h"

#ifndef OM1_DECODE_STB_ONLY

namespace {

// Noise with runs and steps, so that every filter meets all its cases
// (wrapping sums, Paeth picking each neighbour); odd sizes.
std::vector<unsigned char> noise(int w, int h, int channels) {
    std::vector<unsigned char> v(static_cast<size_t>(w) * h * channels);
    uint32_t s = 12345;
    for (size_t i = 0; i < v.size(); ++i) {
        s = s * 1103515245u + 12345u;
        v[i] = (i / channels) % 7 < 3 ? static_cast<unsigned char>(s >> 24)
                                      : static_cast<unsigned char>((i / channels) * 37);
    }
    return v;
}

// Writes `pixels` as a PNG with every row in `filter` and returns them as
// stb_image reads the file back, in RGBA.
std::vector<uint8_t> writePng(const std::string& path, int w, int h, int channels, int filter,
                              const std::vector<unsigned char>& pixels) {
    stbi_write_force_png_filter = filter;
    const bool written = stbi_write_png(path.c_str(), w, h, channels, pixels.data(), w * channels);
    stbi_write_force_png_filter = -1;
    if (!written) return {};
    int sw = 0, sh = 0, sc = 0;
    unsigned char* read = stbi_load(path.c_str(), &sw, &sh, &sc, 4);
    if (!read) return {};
    const std::vector<uint8_t> out(read, read + static_cast<size_t>(w) * h * 4);
    stbi_image_free(read);
    return out;
}

bool readQuick(const std::string& path, int& w, int& h, std::vector<uint8_t>& rgba) {
    FILE* f = fopen(path.c_str(), "rb");
    if (!f) return false;
    const bool ok = PngReader::read(f, 1 << 22, w, h, rgba);
    fclose(f);
    return ok;
}

uint32_t crc(const unsigned char* p, size_t n) {
    uint32_t c = 0xFFFFFFFFu;
    for (size_t i = 0; i < n; ++i) {
        c ^= p[i];
        for (int k = 0; k < 8; ++k) c = c & 1 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
    }
    return c ^ 0xFFFFFFFFu;
}

void putBe(std::vector<unsigned char>& b, size_t at, uint32_t v) {
    for (int k = 0; k < 4; ++k) b[at + k] = static_cast<unsigned char>(v >> (24 - 8 * k));
}

// `png` with the IHDR byte at `offset` (0 = first data byte) set to `value`
// and its checksum made right again.
std::vector<unsigned char> withHeaderByte(std::vector<unsigned char> png, int offset,
                                          unsigned char value) {
    png[16 + offset] = value;
    putBe(png, 29, crc(png.data() + 12, 17));
    return png;
}

// `png` with a chunk of `type` holding `data` put before its first IDAT.
std::vector<unsigned char> withChunk(const std::vector<unsigned char>& png, const char* type,
                                     const std::vector<unsigned char>& data) {
    std::vector<unsigned char> c(12 + data.size());
    putBe(c, 0, static_cast<uint32_t>(data.size()));
    std::copy(type, type + 4, c.begin() + 4);
    std::copy(data.begin(), data.end(), c.begin() + 8);
    putBe(c, 8 + data.size(), crc(c.data() + 4, 4 + data.size()));
    std::vector<unsigned char> out;
    out.reserve(png.size() + c.size());
    for (size_t i = 0; i < png.size(); ++i) {
        if (i == 33)  // after the signature and IHDR
            for (unsigned char b : c) out.push_back(b);
        out.push_back(png[i]);
    }
    return out;
}

}  // namespace

TEST(PngReader, DecodesEveryFilterAndColourTypeAsStbImage) {
    TempDir d;
    const int w = 37, h = 23;
    for (int channels = 1; channels <= 4; ++channels)
        for (int filter = 0; filter <= 4; ++filter) {
            SCOPED_TRACE("channels " + std::to_string(channels) + ", filter " +
                         std::to_string(filter));
            const std::vector<uint8_t> want =
                writePng(d.file("a.png"), w, h, channels, filter, noise(w, h, channels));
            ASSERT_FALSE(want.empty());
            int rw = 0, rh = 0;
            std::vector<uint8_t> got;
            ASSERT_TRUE(readQuick(d.file("a.png"), rw, rh, got));
            EXPECT_EQ(rw, w);
            EXPECT_EQ(rh, h);
            EXPECT_EQ(got, want);
            // The loader gives the same (through the quick path).
            RasterImage img;
            std::string e;
            ASSERT_TRUE(ImageLoader::loadRgba(d.file("a.png"), 1 << 20, img, e)) << e;
            EXPECT_EQ(img.rgba, want);
        }
}

TEST(PngReader, LargePicturesExpandOnASecondThread) {
    // Over 2^20 pixels the rows are expanded on a helper thread while
    // they are unfiltered here: the same pixels, grey and alpha and RGB.
    TempDir d;
    const int w = 1030, h = 1020;
    for (int channels : {2, 3}) {
        // One filter: quicker to write than trying each.
        const std::vector<uint8_t> want =
            writePng(d.file("big.png"), w, h, channels, 3, noise(w, h, channels));
        ASSERT_FALSE(want.empty());
        int rw = 0, rh = 0;
        std::vector<uint8_t> got;
        ASSERT_TRUE(readQuick(d.file("big.png"), rw, rh, got));
        EXPECT_EQ(got, want) << channels << " channels";
        // A wrong data checksum (adler32) under a right chunk checksum:
        // found only once inflated, after the helper started; refused.
        std::vector<unsigned char> bytes = readBytes(d.file("big.png"));
        const size_t end = bytes.size() - 16;  // the last IDAT's checksum
        size_t type = end;
        while (type > 0 && std::string(bytes.begin() + type, bytes.begin() + type + 4) != "IDAT")
            --type;
        bytes[end - 1] ^= 0x10;
        putBe(bytes, end, crc(bytes.data() + type, end - type));
        ASSERT_TRUE(TestPicture::save(d.file("bad.png"), bytes));
        EXPECT_FALSE(readQuick(d.file("bad.png"), rw, rh, got));
    }
}

TEST(PngReader, LeavesOtherFilesToTheFullDecoder) {
    TempDir d;
    const int w = 19, h = 11;
    const std::vector<unsigned char> pixels = noise(w, h, 3);
    ASSERT_TRUE(stbi_write_png(d.file("a.png").c_str(), w, h, 3, pixels.data(), w * 3));
    const std::vector<unsigned char> png = readBytes(d.file("a.png"));
    RasterImage plain;
    std::string e;
    ASSERT_TRUE(ImageLoader::loadRgba(d.file("a.png"), 1 << 20, plain, e)) << e;

    std::vector<unsigned char> trailing = png;
    trailing.push_back(0);
    std::vector<unsigned char> badIdat = png;
    badIdat[png.size() - 16] ^= 0x01;  // the last IDAT's checksum
    // An IDAT claiming nearly 2 GB: read up to the file's end, not taken
    // (and zeroed) at once.
    std::vector<unsigned char> lying = png;
    lying.at(33) = 0x7F;
    lying.at(34) = lying.at(35) = 0xFF;
    // A width of 20: more data wanted than there is.
    const std::vector<unsigned char> wider = withHeaderByte(png, 3, 20);
    struct Case {
        const char* name;
        std::vector<unsigned char> bytes;
        bool libspngReads;  // and gives the plain file's pixels
    };
    const std::vector<Case> cases = {
        {"an ancillary chunk", withChunk(png, "gAMA", {0, 0, 0xB1, 0x8F}), true},
        {"transparency", withChunk(png, "tRNS", {0, 1, 0, 2, 0, 3}), false},
        {"16 bits", withHeaderByte(png, 8, 16), false},
        {"interlaced", withHeaderByte(png, 12, 1), false},
        {"a palette", withHeaderByte(png, 9, 3), false},
        {"a byte after IEND", trailing, true},
        {"a wrong checksum", badIdat, false},
        {"too wide for its data", wider, false},
        {"cut short", std::vector<unsigned char>(png.begin(), png.end() - 20), false},
        {"an IDAT longer than the file", lying, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_TRUE(TestPicture::save(d.file("b.png"), c.bytes));
        int rw = 0, rh = 0;
        std::vector<uint8_t> got;
        EXPECT_FALSE(readQuick(d.file("b.png"), rw, rh, got));
        EXPECT_TRUE(got.empty());
        RasterImage img;
        const bool read = ImageLoader::loadRgba(d.file("b.png"), 1 << 20, img, e);
        if (c.libspngReads) {
            EXPECT_TRUE(read) << e;
            EXPECT_EQ(img.rgba, plain.rgba);
        } else if (!read) {
            EXPECT_NE(e.find("PNG"), std::string::npos) << e;
        }
    }
    // Over the pixel limit: left to the loader, which says so.
    RasterImage img;
    EXPECT_FALSE(ImageLoader::loadRgba(d.file("a.png"), w * h - 1, img, e));
    EXPECT_NE(e.find("more than the limit"), std::string::npos) << e;
}

// Paeth on rows of few values, so that the distances tie (left or up with
// up-left): a row filtered by the predictor written out comes back as it was, for
// pixels of one to four bytes and rows of odd lengths.
TEST(PngReader, PaethBreaksTiesLeftThenUpThenUpLeft) {
    for (int bpp = 1; bpp <= 4; ++bpp)
        for (size_t pixels : {1, 2, 5, 17, 64}) {
            const size_t bytes = pixels * bpp;
            std::vector<uint8_t> prior(bytes), want(bytes), row(bytes);
            uint32_t seed = static_cast<uint32_t>(bpp * 1000 + pixels);
            auto next = [&]() {
                seed = seed * 1664525u + 1013904223u;
                return static_cast<uint8_t>((seed >> 29) % 5 * 2);  // 0, 2, .. 8
            };
            for (size_t i = 0; i < bytes; ++i) prior[i] = next(), want[i] = next();
            int ties = 0;
            for (size_t i = 0; i < bytes; ++i) {
                const bool left = i >= static_cast<size_t>(bpp);
                const int a = left ? want[i - bpp] : 0, b = prior[i], c = left ? prior[i - bpp] : 0;
                const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b),
                          pc = std::abs(p - c);
                // (a and b never tie apart: that puts c half way, at 0)
                ties += (a != c && pa == pc && pa <= pb) || (b != c && pb == pc && pb < pa);
                const int predicted = pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
                row[i] = static_cast<uint8_t>(want[i] - predicted);
            }
            if (pixels == 64) {
                EXPECT_GT(ties, 0) << bpp;
            }
            ASSERT_TRUE(PngReader::unfilter(4, row.data(), prior.data(), bytes, bpp));
            EXPECT_EQ(row, want) << bpp << " bytes a pixel, " << pixels << " pixels";
        }
}

#endif
