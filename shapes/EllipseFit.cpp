#include "shapes/EllipseFit.h"

#include <algorithm>
#include <cmath>

namespace om1 {

namespace {

// The eigenvector of the smallest eigenvalue of a symmetric 6 x 6 matrix
// (cyclic Jacobi rotations).
void smallestEigenvector(double m[6][6], double out[6]) {
    double v[6][6] = {};
    for (int i = 0; i < 6; ++i) v[i][i] = 1;
    for (int sweep = 0; sweep < 50; ++sweep) {
        double off = 0, diag = 0;
        for (int p = 0; p < 6; ++p) {
            diag += m[p][p] * m[p][p];
            for (int q = p + 1; q < 6; ++q) off += m[p][q] * m[p][q];
        }
        if (off <= 1e-30 * diag) break;
        for (int p = 0; p < 6; ++p)
            for (int q = p + 1; q < 6; ++q) {
                if (std::fabs(m[p][q]) < 1e-300) continue;
                const double theta = (m[q][q] - m[p][p]) / (2 * m[p][q]);
                const double t =
                    (theta >= 0 ? 1.0 : -1.0) / (std::fabs(theta) + std::sqrt(theta * theta + 1));
                const double c = 1 / std::sqrt(t * t + 1), s = t * c;
                for (int k = 0; k < 6; ++k) {
                    const double mkp = m[k][p], mkq = m[k][q];
                    m[k][p] = c * mkp - s * mkq;
                    m[k][q] = s * mkp + c * mkq;
                }
                for (int k = 0; k < 6; ++k) {
                    const double mpk = m[p][k], mqk = m[q][k];
                    m[p][k] = c * mpk - s * mqk;
                    m[q][k] = s * mpk + c * mqk;
                }
                for (int k = 0; k < 6; ++k) {
                    const double vkp = v[k][p], vkq = v[k][q];
                    v[k][p] = c * vkp - s * vkq;
                    v[k][q] = s * vkp + c * vkq;
                }
            }
    }
    int best = 0;
    for (int i = 1; i < 6; ++i)
        if (m[i][i] < m[best][best]) best = i;
    for (int k = 0; k < 6; ++k) out[k] = v[k][best];
}

PointD at(const EllipseFit::Ellipse& e, double phi) {
    const double c = std::cos(e.angle), s = std::sin(e.angle);
    const double x = e.a * std::cos(phi), y = e.b * std::sin(phi);
    return {e.centre.x + c * x - s * y, e.centre.y + s * x + c * y};
}

PointD derivative(const EllipseFit::Ellipse& e, double phi) {
    const double c = std::cos(e.angle), s = std::sin(e.angle);
    const double x = -e.a * std::sin(phi), y = e.b * std::cos(phi);
    return {c * x - s * y, s * x + c * y};
}

}  // namespace

bool EllipseFit::fit(const PointD* points, int n, Ellipse& e) {
    if (n < 6) return false;
    double mx = 0, my = 0;
    for (int i = 0; i < n; ++i) mx += points[i].x, my += points[i].y;
    mx /= n;
    my /= n;
    double spread = 0;
    for (int i = 0; i < n; ++i) {
        const double dx = points[i].x - mx, dy = points[i].y - my;
        spread += dx * dx + dy * dy;
    }
    spread = std::sqrt(spread / n);
    if (!(spread > 1e-9)) return false;
    double m[6][6] = {};
    for (int i = 0; i < n; ++i) {
        const double u = (points[i].x - mx) / spread, w = (points[i].y - my) / spread;
        const double r[6] = {u * u, u * w, w * w, u, w, 1};
        for (int p = 0; p < 6; ++p)
            for (int q = p; q < 6; ++q) m[p][q] += r[p] * r[q];
    }
    for (int p = 0; p < 6; ++p)
        for (int q = 0; q < p; ++q) m[p][q] = m[q][p];
    double c[6];
    smallestEigenvector(m, c);
    const double A = c[0], B = c[1], C = c[2], D = c[3], E = c[4], F = c[5];
    const double det = 4 * A * C - B * B;
    if (!(det > 1e-12)) return false;
    // The centre, where the gradient vanishes, and the equation's value there.
    const double u0 = (B * E - 2 * C * D) / det, w0 = (B * D - 2 * A * E) / det;
    const double f0 = F + 0.5 * (D * u0 + E * w0);
    const double mean = 0.5 * (A + C), half = std::hypot(0.5 * (A - C), 0.5 * B);
    const double l1 = mean + half, l2 = mean - half;  // along `angle`, across it
    if (!(-f0 / l1 > 0) || !(-f0 / l2 > 0)) return false;
    e.centre = {mx + spread * u0, my + spread * w0};
    e.a = spread * std::sqrt(-f0 / l1);
    e.b = spread * std::sqrt(-f0 / l2);
    e.angle = 0.5 * std::atan2(B, A - C);
    return std::isfinite(e.a) && std::isfinite(e.b) && std::isfinite(e.centre.x) &&
           std::isfinite(e.centre.y);
}

double EllipseFit::farthest(const Ellipse& e, const PointD* points, int n, double* rms) {
    const double c = std::cos(e.angle), s = std::sin(e.angle);
    const double ia = 1 / (e.a * e.a), ib = 1 / (e.b * e.b);
    double worst = 0, sum = 0;
    for (int i = 0; i < n; ++i) {
        const double dx = points[i].x - e.centre.x, dy = points[i].y - e.centre.y;
        const double x = c * dx + s * dy, y = -s * dx + c * dy;
        const double g = x * x * ia + y * y * ib - 1;
        const double gl = 2 * std::hypot(x * ia, y * ib);
        const double d = gl > 1e-12 ? std::fabs(g) / gl : std::max(e.a, e.b);
        worst = std::max(worst, d);
        sum += d * d;
    }
    if (rms) *rms = n > 0 ? std::sqrt(sum / n) : 0;
    return worst;
}

void EllipseFit::curve(const Ellipse& e, PointD start, bool clockwise, std::vector<PointD>& out) {
    // The standard cubic of a quarter circle: handles of 4/3 tan(pi/8).
    const double k = 0.5522847498307936;
    const double c = std::cos(e.angle), s = std::sin(e.angle);
    const double dx = start.x - e.centre.x, dy = start.y - e.centre.y;
    double phi = std::atan2((-s * dx + c * dy) / e.b, (c * dx + s * dy) / e.a);
    const double step = (clockwise ? 1 : -1) * std::acos(0.0);
    out.clear();
    PointD p = at(e, phi);
    out.push_back(p);
    for (int q = 0; q < 4; ++q) {
        const double next = phi + step;
        const PointD t0 = derivative(e, phi), t1 = derivative(e, next);
        const PointD p1 = at(e, next);
        const double h = (clockwise ? 1 : -1) * k;
        out.push_back({p.x + h * t0.x, p.y + h * t0.y});
        out.push_back({p1.x - h * t1.x, p1.y - h * t1.y});
        out.push_back(q == 3 ? out.front() : p1);
        p = p1;
        phi = next;
    }
}

}  // namespace om1
