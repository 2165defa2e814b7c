// Primitive marking per step and per node.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "curves/CurveConverter.h"

namespace {

bool steady(const double* X, const double* Y, int a, int b, double tol) {
    return std::fabs(X[a] - X[b]) <= tol && std::fabs(Y[a] - Y[b]) <= tol;
}

}  // namespace

bool CurveConverter::markPrimitives(double tol) {
    if (!curve) return false;
    BmCurve& c = *curve;
    if (!c.fwdCurvX || !c.fwdCurvY || !c.marks || !c.diffX || !c.diffY || !c.accelX || !c.accelY)
        return false;
    const int n = c.count;
    auto w = [n](int i) { return BmCurve::wrapIndex(i, n); };
    for (int i = 0; i + 1 < n; ++i) {
        c.accelX[i] = c.diffX[i + 1] - c.diffX[i];
        c.accelY[i] = c.diffY[i + 1] - c.diffY[i];
    }
    c.accelX[n - 1] = c.diffX[0] - c.diffX[n - 1];
    c.accelY[n - 1] = c.diffY[0] - c.diffY[n - 1];
    unsigned char* m = c.marks;
    for (int i = 0; i < n; ++i) m[i] = steady(c.accelX, c.accelY, i, w(i - 2), tol) ? 5 : 0;
    for (int i = 0; i < n;) {
        if (m[i] == 5 && m[w(i + 1)] == 5 && m[w(i + 2)] == 5) {
            m[i] = m[w(i + 1)] = m[w(i + 2)] = 4;
            i += 3;
        } else {
            ++i;
        }
    }
    for (int i = 0; i < n; ++i) {
        if (m[w(i - 1)] == 4 && steady(c.accelX, c.accelY, i, w(i - 1), tol)) m[i] = 4;
        if (m[w(i - 1)] == 4 && m[i] != 4) m[w(i - 1)] = 1;
    }
    for (int i = n - 1; i >= 0; --i) {
        if (m[w(i + 1)] == 4 && steady(c.accelX, c.accelY, i, w(i + 1), tol)) m[i] = 4;
        if (m[w(i + 1)] == 4 && m[i] != 4) m[w(i + 1)] = 1;
    }
    return true;
}

bool CurveConverter::computeNodeMeasures() {
    BmCurve& c = *curve;
    double** arrays[6] = {&c.nodeTurnX, &c.nodeTurnY, &c.fwdCurvX,
                          &c.bwdCurvX,  &c.fwdCurvY,  &c.bwdCurvY};
    bool ok = true;
    for (double** a : arrays) {
        free(*a);
        *a = static_cast<double*>(
            calloc(static_cast<size_t>(c.nodeCount > 0 ? c.nodeCount : 1), sizeof(double)));
        ok = ok && *a;
    }
    if (!ok || !c.nodes) return false;
    const int n = c.nodeCount;
    auto p = [&](int k) { return c.nodes[BmCurve::wrapIndex(k, n)].pos; };
    for (int i = 0; i < n; ++i) {
        CurvePoint a0 = p(i), a1 = p(i + 1), a2 = p(i + 2), b1p = p(i - 1), b2p = p(i - 2);
        double f1x = a1.x - a0.x, f1y = a1.y - a0.y, f2x = a2.x - a1.x, f2y = a2.y - a1.y;
        double g1 = std::max(std::fabs(f1x) + std::fabs(f1y), 1.0);
        double g2 = std::max(std::fabs(f2x) + std::fabs(f2y), 1.0);
        double a = (g1 + g2) / 2;
        c.fwdCurvX[i] = (f2x / g2 - f1x / g1) / a;
        c.fwdCurvY[i] = (f2y / g2 - f1y / g1) / a;
        double b1x = b1p.x - a0.x, b1y = b1p.y - a0.y, b2x = b2p.x - b1p.x, b2y = b2p.y - b1p.y;
        double m1 = std::max(std::fabs(b1x) + std::fabs(b1y), 1.0);
        double m2 = std::max(std::fabs(b2x) + std::fabs(b2y), 1.0);
        double a2b = (m1 + m2) / 2;
        c.bwdCurvX[i] = (b2x / m2 - b1x / m1) / a2b;
        c.bwdCurvY[i] = (b2y / m2 - b1y / m1) / a2b;
        c.nodeTurnX[i] = 2 * (f1x / g1 + b1x / m1) / (g1 + m1);
        c.nodeTurnY[i] = 2 * (f1y / g1 + b1y / m1) / (g1 + m1);
    }
    return true;
}

bool CurveConverter::markNodes(double tol) {
    BmCurve& c = *curve;
    if (!c.nodeTurnX || !c.nodeTurnY || !c.marks) return false;
    const int n = c.nodeCount;
    auto w = [n](int i) { return BmCurve::wrapIndex(i, n); };
    unsigned char* m = c.marks;
    for (int i = 0; i < n; ++i)
        m[i] = std::fabs(c.nodeTurnX[i]) <= tol && std::fabs(c.nodeTurnY[i]) <= tol ? 5 : 0;
    auto on = [&](int i) { return m[w(i)] == 5 || m[w(i)] == 4; };
    for (int i = 0; i < n; ++i)
        if (m[i] == 5 && on(i - 1) && on(i - 2) && on(i - 3) && on(i - 4)) m[i] = 4;
    if (!c.bwdCurvX || !c.bwdCurvY) return false;
    for (int i = 0; i < n; ++i) {
        if (m[i] != 4 && m[w(i - 1)] == 4 && steady(c.bwdCurvX, c.bwdCurvY, i, w(i - 1), tol))
            m[i] = m[w(i + 1)] != 4 ? 4 : 1;
        if (m[w(i - 1)] == 4 && m[i] != 4) m[w(i - 1)] = 1;
    }
    if (!c.fwdCurvX || !c.fwdCurvY) return false;
    for (int i = n - 1; i >= 0; --i) {
        if (m[i] != 4 && m[w(i + 1)] == 4 && steady(c.fwdCurvX, c.fwdCurvY, i, w(i + 1), tol))
            m[i] = m[w(i - 1)] != 4 ? 4 : 1;
        if (m[w(i + 1)] == 4 && m[i] != 4) m[w(i + 1)] = 1;
    }
    return true;
}

bool CurveConverter::markPrimitivesQS(double tol) {
    if (!curve) return false;
    return computeNodeMeasures() && markNodes(tol);
}
