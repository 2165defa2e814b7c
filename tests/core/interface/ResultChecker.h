// The properties every result of the entry points has: every chain closed
// and inside the raster, every start offset a pixel of the raster, every
// hole's chain inside its parent's box, every frame in its parent's colour,
// every Bezier point inside the picture up to the curves' bulge.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "companion/KvCtree.h"

// The bound on Bezier points. Pixel (x, y) covers [x, x+1] x [y, y+1] in
// left-top coordinates ([x + 0.5, x + 1.5] in the raw form, where a centre
// lands at x + 1). Anchors (every third point) and the curve itself stay
// within kEdge pixels of the picture: straight-line editing may move a
// corner node beyond the edge pixels where two edges' lines meet (1.5
// pixels at most on these pictures, the curve 0.93). A control point stands
// out from its anchor by 0.4 x chord at an angle below one radian, so at
// most 0.34 x chord beyond that (0.15 x chord seen). A curve closed by
// assumption over an open chain lies tens of pixels off.
const double kEdge = 2.0;

struct ResultChecker {
    int w, h;
    std::string where;
    int nodes = 0;
    double lo = 0, hiX = 0, hiY = 0;  // the picture's box

    // For a w x h picture traced in left-top or raw coordinates.
    ResultChecker(int w_, int h_, bool leftTop, std::string where_)
        : w(w_), h(h_), where(std::move(where_)), lo(leftTop ? 0 : 0.5), hiX(w + lo), hiY(h + lo) {}

    double outside(const KvPoint& p) const {
        double d = 0;
        d = std::max(d, lo - p.x);
        d = std::max(d, p.x - hiX);
        d = std::max(d, lo - p.y);
        d = std::max(d, p.y - hiY);
        return d;
    }
    bool inside(const KvPoint& p, double slack) const { return outside(p) <= slack + 1e-9; }

    void node(const KvCtree* t, const long* parentBox = nullptr, const KvCtree* parent = nullptr) {
        ++nodes;
        ASSERT_GT(t->dirNum, 0) << where;
        ASSERT_NE(t->chain, nullptr) << where;
        ASSERT_GE(t->startOffset, 0) << where;
        ASSERT_LT(t->startOffset, w * h) << where;
        long x = t->startOffset % w, y = t->startOffset / w;
        const long x0 = x, y0 = y;
        long box[4] = {x, y, x, y};  // min x, min y, max x, max y
        for (int i = 0; i < t->dirNum; ++i) {
            ASSERT_LE(t->chain[i], 3) << where;
            x += t->chain[i] == 0 ? 1 : t->chain[i] == 2 ? -1 : 0;
            y += t->chain[i] == 1 ? 1 : t->chain[i] == 3 ? -1 : 0;
            ASSERT_TRUE(x >= 0 && x < w && y >= 0 && y < h) << where;
            box[0] = std::min(box[0], x), box[1] = std::min(box[1], y);
            box[2] = std::max(box[2], x), box[3] = std::max(box[3], y);
        }
        ASSERT_TRUE(x == x0 && y == y0) << where << ": open chain of " << t->dirNum;
        if (parentBox) {
            EXPECT_TRUE(box[0] >= parentBox[0] && box[1] >= parentBox[1] &&
                        box[2] <= parentBox[2] && box[3] <= parentBox[3])
                << where << ": hole at " << x0 << "," << y0 << " leaves its parent's box";
        }
        if (parent && t->isFrame) {
            EXPECT_EQ(t->color.rgbRed, parent->color.rgbRed) << where;
            EXPECT_EQ(t->color.rgbGreen, parent->color.rgbGreen) << where;
            EXPECT_EQ(t->color.rgbBlue, parent->color.rgbBlue) << where;
        }
        ASSERT_GT(t->bezierCount, 0) << where;
        ASSERT_EQ((t->bezierCount - 1) % 3, 0) << where;
        for (int i = 0; i < t->bezierCount; i += 3)
            ASSERT_TRUE(inside(t->bezier[i], kEdge)) << where << ": anchor " << i;
        for (int i = 0; i + 3 < t->bezierCount; i += 3) {
            const KvPoint* s = t->bezier + i;
            double chord = std::hypot(s[3].x - s[0].x, s[3].y - s[0].y);
            ASSERT_TRUE(inside(s[1], kEdge + 0.34 * chord) && inside(s[2], kEdge + 0.34 * chord))
                << where << ": control points of segment " << i / 3;
            for (double u : {0.125, 0.25, 0.375, 0.5, 0.625, 0.75, 0.875}) {
                double v = 1 - u, a = v * v * v, b = 3 * v * v * u, c = 3 * v * u * u,
                       d = u * u * u;
                KvPoint q = {a * s[0].x + b * s[1].x + c * s[2].x + d * s[3].x,
                             a * s[0].y + b * s[1].y + c * s[2].y + d * s[3].y};
                ASSERT_TRUE(inside(q, kEdge)) << where << ": curve at " << q.x << ", " << q.y;
            }
        }
        for (KvCtree::Holes* hl = t->holes; hl; hl = hl->next) node(hl->ctree, box, t);
    }
};
