#include "shapes/OutlineFitter.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "shapes/DoublePair.h"
#include "shapes/EllipseFit.h"

namespace om1 {

namespace {

PointD add(PointD a, PointD b) {
    return {a.x + b.x, a.y + b.y};
}
PointD sub(PointD a, PointD b) {
    return {a.x - b.x, a.y - b.y};
}
PointD mul(PointD a, double k) {
    return {a.x * k, a.y * k};
}
double dot(PointD a, PointD b) {
    return a.x * b.x + a.y * b.y;
}
double cross(PointD a, PointD b) {
    return a.x * b.y - a.y * b.x;
}
double norm(PointD a) {
    return std::sqrt(a.x * a.x + a.y * a.y);
}
// Distance from p to the segment a-b.
double segmentDistance(PointD p, PointD a, PointD b) {
    const PointD ab = sub(b, a);
    const double ll = dot(ab, ab);
    double t = ll > 1e-12 ? dot(sub(p, a), ab) / ll : 0;
    t = std::max(0.0, std::min(1.0, t));
    return norm(sub(p, add(a, mul(ab, t))));
}
PointD unit(PointD a) {
    const double l = norm(a);
    return l > 1e-12 ? mul(a, 1.0 / l) : PointD{0, 0};
}

// The polygon's edges span at most this many samples: longer straight runs
// get vertices that are no corners, which the curve passes straight through,
// and the polygon's cost stays linear in the boundary's length.
const int kLongestEdge = 100;
// A wedge's tip: an edge shorter than this (pixels) between two edges at
// least twice as long whose directions turn by more than about 110 degrees
// (the cosine).
const double kTipEdge = 2.0;
const double kTipTurn = -0.34;
// A small feature's corner: a vertex where the polygon turns by at least
// about 80 degrees (the cosine; a disc of radius 3 turns by less), between edges of at least
// kSnugEdge pixels, whose samples all lie within kSnugFit of the two edges (a rounded bend's
// samples fall short of the vertex where its edges meet).
const double kSnugTurn = 0.17;
const double kSnugEdge = 2.0;
const double kSnugFit = 0.35;
// An edge shorter than kCutEdge pixels across a corner goes when the lines
// of its neighbours meet within kCutReach of its middle (the corner of a
// small shape, such as a shard of four or five pixels, cut by the polygon).
const double kCutEdge = 2.0;
const double kCutReach = 2.0;
// Rounds of least squares and parameter steps in a trial fit, and in the
// fit of a segment kept.
const int kTrialRounds = 2;
const int kPolishRounds = 8;
// Refining the joins (stage 5): each is moved across the curve by kJoinShift
// pixels and turned by kJoinTurn radians each way, then to the least of the
// parabola through the sums found, in kJoinPasses passes that halve the
// steps; each trial fits the two segments again in kWarmRounds rounds from
// their samples' parameters.
const double kJoinShift = 0.12;
const double kJoinTurn = 0.04;
const int kJoinPasses = 3;
const int kWarmRounds = 2;
// Stretches of at most this many samples are first tried as one segment.
const int kShortRest = 256;
// A closed loop of at least kEllipseSteps steps without a corner is one
// ellipse when its samples lie within kEllipseFar of it (and the tolerance)
// and within kEllipseRms in the root mean square. On the corpus's art the
// drawn circles and ellipses (dots, eyes, wheels) read at most 0.16 and
// 0.033, the nearest other loop 0.27 and 0.12.
const int kEllipseSteps = 12;
const double kEllipseFar = 0.25;
const double kEllipseRms = 0.06;

// Sums over a run of samples, for straight-line fits in constant time.
struct Moments {
    double n = 0, x = 0, y = 0, xx = 0, xy = 0, yy = 0;
};

// A closed boundary seen from a start sample: sample k is the input's
// (start + k) mod n, for any k. Samples 0..last (twice round a loop, to the
// end of an open path) lie in order in one array, with the distance of each
// from the one before.
class Loop {
public:
    // `c`: one step direction per sample.
    Loop(const std::vector<PointD>& s, const uint8_t* c, int start, bool closed)
        : s_(s),
          c_(c),
          n_(static_cast<int>(s.size())),
          start_(start),
          closed_(closed),
          last_(closed ? 2 * n_ : n_ - 1) {
        // Coordinates relative to the start keep the sums well conditioned.
        origin_ = s[static_cast<size_t>(start)];
        const int last = last_;
        const size_t count = static_cast<size_t>(last) + 1;
        points_.resize(count);
        codes_.resize(count);
        steps_.resize(count);
        for (int k = 0; k <= last; ++k) {
            const size_t j = static_cast<size_t>(wrap(k));
            points_[static_cast<size_t>(k)] = s[j];
            codes_[static_cast<size_t>(k)] = c[j];
        }
        steps_[0] = 0;
        for (size_t k = 1; k < count; ++k) steps_[k] = norm(sub(points_[k], points_[k - 1]));
        sums_.resize(static_cast<size_t>(last) + 2);
        for (int k = 0; k <= last; ++k) {
            const PointD p = sub(points_[static_cast<size_t>(k)], origin_);
            Moments m = sums_[static_cast<size_t>(k)];
            m.n += 1;
            m.x += p.x;
            m.y += p.y;
            m.xx += p.x * p.x;
            m.xy += p.x * p.y;
            m.yy += p.y * p.y;
            sums_[static_cast<size_t>(k) + 1] = m;
        }
    }
    int size() const { return n_; }
    bool closed() const { return closed_; }
    PointD at(int k) const {
        return k >= 0 && k <= last_ ? points_[static_cast<size_t>(k)]
                                    : s_[static_cast<size_t>(wrap(k))];
    }
    int code(int k) const {
        return k >= 0 && k <= last_ ? codes_[static_cast<size_t>(k)]
                                    : c_[static_cast<size_t>(wrap(k))];
    }
    // Samples 0..last() in order; steps()[k]: the distance from sample k - 1
    // to sample k (k >= 1).
    int last() const { return last_; }
    const PointD* points() const { return points_.data(); }
    const uint8_t* codes() const { return codes_.data(); }
    const double* steps() const { return steps_.data(); }
    // Samples a..b inclusive (0 <= a <= b <= 2n), relative to the origin.
    Moments range(int a, int b) const {
        const Moments &hi = sums_[static_cast<size_t>(b) + 1], &lo = sums_[static_cast<size_t>(a)];
        return {hi.n - lo.n, hi.x - lo.x, hi.y - lo.y, hi.xx - lo.xx, hi.xy - lo.xy, hi.yy - lo.yy};
    }
    PointD origin() const { return origin_; }
    // sums()[k]: the moments of samples 0..k - 1 (range(a, b) is
    // sums()[b + 1] less sums()[a]).
    const Moments* sums() const { return sums_.data(); }

private:
    // (start + k) mod n; k mostly lies in -n..2n, where one step does.
    int wrap(int k) const {
        int j = start_ + k;
        if (j >= n_) {
            j -= n_;
            if (j >= n_) j %= n_;
        } else if (j < 0) {
            j += n_;
            if (j < 0) j = (j % n_ + n_) % n_;
        }
        return j;
    }
    const std::vector<PointD>& s_;
    const uint8_t* c_;
    int n_, start_;
    bool closed_;
    int last_;
    PointD origin_;
    std::vector<PointD> points_;
    std::vector<uint8_t> codes_;
    std::vector<double> steps_;
    std::vector<Moments> sums_;
};

// Sum of squared distances of samples a..b from the chord through samples a
// and b.
double chordPenalty(const Loop& L, int a, int b) {
    const PointD pa = sub(L.at(a), L.origin()), pb = sub(L.at(b), L.origin());
    const PointD u = unit(sub(pb, pa));
    const Moments m = L.range(a, b);
    // distance = u.x * (y - pa.y) - u.y * (x - pa.x) = A y + B x - c
    const double A = u.x, B = -u.y, c = u.x * pa.y - u.y * pa.x;
    const double v =
        A * A * m.yy + B * B * m.xx + 2 * A * B * m.xy - 2 * c * (A * m.y + B * m.x) + m.n * c * c;
    return std::max(0.0, v);
}

// chordPenalty(L, a, b) and chordPenalty(L, a, b + 1), with the same
// operations on each.
void chordPenalties(const Loop& L, int a, int b, double* out) {
    const PointD o = L.origin();
    const PointD pa = sub(L.at(a), o), pb0 = L.at(b), pb1 = L.at(b + 1);
    const DoublePair dx = (DoublePair(pb0.x, pb1.x) - DoublePair(o.x)) - DoublePair(pa.x),
                     dy = (DoublePair(pb0.y, pb1.y) - DoublePair(o.y)) - DoublePair(pa.y);
    const DoublePair l = sqrt(dx * dx + dy * dy);
    const DoublePair k = DoublePair(1.0) / l, zero(0.0);
    const DoublePair ux = pickWhereAbove(l, 1e-12, dx * k, zero),
                     uy = pickWhereAbove(l, 1e-12, dy * k, zero);
    const Moments &lo = L.sums()[a], &h0 = L.sums()[b + 1], &h1 = L.sums()[b + 2];
    const DoublePair mn = DoublePair(h0.n, h1.n) - DoublePair(lo.n),
                     mx = DoublePair(h0.x, h1.x) - DoublePair(lo.x),
                     my = DoublePair(h0.y, h1.y) - DoublePair(lo.y),
                     mxx = DoublePair(h0.xx, h1.xx) - DoublePair(lo.xx),
                     mxy = DoublePair(h0.xy, h1.xy) - DoublePair(lo.xy),
                     myy = DoublePair(h0.yy, h1.yy) - DoublePair(lo.yy);
    const DoublePair A = ux, B = -uy, c = ux * DoublePair(pa.y) - uy * DoublePair(pa.x);
    const DoublePair two(2.0);
    const DoublePair v =
        A * A * myy + B * B * mxx + two * A * B * mxy - two * c * (A * my + B * mx) + mn * c * c;
    out[0] = std::max(0.0, v.first());
    out[1] = std::max(0.0, v.second());
}

// For every sample k, the longest chord k -> k + lon[k] that passes within
// eps of every sample between, over steps that do not go in all four
// directions (round a loop at most n - 2 steps, and `cap` when positive; on
// an open path up to its end).
// `known`, when given (an open path only), holds the runs found for the
// same path with other end points: a run from k reads samples k to at most
// k + lon[k] + 1, so one that read neither end is the same here.
void straightRuns(const Loop& L, double eps, int cap, std::vector<int>& lon,
                  const std::vector<int>* known = nullptr) {
    const int n = L.size();
    lon.assign(static_cast<size_t>(n), 1);
    if (known && (L.closed() || known->size() != lon.size())) known = nullptr;
    // axis[k]: how many samples after k go on from it along one axis, one
    // way, each further than the one before (the same y and a larger x, or
    // a smaller one; or the same x and a larger or smaller y). Every such
    // sample lies exactly on the ray from sample k, where the cone below
    // never shuts: a run from k that stays on it ends only where its steps
    // go in all four directions.
    const int last = L.last();
    std::vector<int> axis(static_cast<size_t>(last) + 1, 0);
    {
        const PointD* const p = L.points();
        auto way = [p](int k) {
            const PointD a = p[k], b = p[k + 1];
            if (a.y == b.y) return b.x > a.x ? 1 : b.x < a.x ? 2 : 0;
            if (a.x == b.x) return b.y > a.y ? 3 : b.y < a.y ? 4 : 0;
            return 0;
        };
        int next = 0;
        for (int k = last - 1; k >= 0; --k) {
            const int w = way(k);
            axis[static_cast<size_t>(k)] = w == 0      ? 0
                                           : w == next ? axis[static_cast<size_t>(k) + 1] + 1
                                                       : 1;
            next = w;
        }
    }
    for (int k = 0; k < n; ++k) {
        if (known && k >= 1 && k + (*known)[static_cast<size_t>(k)] + 1 <= n - 2) {
            lon[static_cast<size_t>(k)] = (*known)[static_cast<size_t>(k)];
            continue;
        }
        int limit = L.closed() ? n - 2 : n - 1 - k;
        if (cap > 0) limit = std::min(limit, cap);
        // Samples k..k + limit lie in the loop's array (k + limit < 2n).
        const PointD* const pts = L.points() + k;
        const uint8_t* const codes = L.codes() + k;
        if (axis[static_cast<size_t>(k)] >= limit) {
            int dirs = 1 << codes[0], best = 1;
            for (int m = 1; m <= limit; ++m) {
                dirs |= 1 << codes[m];
                if (dirs == 15) break;
                best = m;
            }
            lon[static_cast<size_t>(k)] = best;
            continue;
        }
        const PointD a = pts[0];
        bool cone = false;
        PointD lo = {0, 0}, hi = {0, 0};
        int dirs = 1 << codes[0];
        int best = 1;
        // Sample m with p = pts[m] - a at distance d, and p turned by the
        // angle eps subtends at d either way (when d > eps); false where
        // the run ends before it.
        auto take = [&](int m, PointD p, double d, PointD r1, PointD r2) {
            dirs |= 1 << codes[m];
            if (dirs == 15) return false;
            if (cone && (cross(lo, p) < 0 || cross(p, hi) < 0)) return false;
            best = m;
            if (d > eps) {
                if (!cone) {
                    lo = r1;
                    hi = r2;
                    cone = true;
                } else {
                    if (cross(lo, r1) > 0) lo = r1;
                    if (cross(r2, hi) > 0) hi = r2;
                    if (cross(lo, hi) < 0) return false;
                }
            }
            return true;
        };
        // Two samples at a time (the same operations on each as one at a
        // time; the second's are lost where the run ends at the first).
        const DoublePair ax(a.x), ay(a.y), e(eps), one(1.0);
        int m = 1;
        for (; m + 1 <= limit; m += 2) {
            const DoublePair px = DoublePair(pts[m].x, pts[m + 1].x) - ax,
                             py = DoublePair(pts[m].y, pts[m + 1].y) - ay;
            const DoublePair d = sqrt(px * px + py * py);
            const DoublePair sa = e / d, ca = sqrt(one - sa * sa);
            const DoublePair r1x = px * ca + py * sa, r1y = py * ca - px * sa;  // turned one way
            const DoublePair r2x = px * ca - py * sa, r2y = px * sa + py * ca;  // and the other
            if (!take(m, {px.first(), py.first()}, d.first(), {r1x.first(), r1y.first()},
                      {r2x.first(), r2y.first()}) ||
                !take(m + 1, {px.second(), py.second()}, d.second(), {r1x.second(), r1y.second()},
                      {r2x.second(), r2y.second()}))
                break;
        }
        if (m == limit) {
            const PointD p = sub(pts[m], a);
            const double d = norm(p);
            PointD r1 = {0, 0}, r2 = {0, 0};
            if (d > eps) {
                const double sa = eps / d, ca = std::sqrt(1 - sa * sa);
                r1 = {p.x * ca + p.y * sa, -p.x * sa + p.y * ca};  // turned one way
                r2 = {p.x * ca - p.y * sa, p.x * sa + p.y * ca};   // and the other
            }
            take(m, p, d, r1, r2);
        }
        lon[static_cast<size_t>(k)] = best;
    }
}

// The polygon with the fewest edges (then the least penalty) from sample 0
// round to sample n (to the last sample n - 1 of an open path); vertex
// sample indices, first 0, the end not repeated.
void optimalPolygon(const Loop& L, const std::vector<int>& lon, std::vector<int>& verts) {
    const int n = L.closed() ? L.size() : L.size() - 1;
    const int inf = std::numeric_limits<int>::max();
    std::vector<int> count(static_cast<size_t>(n) + 1, inf), prev(static_cast<size_t>(n) + 1, -1);
    std::vector<double> pen(static_cast<size_t>(n) + 1, 0);
    count[0] = 0;
    for (int k = 0; k < n; ++k) {
        if (count[static_cast<size_t>(k)] == inf) continue;
        const int reach = std::min(lon[static_cast<size_t>(k)], n - k);
        const int c = count[static_cast<size_t>(k)] + 1;
        const double base = pen[static_cast<size_t>(k)];
        auto reached = [&](int j, double chord) {
            const double p = base + chord;
            if (c < count[static_cast<size_t>(j)] || p < pen[static_cast<size_t>(j)]) {
                count[static_cast<size_t>(j)] = c;
                pen[static_cast<size_t>(j)] = p;
                prev[static_cast<size_t>(j)] = k;
            }
        };
        // Two edges' penalties at a time (an edge to a sample already
        // reached with fewer edges is not taken).
        int m = 1;
        for (; m + 1 <= reach; m += 2) {
            const int j = k + m;
            const bool take0 = c <= count[static_cast<size_t>(j)],
                       take1 = c <= count[static_cast<size_t>(j) + 1];
            if (!take0 && !take1) continue;
            double chords[2];
            chordPenalties(L, k, j, chords);
            if (take0) reached(j, chords[0]);
            if (take1) reached(j + 1, chords[1]);
        }
        if (m == reach && c <= count[static_cast<size_t>(k + m)])
            reached(k + m, chordPenalty(L, k, k + m));
    }
    verts.clear();
    if (count[static_cast<size_t>(n)] == inf) return;
    for (int j = n; j > 0; j = prev[static_cast<size_t>(j)])
        verts.push_back(prev[static_cast<size_t>(j)]);
    std::reverse(verts.begin(), verts.end());
}

// The least-squares line through samples a..b: a point on it and its unit
// normal.
void fitLine(const Loop& L, int a, int b, PointD& point, PointD& normal) {
    const Moments m = L.range(a, b);
    const double mx = m.x / m.n, my = m.y / m.n;
    const double cxx = m.xx / m.n - mx * mx, cyy = m.yy / m.n - my * my, cxy = m.xy / m.n - mx * my;
    const double theta = 0.5 * std::atan2(2 * cxy, cxx - cyy);
    point = add(L.origin(), PointD{mx, my});
    normal = {-std::sin(theta), std::cos(theta)};
}

// Solves the small symmetric system A x = r (size m <= 4) in place; false
// when it is singular. (The size is known where it is called: the loops
// are unrolled.)
template <int m>
bool solve(double A[4][4], double r[4]) {
    for (int i = 0; i < m; ++i) {
        int p = i;
        for (int k = i + 1; k < m; ++k)
            if (std::fabs(A[k][i]) > std::fabs(A[p][i])) p = k;
        if (std::fabs(A[p][i]) < 1e-12) return false;
        if (p != i) {
            for (int k = 0; k < m; ++k) std::swap(A[i][k], A[p][k]);
            std::swap(r[i], r[p]);
        }
        for (int k = i + 1; k < m; ++k) {
            const double f = A[k][i] / A[i][i];
            for (int j = i; j < m; ++j) A[k][j] -= f * A[i][j];
            r[k] -= f * r[i];
        }
    }
    for (int i = m - 1; i >= 0; --i) {
        for (int j = i + 1; j < m; ++j) r[i] -= A[i][j] * r[j];
        r[i] /= A[i][i];
    }
    return true;
}

class StretchFitter {
public:
    // `covers` (may be null): recorded without refine, taken with it
    // (OutlineFitter::Covers).
    StretchFitter(const Loop& L, const OutlineFitter::Settings& s, std::vector<PointD>& out,
                  OutlineFitter::Covers* covers)
        : L_(L), s_(s), out_(out), covers_(covers) {}

