// Drawing a curve record into pixel buffers, for inspection.
#include <cmath>

#include "curves/CurveConverter.h"

namespace {

struct Canvas {
    int width, height;
    long long limit;  // entries that may be written
    long long index(double x, double y) const {
        if (x < 0) x = 0;
        if (x >= width) x = width - 1;
        if (y < 0) y = 0;
        if (y >= height) y = height - 1;
        return static_cast<long long>(x) + static_cast<long long>(y) * width;
    }
    bool usable() const { return width > 0 && height > 0 && limit > 0; }
};

Canvas canvas(int size, int width, int height) {
    long long wh = static_cast<long long>(width) * height;
    long long limit = size < wh ? size : wh;
    return Canvas{width, height, width > 0 && height > 0 ? limit : 0};
}

template <class T>
void put(T* bits, const Canvas& cv, long long k, T v) {
    if (k >= 0 && k < cv.limit) bits[k] = v;
}

void marker(unsigned char* bits, const Canvas& cv, long long k, int r, unsigned char v) {
    for (int b = -r; b <= r; ++b)
        for (int a = -r; a <= r; ++a)
            put(bits, cv, k + a + static_cast<long long>(b) * cv.width, v);
}

}  // namespace

bool CurveConverter::setCurveIntoDIB32(RGBQUAD* bits, int size, int width, int height,
                                       RGBQUAD color, POINT offset) {
    if (!curve) return false;
    Canvas cv = canvas(size, width, height);
    BmCurve& c = *curve;
    if (!bits || !cv.usable() || !c.diffX || !c.diffY) return true;
    double x = offset.x, y = offset.y;
    for (int i = 0; i < c.count; ++i) {
        put(bits, cv, cv.index(x, y), color);
        x += c.diffX[i];
        y += c.diffY[i];
    }
    return true;
}

bool CurveConverter::setCurveIntoDIB8(unsigned char* bits, int size, int width, int height,
                                      unsigned char value, POINT) {
    if (!curve) return false;
    Canvas cv = canvas(size, width, height);
    BmCurve& c = *curve;
    if (!bits || !cv.usable() || !c.nodes || c.nodeCount < 1) return true;
    auto clampPt = [&](CurvePoint p) {
        p.x = p.x < 0 ? 0 : p.x >= width ? width - 1 : p.x;
        p.y = p.y < 0 ? 0 : p.y >= height ? height - 1 : p.y;
        return p;
    };
    CurvePoint prev = c.nodes[c.nodeCount - 1].pos;
    for (int j = 0; j < c.nodeCount; ++j) {
        CurvePoint cur = clampPt(c.nodes[j].pos);
        long long k = cv.index(cur.x, cur.y);
        if (c.nodes[j].corner)
            marker(bits, cv, k, 4, 9);
        else
            marker(bits, cv, k, 2, 5);
        long long m = static_cast<long long>(std::fabs(cur.x - prev.x)) +
                      static_cast<long long>(std::fabs(cur.y - prev.y));
        if (m == 0) {
            put(bits, cv, k, value);
        } else {
            for (long long t = 0; t <= m; ++t) {
                double x = prev.x + t * (cur.x - prev.x) / m;
                double y = prev.y + t * (cur.y - prev.y) / m;
                put(bits, cv, cv.index(x, y), value);
            }
        }
        prev = cur;
    }
    return true;
}

bool CurveConverter::setPoligonIntoDIB8(unsigned char* bits, int size, int width, int height,
                                        unsigned char value, POINT offset) {
    if (!curve) return false;
    Canvas cv = canvas(size, width, height);
    BmCurve& c = *curve;
    if (!bits || !cv.usable() || !c.nodes || !c.marks || c.nodeCount < 1) return true;
    const double bx = offset.x + c.runShift.x, by = offset.y + c.runShift.y;
    auto clampPt = [&](CurvePoint p) {
        p.x = p.x < 0 ? 0 : p.x >= width ? width - 1 : p.x;
        p.y = p.y < 0 ? 0 : p.y >= height ? height - 1 : p.y;
        return p;
    };
    CurvePoint P = clampPt(CurvePoint{bx + c.nodes[0].pos.x, by + c.nodes[0].pos.y});
    for (int j = 0; j < c.nodeCount; ++j) {
        if (c.marks[j] == 4) put(bits, cv, cv.index(P.x, P.y), value);
        const CurveNode& next = c.nodes[BmCurve::wrapIndex(j + 1, c.nodeCount)];
        CurvePoint Q = {bx + next.pos.x, by + next.pos.y};
        long long m = static_cast<long long>(std::fabs(Q.x - P.x)) +
                      static_cast<long long>(std::fabs(Q.y - P.y));
        if (m < 1) m = 1;
        for (long long t = 0; t < m; ++t) {
            double x = (Q.x * t + P.x * (m - t)) / m;
            double y = (Q.y * t + P.y * (m - t)) / m;
            put(bits, cv, cv.index(x, y), value);
        }
        P = clampPt(Q);
    }
    return true;
}

void CurveConverter::setCurveIntoDIB8_QS(unsigned char* bits, int size, int width, int height,
                                         unsigned char value, POINT offset) {
    if (!curve) return;
    Canvas cv = canvas(size, width, height);
    BmCurve& c = *curve;
    if (!bits || !cv.usable() || !c.nodes || !c.marks || c.nodeCount < 1) return;
    double x = offset.x, y = offset.y;
    for (int j = 0; j < c.nodeCount; ++j) {
        long long k = cv.index(x, y);
        if (c.marks[j] == 4)
            put(bits, cv, k, value);
        else
            marker(bits, cv, k, 2, 5);
        const CurveNode& a = c.nodes[j];
        const CurveNode& b = c.nodes[BmCurve::wrapIndex(j + 1, c.nodeCount)];
        x += b.pos.x - a.pos.x;
        y += b.pos.y - a.pos.y;
    }
}
