// Bezier fitting: bulges, arc angles, corners and emission of the segments.
#include <cmath>
#include <initializer_list>
#include <cstdlib>
#include <cstring>

#include "curves/CurveConverter.h"

namespace {
CurvePoint rot(CurvePoint v, double phi) {
    double c = std::cos(phi), s = std::sin(phi);
    return CurvePoint{v.x * c - v.y * s, v.x * s + v.y * c};
}
double length(CurvePoint v) {
    return std::sqrt(v.x * v.x + v.y * v.y);
}
CurvePoint unit(CurvePoint v) {
    double l = length(v);
    return l >= 1e-5 ? CurvePoint{v.x / l, v.y / l} : v;
}
}  // namespace

double BmCurve::solveHalfAngle(double r) {
    if (r < 0.01) return r;
    double step = r < 0.1 ? 0.01 : 0.1;
    double end = r < 0.1 ? 0.3 : 1.0;
    double best = r, bestError = 1000.0;
    for (int k = 0;; ++k) {
        double x = r + k * step;
        if (!(x < end)) break;
        double e = std::fabs(r - 1 / x + 1 / std::tan(x));
        if (e < bestError) {
            best = x;
            bestError = e;
        }
    }
    return best;
}

bool BmCurve::emitSegment(BezierSegment& out, int& s) {
    const CurveNode& A = nodes[wrapIndex(s, nodeCount)];
    out.p0 = A.pos;
    double h = 0.4 * A.chordLen;
    CurvePoint r1 = rot(A.chordDir, A.arcAngle);
    out.p1 = CurvePoint{out.p0.x - h * r1.x, out.p0.y - h * r1.y};
    s = s + 1;
    CurveNode& B = nodes[wrapIndex(s, nodeCount)];
    bool fresh = !B.visited;
    B.visited = true;
    out.p3 = B.pos;
    CurvePoint r2 = rot(A.chordDir, -A.arcAngle);
    out.p2 = CurvePoint{out.p3.x + h * r2.x, out.p3.y + h * r2.y};
    return fresh;
}

void CurveConverter::measureBulges() {
    BmCurve& c = *curve;
    if (!c.savedNodes || c.savedNodeCount < 1) return;
    const int sn = c.savedNodeCount;
    for (int i = 0; i < c.nodeCount; ++i) {
        CurveNode& node = c.nodes[i];
        int o = node.origIndex;
        int s = c.savedNodes[BmCurve::wrapIndex(o, sn)].span;
        CurvePoint a = c.savedNodes[BmCurve::wrapIndex(o, sn)].pos;
        CurvePoint b = c.savedNodes[BmCurve::wrapIndex(o + s, sn)].pos;
        if (std::fabs(a.x - b.x) + std::fabs(a.y - b.y) < 1e-5) {
            node.bulge = 0;
            continue;
        }
        CurvePoint n = unit(CurvePoint{-(b.y - a.y), b.x - a.x});
        double total = 0, acc = 0;
        for (int k = o + 1; k <= o + s; ++k) {
            CurvePoint q = c.savedNodes[BmCurve::wrapIndex(k - 1, sn)].pos;
            CurvePoint p = c.savedNodes[BmCurve::wrapIndex(k, sn)].pos;
            double l = length(CurvePoint{p.x - q.x, p.y - q.y});
            total += l;
            acc += l * (n.x * ((p.x + q.x) / 2 - a.x) + n.y * ((p.y + q.y) / 2 - a.y));
        }
        if (total < 1e-5 || IS_ZERO(total))
            node.bulge = 1e7;
        else
            node.bulge = acc / total;
    }
}

void CurveConverter::chordDataAndArcAngles() {
    BmCurve& c = *curve;
    for (int i = 0; i < c.nodeCount; ++i) {
        CurveNode& node = c.nodes[i];
        const CurveNode& next = c.nodes[BmCurve::wrapIndex(i + 1, c.nodeCount)];
        CurvePoint v = {node.pos.x - next.pos.x, node.pos.y - next.pos.y};
        double L = length(v);
        if (L < 1e-5) break;
        node.chordDir = CurvePoint{v.x / L, v.y / L};
        node.chordLen = L;
        double r = 2 * node.bulge / L;
        double a = BmCurve::solveHalfAngle(std::fabs(r));
        node.arcAngle = r > 0 ? a : -a;
    }
}

void CurveConverter::markCorners() {
    BmCurve& c = *curve;
    const int n = c.nodeCount;
    for (int i = 0; i < n; ++i) {
        int j = BmCurve::wrapIndex(i + 1, n), k = BmCurve::wrapIndex(i + 2, n);
        CurvePoint u = unit(
            CurvePoint{c.nodes[j].pos.x - c.nodes[i].pos.x, c.nodes[j].pos.y - c.nodes[i].pos.y});
        CurvePoint w = unit(
            CurvePoint{c.nodes[k].pos.x - c.nodes[j].pos.x, c.nodes[k].pos.y - c.nodes[j].pos.y});
        CurvePoint u2 = rot(u, -c.nodes[i].arcAngle);
        CurvePoint w2 = rot(w, c.nodes[j].arcAngle);
        double a = std::acos(u2.x * w2.x + u2.y * w2.y);
        if (std::fabs(c.nodes[i].arcAngle) < 0.00157 && std::fabs(c.nodes[j].arcAngle) < 0.00157) {
            if (a > 0.04000000000000001) c.nodes[j].corner = true;
        } else if (a > 0.4) {
            c.nodes[j].corner = true;
        }
    }
}

void CurveConverter::emit() {
    BmCurve& c = *curve;
    const int n = c.nodeCount;
    int s = 0;
    for (int i = 0; i < n; ++i)
        if (c.nodes[i].corner) {
            s = i;
            break;
        }
    // Segments are appended to those of an earlier call. A second call finds
    // every node visited, so its first emitSegment appends nothing and the
    // list stays as it was: a curve is edited once.
    BezierSegment seg;
    const int first = c.segmentCount;
    if (n < 1 || !c.emitSegment(seg, s)) return;
    BezierSegment* grown = static_cast<BezierSegment*>(
        calloc(static_cast<size_t>(first) + static_cast<size_t>(n), sizeof(BezierSegment)));
    if (!grown) return;
    if (first > 0) memcpy(grown, c.segments, sizeof(BezierSegment) * static_cast<size_t>(first));
    free(c.segments);
    c.segments = grown;
    bool more = true;
    while (more && c.segmentCount < first + n) {
        for (CurvePoint* p : {&seg.p0, &seg.p1, &seg.p2, &seg.p3}) {
            p->x += 1.0;
            p->y += 1.0;
        }
        c.segments[c.segmentCount++] = seg;
        more = c.segmentCount < first + n && c.emitSegment(seg, s);
    }
}