    // Covers samples a..b (b > a) from A to B. A tangent of length 0 is
    // free (a corner); corner ends skip the samples next to them, which the
    // anti-aliasing rounds off.
    void fit(int a, int b, PointD A, PointD B, PointD tA, PointD tB) {
        segs_.clear();
        if (!s_.refine || !replay(a, b, A, B, tA, tB)) cover(a, b, A, B, tA, tB);
        if (s_.refine)
            refine();
        else
            record(a, b, A, B, tA, tB);
    }

    // The greedy cover: from each start the longest segment that fits, its
    // end on the (smoothed) sample there with the samples' direction.
    void cover(int a, int b, PointD A, PointD B, PointD tA, PointD tB) {
        int s = a;
        PointD P = A, tP = tA;
        while (true) {
            PointD seg[4];
            if (b - s <= 2) {
                forceFit(s, b, P, B, tP, tB, seg);
                emit(seg, s, b, tP, tB, false, false, false);
                return;
            }
            // The rest in one segment: tried first when it is short, else
            // only once every doubled length below it fits, so that a long
            // stretch costs its length times a logarithm, not its length
            // times its segments.
            const bool shortRest = b - s <= kShortRest;
            if (shortRest && tryFit(s, b, P, B, tP, tB, seg, s == a && isFree(tA), isFree(tB))) {
                keep(seg);
                polish(s, b, tP, tB, seg, s == a && isFree(tA), isFree(tB));
                emit(seg, s, b, tP, tB, s == a && isFree(tA), isFree(tB));
                return;
            }
            // The longest segment that fits: doubling lengths, then halving
            // the last interval (short trial fits cost little).
            Search f{s + 2, b - 2, -1, {}};
            const bool prefixFailed = !doubling(f, 8, s, a, b, P, tP, tA, seg);
            if (!shortRest && !prefixFailed &&
                tryFit(s, b, P, B, tP, tB, seg, s == a && isFree(tA), isFree(tB))) {
                keep(seg);
                polish(s, b, tP, tB, seg, s == a && isFree(tA), isFree(tB));
                emit(seg, s, b, tP, tB, s == a && isFree(tA), isFree(tB));
                return;
            }
            halving(f, s, a, b, P, tP, tA, seg);
            // Where no segment over three samples fits, the samples are
            // noisier than the mean allows: the longest that keeps them
            // within the tolerance, rather than a segment every two.
            if (f.best < 0) {
                relaxed_ = true;
                f = Search{s + 3, b - 2, -1, {}};
                doubling(f, 4, s, a, b, P, tP, tA, seg);
                halving(f, s, a, b, P, tP, tA, seg);
                relaxed_ = false;
            }
            int best = f.best;
            PointD* bestSeg = f.seg;
            const bool forced = best < 0;
            if (forced) {
                best = std::min(s + 2, b - 1);
                forceFit(s, best, P, pointAt(best, a, b), tP, tangentAt(best, a, b), bestSeg);
            } else {
                polish(s, best, tP, tangentAt(best, a, b), bestSeg, s == a && isFree(tA), false);
            }
            emit(bestSeg, s, best, tP, tangentAt(best, a, b), s == a && isFree(tA), false, !forced);
            P = bestSeg[3];
            tP = tangentAt(best, a, b);
            s = best;
        }
    }

