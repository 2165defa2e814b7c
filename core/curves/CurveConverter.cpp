// The curve record and the smoothing filters.
#include "curves/CurveConverter.h"

#include <cmath>
#include <initializer_list>
#include <cstdlib>
#include <cstring>
#include <new>

CurveConverter::CurveConverter() : curve(nullptr), tolerance(1.0) {}

CurveConverter::CurveConverter(double tolerance_) : curve(nullptr), tolerance(tolerance_) {}

CurveConverter::~CurveConverter() {
    delete curve;
}

int CurveConverter::IS_ZERO(double x) {
    return std::fabs(x) < 1e-8 ? 1 : 0;
}

int CurveConverter::getSegmentCount() const {
    return curve ? curve->segmentCount : 0;
}

const BezierSegment* CurveConverter::getSegments() const {
    return curve ? curve->segments : nullptr;
}

bool CurveConverter::getCurveData(unsigned char* chain, int len, POINT start) {
    if (len < 1) return true;
    if (!chain) return false;
    BmCurve* c = new (std::nothrow) BmCurve();
    if (!c) return false;
    delete curve;
    curve = c;
    c->count = len;
    c->tolerance = tolerance;
    c->start = start;
    c->allocate(len);
    if (!c->valid) return true;

    static const int kDx[4] = {1, 0, -1, 0};
    static const int kDy[4] = {0, 1, 0, -1};
    double px = start.x, py = start.y;
    double prevMx = 0, prevMy = 0;
    for (int i = 0; i < len; ++i) {
        int code = chain[i] & 3;
        c->stepDx[i] = kDx[code];
        c->stepDy[i] = kDy[code];
        double qx = px + c->stepDx[i], qy = py + c->stepDy[i];
        double mx = (px + qx) / 2, my = (py + qy) / 2;
        if (i >= 1) {
            c->diffX[i] = mx - prevMx;
            c->diffY[i] = my - prevMy;
        }
        prevMx = mx;
        prevMy = my;
        px = qx;
        py = qy;
    }
    // Close the cycle with one more step of code 0's direction.
    int c0 = chain[0] & 3;
    double mx = px + kDx[c0] / 2.0, my = py + kDy[c0] / 2.0;
    c->diffX[0] = mx - prevMx;
    c->diffY[0] = my - prevMy;
    memcpy(c->chain, chain, static_cast<size_t>(len));
    return true;
}

void CurveConverter::windowSums(int k) {
    BmCurve& c = *curve;
    const int n = c.count;
    c.window = k;
    if (n <= 0 || k <= 0) return;
    double* copy = static_cast<double*>(calloc(static_cast<size_t>(n), sizeof(double)));
    if (!copy) return;
    // A window longer than the cycle covers it k / n whole times plus k % n
    // values: the work stays linear in n and no index passes INT_MAX.
    const int rounds = k / n, rest = k % n;
    for (double* d : {c.diffX, c.diffY}) {
        memcpy(copy, d, sizeof(double) * static_cast<size_t>(n));
        double total = 0, s = 0;
        if (rounds > 0)
            for (int i = 0; i < n; ++i) total += copy[i];
        for (int i = 0; i < rest; ++i) s += copy[i];
        s += rounds * total;
        for (int i = 0; i < n; ++i) {
            d[i] = s;
            s += copy[BmCurve::wrapIndex(i + rest, n)] - copy[i];
        }
    }
    free(copy);
}

void CurveConverter::subtractMeans() {
    BmCurve& c = *curve;
    const int n = c.count;
    for (double* d : {c.diffX, c.diffY}) {
        double sum = 0;
        for (int i = 0; i < n; ++i) sum += d[i];
        double mean = sum / n;
        for (int i = 0; i < n; ++i) d[i] -= mean;
    }
}

bool CurveConverter::AverFilter(int k) {
    if (k <= 1) return true;
    if (!curve || !curve->valid) return false;
    BmCurve& c = *curve;
    const int n = c.count;
    double* S = static_cast<double*>(calloc(static_cast<size_t>(n), sizeof(double)));
    if (!S) return false;
    windowSums(k);
    for (double* d : {c.diffX, c.diffY}) {
        memcpy(S, d, sizeof(double) * static_cast<size_t>(n));
        for (int i = 0; i < n; ++i) d[i] = (S[i] + S[BmCurve::wrapIndex(i - k, n)]) / (k * 2.0);
    }
    free(S);
    subtractMeans();
    return true;
}

