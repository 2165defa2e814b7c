// The colour measure and palette lookups of the tracer.
#include "tracer/Ombrel.h"

namespace {
inline int channel(DWORD c, int shift) {
    return static_cast<int>((c >> shift) & 0xFF);
}
inline DWORD absDiff(int a, int b) {
    return static_cast<DWORD>(a > b ? a - b : b - a);
}
}  // namespace

DWORD Ombrel::ColorDist(DWORD a, DWORD b) {
    DWORD dr = absDiff(channel(a, 0), channel(b, 0));
    DWORD dg = absDiff(channel(a, 8), channel(b, 8));
    DWORD db = absDiff(channel(a, 16), channel(b, 16));
    DWORD m = dr > dg ? dr : dg;
    return m > db ? m : db;
}

DWORD Ombrel::ColorDist(DWORD a, BYTE red, BYTE green, BYTE blue) {
    return ColorDist(a, RGB(red, green, blue));
}

BYTE Ombrel::GetNearestColor(DWORD color, RGBQUAD* palette, DWORD count) {
    if (!palette || count == 0) return 0;
    DWORD best = 0;
    DWORD bestDist = ColorDist(color, palette[0].rgbRed, palette[0].rgbGreen, palette[0].rgbBlue);
    for (DWORD i = 1; i < count; ++i) {
        DWORD d = ColorDist(color, palette[i].rgbRed, palette[i].rgbGreen, palette[i].rgbBlue);
        if (d < bestDist) {
            bestDist = d;
            best = i;
        }
    }
    return static_cast<BYTE>(best);
}

BYTE Ombrel::GetContrastColor(DWORD color, RGBQUAD* palette, DWORD count) {
    if (!palette || count == 0) return 0;
    DWORD d0 = ColorDist(color, palette[0].rgbRed, palette[0].rgbGreen, palette[0].rgbBlue);
    DWORD found = 0;
    for (DWORD i = 1; i < count; ++i) {
        if (ColorDist(color, palette[i].rgbRed, palette[i].rgbGreen, palette[i].rgbBlue) > d0)
            found = i;
    }
    return static_cast<BYTE>(found);
}