    // The search for the longest segment from sample s: lengths lo..hi
    // still open, the longest that fitted (-1: none) and its segment.
    struct Search {
        int lo, hi, best;
        PointD seg[4];
    };
    // Doubles the length from `len` while it fits (within the stretch
    // a..b); false when a length failed (hi is then below it).
    bool doubling(Search& f, int len, int s, int a, int b, PointD P, PointD tP, PointD tA,
                  PointD* seg) {
        for (; s + len < b - 2; len *= 2) {
            const int e = s + len;
            if (!tryFit(s, e, P, pointAt(e, a, b), tP, tangentAt(e, a, b), seg,
                        s == a && isFree(tA), false)) {
                f.hi = e - 1;
                return false;
            }
            f.best = e;
            std::copy(seg, seg + 4, f.seg);
            keep(seg);
            f.lo = e + 1;
        }
        return true;
    }
    // Halves the open lengths down to the longest that fits.
    void halving(Search& f, int s, int a, int b, PointD P, PointD tP, PointD tA, PointD* seg) {
        while (f.lo <= f.hi) {
            const int mid = f.lo + (f.hi - f.lo) / 2;
            if (tryFit(s, mid, P, pointAt(mid, a, b), tP, tangentAt(mid, a, b), seg,
                       s == a && isFree(tA), false)) {
                f.best = mid;
                std::copy(seg, seg + 4, f.seg);
                keep(seg);
                f.lo = mid + 1;
            } else {
                f.hi = mid - 1;
            }
        }
    }

    // The smoothed sample k (within a..b) and the boundary's direction there.
    PointD pointAt(int k, int a, int b) const {
        const PointD p = L_.at(k);
        if (k <= a || k >= b) return p;
        return mul(add(add(L_.at(k - 1), mul(p, 2)), L_.at(k + 1)), 0.25);
    }
    PointD tangentAt(int k, int a, int b) const {
        const int w = 3;
        const int lo = std::max(a, k - w), hi = std::min(b, k + w);
        PointD t = unit(sub(L_.at(hi), L_.at(lo)));
        if (t.x == 0 && t.y == 0) t = unit(sub(L_.at(k + 1), L_.at(k - 1)));
        if (t.x == 0 && t.y == 0) t = {1, 0};
        return t;
    }

private:
    static bool isFree(PointD t) { return t.x == 0 && t.y == 0; }

    // The stretch's cover as it stands, recorded in covers_.
    void record(int a, int b, PointD A, PointD B, PointD tA, PointD tB) {
        if (!covers_) return;
        OutlineFitter::Covers& c = *covers_;
        c.stretches.push_back({a, b, A, B, tA, tB, c.segments.size(), segs_.size()});
        for (const Segment& g : segs_) {
            c.segments.push_back({g.s, g.e, g.t0, g.t3, g.skip0, g.skip3, g.known, g.fits, g.sum,
                                  c.params.size(), g.params.size()});
            c.params.insert(c.params.end(), g.params.begin(), g.params.end());
        }
        if (!segs_.empty())
            c.points.insert(c.points.end(), out_.begin() + static_cast<long>(segs_[0].at),
                            out_.end());
    }
    // The cover recorded for this stretch (the next one recorded, where its
    // ends are these) taken as this one's: false when there is none.
    bool replay(int a, int b, PointD A, PointD B, PointD tA, PointD tB) {
        if (!covers_ || replayed_ >= covers_->stretches.size()) return false;
        const OutlineFitter::Covers& c = *covers_;
        const OutlineFitter::Covers::Stretch& r = c.stretches[replayed_];
        auto same = [](PointD p, PointD q) { return p.x == q.x && p.y == q.y; };
        // (record() wrote the stretch whole: its segments, points and
        // parameters are there.)
        if (r.a != a || r.b != b || !same(r.A, A) || !same(r.B, B) || !same(r.tA, tA) ||
            !same(r.tB, tB)) {
            replayed_ = c.stretches.size();  // the record is of another fit
            return false;
        }
        ++replayed_;
        for (size_t k = r.first; k < r.first + r.count; ++k) {
            const OutlineFitter::Covers::Segment& g = c.segments[k];
            const auto from = c.params.begin() + static_cast<long>(g.paramsAt);
            segs_.push_back({g.s, g.e, g.t0, g.t3, g.skip0, g.skip3, out_.size(),
                             std::vector<double>(from, from + static_cast<long>(g.paramCount)),
                             g.sum, g.fits, g.known});
            out_.insert(out_.end(), c.points.begin() + static_cast<long>(3 * k),
                        c.points.begin() + static_cast<long>(3 * k + 3));
        }
        return true;
    }

