// The colour measure: largest single-channel difference, nearest and contrast entries.
#include <gtest/gtest.h>

#include "tracer/Ombrel.h"

namespace {
RGBQUAD quad(BYTE r, BYTE g, BYTE b, BYTE reserved = 0) {
    return RGBQUAD{b, g, r, reserved};
}
}  // namespace

TEST(ColorDist, LargestChannelDifferenceIgnoringTheTopByte) {
    const struct {
        DWORD a, b, want;
    } cases[] = {{0x0000FF, 0xFF0000, 255},
                 {RGB(10, 20, 30), RGB(13, 18, 31), 3},
                 {RGB(10, 20, 30), RGB(10, 20, 30), 0},
                 {RGB(0, 0, 0), RGB(0, 200, 0), 200},
                 {0xAB102030, 0x00102030, 0},
                 {0xFF000000, 0x00000001, 1}};
    for (const auto& c : cases) EXPECT_EQ(Ombrel::ColorDist(c.a, c.b), c.want) << std::hex << c.a;
    EXPECT_EQ(Ombrel::ColorDist(RGB(100, 50, 0), 90, 60, 3), 10u);
    EXPECT_EQ(Ombrel::ColorDist(RGB(255, 0, 0), 0, 0, 255), 255u);
}

TEST(GetNearestColor, LowestIndexWinsTiesAndChannelsMatchByName) {
    RGBQUAD pal[3] = {quad(0, 0, 0), quad(100, 100, 100), quad(100, 100, 100)};
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(98, 99, 101), pal, 3), 1);
    RGBQUAD twins[2] = {quad(5, 5, 5), quad(5, 5, 5)};
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(0, 0, 0), twins, 2), 0);
    // Entry 1 holds pure red in the RGBQUAD's red byte (third byte).
    RGBQUAD rb[2] = {quad(0, 0, 255), quad(255, 0, 0)};
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(250, 0, 0), rb, 2), 1);
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(0, 0, 250), rb, 2), 0);
    // The reserved byte is ignored; an empty palette gives entry 0.
    RGBQUAD res[2] = {quad(9, 9, 9, 200), quad(0, 0, 0, 0)};
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(9, 9, 9), res, 2), 0);
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(9, 9, 9), res, 0), 0);
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(9, 9, 9), nullptr, 5), 0);
}

TEST(GetContrastColor, LastEntryFartherThanEntryZeroElseZero) {
    // Distances 10, 50, 20 from the colour: the last one farther than entry 0 wins.
    RGBQUAD pal[3] = {quad(10, 0, 0), quad(50, 0, 0), quad(20, 0, 0)};
    EXPECT_EQ(Ombrel::GetContrastColor(RGB(0, 0, 0), pal, 3), 2);
    RGBQUAD none[3] = {quad(90, 0, 0), quad(50, 0, 0), quad(90, 0, 0)};
    EXPECT_EQ(Ombrel::GetContrastColor(RGB(0, 0, 0), none, 3), 0);
    RGBQUAD one[1] = {quad(1, 2, 3)};
    EXPECT_EQ(Ombrel::GetContrastColor(RGB(0, 0, 0), one, 1), 0);
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(0, 0, 0), one, 1), 0);
}
