// AlphaPicture and the stages with alpha: levels, stand-in colours, and the
// anti-alias cleanup's choice by coverage at an edge against transparency.
#include <gtest/gtest.h>

#include <set>
#include <cstring>
#include <vector>

#include "prepare/AlphaPicture.h"
#include "prepare/PictureCleaner.h"

using om1::AlphaPicture;

namespace {

uint32_t packed(const RGBQUAD& q) {
    return q.rgbRed | q.rgbGreen << 8 | q.rgbBlue << 16;
}

}  // namespace

TEST(AlphaPicture, LevelsByCoverageOrByKMeans) {
    // No levels: opaque from 128 up.
    std::vector<uint8_t> a = {0, 1, 127, 128, 200, 255};
    ASSERT_TRUE(AlphaPicture::quantizeLevels(a.data(), a.size(), 0));
    EXPECT_EQ(a, (std::vector<uint8_t>{0, 0, 0, 255, 255, 255}));
    // One level: the mean of the partial values nearest it (90 and 110 of
    // the 70..180 group; 10 goes to empty, 250 to opaque).
    a = {0, 10, 90, 110, 250, 255};
    ASSERT_TRUE(AlphaPicture::quantizeLevels(a.data(), a.size(), 1));
    EXPECT_EQ(a, (std::vector<uint8_t>{0, 0, 100, 100, 255, 255}));
}

TEST(AlphaPicture, FromRgbaCompositesOrKeepsTheAlpha) {
    const uint8_t rgba[] = {200, 100, 0, 0, 200, 100, 0, 128, 10, 20, 30, 255};
    std::vector<RGBQUAD> px;
    std::vector<uint8_t> alpha;
    const RGBQUAD white = {255, 255, 255, 0};
    ASSERT_TRUE(AlphaPicture::fromRgba(rgba, 3, 1, 12, true, white, px, alpha));
    EXPECT_TRUE(alpha.empty());
    EXPECT_EQ(packed(px[0]), 0xFFFFFFu);
    EXPECT_EQ(packed(px[1]), 227u | 177u << 8 | 127u << 16);  // (c a + 255 (255 - a) + 127) / 255
    ASSERT_TRUE(AlphaPicture::fromRgba(rgba, 3, 1, 12, false, white, px, alpha));
    EXPECT_EQ(alpha, (std::vector<uint8_t>{0, 128, 255}));
    EXPECT_EQ(packed(px[0]), 0u);  // an empty pixel has no colour of its own
    EXPECT_EQ(packed(px[1]), 200u | 100u << 8);
    // Five opaque pixels (four converted at once, one after): each keeps its
    // colour, and no alpha at all; one alpha below 255 among the four keeps
    // the alpha.
    uint8_t five[20];
    for (int i = 0; i < 20; ++i) five[i] = static_cast<uint8_t>(i % 4 == 3 ? 255 : 10 * i + 1);
    ASSERT_TRUE(AlphaPicture::fromRgba(five, 5, 1, 20, false, white, px, alpha));
    EXPECT_TRUE(alpha.empty());
    for (int x = 0; x < 5; ++x)
        EXPECT_EQ(packed(px[x]), five[4 * x] | five[4 * x + 1] << 8 | five[4 * x + 2] << 16) << x;
    five[4 * 2 + 3] = 254;
    ASSERT_TRUE(AlphaPicture::fromRgba(five, 5, 1, 20, false, white, px, alpha));
    EXPECT_EQ(alpha, (std::vector<uint8_t>{255, 255, 254, 255, 255}));
}