    // A segment whatever its error: the fit when it is sound, else handles
    // a third of the chord along the tangents.
    void forceFit(int s, int e, PointD P0, PointD P3, PointD t0, PointD t3, PointD* seg) {
        if (tryFit(s, e, P0, P3, t0, t3, seg, false, false, true)) return;
        const PointD chord = sub(P3, P0);
        const double clen = norm(chord);
        seg[0] = P0;
        seg[3] = P3;
        seg[1] = isFree(t0) ? add(P0, mul(chord, 1.0 / 3)) : add(P0, mul(t0, clen / 3));
        seg[2] = isFree(t3) ? add(P0, mul(chord, 2.0 / 3)) : sub(P3, mul(t3, clen / 3));
    }

    // A segment the search kept, fitted again with more rounds of moving
    // the samples' curve parameters (its ends and tangents as they are):
    // the search's two rounds tell whether a length fits, these bring the
    // curve nearer the samples. Kept when it stays within the tolerance.
    // (It goes on from where the trial fit of the same segment, kept by
    // keep(), left off: its first rounds are the trial's.)
    // Where the joins are refined (now or from the covers recorded), it
    // keeps what the refinement's first fit of the segment would find
    // (polished_): that fit is this one.
    void polish(int s, int e, PointD t0, PointD t3, PointD* seg, bool skip0, bool skip3) {
        PointD c[4];
        double worst = 0;
        std::vector<double>* params = nullptr;
        if (s_.refine || covers_) {
            polished_.params.clear();
            params = &polished_.params;
        }
        const bool fits = tryFit(s, e, seg[0], seg[3], t0, t3, c, skip0, skip3, true, &worst,
                                 kept_.round >= 0 ? &kept_ : nullptr, params) &&
                          worst <= s_.tolerance;
        if (fits) std::copy(c, c + 4, seg);
        polished_.known = params != nullptr;
        polished_.fits = fits;
        polished_.sum = lastSum_;
    }

    // A trial fit's state where it succeeded (the round it ended in, the
    // parameters its second round starts from, the segment): the first
    // rounds of polishing the same segment.
    struct Kept {
        int round = -1;  // -1: none (a straight or degenerate segment)
        std::vector<double> params;
        PointD c1{0, 0}, c2{0, 0};
    };
    // Keeps the state of the trial fit that just succeeded with `seg`.
    void keep(const PointD* seg) {
        kept_.round = lastRound_;
        if (lastRound_ >= 0)
            kept_.params.assign(u_.begin(), u_.begin() + static_cast<std::ptrdiff_t>(lastCount_));
        kept_.c1 = seg[1];
        kept_.c2 = seg[2];
    }

    // A segment of the stretch being fitted: its samples s..e, the
    // tangents at its ends, whether its ends skip the samples next to them
    // (corners), where it lies in `out_` (seg[1] at `at`, seg[0] just
    // before); when refined, its samples' curve parameters (empty: a
    // straight segment), their squared distances summed, and whether it
    // keeps within the tolerance.
    // `known`: the refinement's first fit of it is known (params, sum and
    // fits hold its result).
    struct Segment {
        int s, e;
        PointD t0, t3;
        bool skip0, skip3;
        size_t at;
        std::vector<double> params;
        double sum;
        bool fits, known;
    };
    // What the polish of the segment about to be emitted found.
    struct Polished {
        bool known = false, fits = false;
        double sum = 0;
        std::vector<double> params;
    };

    // A segment polished just before goes with what its polish found.
    void emit(const PointD* seg, int s, int e, PointD t0, PointD t3, bool skip0, bool skip3,
              bool polished = true) {
        segs_.push_back({s, e, t0, t3, skip0, skip3, out_.size(), {}, 0, false, false});
        if (polished && polished_.known) {
            Segment& g = segs_.back();
            g.known = true;
            g.fits = polished_.fits;
            g.sum = polished_.sum;
            g.params.swap(polished_.params);
        }
        polished_.known = false;
        out_.push_back(seg[1]);
        out_.push_back(seg[2]);
        out_.push_back(seg[3]);
    }

    // Segment k fitted again from P0 to P3 with tangents t0 and t3, from
    // its samples' parameters (kWarmRounds rounds): false when it leaves the
    // tolerance. `params` gets the new parameters, `sum` the squared
    // distances.
    bool refit(size_t k, PointD P0, PointD t0, PointD P3, PointD t3, PointD* seg,
               std::vector<double>& params, double& sum) {
        const Segment& g = segs_[k];
        params = g.params;
        double worst = 0;
        if (!tryFit(g.s, g.e, P0, P3, t0, t3, seg, g.skip0, g.skip3, true, &worst, nullptr,
                    &params))
            return false;
        sum = lastSum_;
        return worst <= s_.tolerance;
    }

    // Stage 5: the joins between the stretch's segments moved across the
    // curve and turned where both segments, fitted again, come nearer their
    // samples (the least squares), each keeping within the tolerance. The
    // cover ends a segment where it stops fitting, with the direction of
    // the few samples there: the two segments together tell the join's
    // place and direction better.
    void refine() {
        const size_t n = segs_.size();
        if (n < 2) return;
        for (size_t k = 0; k < n; ++k) {
            Segment& g = segs_[k];
            if (g.known) continue;  // its polish found it
            PointD seg[4];
            double worst = 0;
            g.params.clear();
            g.fits = tryFit(g.s, g.e, out_[g.at - 1], out_[g.at + 2], g.t0, g.t3, seg, g.skip0,
                            g.skip3, true, &worst, nullptr, &g.params) &&
                     worst <= s_.tolerance;
            g.sum = lastSum_;
            if (g.fits) std::copy(seg + 1, seg + 4, out_.begin() + static_cast<long>(g.at));
        }
        double shift = kJoinShift, turn = kJoinTurn;
        for (int pass = 0; pass < kJoinPasses; ++pass, shift /= 2, turn /= 2)
            for (size_t k = 0; k + 1 < n; ++k)
                if (segs_[k].fits && segs_[k + 1].fits) {
                    moveJoin(k, shift, false);
                    moveJoin(k, turn, true);
                }
    }

    // The join between segments k and k + 1 moved across the curve by
    // `step` (or turned by it, `turning`) one way, else the other, then to
    // the least of the parabola through the three sums; the best kept.
    void moveJoin(size_t k, double step, bool turning) {
        Segment &g = segs_[k], &h = segs_[k + 1];
        const PointD J = out_[g.at + 2], t = g.t3;
        auto at = [&](double x, PointD& J2, PointD& t2) {
            J2 = J;
            t2 = t;
            if (turning) {
                const double c = std::cos(x), sn = std::sin(x);
                t2 = {t.x * c - t.y * sn, t.x * sn + t.y * c};
            } else {
                J2 = add(J, mul(PointD{-t.y, t.x}, x));
            }
        };
        const double base = g.sum + h.sum;
        double best = base, bestX = 0;
        // The sum with the join at x (-1 where a segment fails); the best
        // so far kept in bestA_, bestB_ and the parameters pa2_, pb2_.
        auto trial = [&](double x) {
            PointD J2, t2, A[4], B[4];
            at(x, J2, t2);
            double sa = 0, sb = 0;
            if (!refit(k, out_[g.at - 1], g.t0, J2, t2, A, pa_, sa) ||
                !refit(k + 1, J2, t2, out_[h.at + 2], h.t3, B, pb_, sb))
                return -1.0;
            if (sa + sb < best) {
                best = sa + sb;
                bestX = x;
                std::copy(A, A + 4, bestA_);
                std::copy(B, B + 4, bestB_);
                pa2_.swap(pa_);
                pb2_.swap(pb_);
                bestSums_[0] = sa;
                bestSums_[1] = sb;
            }
            return sa + sb;
        };
        // The least of the parabola through (x0, f0), (x0 + step, f1),
        // (x0 + 2 step, f2), tried where it lies within reach and apart
        // from the points known.
        auto vertex = [&](double x0, double f0, double f1, double f2, double lo, double hi) {
            const double curve = f0 - 2 * f1 + f2;
            if (f0 < 0 || f1 < 0 || f2 < 0 || curve <= 0) return;
            const double x = x0 + step * (3 * f0 - 4 * f1 + f2) / (2 * curve);
            const double gap = 0.1 * step;
            if (x <= lo || x >= hi || std::fabs(x - x0) < gap || std::fabs(x - x0 - step) < gap ||
                std::fabs(x - x0 - 2 * step) < gap)
                return;
            trial(x);
        };
        const double up = trial(step);
        if (up >= 0 && up < base) {
            vertex(0, base, up, trial(2 * step), 0, 3 * step);
        } else {
            vertex(-step, trial(-step), base, up, -2 * step, 2 * step);
        }
        if (bestX == 0) return;
        PointD J2, t2;
        at(bestX, J2, t2);
        std::copy(bestA_ + 1, bestA_ + 4, out_.begin() + static_cast<long>(g.at));
        std::copy(bestB_ + 1, bestB_ + 3, out_.begin() + static_cast<long>(h.at));
        g.t3 = h.t0 = t2;
        g.params.swap(pa2_);
        h.params.swap(pb2_);
        g.sum = bestSums_[0];
        h.sum = bestSums_[1];
    }

