// Shared helpers of the tracer tests: synthetic images and a tracer with its
// protected operations exposed.
#pragma once

#include <vector>

#include "raster/OutLineManipulator.h"
#include "tracer/ChainCode.h"
#include "tracer/Ombrel.h"

struct TestOmbrel : Ombrel {
    using Ombrel::checkLoopValid;
    using Ombrel::checkNoOpposDirs;
    using Ombrel::generalCheckVisitedOnlyOnce;
    using Ombrel::GenerateInitBoundChain;
    using Ombrel::GetColor;
    using Ombrel::GetVisited;
    using Ombrel::Initialization;
    using Ombrel::IsPointOK;
    using Ombrel::Ombrel;
    using Ombrel::SetVisited;
    using Ombrel::SolveIntersect;
    using Ombrel::SolveOneStepIntersect;
    using Ombrel::spliceArc;
    using Ombrel::UpdateRegionColor;
    using Ombrel::VisitedReached;
};

// A w x h image of one colour with helpers to paint shapes (colours 0x00BBGGRR).
struct Image {
    int w, h;
    std::vector<RGBQUAD> px;
    Image(int w_, int h_, DWORD c) : w(w_), h(h_), px(static_cast<size_t>(w_) * h_) {
        fill(0, 0, w, h, c);
    }
    static RGBQUAD quad(DWORD c) {
        return RGBQUAD{static_cast<BYTE>(c >> 16), static_cast<BYTE>(c >> 8), static_cast<BYTE>(c),
                       0};
    }
    void set(int x, int y, DWORD c) { px[static_cast<size_t>(y) * w + x] = quad(c); }
    DWORD get(int x, int y) const {
        const RGBQUAD& q = px[static_cast<size_t>(y) * w + x];
        return RGB(q.rgbRed, q.rgbGreen, q.rgbBlue);
    }
    void fill(int x0, int y0, int ww, int hh, DWORD c) {
        for (int y = y0; y < y0 + hh; ++y)
            for (int x = x0; x < x0 + ww; ++x) set(x, y, c);
    }
};
