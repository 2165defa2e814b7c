// Pictures with transparency through the whole pipeline: the empty region is
// never drawn and nothing covers it, holes stay holes, partial alpha becomes
// the shapes' opacity in every format, and a background colour flattens the
// picture as before. Coverage is checked on the exact boundaries (pixel
// centres inside a shape's loops, even-odd), the shapes drawn in order.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "OutputPictures.h"
#include "PipelinePictures.h"

namespace {

// A red ring (outer radius 15, inner 7) around a transparent hole, on
// transparency.
Rgba ring() {
    Rgba p(40, 40);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 40; ++x) {
            const double d = std::hypot(x + 0.5 - 20, y + 0.5 - 20);
            if (d < 15 && d >= 7) p.set(x, y, 0xC81E1E, 255);
        }
    return p;
}

}  // namespace

// The hole is a hole of the ring's own shape, in every layout and preset:
// no shape covers a transparent pixel, every opaque pixel is covered by the
// red shape alone, and the empty region is one hidden node without loops.
TEST(Transparency, RingAroundATransparentHoleIsARingWithAHole) {
    const Rgba p = ring();
    for (const char* name : {"graphic", "pixel"})
        for (const char* cutout : {"off", "on"}) {
            SCOPED_TRACE(std::string(name) + " cutout " + cutout);
            const om1_options o = preset(name, "cutout", cutout);
            const om1::Result r = om1::vectorize(p.picture(), &o);
            ASSERT_EQ(r.status(), OM1_OK);
            const om1::ShapeSet* set = r.drawing();
            ASSERT_TRUE(set && set->transparent);
            int drawn = 0, empty = 0;
            for (const om1::Shape& s : set->shapes) {
                if (s.role == om1::Shape::Role::Frame) continue;
                if (s.alpha == 0) {
                    ++empty;
                    EXPECT_TRUE(s.loops.empty() && r.hidden(s));
                } else if (!s.loops.empty()) {
                    ++drawn;
                    EXPECT_EQ(s.alpha, 255);
                    EXPECT_EQ(s.loops.size(), 2u);  // the outer loop and the hole
                }
            }
            EXPECT_EQ(drawn, 1);
            EXPECT_GE(empty, 1);
            std::vector<int> owner;
            const std::vector<int> count = centreCoverage(*set, false, owner);
            for (size_t i = 0; i < count.size(); ++i)
                ASSERT_EQ(count[i], p.px[4 * i + 3] ? 1 : 0) << i % p.w << "," << i / p.w;
            const std::string svg = written(r, om1::OutputFormat::Kind::Svg);
            EXPECT_EQ(svg.find("<path"), svg.rfind("<path"));  // one path
            EXPECT_EQ(svg.find("fill-opacity"), std::string::npos);
        }
}

// A blue square over a black shadow at half opacity: the shadow is one shape
// of alpha 128 where it shows, drawn alone (no parent under it), the square
// opaque; every format says so, and EPS and DXF flatten it onto white.
TEST(Transparency, HalfTransparentShadowKeepsItsOpacity) {
    Rgba p(48, 48);
    p.rect(12, 12, 40, 40, 0x000000, 128);
    p.rect(8, 8, 32, 32, 0x2040C0, 255);
    const om1_options o = preset("graphic");
    const om1::Result r = om1::vectorize(p.picture(), &o);
    ASSERT_EQ(r.status(), OM1_OK);
    const om1::ShapeSet* set = r.drawing();
    ASSERT_TRUE(set);
    std::vector<int> owner;  // the shape drawn last over each pixel centre
    const std::vector<int> count = centreCoverage(*set, false, owner);
    for (size_t i = 0; i < count.size(); ++i) {
        SCOPED_TRACE(std::to_string(i % p.w) + "," + std::to_string(i / p.w));
        const int a = p.px[4 * i + 3];
        if (a == 0) {
            EXPECT_EQ(count[i], 0);
            continue;
        }
        if (a == 255)
            ASSERT_GE(count[i], 1);  // the opaque square on top
        else
            ASSERT_EQ(count[i], 1);  // only the shadow: nothing under it would show through
        const om1::Shape& top = set->shapes[owner[i]];
        EXPECT_EQ(top.alpha, a == 255 ? 255 : 128);
        EXPECT_EQ(top.color.rgbBlue, a == 255 ? 0xC0 : 0);
        EXPECT_EQ(top.color.rgbRed, a == 255 ? 0x20 : 0);
    }
    using K = om1::OutputFormat::Kind;
    EXPECT_NE(written(r, K::Svg).find("fill=\"#000000\" fill-opacity=\"0.502\""),
              std::string::npos);
    const std::string pdf = written(r, K::Pdf);
    EXPECT_NE(pdf.find("/ExtGState << /a128 << /ca 0.502 >> /a255 << /ca 1 >> >>"),
              std::string::npos);
    EXPECT_NE(pdf.find("/a128 gs\n0 0 0 rg"), std::string::npos);
    EXPECT_NE(written(r, K::Json).find("\"color\": \"#000000\", \"alpha\": 128"),
              std::string::npos);
    EXPECT_NE(written(r, K::GeoJson).find("\"opacity\": 0.502"), std::string::npos);
    // Black at 128 over white: 127.
    EXPECT_NE(written(r, K::Eps).find("0.498 0.498 0.498 rg"), std::string::npos);
    EXPECT_NE(written(r, K::Dxf).find("\n7F7F7F\n"), std::string::npos);
}

