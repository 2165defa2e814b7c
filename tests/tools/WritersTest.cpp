// The SVG and JSON writers on contour trees built by hand.
#include <gtest/gtest.h>

#include "companion/KvCtree.h"
#include "tools/JsonWriter.h"
#include "tools/SvgWriter.h"

namespace {

// A node with one straight segment per side of the box [x0, x1] x [y0, y1]
// (library coordinates, pixel centres at +1.0).
KvCtree* box(KvCtree* n, double x0, double y0, double x1, double y1, RGBQUAD c, int frame = 0) {
    unsigned char codes[4] = {0, 1, 2, 3};
    n->init(codes, 4, 0, 10);
    n->isFrame = frame;
    n->color = c;
    n->bezierCount = 13;
    n->newBezier(13);
    KvPoint corners[5] = {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}, {x0, y0}};
    n->bezier[0] = corners[0];
    for (int s = 0; s < 4; ++s) {
        KvPoint a = corners[s], b = corners[s + 1];
        n->bezier[3 * s + 1] = {a.x + (b.x - a.x) * 0.4, a.y + (b.y - a.y) * 0.4};
        n->bezier[3 * s + 2] = {b.x - (b.x - a.x) * 0.4, b.y - (b.y - a.y) * 0.4};
        n->bezier[3 * s + 3] = b;
    }
    return n;
}

}  // namespace

TEST(SvgWriter, NumbersAndColours) {
    EXPECT_EQ(SvgWriter::number(3.0), "3");
    EXPECT_EQ(SvgWriter::number(2.5), "2.5");
    EXPECT_EQ(SvgWriter::number(0.254), "0.25");
    EXPECT_EQ(SvgWriter::number(1.005 + 1e-9), "1.01");
    EXPECT_EQ(SvgWriter::number(-0.001), "0");
    EXPECT_EQ(SvgWriter::colour(RGBQUAD{0x12, 0x34, 0x56, 0}), "#563412");
}

TEST(SvgWriter, PathRemovesTheOffsetAndCloses) {
    KvCtree* t = kvctr_newKvCtree();
    box(t, 1.0, 1.0, 6.0, 3.0, RGBQUAD{0, 0, 255, 0});
    EXPECT_EQ(SvgWriter::pathData(t),
              "M0.5 0.5C2.5 0.5 3.5 0.5 5.5 0.5C5.5 1.3 5.5 1.7 5.5 2.5"
              "C3.5 2.5 2.5 2.5 0.5 2.5C0.5 1.7 0.5 1.3 0.5 0.5Z");
    kvctr_deleteKvCtree(t);
}

TEST(SvgWriter, ParentsBeforeHolesFramesLeftOut) {
    KvCtree* root = kvctr_newKvCtree();
    box(root, 1, 1, 20, 20, RGBQUAD{255, 255, 255, 0});
    KvCtree* frame = box(root->addTail()->ctree, 2, 2, 18, 18, RGBQUAD{255, 255, 255, 0}, 1);
    box(frame->addTail()->ctree, 3, 3, 8, 8, RGBQUAD{0, 0, 255, 0});
    box(root->addTail()->ctree, 10, 10, 15, 15, RGBQUAD{0, 255, 0, 0});
    std::string svg = SvgWriter::write(root, 20, 20);
    EXPECT_NE(svg.find("viewBox=\"0 0 20 20\""), std::string::npos);
    size_t white = svg.find("fill=\"#ffffff\"");
    size_t red = svg.find("fill=\"#ff0000\"");
    size_t green = svg.find("fill=\"#00ff00\"");
    ASSERT_NE(white, std::string::npos);
    ASSERT_NE(red, std::string::npos);
    ASSERT_NE(green, std::string::npos);
    EXPECT_LT(white, red);
    EXPECT_LT(red, green);
    // Three paths: the frame is not painted.
    size_t paths = 0;
    for (size_t p = svg.find("<path"); p != std::string::npos; p = svg.find("<path", p + 1))
        ++paths;
    EXPECT_EQ(paths, 3u);
    std::string skipped = SvgWriter::write(root, 20, 20, [](const KvCtree* n) {
        return n->color.rgbGreen == 255 && n->color.rgbRed == 0;
    });
    EXPECT_EQ(skipped.find("#00ff00"), std::string::npos);
    kvctr_deleteKvCtree(root);
    EXPECT_NE(SvgWriter::write(nullptr, 5, 5).find("</svg>"), std::string::npos);
}

TEST(JsonWriter, NestsHoles) {
    KvCtree* root = kvctr_newKvCtree();
    box(root, 1, 1, 4, 4, RGBQUAD{1, 2, 3, 0});
    root->startOffset = 23;
    box(root->addTail()->ctree, 2, 2, 3, 3, RGBQUAD{0, 0, 0, 0}, 1);
    std::string j = JsonWriter::write(root, 10, 10);
    EXPECT_NE(j.find("\"width\": 10"), std::string::npos);
    EXPECT_NE(
        j.find(
            "\"kind\": \"outline\", \"color\": \"#030201\", \"start\": [3, 2], \"chainLength\": 4"),
        std::string::npos);
    EXPECT_NE(j.find("\"kind\": \"frame\""), std::string::npos);
    EXPECT_NE(j.find("[0.5, 0.5]"), std::string::npos);
    kvctr_deleteKvCtree(root);
    EXPECT_NE(JsonWriter::write(nullptr, 1, 1).find("\"tree\": null"), std::string::npos);
}