bool CurveConverter::cornerProtectiveFilter(int k) {
    if (k <= 1) return true;
    if (!curve || !curve->valid) return false;
    BmCurve& c = *curve;
    const int n = c.count;
    double* SX = static_cast<double*>(calloc(static_cast<size_t>(n), sizeof(double)));
    double* SY = static_cast<double*>(calloc(static_cast<size_t>(n), sizeof(double)));
    if (!SX || !SY) {
        free(SX);
        free(SY);
        return false;
    }
    windowSums(k);
    memcpy(SX, c.diffX, sizeof(double) * static_cast<size_t>(n));
    memcpy(SY, c.diffY, sizeof(double) * static_cast<size_t>(n));
    double* X = c.diffX;
    double* Y = c.diffY;
    auto w = [n](int i) { return BmCurve::wrapIndex(i, n); };
    for (int i = 0; i < n; ++i) {
        int b = w(i - k + 1);
        double F = (X[i] - X[w(i + 1)]) * (X[i] - X[w(i + 1)]) +
                   (Y[i] - Y[w(i + 1)]) * (Y[i] - Y[w(i + 1)]) +
                   (X[i] - X[w(i + 2)]) * (X[i] - X[w(i + 2)]) +
                   (Y[i] - Y[w(i + 2)]) * (Y[i] - Y[w(i + 2)]);
        double B = (X[b] - X[w(b - 1)]) * (X[b] - X[w(b - 1)]) +
                   (Y[b] - Y[w(b - 1)]) * (Y[b] - Y[w(b - 1)]) +
                   (X[b] - X[w(b - 2)]) * (X[b] - X[w(b - 2)]) +
                   (Y[b] - Y[w(b - 2)]) * (Y[b] - Y[w(b - 2)]);
        if (B >= F) {
            X[i] = SX[i] / k;
            Y[i] = SY[i] / k;
        } else {
            X[i] = SX[b] / k;
            Y[i] = SY[b] / k;
        }
    }
    free(SX);
    free(SY);
    subtractMeans();
    return true;
}

bool CurveConverter::convertBmCurveToBezier(unsigned char*, int, const CurveCnvrtParam& param) {
    return cornerProtectiveFilter(param.window);
}

bool CurveConverter::solvePentadiagonal(double lambda, const double* y, double* z, int m) {
    if (m < 6) return true;
    size_t sz = static_cast<size_t>(m) + 1;
    double* d = static_cast<double*>(calloc(sz, sizeof(double)));
    double* e = static_cast<double*>(calloc(sz, sizeof(double)));
    double* f = static_cast<double*>(calloc(sz, sizeof(double)));
    bool ok = d && e && f;
    if (ok) {
        d[1] = 1 + lambda;
        e[1] = -2 * lambda / d[1];
        f[1] = lambda / d[1];
        z[1] = y[1];
        d[2] = 1 + 5 * lambda - d[1] * e[1] * e[1];
        if (IS_ZERO(d[2])) ok = false;
        if (ok) {
            e[2] = (-4 * lambda - d[1] * e[1] * f[1]) / d[2];
            f[2] = lambda / d[2];
            z[2] = y[2] - e[1] * z[1];
        }
        for (int i = 3; ok && i <= m - 2; ++i) {
            d[i] = 1 + 6 * lambda - e[i - 1] * e[i - 1] * d[i - 1] - f[i - 2] * f[i - 2] * d[i - 2];
            if (IS_ZERO(d[i])) {
                ok = false;
                break;
            }
            e[i] = (-4 * lambda - d[i - 1] * e[i - 1] * f[i - 1]) / d[i];
            f[i] = lambda / d[i];
            z[i] = y[i] - e[i - 1] * z[i - 1] - f[i - 2] * z[i - 2];
        }
        if (ok) {
            d[m - 1] =
                1 + 5 * lambda - e[m - 2] * e[m - 2] * d[m - 2] - f[m - 3] * f[m - 3] * d[m - 3];
            if (IS_ZERO(d[m - 1])) ok = false;
        }
        if (ok) {
            e[m - 1] = (-2 * lambda - d[m - 2] * e[m - 2] * f[m - 2]) / d[m - 1];
            z[m - 1] = y[m - 1] - e[m - 2] * z[m - 2] - f[m - 3] * z[m - 3];
            d[m] = 1 + lambda - e[m - 1] * e[m - 1] * d[m - 1] - f[m - 2] * f[m - 2] * d[m - 2];
            if (IS_ZERO(d[m])) ok = false;
        }
        if (ok) {
            z[m] = (y[m] - e[m - 1] * z[m - 1] - f[m - 2] * z[m - 2]) / d[m];
            z[m - 1] = z[m - 1] / d[m - 1] - e[m - 1] * z[m];
            for (int i = m - 2; i >= 1; --i) {
                if (IS_ZERO(d[i])) {
                    ok = false;
                    break;
                }
                z[i] = z[i] / d[i] - e[i] * z[i + 1] - f[i] * z[i + 2];
            }
        }
    }
    free(d);
    free(e);
    free(f);
    return ok;
}

bool CurveConverter::smoothOne(double lambda, const int* steps, double* diff, double* y,
                               double* z) {
    const int n = curve->count;
    y[0] = 0;
    double sumSteps = 0, sumDiff = 0;
    for (int i = 0; i < n; ++i) {
        sumSteps += steps[i];
        sumDiff += diff[i];
        y[i + 1] = sumSteps - sumDiff;
    }
    if (!solvePentadiagonal(lambda, y, z, n)) return false;
    z[0] = 0;
    for (int i = 0; i < n; ++i) diff[i] += z[i + 1] - z[i];
    return true;
}

bool CurveConverter::smoothFiniteDiff(double lambda) {
    if (lambda < 0 || !curve || !curve->valid) return false;
    BmCurve& c = *curve;
    size_t sz = static_cast<size_t>(c.count) + 1;
    double* y = static_cast<double*>(calloc(sz, sizeof(double)));
    double* z = static_cast<double*>(calloc(sz, sizeof(double)));
    bool ok = y && z && smoothOne(lambda, c.stepDx, c.diffX, y, z) &&
              smoothOne(lambda, c.stepDy, c.diffY, y, z);
    free(y);
    free(z);
    if (!ok) return false;
    subtractMeans();
    return true;
}
