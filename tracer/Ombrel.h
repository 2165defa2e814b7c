// Ombrel: the region tracer.
//
// This header starts with the colour measure that the whole system uses
// (largest single-channel difference); the tracer state and operations are
// declared below it.
#pragma once

#include "interface/Om1Export.h"
#include "platform/CObject.h"
#include "platform/CPoint.h"
#include "platform/WinTypes.h"

class OM1_API Ombrel : public CObject {
public:
    // --- colour measure (colours are 0x00BBGGRR; the top byte is ignored) ---

    // max(|dr|, |dg|, |db|), in 0..255.
    static DWORD ColorDist(DWORD a, DWORD b);
    static DWORD ColorDist(DWORD a, BYTE red, BYTE green, BYTE blue);
    // Index of the palette entry nearest to color; the lowest index among
    // equally near entries; 0 for an empty (or null) palette.
    static BYTE GetNearestColor(DWORD color, RGBQUAD* palette, DWORD count);
    // The last index from 1 on whose distance exceeds that of entry 0; 0 when
    // there is none.
    static BYTE GetContrastColor(DWORD color, RGBQUAD* palette, DWORD count);
};