// Anti-aliased edges against transparency: a disc whose edge pixels hold
// their coverage as alpha. Nothing is painted where the picture is empty,
// and the edge lands where the coverage is one half: pixels covered more
// than 60 % are drawn, pixels covered less than 40 % are not.
TEST(Transparency, NothingIsPaintedWhereThePictureIsEmpty) {
    Rgba p(64, 64);
    std::vector<double> share(64 * 64);
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            int in = 0;
            for (int k = 0; k < 256; ++k)
                in += std::hypot(x + (k % 16 + 0.5) / 16 - 31.3, y + (k / 16 + 0.5) / 16 - 32.7) <
                      21.6;
            share[y * 64 + x] = in / 256.0;
            if (in) p.set(x, y, 0x1E8C3C, static_cast<int>(std::lround(in * 255 / 256.0)));
        }
    for (const char* name : {"graphic", "photo", "bw", "pixel", "plain"}) {
        SCOPED_TRACE(name);
        const om1_options o = preset(name);
        const om1::Result r = om1::vectorize(p.picture(), &o);
        ASSERT_EQ(r.status(), OM1_OK);
        const om1::ShapeSet* set = r.drawing();
        ASSERT_TRUE(set);
        std::vector<int> owner;
        const std::vector<int> count = centreCoverage(*set, false, owner);
        for (int y = 0; y < p.h; ++y)
            for (int x = 0; x < p.w; ++x) {
                const int n = count[static_cast<size_t>(y) * p.w + x];
                if (p.alpha(x, y) == 0) {
                    ASSERT_EQ(n, 0) << x << "," << y;
                }
                if (std::string(name) == "pixel" || std::string(name) == "plain") continue;
                if (share[y * 64 + x] > 0.6) {
                    EXPECT_GE(n, 1) << x << "," << y;
                }
                if (share[y * 64 + x] < 0.4) {
                    EXPECT_EQ(n, 0) << x << "," << y;
                }
            }
    }
}

// A background colour composites the picture over it and traces it as an
// opaque picture, byte for byte; an opaque picture is traced the same with
// or without one; the transparent option keeps the transparency.
TEST(Transparency, BackgroundFlattensAsBefore) {
    Rgba p(48, 48);
    p.rect(12, 12, 40, 40, 0x000000, 128);
    p.rect(8, 8, 32, 32, 0x2040C0, 255);
    Rgba flat = p;
    for (size_t i = 0; i < flat.px.size(); i += 4) {
        const unsigned a = flat.px[i + 3], bg[3] = {0x10, 0x20, 0x30};
        for (int c = 0; c < 3; ++c)
            flat.px[i + c] =
                static_cast<uint8_t>((flat.px[i + c] * a + bg[c] * (255 - a) + 127) / 255);
        flat.px[i + 3] = 255;
    }
    using K = om1::OutputFormat::Kind;
    const om1_options withBackground = preset("graphic", "background", "102030");
    const om1_options plain = preset("graphic");
    const std::string composited = written(om1::vectorize(p.picture(), &withBackground), K::Svg);
    EXPECT_EQ(composited, written(om1::vectorize(flat.picture(), &plain), K::Svg));
    EXPECT_EQ(composited, written(om1::vectorize(flat.picture(), &withBackground), K::Svg));
    EXPECT_NE(composited.find("#102030"), std::string::npos);
    EXPECT_EQ(composited.find("fill-opacity"), std::string::npos);

    om1_options kept = withBackground;
    kept.transparent = 1;
    const om1::Result r = om1::vectorize(p.picture(), &kept);
    EXPECT_EQ(written(r, K::Svg), written(om1::vectorize(p.picture(), &plain), K::Svg));
    // The background colour then only flattens the formats without opacity:
    // black at 128 over #102030.
    EXPECT_NE(written(r, K::Eps).find("0.0314 0.0627 0.0941 rg"), std::string::npos);
}
