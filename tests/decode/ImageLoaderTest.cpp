// Decoding every format, compositing over the background and refusing what
// cannot be read.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "decode/ImageLoader.h"
#include "decode/TestPictures.h"

TEST(ImageLoader, ReadsEveryFormat) {
    TempDir d;
    TestPicture p = shapesPicture();
    ASSERT_TRUE(p.png(d.file("a.png")));
    ASSERT_TRUE(p.bmp(d.file("a.bmp")));
    ASSERT_TRUE(p.jpeg(d.file("a.jpg")));
    ASSERT_TRUE(p.gif(d.file("a.gif")));
    ASSERT_TRUE(p.bmp24(d.file("up.bmp"), false));
    ASSERT_TRUE(p.bmp24(d.file("down.bmp"), true));  // negative height: rows top-down
    for (const char* name : {"a.png", "a.bmp", "a.jpg", "a.gif", "up.bmp", "down.bmp"}) {
        RasterImage img;
        std::string e;
        ASSERT_TRUE(ImageLoader::load(d.file(name), 1000000, {}, img, e)) << name << ": " << e;
        EXPECT_EQ(img.width, 40);
        EXPECT_EQ(img.height, 30);
        const RGBQUAD& q = img.pixels[7 * 40 + 7];  // inside the red square
        EXPECT_NEAR(q.rgbRed, 200, 8) << name;
        EXPECT_NEAR(q.rgbBlue, 30, 8) << name;
        const RGBQUAD& b = img.pixels[20 * 40 + 25];  // inside the blue rectangle
        EXPECT_NEAR(b.rgbBlue, 200, 8) << name;
        EXPECT_NEAR(img.pixels[28 * 40 + 2].rgbGreen, 255, 8) << name;  // white, bottom left
    }
    // A GIF of one pixel: decoded, then refused as too small.
    ASSERT_TRUE(TestPicture(1, 1, 255, 255, 255).gif(d.file("one.gif")));
    RasterImage img;
    std::string e;
    EXPECT_FALSE(ImageLoader::load(d.file("one.gif"), 1000000, {}, img, e));
    EXPECT_NE(e.find("smaller than 3 x 3"), std::string::npos) << e;
}

TEST(ImageLoader, CompositesAlphaOverTheBackground) {
    TempDir d;
    TestPicture p(4, 4, 0, 0, 0);
    p.fill(0, 0, 4, 4, 0, 0, 0, 0);      // fully transparent
    p.fill(0, 0, 2, 4, 255, 0, 0, 128);  // half red
    ASSERT_TRUE(p.png(d.file("t.png")));
    RasterImage img;
    std::string e;
    ImageLoader::Background bg;
    bg.red = 0;
    bg.green = 0;
    bg.blue = 255;
    ASSERT_TRUE(ImageLoader::load(d.file("t.png"), 100, bg, img, e)) << e;
    EXPECT_EQ(img.pixels[3].rgbBlue, 255);  // transparent: the background
    EXPECT_EQ(img.alpha[3], 0);
    EXPECT_NEAR(img.pixels[0].rgbRed, 128, 1);
    EXPECT_NEAR(img.pixels[0].rgbBlue, 127, 1);
}

TEST(ImageLoader, ClearErrors) {
    TempDir d;
    RasterImage img;
    std::string e;
    EXPECT_FALSE(ImageLoader::load(d.file("missing.png"), 100, {}, img, e));
    EXPECT_NE(e.find("cannot open"), std::string::npos);
    std::ofstream(d.file("empty.png")).close();
    EXPECT_FALSE(ImageLoader::load(d.file("empty.png"), 100, {}, img, e));
    EXPECT_NE(e.find("empty"), std::string::npos);
    EXPECT_FALSE(ImageLoader::load(d.path, 100, {}, img, e));
    EXPECT_EQ(e, "is a directory");
    std::ofstream(d.file("text.png")) << "hello, this is not a picture";
    EXPECT_FALSE(ImageLoader::load(d.file("text.png"), 100, {}, img, e));
    EXPECT_NE(e.find("unsupported format"), std::string::npos);
    // Over the pixel limit: refused from the header. (Cut short:
    // RefusesTruncatedAndCorruptFiles.)
    ASSERT_TRUE(shapesPicture().png(d.file("full.png")));
    EXPECT_FALSE(ImageLoader::load(d.file("full.png"), 1000, {}, img, e));
    EXPECT_NE(e.find("more than the limit"), std::string::npos) << e;
}

