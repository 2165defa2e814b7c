// TraceInvariants: what every result of the entry points must satisfy; a
// broken one aborts the fuzz run with a description of the node.
//
// Every node has a chain of codes 0..3 that starts on a pixel of the raster,
// stays inside it and closes; its Bezier list has 3k + 1 points whose anchors
// and curves lie within kEdge pixels of the picture's box and whose control
// points lie within kEdge + 0.5 x chord of it. The box is [0.5, w + 0.5] in
// the raw form (a pixel's centre at x + 1) and [0, w] in the left-top form.
// The bounds are looser than the tested ones (2 and 0.34) so that only a
// curve that left the picture, as over an open chain, is reported. With a
// straight-line tolerance above 8 pixels the caller asks for coarse curves
// that may bulge further (3.6 pixels past a 28 x 64 rectangle at INT_MAX,
// tests/fuzz/fuzz_trace/coarse-curve-bulge): there a curve is held to its
// control points' bound, which holds it anyway (a Bezier curve lies in the
// hull of its control points).
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "companion/KvCtree.h"

class TraceInvariants {
public:
    static constexpr double kEdge = 3.0;
    static constexpr int kUsualCurveTolerance = 8;

    static void check(const KvCtree* root, int w, int h, bool leftTop, int curveTolerance) {
        const bool coarse = curveTolerance > kUsualCurveTolerance;
        const double lo = leftTop ? 0.0 : 0.5;
        std::vector<const KvCtree*> stack{root};
        while (!stack.empty()) {
            const KvCtree* t = stack.back();
            stack.pop_back();
            node(t, w, h, lo, coarse);
            for (const KvCtree::Holes* hl = t->holes; hl; hl = hl->next)
                if (hl->ctree) stack.push_back(hl->ctree);
        }
    }

private:
    [[noreturn]] static void fail(const char* what, const KvCtree* t) {
        fprintf(stderr, "invariant broken: %s (node with %d steps from %d)\n", what, t->dirNum,
                t->startOffset);
        abort();
    }
    static double outside(const KvPoint& p, double lo, int w, int h) {
        return std::max({0.0, lo - p.x, p.x - (w + lo), lo - p.y, p.y - (h + lo)});
    }
    static void node(const KvCtree* t, int w, int h, double lo, bool coarse) {
        const double curveEdge = kEdge;
        if (t->dirNum <= 0 || !t->chain) fail("a node without a chain", t);
        if (t->startOffset < 0 || t->startOffset >= w * h) fail("start outside the raster", t);
        long x = t->startOffset % w, y = t->startOffset / w;
        const long x0 = x, y0 = y;
        for (int i = 0; i < t->dirNum; ++i) {
            const int c = t->chain[i];
            if (c > 3) fail("a code above 3", t);
            x += c == 0 ? 1 : c == 2 ? -1 : 0;
            y += c == 1 ? 1 : c == 3 ? -1 : 0;
            if (x < 0 || x >= w || y < 0 || y >= h) fail("a chain leaving the raster", t);
        }
        if (x != x0 || y != y0) fail("an open chain", t);
        if (t->bezierCount < 1 || (t->bezierCount - 1) % 3 != 0 || !t->bezier)
            fail("a Bezier list of a wrong length", t);
        for (int i = 0; i + 3 < t->bezierCount; i += 3) {
            const KvPoint* s = t->bezier + i;
            const double chord = std::hypot(s[3].x - s[0].x, s[3].y - s[0].y);
            if (outside(s[0], lo, w, h) > kEdge || outside(s[3], lo, w, h) > kEdge)
                fail("an anchor outside the picture", t);
            if (outside(s[1], lo, w, h) > kEdge + 0.5 * chord ||
                outside(s[2], lo, w, h) > kEdge + 0.5 * chord)
                fail("a control point outside the picture", t);
            for (double u = 0.125; u < 1; u += 0.125) {
                const double v = 1 - u, a = v * v * v, b = 3 * v * v * u, c = 3 * v * u * u,
                             d = u * u * u;
                const KvPoint q = {a * s[0].x + b * s[1].x + c * s[2].x + d * s[3].x,
                                   a * s[0].y + b * s[1].y + c * s[2].y + d * s[3].y};
                if (outside(q, lo, w, h) > curveEdge + (coarse ? 0.5 * chord : 0)) {
                    fprintf(stderr, "picture %d x %d, curve at %.2f, %.2f\n", w, h, q.x, q.y);
                    fail("a curve outside the picture", t);
                }
            }
        }
    }
};