    // Fits one cubic from P0 to P3 over samples s..e; true when every
    // sample used lies within the tolerance.
    // With `sound`, true whenever the handles are sound, whatever the error.
    // With `polished`, the polishing rounds all run and it gets the largest
    // distance of the last.
    // `from` (with `polished` only): the state of the trial fit of the same
    // segment (the same samples, ends and tangents), whose rounds this one
    // need not repeat.
    // `warm` (with `polished` only): the samples' parameters to start from
    // (kWarmRounds rounds; empty: from their chord lengths, all the rounds);
    // it gets the last round's, and lastSum_ the squared distances (empty
    // and the distances to the chord for a straight segment).
    bool tryFit(int s, int e, PointD P0, PointD P3, PointD t0, PointD t3, PointD* seg, bool skip0,
                bool skip3, bool sound = false, double* polished = nullptr,
                const Kept* from = nullptr, std::vector<double>* warm = nullptr) {
        lastRound_ = -1;
        const int skip = 2;
        int i0 = s + (skip0 ? skip : 1), i1 = e - (skip3 ? skip : 1);
        const bool warmed =
            warm && !warm->empty() && warm->size() == static_cast<size_t>(std::max(0, i1 - i0 + 1));
        const int rounds = warmed ? kWarmRounds : polished ? kPolishRounds : kTrialRounds;
        if (polished) *polished = 0;
        seg[0] = P0;
        seg[3] = P3;
        const PointD chord = sub(P3, P0);
        const double clen = norm(chord);
        const bool free0 = isFree(t0), free3 = isFree(t3);
        auto straight = [&]() {
            seg[1] = add(P0, mul(chord, 1.0 / 3));
            seg[2] = add(P0, mul(chord, 2.0 / 3));
        };
        auto heuristic = [&]() {
            seg[1] = free0 ? add(P0, mul(chord, 1.0 / 3)) : add(P0, mul(t0, clen / 3));
            seg[2] = free3 ? add(P0, mul(chord, 2.0 / 3)) : sub(P3, mul(t3, clen / 3));
        };
        if (warm) lastSum_ = 0;
        if (i1 < i0) {
            if (free0 && free3)
                straight();
            else
                heuristic();
            if (warm) warm->clear();
            return true;
        }
        // The samples used, in order (they lie within the loop's array).
        const PointD* q = L_.points() + i0;
        const int m = i1 - i0 + 1;
        const double tol = s_.tolerance;
        // (The buffers only grow: every entry used is written first.)
        if (u_.size() < static_cast<size_t>(m)) u_.resize(static_cast<size_t>(m));
        if (w_.size() < static_cast<size_t>(m)) w_.resize(static_cast<size_t>(m));
        double* const uu = u_.data();
        double* const ww = w_.data();
        lastCount_ = m;
        // Polishing a trial's segment: the trial's was no straight segment,
        // and its first round is this one's (and its second round's
        // segment too where it ended there).
        int first = 0;
        if (from && from->params.size() == static_cast<size_t>(m)) {
            std::copy(from->params.begin(), from->params.end(), uu);
            first = 1;
        } else {
            from = nullptr;
        }
        if (warmed) std::copy(warm->begin(), warm->end(), uu);
        // A straight segment when the ends allow it and the samples are close.
        const PointD cu = unit(chord);
        if (!from && clen > 1e-9 && (free0 || cross(t0, cu) * cross(t0, cu) < 1e-4) &&
            (free3 || cross(t3, cu) * cross(t3, cu) < 1e-4) && (free0 || dot(t0, cu) > 0) &&
            (free3 || dot(t3, cu) > 0)) {
            bool ok = true;
            double sum = 0, widest = 0;
            for (int i = 0; i < m && ok; ++i) {
                const PointD d = sub(q[i], P0);
                const double along = dot(d, cu);
                double dist = std::fabs(cross(cu, d));
                if (along < 0) dist = norm(d);
                if (along > clen) dist = norm(sub(q[i], P3));
                ok = dist <= tol;
                sum += dist * dist;
                widest = std::max(widest, dist);
            }
            if (ok) {
                straight();
                if (warm) {
                    warm->clear();
                    lastSum_ = sum;
                    if (polished) *polished = widest;
                }
                return true;
            }
        }
        // Chord-length parameters (unless going on from a trial).
        const double* const steps = L_.steps() + i0;
        if (!from && !warmed) {
            double total = norm(sub(q[0], P0));
            uu[0] = total;
            for (int i = 1; i < m; ++i) {
                total += steps[i];
                uu[i] = total;
            }
            total += norm(sub(P3, q[m - 1]));
            if (total < 1e-9) {
                heuristic();
                if (warm) warm->clear();
                return true;
            }
            int i = 0;
            const DoublePair by(total);
            for (; i + 1 < m; i += 2) (DoublePair::load(uu + i) / by).store(uu + i);
            if (i < m) uu[i] /= total;
        }
        bool good = false;
        double sum = -1;  // the last round's sum of squares, where it was taken
        for (int iter = first; iter < rounds; ++iter) {
            // The trial's segment where it ended in this round.
            const bool known = from && from->round == iter;
            if (known) seg[1] = from->c1, seg[2] = from->c2;
            const bool solved =
                known || (free0 ? (free3 ? leastSquares<true, true>(q, m, P0, P3, t0, t3, seg)
                                         : leastSquares<true, false>(q, m, P0, P3, t0, t3, seg))
                                : (free3 ? leastSquares<false, true>(q, m, P0, P3, t0, t3, seg)
                                         : leastSquares<false, false>(q, m, P0, P3, t0, t3, seg)));
            if (!solved) heuristic();
            // Sanity: handles forward along their tangents and not too long.
            if (!free0 && (dot(sub(seg[1], P0), t0) <= 0 || norm(sub(seg[1], P0)) > 2 * clen))
                return false;
            if (!free3 && (dot(sub(P3, seg[2]), t3) <= 0 || norm(sub(P3, seg[2])) > 2 * clen))
                return false;
            if (free0 && norm(sub(seg[1], P0)) > 2 * clen + 1) return false;
            if (free3 && norm(sub(P3, seg[2])) > 2 * clen + 1) return false;
            // Newton steps towards the nearest curve points, then the error.
            // (The distance is taken before the step, which only brings
            // the curve point nearer; the last round stops at the first
            // sample out of the tolerance.) The squared distances are
            // compared with the largest squares whose roots stay within the
            // tolerance (the same answers as the roots); the roots are
            // taken only where their sum is asked for.
            const bool last = iter == rounds - 1 && !sound;
            double worst2 = 0;
            // The control points' differences, the same at every sample.
            const PointD c0 = seg[0], c1 = seg[1], c2 = seg[2], c3 = seg[3];
            const PointD d10 = sub(c1, c0), d21 = sub(c2, c1), d32 = sub(c3, c2);
            const PointD e0 = add(sub(c2, mul(c1, 2)), c0), e1 = add(sub(c3, mul(c2, 2)), c1);
            // Two samples at a time (the same operations on each as one at a
            // time).
            int i = 0;
            const bool step = iter + 1 != rounds;  // the last round's parameters are not used again
            const DoublePair one(1.0), three(3.0), six(6.0);
            const DoublePair c0x(c0.x), c0y(c0.y), c1x(c1.x), c1y(c1.y), c2x(c2.x), c2y(c2.y),
                c3x(c3.x), c3y(c3.y);
            for (; i + 1 < m; i += 2) {
                const DoublePair t = DoublePair::load(uu + i);
                const DoublePair v = one - t;
                const DoublePair b0 = v * v * v, b1 = three * v * v * t, b2 = three * v * t * t,
                                 b3 = t * t * t;
                const DoublePair dx =
                    b0 * c0x + b1 * c1x + b2 * c2x + b3 * c3x - DoublePair(q[i].x, q[i + 1].x);
                const DoublePair dy =
                    b0 * c0y + b1 * c1y + b2 * c2y + b3 * c3y - DoublePair(q[i].y, q[i + 1].y);
                const DoublePair dd = dx * dx + dy * dy;
                dd.store(ww + i);
                worst2 = std::max(std::max(worst2, dd.first()), dd.second());
                if (last && worst2 > within_) return false;
                // Far out already: this fit fails whatever the rest.
                if (!sound && worst2 > far_) return false;
                if (!step) continue;
                const DoublePair w1 = three * v * v, w2 = six * v * t, w3 = three * t * t;
                const DoublePair d1x =
                    DoublePair(d10.x) * w1 + DoublePair(d21.x) * w2 + DoublePair(d32.x) * w3;
                const DoublePair d1y =
                    DoublePair(d10.y) * w1 + DoublePair(d21.y) * w2 + DoublePair(d32.y) * w3;
                const DoublePair z0 = six * (one - t), z1 = six * t;
                const DoublePair d2x = DoublePair(e0.x) * z0 + DoublePair(e1.x) * z1;
                const DoublePair d2y = DoublePair(e0.y) * z0 + DoublePair(e1.y) * z1;
                const DoublePair f = dx * d1x + dy * d1y;
                const DoublePair fd = (d1x * d1x + d1y * d1y) + (dx * d2x + dy * d2y);
                pickWhereAbove(fd, 1e-12, clamp(t - f / fd, 0.0, 1.0), t).store(uu + i);
            }
            for (; i < m; ++i) {
                const double t = uu[i];
                const PointD p = q[i];
                // The curve point at t, less p, and the first and second
                // derivatives there.
                const double v = 1 - t;
                const double b0 = v * v * v, b1 = 3 * v * v * t, b2 = 3 * v * t * t, b3 = t * t * t;
                const PointD d = sub(PointD{b0 * c0.x + b1 * c1.x + b2 * c2.x + b3 * c3.x,
                                            b0 * c0.y + b1 * c1.y + b2 * c2.y + b3 * c3.y},
                                     p);
                const double dd = d.x * d.x + d.y * d.y;
                ww[i] = dd;
                worst2 = std::max(worst2, dd);
                if (last && worst2 > within_) return false;
                if (!sound && worst2 > far_) return false;
                if (!step) continue;
                const PointD d1 =
                    add(add(mul(d10, 3 * v * v), mul(d21, 6 * v * t)), mul(d32, 3 * t * t));
                const PointD d2 = add(mul(e0, 6 * (1 - t)), mul(e1, 6 * t));
                const double f = dot(d, d1), fd = dot(d1, d1) + dot(d, d2);
                if (std::fabs(fd) > 1e-12) uu[i] = std::min(1.0, std::max(0.0, t - f / fd));
            }
            // The largest distance is the root of the largest square.
            const double worst = std::sqrt(worst2);
            // Within the tolerance everywhere, and within meanShare of its
            // square on average (the samples' own noise stays well below
            // that), unless relaxed.
            // (Polishing, only the last round's verdict counts; its sum
            // of squares is kept for lastSum_.)
            if (polished) *polished = worst;
            if (polished && iter + 1 != rounds) continue;
            good = worst <= tol &&
                   (relaxed_ || (sum = sumOfSquares(ww, m)) <= m * (tol * tol * s_.meanShare));
            if (good && !polished) {
                lastRound_ = iter;
                return true;
            }
        }
        if (warm) {
            warm->assign(uu, uu + m);
            lastSum_ = sum >= 0 ? sum : sumOfSquares(ww, m);
        }
        return sound || good;
    }