// Every format cut short anywhere after its header, and damaged data, are
// refused instead of traced with made-up pixels.
TEST(ImageLoader, RefusesTruncatedAndCorruptFiles) {
    TempDir d;
    TestPicture p = shapesPicture();
    for (int y = 0; y < p.h; ++y)  // detail everywhere, so that no cut lands in flat data
        for (int x = (y * 7) % 5; x < p.w; x += 5) p.fill(x, y, 1, 1, 20, 160, 20);
    ASSERT_TRUE(p.png(d.file("a.png")));
    ASSERT_TRUE(p.jpeg(d.file("a.jpg")));
    ASSERT_TRUE(p.gif(d.file("a.gif")));
    ASSERT_TRUE(p.bmp24(d.file("a.bmp"), false));
    ASSERT_TRUE(p.bmp24(d.file("t.bmp"), true));
    struct Case {
        const char* name;
        const char* format;
    };
    for (Case c : {Case{"a.png", "PNG"}, Case{"a.jpg", "JPEG"}, Case{"a.gif", "GIF"},
                   Case{"a.bmp", "BMP"}, Case{"t.bmp", "BMP"}}) {
        const std::vector<unsigned char> bytes = readBytes(d.file(c.name));
        ASSERT_GT(bytes.size(), 200u);
        for (size_t keep : {bytes.size() / 3, bytes.size() / 2, bytes.size() - 13}) {
            std::vector<unsigned char> cut(bytes.begin(), bytes.begin() + keep);
            ASSERT_TRUE(TestPicture::save(d.file("cut"), cut));
            RasterImage img;
            std::string e;
            EXPECT_FALSE(ImageLoader::load(d.file("cut"), 1000000, {}, img, e))
                << c.name << " cut to " << keep << " of " << bytes.size() << " bytes";
            EXPECT_NE(e.find(c.format), std::string::npos) << e;
        }
    }
    // Damaged data: a PNG with a wrong checksum, a JPEG with noise in its
    // entropy-coded data, a BMP with an impossible bit depth.
    struct Damage {
        const char* name;
        size_t at;  // from the end when negative
        long fromEnd;
        unsigned char value;
    };
    for (Damage dm :
         {Damage{"a.png", 0, 20, 0x5A}, Damage{"a.jpg", 0, 200, 0xFF}, Damage{"a.bmp", 28, 0, 7}}) {
#ifdef _WIN32
        // stb_image decodes JPEG data without libjpeg's consistency checks:
        // noise that keeps the file's structure is decoded as it stands.
        if (std::string(dm.name) == "a.jpg") continue;
#endif
        std::vector<unsigned char> bytes = readBytes(d.file(dm.name));
        const size_t at = dm.fromEnd ? bytes.size() - dm.fromEnd : dm.at;
        bytes[at] ^= dm.value;
        if (dm.fromEnd && dm.value == 0xFF) bytes[at + 1] = 0x01;  // a marker inside the data
        ASSERT_TRUE(TestPicture::save(d.file("bad"), bytes));
        RasterImage img;
        std::string e;
        EXPECT_FALSE(ImageLoader::load(d.file("bad"), 1000000, {}, img, e)) << dm.name;
    }
    // A PNG is read when it ends inside its end chunk's checksum, not before.
    const std::vector<unsigned char> png = readBytes(d.file("a.png"));
    for (size_t cut : {12, 8, 4, 1}) {
        ASSERT_TRUE(TestPicture::save(d.file("end.png"), {png.begin(), png.end() - cut}));
        RasterImage img;
        std::string e;
        EXPECT_EQ(ImageLoader::load(d.file("end.png"), 1000000, {}, img, e), cut <= 4)
            << cut << " bytes cut: " << e;
    }
}
