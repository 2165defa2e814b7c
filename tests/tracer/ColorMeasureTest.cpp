// The colour measure: largest single-channel difference, nearest and contrast entries.
#include <gtest/gtest.h>

#include "tracer/Ombrel.h"

namespace {
RGBQUAD quad(BYTE r, BYTE g, BYTE b, BYTE reserved = 0) {
    RGBQUAD q;
    q.rgbRed = r;
    q.rgbGreen = g;
    q.rgbBlue = b;
    q.rgbReserved = reserved;
    return q;
}
}  // namespace

TEST(ColorDist, LargestChannelDifference) {
    EXPECT_EQ(Ombrel::ColorDist(0x0000FF, 0xFF0000), 255u);
    EXPECT_EQ(Ombrel::ColorDist(RGB(10, 20, 30), RGB(13, 18, 31)), 3u);
    EXPECT_EQ(Ombrel::ColorDist(RGB(10, 20, 30), RGB(10, 20, 30)), 0u);
    EXPECT_EQ(Ombrel::ColorDist(RGB(0, 0, 0), RGB(0, 200, 0)), 200u);
}

TEST(ColorDist, TopByteIgnored) {
    EXPECT_EQ(Ombrel::ColorDist(0xAB102030, 0x00102030), 0u);
    EXPECT_EQ(Ombrel::ColorDist(0xFF000000, 0x00000001), 1u);
}

TEST(ColorDist, ByteForm) {
    EXPECT_EQ(Ombrel::ColorDist(RGB(100, 50, 0), 90, 60, 3), 10u);
    EXPECT_EQ(Ombrel::ColorDist(RGB(255, 0, 0), 0, 0, 255), 255u);
}

TEST(GetNearestColor, LowestIndexWinsTies) {
    RGBQUAD pal[3] = {quad(0, 0, 0), quad(100, 100, 100), quad(100, 100, 100)};
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(98, 99, 101), pal, 3), 1);
    RGBQUAD twins[2] = {quad(5, 5, 5), quad(5, 5, 5)};
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(0, 0, 0), twins, 2), 0);
}

TEST(GetNearestColor, ComparesRedToRedNotBytesInOrder) {
    // Entry 1 holds pure red in the RGBQUAD's red byte (third byte).
    RGBQUAD pal[2] = {quad(0, 0, 255), quad(255, 0, 0)};
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(250, 0, 0), pal, 2), 1);
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(0, 0, 250), pal, 2), 0);
}

TEST(GetNearestColor, ReservedByteIgnoredAndEmptyPalette) {
    RGBQUAD pal[2] = {quad(9, 9, 9, 200), quad(0, 0, 0, 0)};
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(9, 9, 9), pal, 2), 0);
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(9, 9, 9), pal, 0), 0);
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(9, 9, 9), nullptr, 5), 0);
}

TEST(GetContrastColor, LastEntryFartherThanEntryZero) {
    // Distances 10, 50, 20 from the colour: the last one farther than entry 0 wins.
    RGBQUAD pal[3] = {quad(10, 0, 0), quad(50, 0, 0), quad(20, 0, 0)};
    EXPECT_EQ(Ombrel::GetContrastColor(RGB(0, 0, 0), pal, 3), 2);
}

TEST(GetContrastColor, NoneFartherGivesZero) {
    RGBQUAD pal[3] = {quad(90, 0, 0), quad(50, 0, 0), quad(90, 0, 0)};
    EXPECT_EQ(Ombrel::GetContrastColor(RGB(0, 0, 0), pal, 3), 0);
    RGBQUAD one[1] = {quad(1, 2, 3)};
    EXPECT_EQ(Ombrel::GetContrastColor(RGB(0, 0, 0), one, 1), 0);
    EXPECT_EQ(Ombrel::GetNearestColor(RGB(0, 0, 0), one, 1), 0);
}