    // The control points that minimise the squared distances of the samples
    // q[0..count) from their curve points (at u_), with the tangents fixed
    // where given (free0, free3: isFree(t0), isFree(t3)).
    template <bool free0, bool free3>
    bool leastSquares(const PointD* q, int count, PointD P0, PointD P3, PointD t0, PointD t3,
                      PointD* seg) {
        // The normal equations: A[a][b] sums e_a . e_b and r[a] sums e_a . res
        // over the samples, where e_a are the directions the unknowns move
        // the curve point in (a free end's two coordinates move it by b1 or
        // b2 along one axis: (b1, 0) and (0, b1)) and res is the sample less
        // the curve's known part. A product with such a zero coordinate adds
        // nothing (not even the sign of a zero, the sums starting at +0), so
        // it is left out: the sums are those of the full products.
        double A[4][4] = {}, r[4] = {};
        constexpr int m = (free0 ? 2 : 1) + (free3 ? 2 : 1);
        double s11 = 0, s12 = 0, s22 = 0;  // b1 b1, b1 b2, b2 b2 (both ends free)
        double r0 = 0, r1 = 0, r2 = 0, r3 = 0;
        double a00 = 0, a01 = 0, a02 = 0, a11 = 0, a12 = 0, a22 = 0;
        const double* const uu = u_.data();
        // The sample's terms added to the sums (b1, b2: its weights of the
        // two inner control points; rx, ry: the sample less the curve's
        // known part).
        auto accumulate = [&](double b1, double b2, double rx, double ry) {
            if (free0 && free3) {
                // e: (b1, 0), (0, b1), (b2, 0), (0, b2).
                r0 += b1 * rx;
                r1 += b1 * ry;
                r2 += b2 * rx;
                r3 += b2 * ry;
                s11 += b1 * b1;
                s12 += b1 * b2;
                s22 += b2 * b2;
            } else if (free0) {
                // e: (b1, 0), (0, b1), g.
                const double gx = t3.x * -b2, gy = t3.y * -b2;
                r0 += b1 * rx;
                r1 += b1 * ry;
                r2 += gx * rx + gy * ry;
                s11 += b1 * b1;
                a02 += b1 * gx;
                a12 += b1 * gy;
                a22 += gx * gx + gy * gy;
            } else if (free3) {
                // e: h, (b2, 0), (0, b2).
                const double hx = t0.x * b1, hy = t0.y * b1;
                r0 += hx * rx + hy * ry;
                r1 += b2 * rx;
                r2 += b2 * ry;
                a00 += hx * hx + hy * hy;
                a01 += hx * b2;
                a02 += hy * b2;
                s22 += b2 * b2;
            } else {
                // e: h, g.
                const double hx = t0.x * b1, hy = t0.y * b1;
                const double gx = t3.x * -b2, gy = t3.y * -b2;
                r0 += hx * rx + hy * ry;
                r1 += gx * rx + gy * ry;
                a00 += hx * hx + hy * hy;
                a01 += hx * gx + hy * gy;
                a11 += gx * gx + gy * gy;
            }
        };
        // Two samples' weights and residuals at a time (the same operations
        // on each as on one), their terms added in order.
        const DoublePair one(1.0), three(3.0);
        const DoublePair p0x(P0.x), p0y(P0.y), p3x(P3.x), p3y(P3.y);
        int i = 0;
        for (; i + 1 < count; i += 2) {
            const DoublePair u = DoublePair::load(uu + i), v = one - u;
            const DoublePair b0 = v * v * v, b1 = three * v * v * u, b2 = three * v * u * u,
                             b3 = u * u * u;
            DoublePair kx = p0x * b0 + p3x * b3, ky = p0y * b0 + p3y * b3;
            if (!free0) kx = kx + p0x * b1, ky = ky + p0y * b1;
            if (!free3) kx = kx + p3x * b2, ky = ky + p3y * b2;
            const DoublePair rx = DoublePair(q[i].x, q[i + 1].x) - kx,
                             ry = DoublePair(q[i].y, q[i + 1].y) - ky;
            if (!free0 && !free3) {
                // Both samples' terms at once, added in order.
                const DoublePair hx = DoublePair(t0.x) * b1, hy = DoublePair(t0.y) * b1;
                const DoublePair nb2 = -b2;
                const DoublePair gx = DoublePair(t3.x) * nb2, gy = DoublePair(t3.y) * nb2;
                const DoublePair tr0 = hx * rx + hy * ry, tr1 = gx * rx + gy * ry;
                const DoublePair t00 = hx * hx + hy * hy, t01 = hx * gx + hy * gy,
                                 t11 = gx * gx + gy * gy;
                r0 += tr0.first();
                r1 += tr1.first();
                a00 += t00.first();
                a01 += t01.first();
                a11 += t11.first();
                r0 += tr0.second();
                r1 += tr1.second();
                a00 += t00.second();
                a01 += t01.second();
                a11 += t11.second();
                continue;
            }
            accumulate(b1.first(), b2.first(), rx.first(), ry.first());
            accumulate(b1.second(), b2.second(), rx.second(), ry.second());
        }
        if (i < count) {
            const double u = uu[i], v = 1 - u;
            const double b0 = v * v * v, b1 = 3 * v * v * u, b2 = 3 * v * u * u, b3 = u * u * u;
            double kx = P0.x * b0 + P3.x * b3, ky = P0.y * b0 + P3.y * b3;
            if (!free0) kx = kx + P0.x * b1, ky = ky + P0.y * b1;
            if (!free3) kx = kx + P3.x * b2, ky = ky + P3.y * b2;
            accumulate(b1, b2, q[i].x - kx, q[i].y - ky);
        }
        r[0] = r0, r[1] = r1, r[2] = r2, r[3] = r3;
        if (free0 && free3) {
            A[0][0] = A[1][1] = s11;
            A[0][2] = A[1][3] = s12;
            A[2][2] = A[3][3] = s22;
        } else if (free0) {
            A[0][0] = A[1][1] = s11;
            A[0][2] = a02;
            A[1][2] = a12;
            A[2][2] = a22;
        } else if (free3) {
            A[0][0] = a00;
            A[0][1] = a01;
            A[0][2] = a02;
            A[1][1] = A[2][2] = s22;
        } else {
            A[0][0] = a00;
            A[0][1] = a01;
            A[1][1] = a11;
        }
        // The lower half: the same sums (a product of two doubles does not
        // depend on their order).
        for (int a = 1; a < m; ++a)
            for (int b = 0; b < a; ++b) A[a][b] = A[b][a];
        if (!solve<m>(A, r)) return false;
        int k = 0;
        if (free0) {
            seg[1] = {r[0], r[1]};
            k = 2;
        } else {
            seg[1] = add(P0, mul(t0, r[0]));
            k = 1;
        }
        if (free3)
            seg[2] = {r[k], r[k + 1]};
        else
            seg[2] = sub(P3, mul(t3, r[k]));
        return true;
    }