// Opaque pixels keep their colour; a partial level of an opaque colour takes
// the nearest free one; the empty region a colour far from all of them.
TEST(AlphaPicture, StandInsKeepEveryKeyApart) {
    const RGBQUAD black = {0, 0, 0, 0}, red = {0, 0, 255, 0};
    const std::vector<RGBQUAD> colours = {black, black, black, red, black};
    const std::vector<uint8_t> levels = {255, 100, 0, 60, 100};
    std::vector<RGBQUAD> out;
    ASSERT_TRUE(AlphaPicture::standIns(colours.data(), levels.data(), colours.size(), out));
    EXPECT_EQ(packed(out[0]), 0u);
    EXPECT_EQ(packed(out[3]), 0xFFu);  // red at 60: nobody else has red
    EXPECT_EQ(packed(out[1]), packed(out[4]));
    const std::set<uint32_t> keys = {packed(out[0]), packed(out[1]), packed(out[2]),
                                     packed(out[3])};
    EXPECT_EQ(keys.size(), 4u);
    // Chebyshev distance from the empty stand-in to each other colour.
    for (int i : {0, 1, 3}) {
        int d = 0;
        for (int c = 0; c < 3; ++c)
            d = std::max(d, std::abs(static_cast<int>(packed(out[2]) >> (8 * c) & 0xFF) -
                                     static_cast<int>(packed(out[i]) >> (8 * c) & 0xFF)));
        EXPECT_GE(d, 64) << i;
    }
}

// An edge against transparency: rows of a flat green shape, then pixels of
// 200 and 120 alpha, then empty. The cleanup gives the pixels the
// shape covers at least half of to the shape, the others to the empty region,
// and never paints an empty pixel.
TEST(AlphaPicture, AntialiasDecidesAnEdgeByCoverage) {
    const int w = 12, h = 5;
    std::vector<RGBQUAD> px(w * h, RGBQUAD{0, 0, 0, 0});
    std::vector<uint8_t> alpha(w * h, 0);
    const uint8_t edge[2] = {200, 120};
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < 6; ++x) {
            px[y * w + x] = RGBQUAD{40, 160, 20, 0};
            alpha[y * w + x] = x < 4 ? 255 : edge[x - 4];
        }
    EXPECT_EQ(om1::PictureCleaner::antialias(px.data(), w, h, 3, 40, alpha.data()), 2 * h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const bool shape = x < 5;
            EXPECT_EQ(alpha[y * w + x], shape ? 255 : 0) << x << "," << y;
            if (shape) {
                EXPECT_EQ(packed(px[y * w + x]), 20u | 160u << 8 | 40u << 16);
            }
        }
}

TEST(AlphaPicture, FromRgbaByBandsGivesTheResultOfOneThread) {
    // Over 2^20 pixels, with a row stride wider than the row; opaque,
    // transparent, and composited.
    const int w = 1030, h = 1020;
    const size_t stride = 4 * static_cast<size_t>(w) + 12;
    std::vector<uint8_t> rgba(stride * h);
    for (size_t i = 0; i < rgba.size(); ++i) rgba[i] = static_cast<uint8_t>(i * 2654435761u >> 24);
    std::vector<uint8_t> opaque = rgba;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) opaque[y * stride + 4 * x + 3] = 255;
    for (const std::vector<uint8_t>* picture : {&rgba, &opaque})
        for (bool composite : {false, true}) {
            std::vector<RGBQUAD> one, many;
            std::vector<uint8_t> oneAlpha, manyAlpha;
            const RGBQUAD bg = {10, 20, 30, 0};
            ASSERT_TRUE(om1::AlphaPicture::fromRgba(picture->data(), w, h, stride, composite, bg,
                                                    one, oneAlpha, {}, 1));
            ASSERT_TRUE(om1::AlphaPicture::fromRgba(picture->data(), w, h, stride, composite, bg,
                                                    many, manyAlpha, {}, 2));
            ASSERT_EQ(many.size(), one.size());
            EXPECT_EQ(0, std::memcmp(many.data(), one.data(), one.size() * sizeof(RGBQUAD)));
            EXPECT_EQ(manyAlpha, oneAlpha);
            EXPECT_EQ(oneAlpha.empty(), composite || picture == &opaque);
        }
}