    const Loop& L_;
    const OutlineFitter::Settings& s_;
    std::vector<PointD>& out_;
    // The sum of the squares of the distances whose squares are dd[0..m),
    // each distance rounded as a root, in order.
    static double sumOfSquares(const double* dd, int m) {
        double sum = 0;
        int i = 0;
        for (; i + 1 < m; i += 2) {
            const DoublePair d = sqrt(DoublePair::load(dd + i));
            const DoublePair d2 = d * d;
            sum += d2.first();
            sum += d2.second();
        }
        if (i < m) {
            const double d = std::sqrt(dd[i]);
            sum += d * d;
        }
        return sum;
    }
    // The largest double whose root is at most r (r >= 0).
    static double largestSquareWithin(double r) {
        const double inf = std::numeric_limits<double>::infinity();
        double x = r * r;
        if (!(x < inf)) return x;
        while (x > 0 && std::sqrt(x) > r) x = std::nextafter(x, 0.0);
        while (std::sqrt(std::nextafter(x, inf)) <= r) x = std::nextafter(x, inf);
        return x;
    }

    std::vector<double> u_, w_;
    // The stretch's segments, and the scratch of refining their joins.
    std::vector<Segment> segs_;
    std::vector<double> pa_, pb_, pa2_, pb2_;
    PointD bestA_[4], bestB_[4];
    double bestSums_[2] = {0, 0};
    double lastSum_ = 0;  // see tryFit's `warm`
    OutlineFitter::Covers* covers_;
    size_t replayed_ = 0;  // the stretches taken from covers_ so far
    // Squared distances within the tolerance and within eight times it.
    const double within_ = largestSquareWithin(s_.tolerance);
    const double far_ = largestSquareWithin(8 * s_.tolerance);
    bool relaxed_ = false;  // the mean error not asked for
    // The last trial fit: the round it succeeded in (-1: none, or a
    // straight or degenerate segment) and its samples.
    int lastRound_ = -1, lastCount_ = 0;
    Kept kept_;
    Polished polished_;
};

}  // namespace

namespace {

// Stages 2 to 4 on the polygon `verts` of L (see the header). A closed
// polygon has as many vertices as edges; an open one also ends at the last
// sample, and its two ends stay where they are, as corners.
bool fitPolygon(const Loop& L, std::vector<int> verts, const OutlineFitter::Settings& settings,
                std::vector<PointD>& out, OutlineFitter::Covers* covers) {
    const bool closed = L.closed();
    const int n = L.size();
    if (!closed) verts.push_back(n - 1);
    int M = static_cast<int>(verts.size()) - (closed ? 0 : 1);  // edges
    const int V = static_cast<int>(verts.size());               // vertices
    // Sample index of vertex e, any e (round a loop).
    auto vert = [&](int e) {
        if (!closed) return verts[static_cast<size_t>(e)];
        const int q = ((e % M) + M) % M;
        return verts[static_cast<size_t>(q)] + (e - q) / M * n;
    };
    auto fixedEnd = [&](int e) { return !closed && (e == 0 || e == M); };
    // Stage 2: every edge's line, every vertex where its two lines meet.
    // (Over the samples strictly between the vertices where there are enough:
    // a vertex's sample may lie on the far side of a corner.)
    std::vector<PointD> linePoint(static_cast<size_t>(M)), lineNormal(static_cast<size_t>(M));
    for (int e = 0; e < M; ++e) {
        int a = vert(e), b = vert(e + 1);
        if (b - a >= 4) ++a, --b;
        fitLine(L, a, b, linePoint[static_cast<size_t>(e)], lineNormal[static_cast<size_t>(e)]);
    }
    std::vector<PointD> v(static_cast<size_t>(V));
    for (int e = 0; e < V; ++e) {
        const PointD s = L.at(vert(e));
        v[static_cast<size_t>(e)] = s;
        if (fixedEnd(e)) continue;
        const size_t e1 = static_cast<size_t>((e + M - 1) % M), e2 = static_cast<size_t>(e % M);
        const PointD n1 = lineNormal[e1], n2 = lineNormal[e2];
        const PointD c1 = linePoint[e1], c2 = linePoint[e2];
        const double lambda = 1e-3;
        double A[4][4] = {{n1.x * n1.x + n2.x * n2.x + lambda, n1.x * n1.y + n2.x * n2.y},
                          {n1.x * n1.y + n2.x * n2.y, n1.y * n1.y + n2.y * n2.y + lambda}};
        const double d1 = dot(n1, c1), d2 = dot(n2, c2);
        double r[4] = {n1.x * d1 + n2.x * d2 + lambda * s.x, n1.y * d1 + n2.y * d2 + lambda * s.y};
        PointD p = s;
        if (solve<2>(A, r)) p = {r[0], r[1]};
        const PointD shift = sub(p, s);
        const double len = norm(shift);
        if (len > settings.maxShift) p = add(s, mul(shift, settings.maxShift / len));
        v[static_cast<size_t>(e)] = p;
    }
    // A corner between two samples can leave a short edge across it: when
    // the lines of its neighbours meet close by, they meet in one vertex.
    // (The vertices are linked in a list meanwhile, so that one goes in
    // constant time: a long polygon may lose many. An edge's line stays with
    // the vertex it starts from.)
    {
        const int count = static_cast<int>(v.size());
        std::vector<int> next(static_cast<size_t>(count)), prev(static_cast<size_t>(count));
        for (int i = 0; i < count; ++i) {
            next[static_cast<size_t>(i)] = i + 1 < count ? i + 1 : 0;
            prev[static_cast<size_t>(i)] = i > 0 ? i - 1 : count - 1;
        }
        int head = 0;  // vertex 0; an open path's first and last never go
        bool merges = false;
        // Vertex e is `at`; f, the one after it, is `fa`.
        for (int e = closed ? 0 : 1, at = e; M > 3 && e < (closed ? M : M - 1);) {
            const int fa = next[static_cast<size_t>(at)];
            const int pa = prev[static_cast<size_t>(at)], na = next[static_cast<size_t>(fa)];
            const bool fixedF = !closed && (fa == head || fa == count - 1);
            bool merged = false;
            if (!fixedF && na != at) {
                const PointD a = v[static_cast<size_t>(at)], b = v[static_cast<size_t>(fa)];
                const PointD n1 = lineNormal[static_cast<size_t>(pa)],
                             n2 = lineNormal[static_cast<size_t>(fa)];
                const double det = n1.x * n2.y - n1.y * n2.x;
                if (norm(sub(b, a)) < kCutEdge && std::fabs(det) > 0.3) {
                    const double d1 = dot(n1, linePoint[static_cast<size_t>(pa)]),
                                 d2 = dot(n2, linePoint[static_cast<size_t>(fa)]);
                    const PointD x = {(d1 * n2.y - d2 * n1.y) / det, (n1.x * d2 - n2.x * d1) / det};
                    if (norm(sub(x, mul(add(a, b), 0.5))) < kCutReach) {
                        // Vertex e becomes the meeting point; edge e (to f)
                        // goes, and the line of edge f now starts at e.
                        v[static_cast<size_t>(at)] = x;
                        lineNormal[static_cast<size_t>(at)] = lineNormal[static_cast<size_t>(fa)];
                        linePoint[static_cast<size_t>(at)] = linePoint[static_cast<size_t>(fa)];
                        next[static_cast<size_t>(at)] = na;
                        prev[static_cast<size_t>(na)] = at;
                        --M;
                        merged = merges = true;
                        if (fa == head) {
                            head = na;
                            --e;  // the vertices after the first count one less
                        }
                    }
                }
            }
            if (!merged) {
                ++e;
                at = next[static_cast<size_t>(at)];
            }
        }
        if (merges) {
            const int left = closed ? M : M + 1;
            std::vector<PointD> v2, normals, points;
            std::vector<int> verts2;
            v2.reserve(static_cast<size_t>(left));
            verts2.reserve(static_cast<size_t>(left));
            normals.reserve(static_cast<size_t>(M));
            points.reserve(static_cast<size_t>(M));
            for (int i = 0, k = head; i < left; ++i, k = next[static_cast<size_t>(k)]) {
                v2.push_back(v[static_cast<size_t>(k)]);
                verts2.push_back(verts[static_cast<size_t>(k)]);
                if (i < M) {
                    normals.push_back(lineNormal[static_cast<size_t>(k)]);
                    points.push_back(linePoint[static_cast<size_t>(k)]);
                }
            }
            v.swap(v2);
            verts.swap(verts2);
            lineNormal.swap(normals);
            linePoint.swap(points);
        }
    }
    // An open path's ends are fixed: a short edge next to one only tells
    // where a sample near the end lies; the end joins the next vertex.
    while (!closed && M >= 2 && norm(sub(v[1], v[0])) < 2.0) {
        v.erase(v.begin() + 1);
        verts.erase(verts.begin() + 1);
        lineNormal.erase(lineNormal.begin());
        linePoint.erase(linePoint.begin());
        --M;
    }
    while (!closed && M >= 2 &&
           norm(sub(v[static_cast<size_t>(M)], v[static_cast<size_t>(M - 1)])) < 2.0) {
        v.erase(v.begin() + (M - 1));
        verts.erase(verts.begin() + (M - 1));
        lineNormal.pop_back();
        linePoint.pop_back();
        --M;
    }
    const int VV = static_cast<int>(v.size());
    // Stage 3: corners.
    // The tip of a thin wedge: a short edge between two long ones that
    // together turn back on themselves. Both its vertices are corners (a
    // smooth curve round such a tip would loop).
    auto vertexAt = [&](int e) { return v[static_cast<size_t>(((e % VV) + VV) % VV)]; };
    std::vector<uint8_t> tip(static_cast<size_t>(VV), 0);
    for (int e = 0; e < VV; ++e) {
        if (!closed && (e == 0 || e + 2 >= VV)) continue;
        const PointD a = vertexAt(e - 1), b = vertexAt(e), c = vertexAt(e + 1), d = vertexAt(e + 2);
        const double before = norm(sub(b, a)), across = norm(sub(c, b)), after = norm(sub(d, c));
        if (across >= kTipEdge || before < 2 * across || after < 2 * across) continue;
        if (dot(sub(b, a), sub(d, c)) < kTipTurn * before * after)
            tip[static_cast<size_t>(e)] = tip[static_cast<size_t>((e + 1) % VV)] = 1;
    }
    auto snug = [&](int e) {
        const PointD a = vertexAt(e - 1), b = vertexAt(e), c = vertexAt(e + 1);
        const PointD ab = sub(b, a), bc = sub(c, b);
        const double l1 = norm(ab), l2 = norm(bc);
        if (l1 < kSnugEdge || l2 < kSnugEdge || dot(ab, bc) > kSnugTurn * l1 * l2) return false;
        for (int k = vert(e - 1) + 1; k < vert(e + 1); ++k) {
            const PointD p = L.at(k);
            if (std::min(segmentDistance(p, a, b), segmentDistance(p, b, c)) > kSnugFit)
                return false;
        }
        return true;
    };
    std::vector<int> corners;
    for (int e = 0; e < VV; ++e) {
        if (fixedEnd(e) || tip[static_cast<size_t>(e)]) {
            corners.push_back(e);
            continue;
        }
        const PointD b = v[static_cast<size_t>(e)];
        const PointD m1 = mul(add(v[static_cast<size_t>((e + VV - 1) % VV)], b), 0.5);
        const PointD m2 = mul(add(b, v[static_cast<size_t>((e + 1) % VV)]), 0.5);
        const PointD chord = sub(m2, m1);
        const double cl = norm(chord);
        bool corner = true;
        if (cl > 1e-9) {
            const double h = std::fabs(cross(chord, sub(b, m1))) / cl;
            const PointD u = {-chord.y / cl, chord.x / cl};
            const double r = settings.cornerSlack * (std::fabs(u.x) + std::fabs(u.y));
            const double alpha = h > r ? (4.0 / 3.0) * (1 - r / h) : 0;
            corner = alpha > settings.alphaMax;
        }
        if (!corner && (closed || (e > 0 && e + 1 < VV))) corner = snug(e);
        if (corner) corners.push_back(e);
    }
    // Stage 4: the stretches between corners.
    StretchFitter f(L, settings, out, covers);
    const PointD none = {0, 0};
    if (corners.empty() && closed && n >= kEllipseSteps) {
        EllipseFit::Ellipse e;
        double rms = 0;
        if (EllipseFit::fit(L.points(), n, e)) {
            const double worst = EllipseFit::farthest(e, L.points(), n, &rms);
            if (worst <= std::min(settings.tolerance, kEllipseFar) && rms <= kEllipseRms) {
                double area2 = 0;
                for (int k = 0; k < n; ++k) {
                    const PointD a = L.at(k), b = L.at(k + 1);
                    area2 += a.x * b.y - b.x * a.y;
                }
                EllipseFit::curve(e, L.at(0), area2 > 0, out);
                return true;
            }
        }
    }
    if (corners.empty()) {
        const PointD p = f.pointAt(n, 0, 2 * n), t = f.tangentAt(n, 0, 2 * n);
        out.push_back(p);
        f.fit(n, 2 * n, p, p, t, t);
    } else {
        out.push_back(v[static_cast<size_t>(corners[0])]);
        const size_t stretches = closed ? corners.size() : corners.size() - 1;
        for (size_t c = 0; c < stretches; ++c) {
            const int e = corners[c];
            const int g = c + 1 < corners.size() ? corners[c + 1] : corners[0] + M;
            f.fit(vert(e), vert(g), v[static_cast<size_t>(e)],
                  v[static_cast<size_t>(closed ? g % M : g)], none, none);
        }
    }
    return out.size() >= 4;
}

}  // namespace

bool OutlineFitter::fit(const std::vector<PointD>& samples, const uint8_t* codes,
                        const Settings& settings, std::vector<PointD>& out, Covers* covers) {
    out.clear();
    const int n = static_cast<int>(samples.size());
    if (covers && !settings.refine) covers->clear();
    if (n < 4 || !codes) return false;
    // Start at the sharpest turn: a corner there is a vertex of the polygon.
    int start = 0;
    double sharpest = -2;
    for (int k = 0; k < n; ++k) {
        const int w = std::min(3, n / 4);
        const PointD a = unit(
            sub(samples[static_cast<size_t>(k)], samples[static_cast<size_t>((k - w + n) % n)]));
        const PointD b =
            unit(sub(samples[static_cast<size_t>((k + w) % n)], samples[static_cast<size_t>(k)]));
        const double turn = 1 - dot(a, b);
        if (turn > sharpest) {
            sharpest = turn;
            start = k;
        }
    }
    const Loop L(samples, codes, start, true);
    std::vector<int> lon, verts;
    if (covers && settings.refine && covers->polygon.size() >= 3) {
        verts = covers->polygon;
    } else {
        straightRuns(L, settings.straightness, kLongestEdge, lon);
        optimalPolygon(L, lon, verts);
        if (verts.size() < 3) {
            straightRuns(L, settings.straightness, std::min(kLongestEdge, n / 3), lon);
            optimalPolygon(L, lon, verts);
            if (verts.size() < 3) return false;
        }
        if (covers && !settings.refine) covers->polygon = verts;
    }
    return fitPolygon(L, verts, settings, out, covers);
}

bool OutlineFitter::fitOpen(const std::vector<PointD>& points, const std::vector<uint8_t>& codes,
                            const Settings& settings, std::vector<PointD>& out,
                            std::vector<int>* polygon, std::vector<int>* runs, Covers* covers) {
    out.clear();
    if (covers && !settings.refine) covers->clear();
    const int n = static_cast<int>(points.size());
    if (n < 2 || codes.size() != points.size()) return false;
    const Loop L(points, codes.data(), 0, false);
    std::vector<int> verts;
    if (polygon && !polygon->empty()) {
        verts = *polygon;
    } else {
        std::vector<int> lon;
        straightRuns(L, settings.straightness, kLongestEdge, lon,
                     runs && !runs->empty() ? runs : nullptr);
        optimalPolygon(L, lon, verts);
        if (polygon) *polygon = verts;
        if (runs) runs->swap(lon);
    }
    if (verts.empty()) return false;
    return fitPolygon(L, verts, settings, out, covers);
}

}  // namespace om1
