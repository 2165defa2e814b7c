#include "shapes/BoundaryCurves.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "prepare/Bands.h"
#include "shapes/AreaCoverage.h"
#include "shapes/CurveFitter.h"
#include "shapes/CurveJudge.h"
#include "shapes/LabelRun.h"
#include "shapes/NodeArena.h"
#include "shapes/OutlineFitter.h"

namespace om1 {

namespace {

// Pictures from this many pixels sum their regions' inner colours in bands
// on several threads.
const long long kMinColourPixels = 1LL << 18;

const int kDx[4] = {1, 0, -1, 0};
const int kDy[4] = {0, 1, 0, -1};
const int kOutX[4] = {0, 0, -1, -1}, kOutY[4] = {-1, 0, 0, -1};

using Curve = std::vector<PointD>;

// What a segment costs in squared colour error (summed over the three
// channels) when fits of different tolerances are weighed.
const double kSegmentCost = 1000;
// A closer fit (at kCloseFit times the tolerance) is tried where the edge's
// contrast makes its place worth it, and kept only where each segment it
// adds gains kClosePrice segments' cost.
const double kCloseFit = 0.75, kClosePrice = 4;
// The fit kept is refined (its joins moved where its segments come nearer
// their samples) where the two regions' colours lie at least this far apart
// (squared, summed over the channels): a soft edge's place matters little.
const double kRefineContrast = 4000;
// The fits keep their samples within 0.29 of the tolerance in the root mean
// square only between colours at least kTightContrast apart, elsewhere within
// a third of it: on a shallow edge the samples of the steps across it lean a
// little to the same side at every step, and a fit that follows them closer
// runs in waves.
const double kTightContrast = 20000;
const double kSoftMeanShare = 1.0 / 9;
// Pieces of at most this many steps are fitted every way whatever their
// colours (they cost little).
const int kCheapSteps = 100;

struct Raster {
    const int32_t* labels;
    int w, h;
    int32_t at(int x, int y) const {
        return x < 0 || y < 0 || x >= w || y >= h ? -1 : labels[static_cast<size_t>(y) * w + x];
    }
    bool junction(int cx, int cy) const {
        int32_t a, b, c, d;
        if (cx > 0 && cy > 0 && cx < w && cy < h) {
            // Inside: the four pixels round the corner, two rows of two.
            const int32_t* p = labels + static_cast<size_t>(cy - 1) * w + (cx - 1);
            a = p[0];
            b = p[1];
            c = p[w];
            d = p[w + 1];
        } else {
            if ((cx == 0 || cx == w) && (cy == 0 || cy == h)) return true;
            a = at(cx - 1, cy - 1);
            b = at(cx, cy - 1);
            c = at(cx - 1, cy);
            d = at(cx, cy);
        }
        const int degree = (a != b) + (c != d) + (a != c) + (b != d);
        return degree >= 3;
    }
};

// std::floor of a coordinate as a whole number (one within the range of
// int), without the rounding call.
int floorOf(double v) {
    const int i = static_cast<int>(v);
    return i > v ? i - 1 : i;
}

long long key(int x, int y, int d) {
    return ((static_cast<long long>(y) << 32) | static_cast<unsigned>(x)) * 4 + d;
}

bool straightSegment(const PointD* p) {
    auto close = [](double a, double b) { return std::fabs(a - b) < 1e-9; };
    return close(p[1].x, p[0].x + (p[3].x - p[0].x) / 3) &&
           close(p[1].y, p[0].y + (p[3].y - p[0].y) / 3) &&
           close(p[2].x, p[0].x + 2 * (p[3].x - p[0].x) / 3) &&
           close(p[2].y, p[0].y + 2 * (p[3].y - p[0].y) / 3);
}

// Whether straight segments a-b and b-c run along one line (either way).
bool alongOneLine(PointD a, PointD b, PointD c) {
    const double ux = b.x - a.x, uy = b.y - a.y, vx = c.x - b.x, vy = c.y - b.y;
    const double scale = (std::fabs(ux) + std::fabs(uy)) * (std::fabs(vx) + std::fabs(vy));
    return std::fabs(ux * vy - uy * vx) <= 1e-9 * scale;
}

// A straight segment from the curve's end to b.
void appendLine(Curve& c, PointD b) {
    const PointD a = c.back();
    c.push_back({a.x + (b.x - a.x) / 3, a.y + (b.y - a.y) / 3});
    c.push_back({a.x + 2 * (b.x - a.x) / 3, a.y + 2 * (b.y - a.y) / 3});
    c.push_back(b);
}

// Joins the straight segments of a loop that follow one another along one
// line into one (the joins of pieces that meet on a straight edge, the
// straight pieces run to a junction and back): the area drawn stays the
// same.
void joinStraights(Curve& c) {
    auto same = [](PointD a, PointD b) {
        return std::fabs(a.x - b.x) < 1e-9 && std::fabs(a.y - b.y) < 1e-9;
    };
    Curve out;
    out.push_back(c[0]);
    for (size_t i = 0; i + 3 < c.size(); i += 3) {
        const size_t m = out.size();
        if (m >= 4 && straightSegment(&out[m - 4]) && straightSegment(&c[i]) &&
            alongOneLine(out[m - 4], c[i], c[i + 3])) {
            out.resize(m - 3);
            if (!same(out.back(), c[i + 3])) appendLine(out, c[i + 3]);
            continue;
        }
        out.insert(out.end(), c.begin() + static_cast<long>(i) + 1,
                   c.begin() + static_cast<long>(i) + 4);
    }
    // Round the start: a first segment along the line of the last.
    while (out.size() >= 10 && straightSegment(&out[0]) && straightSegment(&out[out.size() - 4]) &&
           alongOneLine(out[out.size() - 4], out[0], out[3])) {
        const PointD to = out[3];
        out.erase(out.begin(), out.begin() + 3);
        out.resize(out.size() - 3);
        if (same(out.back(), to))
            out.back() = out[0];
        else
            appendLine(out, to);
    }
    c.swap(out);
}

void straightPiece(const std::vector<Corner>& corners, Curve& out) {
    // Corner polygon of an open piece: its turning corners and the end.
    out.clear();
    out.push_back({static_cast<double>(corners[0].x), static_cast<double>(corners[0].y)});
    for (size_t i = 1; i < corners.size(); ++i) {
        const bool turn = i + 1 == corners.size() ||
                          (corners[i + 1].x - corners[i].x) != (corners[i].x - corners[i - 1].x) ||
                          (corners[i + 1].y - corners[i].y) != (corners[i].y - corners[i - 1].y);
        if (!turn) continue;
        const PointD a = out.back();
        const PointD b = {static_cast<double>(corners[i].x), static_cast<double>(corners[i].y)};
        out.push_back({a.x + (b.x - a.x) / 3, a.y + (b.y - a.y) / 3});
        out.push_back({a.x + 2 * (b.x - a.x) / 3, a.y + 2 * (b.y - a.y) / 3});
        out.push_back(b);
    }
}

// The parabola v = p + q u + k u^2 through points (u, v), least squares
// (a line where fewer than four points or their u too close together),
// and its largest distance from them (in v). False without a line either.
bool parabola(const double* u, const double* v, int n, double f[3], double& worst) {
    double S[5] = {0, 0, 0, 0, 0}, T[3] = {0, 0, 0};
    for (int i = 0; i < n; ++i) {
        double pw = 1;
        for (int e = 0; e < 5; ++e) {
            S[e] += pw;
            if (e < 3) T[e] += pw * v[i];
            pw *= u[i];
        }
    }
    // The normal equations, by elimination with the largest pivot.
    const int unknowns = n >= 4 ? 3 : 2;
    double A[3][4];
    for (int i = 0; i < unknowns; ++i) {
        for (int j = 0; j < unknowns; ++j) A[i][j] = S[i + j];
        A[i][3] = T[i];
    }
    for (int i = 0; i < unknowns; ++i) {
        int pv = i;
        for (int j = i + 1; j < unknowns; ++j)
            if (std::fabs(A[j][i]) > std::fabs(A[pv][i])) pv = j;
        if (std::fabs(A[pv][i]) < 1e-9)
            return unknowns == 3 && parabola(u, v, std::min(n, 3), f, worst);
        std::swap(A[i], A[pv]);
        for (int j = 0; j < unknowns; ++j) {
            if (j == i) continue;
            const double m = A[j][i] / A[i][i];
            for (int e = i; e < 4; ++e) A[j][e] -= m * A[i][e];
        }
    }
    f[2] = 0;
    for (int i = 0; i < unknowns; ++i) f[i] = A[i][3] / A[i][i];
    worst = 0;
    for (int i = 0; i < n; ++i)
        worst = std::max(worst, std::fabs(f[0] + f[1] * u[i] + f[2] * u[i] * u[i] - v[i]));
    return true;
}

// Where the edge of a piece that starts at junction c on the raster border
// (its first step off the border, its samples s[0..count)) meets the border
// line: through the samples after the first, a parabola (so that a curve
// touching the picture's edge keeps its shape), where it meets the border
// nearest to c, or where it comes nearest to it. Towards the pixels of the
// piece's other region (so that a shape thinning to a tip along the border
// reaches on over them) as far as they are that region's alone, up to
// kBorderReach pixels; the other way at most a pixel. NaN where the samples
// follow no parabola within a quarter pixel (the piece turns a corner).
const double kBorderReach = 24;

double borderEnd(const Raster& r, const Corner& c, bool alongX, const PointD* s, int count) {
    const double border = alongX ? c.y : c.x, at = alongX ? c.x : c.y;
    double u[16], v[16], f[3] = {0, 0, 0}, worst = 0;
    int n = 0;
    for (int k = count > 2 ? 1 : 0; k < count && n < 16; ++k, ++n) {
        u[n] = (alongX ? s[k].x : s[k].y) - at;
        v[n] = (alongX ? s[k].y : s[k].x) - border;
    }
    // The fewest samples that still make a curve when the most turn a corner.
    while (n >= 2 && (!parabola(u, v, n, f, worst) || worst > 0.25)) n = n > 4 ? n / 2 : n - 1;
    if (n < 2) return std::nan("");
    double t;
    const double p = f[0], q = f[1], k = f[2];
    const double side = u[0] > 0 ? 1 : -1;  // the samples' side of c
    if (std::fabs(k) < 1e-9) {
        if (std::fabs(q) < 1e-6) return std::nan("");
        t = -p / q;
    } else if (q * q - 4 * k * p < 0) {
        t = -q / (2 * k);
    } else {
        const double root = std::sqrt(q * q - 4 * k * p);
        const double r1 = (-q - root) / (2 * k), r2 = (-q + root) / (2 * k);
        // The meeting beyond c nearest to it, else the nearer one.
        const bool beyond1 = r1 * side <= 0, beyond2 = r2 * side <= 0;
        t = beyond1 && beyond2 ? (std::fabs(r1) < std::fabs(r2) ? r1 : r2)
            : beyond1          ? r1
            : beyond2          ? r2
                               : (std::fabs(r1) < std::fabs(r2) ? r1 : r2);
    }
    double most = 1;
    if (t * side < 0) {
        const int dir = t < 0 ? -1 : 1;
        const int row = alongX ? (c.y == 0 ? 0 : r.h - 1) : (c.x == 0 ? 0 : r.w - 1);
        auto label = [&](int i) { return alongX ? r.at(i, row) : r.at(row, i); };
        const int from = static_cast<int>(at) + (dir < 0 ? -1 : 0);
        const int32_t other = label(from);
        int reach = 0;
        for (int i = from; reach < kBorderReach && other >= 0 && label(i) == other; i += dir)
            ++reach;
        most = std::max(most, static_cast<double>(reach));
    }
    return at + std::max(-most, std::min(most, t));
}

// Where the edge of a piece that starts at junction c (its first step in
// direction d, its first samples s[0..count), `more` samples there in all)
// really ends near c: on the raster border, borderEnd; inside, the point of
// the line through the first samples nearest to c, at most `reach` pixels
// from c. False at the raster's corners, for steps along the border and
// where the end would move by less than a fifth of a pixel.
bool edgeEnd(const Raster& r, const Corner& c, int d, const PointD* s, int count, int more,
             PointD& out) {
    if (count < 2) return false;
    const double reach = 0.75;
    const bool sideX = c.x == 0 || c.x == r.w, sideY = c.y == 0 || c.y == r.h;
    const PointD a = s[0], b = s[count - 1];
    const double dx = b.x - a.x, dy = b.y - a.y;
    if (sideX && sideY) return false;
    if (sideX || sideY) {
        const bool alongX = sideY;
        if (alongX ? (d == 0 || d == 2) : (d == 1 || d == 3)) return false;
        const double u = borderEnd(r, c, alongX, s, more);
        const double at = alongX ? c.x : c.y;
        if (std::isnan(u) || std::fabs(u - at) < 0.2) return false;
        out = alongX ? PointD{u, static_cast<double>(c.y)} : PointD{static_cast<double>(c.x), u};
        return true;
    }
    const double len = std::sqrt(dx * dx + dy * dy);
    if (len < 1e-6) return false;
    const double ux = dx / len, uy = dy / len;
    const double t = (c.x - a.x) * ux + (c.y - a.y) * uy;
    double mx = a.x + t * ux - c.x, my = a.y + t * uy - c.y;
    const double m = std::sqrt(mx * mx + my * my);
    if (m < 0.2) return false;
    if (m > reach) mx *= reach / m, my *= reach / m;
    out = {c.x + mx, c.y + my};
    return true;
}

// Whether a fitted piece (or an island's whole curve) stays: see the header.
class Chooser {
public:
    // `judged`: the picture the judge reads (`pic` itself, or without
    // pixels the flat picture of the labels' colours: FlatPicture).
    Chooser(const EdgeSamples::Picture& pic, const EdgeSamples::Picture& judged,
            const OutputOptions& options)
        : pic_(pic), judged_(judged), options_(options) {}

    // The curve the next judgements are about, along `stair` (`closed`:
    // both whole loops) between regions `in` and `out` (CurveJudge); both
    // stay as they are until the next call. The area between them is
    // measured when first asked for, and each judgement made once: a curve
    // the same, point for point, as one judged before along the same
    // staircase keeps that one's judgements.
    void judge(const Curve& curve, const std::vector<Corner>& stair, bool closed, int32_t in,
               int32_t out) {
        curve_ = &curve;
        stair_ = &stair;
        closed_ = closed;
        in_ = in;
        out_ = out;
        if (!sameStair()) {
            seen_ = 0;
            stairSeen_.assign(stair.begin(), stair.end());
            closedSeen_ = closed;
            inSeen_ = in;
            outSeen_ = out;
            stairHeld_ = false;
        }
        for (at_ = 0; at_ < seen_; ++at_)
            if (same(history_[at_].curve, curve)) return;
        if (seen_ == history_.size()) history_.emplace_back();
        Judged& j = history_[seen_++];
        j.curve.assign(curve.begin(), curve.end());
        j.judged = false;
    }

    // Whether the curve stays. `gain`, when given, gets how much less squared
    // colour error the curve gives than the staircase (0 without a picture).
    bool keep(bool underneath = false, double* gain = nullptr) {
        if (gain) *gain = 0;
        if (options_.maxCurveAreaError < 0) return true;
        if (out_ < 0 || in_ < 0) return false;
        // With the earlier region drawn on under the later one, the edge
        // shows the two regions alone.
        const CurveJudge::Errors& e = errors(underneath);
        if (e.area <= 1e-6) return false;  // the staircase itself
        if (gain && pic_.pixels) *gain = e.staircase - e.curve;
        if (pic_.pixels) return e.curve < e.staircase;
        const double steps = static_cast<double>(stair_->size() - (closed_ ? 0 : 1));
        return e.area <= options_.maxCurveAreaError * steps;
    }

    // Whether the curve, kept with `segments` segments at `price` each,
    // scores above `best` (drawn as stacked or, `underneath`, not).
    bool beats(bool underneath, size_t segments, double price, double best) {
        double gain = 0;
        return keep(underneath, &gain) && gain - price * static_cast<double>(segments) > best;
    }

    // The squared colour error of a fitted piece, drawn as stacked (`flat`:
    // its two regions alone).
    double error(bool flat) { return errors(flat).curve; }

private:
    // A curve judged along the staircase and what was found so far.
    struct Judged {
        Curve curve;
        bool judged = false;
        CurveJudge::Errors errors[2];  // as stacked, and with the two regions alone
    };

    static bool same(const Curve& a, const Curve& b) {
        return a.size() == b.size() &&
               (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(PointD)) == 0);
    }

    bool sameStair() const {
        return seen_ > 0 && closedSeen_ == closed_ && inSeen_ == in_ && outSeen_ == out_ &&
               stairSeen_.size() == stair_->size() &&
               std::equal(
                   stairSeen_.begin(), stairSeen_.end(), stair_->begin(),
                   [](const Corner& a, const Corner& b) { return a.x == b.x && a.y == b.y; });
    }

    // The judgement with what lies under both regions (or, `flat`, with the
    // two regions alone): both in one pass.
    const CurveJudge::Errors& errors(bool flat) {
        Judged& j = history_[at_];
        if (!j.judged) {
            // The staircase's own edges are added once for all the curves
            // along it.
            if (!stairHeld_) {
                CurveJudge::coverStair(*stair_, closed_, cov_);
                stairHeld_ = true;
            }
            CurveJudge::cover(*curve_, *stair_, closed_, cov_, cells_, true);
            j.errors[0] = CurveJudge::errors(cells_, in_, out_, judged_, &j.errors[1]);
            j.judged = true;
        }
        return j.errors[flat];
    }

    const EdgeSamples::Picture& pic_;
    const EdgeSamples::Picture& judged_;
    const OutputOptions& options_;
    AreaCoverage cov_;
    std::vector<AreaCoverage::Cell> cells_;
    // The curve judged.
    const Curve* curve_ = nullptr;
    const std::vector<Corner>* stair_ = nullptr;
    bool closed_ = false;
    int32_t in_ = -1, out_ = -1;
    // The curves judged along the staircase last seen (the first seen_ of
    // history_), the current one at_.
    std::vector<Judged> history_;
    size_t seen_ = 0, at_ = 0;
    std::vector<Corner> stairSeen_;
    bool closedSeen_ = false;
    int32_t inSeen_ = -1, outSeen_ = -1;
    bool stairHeld_ = false;  // whether cov_ holds the staircase last seen
};

// Without a picture the judge still measures the area between a curve and
// its staircase: every pixel then reads as its label's colour. Made once,
// read by every thread's Chooser.
struct FlatPicture {
    std::vector<RGBQUAD> pixels;
    EdgeSamples::Picture pic;

    explicit FlatPicture(const EdgeSamples::Picture& given) : pic(given) {
        if (given.pixels) return;
        pixels.resize(static_cast<size_t>(given.width) * given.height);
        for (size_t i = 0; i < pixels.size(); ++i) {
            const int32_t l = given.labels[i];
            pixels[i] = l >= 0 ? (*given.colours)[static_cast<size_t>(l)] : RGBQUAD{};
        }
        pic.pixels = pixels.data();
    }
};

// The labels on either side of the step that leaves corner k of a loop.
void sides(const Raster& r, const Corner& c, int d, int32_t& in, int32_t& out) {
    out = r.at(c.x + kOutX[d], c.y + kOutY[d]);
    const int o = (d + 3) & 3;
    in = r.at(c.x + kOutX[d] - kDx[o], c.y + kOutY[d] - kDy[o]);
}

}  // namespace

namespace {

// A piece of boundary as chosen once for every loop that runs along it.
struct Piece {
    Curve curve;  // from the first step's corner onwards
    bool curved = false;
    // Stacked siblings: the curve moved under the region drawn on top
    // (label `top`, on the piece's `in` side when topIn), for every loop
    // along the piece but the one drawn last (empty: none).
    Curve hidden;
    bool topIn = false;
    double tolerance = 0;           // the fit's
    bool tips[2] = {false, false};  // whether it ends at the tip (JunctionNodes) at start, end
    int lastShape = -1;             // the last shape whose loop runs along the piece
    bool lastForward = false;       // and whether it runs it forwards
    int users = 0;                  // loops still to be put together from it
};

// Whether labels a and b are siblings in the stacked drawing: neither holds
// the other, and neither is the region drawn under everything.
bool stackedSiblings(const EdgeSamples::Picture& pic, int32_t a, int32_t b) {
    if (!pic.parents || a < 0 || b < 0 || a == pic.base || b == pic.base) return false;
    const std::vector<int>& par = *pic.parents;
    for (int k = par[static_cast<size_t>(b)]; k >= 0; k = par[static_cast<size_t>(k)])
        if (k == a) return false;
    for (int k = par[static_cast<size_t>(a)]; k >= 0; k = par[static_cast<size_t>(k)])
        if (k == b) return false;
    return true;
}

// How far from p towards (ux, uy) the pixels stay those of `top` or
// `self`, up to `most`: the first of the points every `step` along the way
// (p + i step u) on another region's pixel. Each coordinate of those points
// only grows or only shrinks with i, so the points of one pixel come one
// after another: the walk looks at each pixel once, jumping to about where
// the way leaves it, and back to the next point where the guess went too far.
double clearance(const Raster& r, PointD p, double ux, double uy, int32_t top, int32_t self,
                 double most) {
    const double step = 0.05;
    auto at = [&](int i, int& x, int& y) {
        const double t = i * step;
        x = floorOf(p.x + t * ux);
        y = floorOf(p.y + t * uy);
    };
    // How many steps from t along one coordinate to the next pixel's edge
    // that way, less one (a guess, checked below).
    auto toEdge = [&](double from, double u, int cell, double t) {
        if (u == 0 || !std::isfinite(u)) return 1e9;
        const double edge = u > 0 ? cell + 1.0 : static_cast<double>(cell);
        return (edge - from) / u / step - t / step - 1;
    };
    int x, y;
    for (int i = 0; i * step < most;) {
        at(i, x, y);
        const int32_t l = r.at(x, y);
        if (l != top && l != self) return i * step;
        const double ahead = std::min(toEdge(p.x, ux, x, i * step), toEdge(p.y, uy, y, i * step));
        int next = i + 1;
        if (ahead > 1 && ahead < 1e6) {
            // The point before the guess still on this pixel: so are all
            // those between.
            const int guess = i + static_cast<int>(ahead);
            int gx, gy;
            at(guess - 1, gx, gy);
            if (gx == x && gy == y) next = guess;
        }
        i = next;
    }
    return most;
}

// The curve moved under the region `top` (on its right, the `in` side, when
// `right`) for the region `self` on its other side: every segment's ends
// along their normals, each by as far as the pixels of the two regions
// reach that way less `margin` (the top region's own far edge may lie that
// much inside its pixels), at most `most`; from and back to the curve's two
// ends. So the move tapers where the top region thins or ends, and never
// reaches a third region. False where a point of the moved curve still
// lies on a third region's pixel, or where the ends move by less than
// 0.3 px on average (the region below then still shows).
bool hiddenCurve(const Raster& r, const Curve& c, bool right, int32_t top, int32_t self,
                 double most, double margin, Curve& out) {
    double sum = 0;
    int count = 0;
    out.clear();
    out.push_back(c.front());
    const double sign = right ? 1 : -1;
    auto normal = [&](PointD from, PointD to) {
        const double dx = to.x - from.x, dy = to.y - from.y, l = std::sqrt(dx * dx + dy * dy);
        return l < 1e-9 ? PointD{0, 0} : PointD{-dy / l * sign, dx / l * sign};
    };
    // A point on the raster's border stays there: nothing lies beyond it
    // to hide, and a moved tip along the border would leave a gap.
    auto moveBy = [&](PointD q, PointD u) {
        if (u.x == 0 && u.y == 0) return 0.0;
        if (q.x == 0 || q.y == 0 || q.x == r.w || q.y == r.h) return 0.0;
        return std::max(
            0.0, std::min(most, clearance(r, q, u.x, u.y, top, self, most + margin) - margin));
    };
    // Every point of the moved curve that lies away from the given one must
    // lie on the two regions' pixels: the segments moved are checked against
    // the given ones, the joins against the point they join round.
    auto point = [](const PointD* q, double t) {
        const double u = 1 - t, a = u * u * u, b = 3 * u * u * t, d = 3 * u * t * t, e = t * t * t;
        return PointD{a * q[0].x + b * q[1].x + d * q[2].x + e * q[3].x,
                      a * q[0].y + b * q[1].y + d * q[2].y + e * q[3].y};
    };
    // The weights of the four points at t = 0, 1/8, .. 1, as point() finds
    // them.
    struct Eighths {
        double a[9], b[9], d[9], e[9];
        Eighths() {
            for (int k = 0; k <= 8; ++k) {
                const double t = k / 8.0, u = 1 - t;
                a[k] = u * u * u;
                b[k] = 3 * u * u * t;
                d[k] = 3 * u * t * t;
                e[k] = t * t * t;
            }
        }
    };
    static const Eighths w;
    auto eighth = [](const PointD* q, int k) {
        return PointD{w.a[k] * q[0].x + w.b[k] * q[1].x + w.d[k] * q[2].x + w.e[k] * q[3].x,
                      w.a[k] * q[0].y + w.b[k] * q[1].y + w.d[k] * q[2].y + w.e[k] * q[3].y};
    };
    auto clear = [&](const PointD* q, const PointD* given, PointD at) {
        for (int k = 0; k <= 8; ++k) {
            const PointD x = eighth(q, k), g = given ? eighth(given, k) : at;
            if (std::fabs(x.x - g.x) + std::fabs(x.y - g.y) < 0.05) continue;
            const int32_t l = r.at(floorOf(x.x), floorOf(x.y));
            if (l != top && l != self) return false;
        }
        return true;
    };
    // The segments in order, each end moved along its normal; where two
    // segments meet smoothly the second starts where the first ended, moved
    // the same way, so the moved curve stays smooth there and takes no join.
    // A segment whose move would reach a third region is halved (down to a
    // pixel long), so that the move tapers over a short stretch.
    std::vector<std::array<PointD, 4>> todo;
    for (size_t i = c.size() - 1; i >= 3; i -= 3)
        todo.push_back({c[i - 3], c[i - 2], c[i - 1], c[i]});
    bool chained = false;  // whether the last segment's end is known
    PointD lastEnd = {0, 0}, lastNormal = {0, 0};
    double lastBy = 0;
    std::array<PointD, 4> lastGiven{};
    while (!todo.empty()) {
        const std::array<PointD, 4> seg = todo.back();
        todo.pop_back();
        const PointD* p = seg.data();
        PointD n0 = normal(p[0], p[1]);
        if (n0.x == 0 && n0.y == 0) n0 = normal(p[0], p[2]);
        if (n0.x == 0 && n0.y == 0) n0 = normal(p[0], p[3]);
        PointD n3 = normal(p[2], p[3]);
        if (n3.x == 0 && n3.y == 0) n3 = normal(p[1], p[3]);
        if (n3.x == 0 && n3.y == 0) n3 = normal(p[0], p[3]);
        // Where this segment follows the last one: nearly smooth, it starts
        // where that one ended; at a corner, both move to where their moved
        // lines meet (when that lies near).
        const bool joined = chained && p[0].x == lastEnd.x && p[0].y == lastEnd.y;
        const double turn = n0.x * lastNormal.x + n0.y * lastNormal.y;
        double by0;
        PointD s;
        bool mitre = false;
        if (joined && turn > 0.97) {
            by0 = lastBy;
            s = {p[0].x + lastNormal.x * lastBy, p[0].y + lastNormal.y * lastBy};
        } else {
            by0 = moveBy(p[0], n0);
            s = {p[0].x + n0.x * by0, p[0].y + n0.y * by0};
            const double det = lastNormal.x * n0.y - lastNormal.y * n0.x;
            if (joined && std::fabs(det) > 0.2) {
                const PointD d = {(lastBy * n0.y - by0 * lastNormal.y) / det,
                                  (lastNormal.x * by0 - n0.x * lastBy) / det};
                if (std::hypot(d.x, d.y) <= 2 * most) {
                    s = {p[0].x + d.x, p[0].y + d.y};
                    mitre = true;
                }
            }
        }
        const double by3 = moveBy(p[3], n3);
        const PointD e = {p[3].x + n3.x * by3, p[3].y + n3.y * by3};
        PointD moved[4] = {s,
                           {p[1].x + s.x - p[0].x, p[1].y + s.y - p[0].y},
                           {p[2].x + e.x - p[3].x, p[2].y + e.y - p[3].y},
                           e};
        // Halved too where the two ends move differently and the region on
        // top reaches further half-way along than the move there: by more
        // than a quarter pixel, over more than three square pixels.
        const double length = std::hypot(p[3].x - p[0].x, p[3].y - p[0].y);
        bool clearMoved = clear(moved, p, p[0]);
        bool halve = !clearMoved && length > 1;
        if (!halve && length > 3 && std::fabs(by0 - by3) > 0.25) {
            const PointD h = point(p, 0.5), hm = point(moved, 0.5);
            const PointD nh = normal(point(p, 0.45), point(p, 0.55));
            const double more = moveBy(h, nh) - ((hm.x - h.x) * nh.x + (hm.y - h.y) * nh.y);
            halve = more > 0.25 && more * length > 3;
        }
        if (halve) {
            auto mid = [](PointD u, PointD v) { return PointD{(u.x + v.x) / 2, (u.y + v.y) / 2}; };
            const PointD a = mid(p[0], p[1]), b = mid(p[1], p[2]), d = mid(p[2], p[3]);
            const PointD ab = mid(a, b), bd = mid(b, d), m = mid(ab, bd);
            todo.push_back({m, bd, d, p[3]});
            todo.push_back({p[0], a, ab, m});
            continue;
        }
        if (mitre) {
            // The last segment's end moves to the meeting point too.
            const size_t k = out.size() - 4;
            PointD last[4] = {out[k], out[k + 1], out[k + 2], out[k + 3]};
            const PointD by = {s.x - last[3].x, s.y - last[3].y};
            last[2] = {last[2].x + by.x, last[2].y + by.y};
            last[3] = s;
            if (clear(last, lastGiven.data(), lastGiven[0])) {
                out[k + 2] = last[2];
                out[k + 3] = last[3];
            } else {
                s = moved[0] = {p[0].x + n0.x * by0, p[0].y + n0.y * by0};
                moved[1] = {p[1].x + s.x - p[0].x, p[1].y + s.y - p[0].y};
                clearMoved = clear(moved, p, p[0]);
            }
        }
        sum += by0 + by3;
        count += 2;
        const PointD b = out.back();
        if (std::fabs(s.x - b.x) > 1e-9 || std::fabs(s.y - b.y) > 1e-9) {
            appendLine(out, s);
            if (!clear(&out[out.size() - 4], nullptr, p[0])) return false;
        }
        out.insert(out.end(), moved + 1, moved + 4);
        if (!clearMoved) return false;
        chained = true;
        lastEnd = p[3];
        lastNormal = n3;
        lastBy = by3;
        lastGiven = seg;
    }
    const PointD end = c.back();
    if (out.back().x != end.x || out.back().y != end.y) {
        appendLine(out, end);
        if (!clear(&out[out.size() - 4], nullptr, end)) return false;
    }
    return sum >= 0.3 * count;
}

// The sums of the red, green and blue of p[0] .. p[7].
void sumEight(const RGBQUAD* p, uint32_t& r, uint32_t& g, uint32_t& b) {
#if defined(__SSE2__)
    // Blue, green, red and the fourth byte of every pixel as 16 bits,
    // summed two pixels to a register, then the register's halves.
    const __m128i zero = _mm_setzero_si128();
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 4));
    __m128i s =
        _mm_add_epi16(_mm_add_epi16(_mm_unpacklo_epi8(x, zero), _mm_unpackhi_epi8(x, zero)),
                      _mm_add_epi16(_mm_unpacklo_epi8(y, zero), _mm_unpackhi_epi8(y, zero)));
    s = _mm_add_epi16(s, _mm_srli_si128(s, 8));
    b = static_cast<uint32_t>(_mm_extract_epi16(s, 0));
    g = static_cast<uint32_t>(_mm_extract_epi16(s, 1));
    r = static_cast<uint32_t>(_mm_extract_epi16(s, 2));
#else
    r = g = b = 0;
    for (int k = 0; k < 8; ++k) {
        r += p[k].rgbRed;
        g += p[k].rgbGreen;
        b += p[k].rgbBlue;
    }
#endif
}

// The colour of every region in the picture itself: the mean over its
// pixels whose four neighbours are of the region too (the region's colour
// where it has none). The edge samples measure shares against these.
// False when `going` answers false (asked every 256 rows).
// `sum` gets, per region, the sums of those pixels' red, green and blue and
// their count. A large picture's rows are summed in bands on `threads`
// threads (whole numbers, so the sums are the same for any count).
bool interiorColours(const EdgeSamples::Picture& pic, int threads, std::vector<RGBQUAD>& out,
                     std::vector<double>& sum, const std::function<bool()>& going) {
    const size_t n = pic.colours->size();
    const int w = pic.width, h = pic.height;
    const long long pixels = static_cast<long long>(w) * h;
    // Each band holds sums for every region: no more bands than keep those
    // within the picture's own size.
    const int bands = static_cast<int>(
        std::max(1LL, std::min<long long>(Bands::count(threads, pixels, kMinColourPixels),
                                          pixels / static_cast<long long>(8 * n + 8))));
    std::vector<std::vector<uint64_t>> sums(static_cast<size_t>(bands));
    std::atomic<bool> stop{false}, failed{false};
    Bands::run(
        bands, h,
        [&](int band, long long begin, long long end) {
            try {
                std::vector<uint64_t>& own = sums[static_cast<size_t>(band)];
                own.assign(4 * n, 0);
                for (int y = static_cast<int>(std::max(1LL, begin));
                     y < static_cast<int>(std::min<long long>(end, h - 1)); ++y) {
                    if ((y & 255) == 0 && (stop.load() || (band == 0 && !going()))) {
                        stop = true;
                        return;
                    }
                    const int32_t* const row = pic.labels + static_cast<size_t>(y) * w;
                    const RGBQUAD* const pixels = pic.pixels + static_cast<size_t>(y) * w;
                    auto pixel = [&](int x) {
                        const int32_t* p = row + x;
                        const int32_t l = p[0];
                        if (l < 0 || p[-1] != l || p[1] != l || p[-w] != l || p[w] != l) return;
                        const RGBQUAD& c = pixels[x];
                        uint64_t* s = &own[4 * static_cast<size_t>(l)];
                        s[0] += c.rgbRed;
                        s[1] += c.rgbGreen;
                        s[2] += c.rgbBlue;
                        s[3] += 1;
                    };
                    // Eight pixels at a time where they and their neighbours
                    // all have one label (most of a picture).
                    const int kBlock = 8;
                    int x = 1;
                    for (; x + kBlock < w; x += kBlock) {
                        const int32_t* p = row + x;
                        const int32_t l = p[0];
                        if (l < 0 || !LabelRun::eight(p - 1, l) || p[7] != l || p[8] != l ||
                            !LabelRun::eight(p - w, l) || !LabelRun::eight(p + w, l)) {
                            for (int k = 0; k < kBlock; ++k) pixel(x + k);
                            continue;
                        }
                        uint32_t r, g, b;
                        sumEight(pixels + x, r, g, b);
                        uint64_t* s = &own[4 * static_cast<size_t>(l)];
                        s[0] += r;
                        s[1] += g;
                        s[2] += b;
                        s[3] += kBlock;
                    }
                    for (; x + 1 < w; ++x) pixel(x);
                }
            } catch (...) {
                failed = true;  // memory ran out
                stop = true;
            }
        },
        [&]() {
            if (!stop.load() && !going()) stop = true;
        });
    if (failed) throw std::bad_alloc();
    if (stop) return false;
    sum.assign(4 * n, 0.0);
    for (size_t k = 0; k < 4 * n; ++k) {
        uint64_t total = 0;
        for (const std::vector<uint64_t>& own : sums) total += own[k];
        sum[k] = static_cast<double>(total);
    }
    out = *pic.colours;
    for (size_t l = 0; l < n; ++l) {
        const double* s = &sum[4 * l];
        if (s[3] > 0)
            out[l] =
                RGBQUAD{static_cast<BYTE>(s[2] / s[3] + 0.5), static_cast<BYTE>(s[1] / s[3] + 0.5),
                        static_cast<BYTE>(s[0] / s[3] + 0.5), 0};
    }
    return true;
}

// The curves draw the edge pixels by their anti-aliasing, so the regions of
// one colour (`colours`, per region) are filled with the mean of their inner
// pixels (`sums` as interiorColours gives them): as many colours as before,
// each as the picture shows it inside its regions. A colour whose regions
// have no inner pixel stays.
void innerFills(const std::vector<RGBQUAD>& colours, const std::vector<double>& sums,
                ShapeSet& set) {
    std::unordered_map<uint32_t, std::array<double, 4>> groups;
    auto key = [&](size_t l) {
        const RGBQUAD& c = colours[l];
        return static_cast<uint32_t>(c.rgbRed) << 16 | static_cast<uint32_t>(c.rgbGreen) << 8 |
               c.rgbBlue | static_cast<uint32_t>(set.shapes[l].alpha) << 24;
    };
    const size_t n = std::min(colours.size(), set.shapes.size());
    for (size_t l = 0; l < n; ++l) {
        std::array<double, 4>& g = groups[key(l)];
        for (int k = 0; k < 4; ++k)
            g[static_cast<size_t>(k)] += sums[4 * l + static_cast<size_t>(k)];
    }
    for (size_t l = 0; l < n; ++l) {
        const std::array<double, 4>& g = groups[key(l)];
        if (g[3] <= 0) continue;
        RGBQUAD& c = set.shapes[l].color;
        c.rgbRed = static_cast<BYTE>(g[0] / g[3] + 0.5);
        c.rgbGreen = static_cast<BYTE>(g[1] / g[3] + 0.5);
        c.rgbBlue = static_cast<BYTE>(g[2] / g[3] + 0.5);
    }
}

// Whether the pixels on both sides of the step that leaves corner c in
// direction d show exactly their regions' colours.
bool ownColour(const EdgeSamples::Picture& pic, const Corner& c, int d, int32_t in, int32_t out) {
    auto same = [](const RGBQUAD& a, const RGBQUAD& b) {
        return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
    };
    const int ox = c.x + kOutX[d], oy = c.y + kOutY[d];
    const int o = (d + 3) & 3;
    const int ix = ox - kDx[o], iy = oy - kDy[o];
    const std::vector<RGBQUAD>& col = *pic.colours;
    return same(pic.pixels[static_cast<size_t>(oy) * pic.width + ox],
                col[static_cast<size_t>(out)]) &&
           same(pic.pixels[static_cast<size_t>(iy) * pic.width + ix], col[static_cast<size_t>(in)]);
}

}  // namespace

namespace {

// How a loop runs along one of its pieces.
struct PieceUse {
    Piece* piece;
    bool reversed;
    bool claimed;  // the loop fits it (the first loop along it)
};

// Every loop made of pieces, put together once every loop has been seen (a
// piece's hidden curve depends on the last loop along it).
struct Uses {
    Shape* shape;
    size_t loop;
    int shapeIndex;
    PointD start;
    std::vector<PieceUse> pieces;
};

// A loop without junctions and the island it runs along.
struct IslandUse {
    Shape* shape;
    size_t loop;
    Piece* piece;
    bool back;     // runs it the other way round
    bool claimed;  // fits it
};

// The fit's working state of every piece and loop.
struct Work {
    using Map = std::unordered_map<long long, Piece, std::hash<long long>, std::equal_to<long long>,
                                   NodeArena::Allocator<std::pair<const long long, Piece>>>;
    NodeArena arena;
    Map pieces{0, std::hash<long long>(), std::equal_to<long long>(), Map::allocator_type(&arena)};
    Map islands{0, std::hash<long long>(), std::equal_to<long long>(), Map::allocator_type(&arena)};
    std::vector<Uses> uses;
    std::vector<IslandUse> islandUses;
};

// On a stop, hands the working state to the shape set (ShapeSet::unfinished).
struct KeepOnStop {
    std::shared_ptr<Work>& work;
    ShapeSet& set;
    const bool& stopped;
    ~KeepOnStop() {
        if (stopped) set.unfinished = std::move(work);
    }
};

// Where the pieces that meet at a junction inside the picture really meet,
// where a region ends there in a sharp tip: each piece's edge near the
// junction is the line through its samples there (leaving out the step at
// the junction, whose pixels hold the third colour too). Two of those lines
// leaving the junction at less than kTipAngle apart are the tip's sides;
// where they cross behind their samples, at most kNodeReach from the
// junction and clearly apart from it, with every other line there within
// kNodeFit of it, every piece there ends at that point: the tip, which the
// pixels, blurred by the three colours, cut short. By the junction's corner
// (y << 32 | x).
const double kNodeReach = 2.0, kNodeFit = 0.5, kTipAngle = 50;

class JunctionNodes {
public:
    // The edge of one piece at junction c: samples s[0..count), nearest first.
    void add(Corner c, const PointD* s, int count) {
        // The fewest samples that still make a line when the most turn a
        // corner: at least three after the first.
        int last = std::min(count, 8);
        while (last >= 4) {
            Line l;
            if (line(s + 1, last - 1, l)) {
                lines_[nodeKey(c)].push_back(l);
                return;
            }
            last = last > 5 ? last / 2 + 1 : last - 1;
        }
    }

    // Settles every junction's point; after this, at() answers.
    void settle() {
        const double sharp = std::cos(kTipAngle * 3.14159265358979 / 180);
        for (auto& e : lines_) {
            const std::vector<Line>& ls = e.second;
            if (ls.size() < 2) continue;
            const PointD c = {static_cast<double>(static_cast<int32_t>(e.first & 0xffffffff)),
                              static_cast<double>(static_cast<int32_t>(e.first >> 32))};
            // The two lines leaving the junction nearest in direction.
            size_t bi = 0, bj = 0;
            double best = sharp;
            for (size_t i = 0; i < ls.size(); ++i)
                for (size_t j = i + 1; j < ls.size(); ++j) {
                    const double cosine = ls[i].d.x * ls[j].d.x + ls[i].d.y * ls[j].d.y;
                    if (cosine > best) best = cosine, bi = i, bj = j;
                }
            if (bi == bj) continue;
            const Line &u = ls[bi], &v = ls[bj];
            // Where they cross: u.p + t u.d = v.p + w v.d.
            const double det = u.d.x * (-v.d.y) - u.d.y * (-v.d.x);
            if (std::fabs(det) < 1e-9) continue;
            const double rx = v.p.x - u.p.x, ry = v.p.y - u.p.y;
            const double t = (rx * (-v.d.y) - ry * (-v.d.x)) / det;
            const double w = (u.d.x * ry - u.d.y * rx) / det;
            if (t > 0 || w > 0) continue;  // not behind both
            const PointD q = {u.p.x + t * u.d.x, u.p.y + t * u.d.y};
            const double move = std::hypot(q.x - c.x, q.y - c.y);
            if (move < 0.2 || move > kNodeReach) continue;
            bool meet = true;
            for (const Line& l : ls)
                meet = meet && std::fabs(l.d.y * (q.x - l.p.x) - l.d.x * (q.y - l.p.y)) <= kNodeFit;
            if (meet) nodes_[e.first] = q;
        }
        lines_.clear();
    }

    // The point where the pieces at junction c meet, or false: each piece
    // finds its own end there.
    bool at(Corner c, PointD& out) const {
        auto it = nodes_.find(nodeKey(c));
        if (it == nodes_.end()) return false;
        out = it->second;
        return true;
    }

    bool empty() const { return nodes_.empty(); }

    // After the fits: whether a piece ending at junction c ran to its tip.
    void vote(Corner c, bool tip) {
        const long long k = nodeKey(c);
        if (nodes_.count(k)) ++votes_[k][tip];
    }
    // Where the pieces went both ways, the way most went (a tie: to the
    // tip): from now on every piece there runs to the tip (forced), or the
    // tip goes. way() tells each junction's decision.
    void decide() {
        for (const auto& v : votes_) {
            if (!v.second[0] || !v.second[1]) continue;
            const bool tip = v.second[1] >= v.second[0];
            ways_[v.first] = tip ? 1 : -1;
            if (tip)
                forced_.insert(v.first);
            else
                nodes_.erase(v.first);
        }
        votes_.clear();
    }
    // 1: every piece at c to the tip, -1: none, 0: as each was fitted.
    int way(Corner c) const {
        auto it = ways_.find(nodeKey(c));
        return it == ways_.end() ? 0 : it->second;
    }
    bool forced(Corner c) const { return forced_.count(nodeKey(c)) > 0; }

private:
    struct Line {
        PointD p, d;  // a point on it and its unit direction away from the junction
    };
    static long long nodeKey(Corner c) {
        return (static_cast<long long>(c.y) << 32) | static_cast<unsigned>(c.x);
    }
    // The least-squares line through s[0..count) (nearest the junction
    // first), if they all lie within a quarter pixel of it.
    static bool line(const PointD* s, int count, Line& out) {
        double mx = 0, my = 0;
        for (int i = 0; i < count; ++i) mx += s[i].x, my += s[i].y;
        mx /= count, my /= count;
        double sxx = 0, sxy = 0, syy = 0;
        for (int i = 0; i < count; ++i) {
            const double dx = s[i].x - mx, dy = s[i].y - my;
            sxx += dx * dx, sxy += dx * dy, syy += dy * dy;
        }
        if (sxx + syy < 1e-9) return false;
        // The direction of the largest spread, away from the junction.
        const double angle = 0.5 * std::atan2(2 * sxy, sxx - syy);
        PointD d = {std::cos(angle), std::sin(angle)};
        if (d.x * (s[count - 1].x - s[0].x) + d.y * (s[count - 1].y - s[0].y) < 0) d = {-d.x, -d.y};
        for (int i = 0; i < count; ++i)
            if (std::fabs(d.y * (s[i].x - mx) - d.x * (s[i].y - my)) > 0.25) return false;
        out = {{mx, my}, d};
        return true;
    }

    std::unordered_map<long long, std::vector<Line>> lines_;
    std::unordered_map<long long, PointD> nodes_;
    std::unordered_map<long long, std::array<int, 2>> votes_;  // not, to the tip
    std::unordered_map<long long, int> ways_;
    std::unordered_set<long long> forced_;
};

// One fit to make: a claimed piece (an index into the uses and the piece's
// there, its first step `a` and the corner that step leaves, its steps, the
// corner it ends at) or an island (`use`: the uses' count + an index into
// the island uses, `steps` its loop's).
struct FitJob {
    size_t use, piece;
    size_t a, steps;
    Corner at, end;
};

// Asked before every fit with the fit's size in steps; false: no more fits.
using Going = std::function<bool(size_t)>;

// The fits of the pieces and islands a loop claims, with the scratch of one
// thread. What it reads is shared and left as it is; each fit writes only
// the curves of its own piece.
class PieceFitter {
public:
    // `given`: the picture as the caller gave it; `pic`: with the regions'
    // colours measured in the picture (interiorColours).
    PieceFitter(const Raster& r, const EdgeSamples::Picture& given, const EdgeSamples::Picture& pic,
                const EdgeSamples::Picture& judged, const JunctionNodes& nodes,
                const OutputOptions& options)
        : r_(r),
          nodes_(nodes),
          given_(given),
          pic_(pic),
          options_(options),
          settings_(CurveFitter::settings(options.curveTolerance, given.width, given.height)),
          chooser_(given, judged, options) {}

    // False when `going` answered false.
    bool island(IslandUse& u, const Going& going) {
        const CrackLoop& loop = u.shape->loops[u.loop];
        corners_ = loop.corners();
        const int n = static_cast<int>(corners_.size());
        if (!going(8 * static_cast<size_t>(n))) return false;
        int32_t in, out;
        sides(r_, corners_[0], loop.codes[0], in, out);
        Piece& p = *u.piece;
        // Where the picture shows both regions in their own colours on every
        // step, the staircase is exact, as for a piece.
        if (exactSteps(loop, 0, corners_.data(), n) || stairs(in, out)) {
            p.curved = false;
            CurveFitter::polygonCurve(loop, p.curve);
            return true;
        }
        EdgeSamples::sample(loop, pic_, samples_);
        const double contrast = contrastOf(in, out);
        const bool refine = refined(contrast);
        OutlineFitter::Settings fs = settings_;
        fs.refine = false;
        fs.meanShare = meanShare(contrast, fs.meanShare);
        CurveFitter::fitLoop(loop, samples_, fs, whole_, &covers_);
        chooser_.judge(whole_, corners_, true, in, out);
        p.curved = !stairs(in, out) && chooser_.keep();
        if (p.curved)
            p.curve = whole_;
        else
            CurveFitter::polygonCurve(loop, p.curve);
        // The curve kept, refined, takes its place where it is kept too.
        if (p.curved && refine) {
            fs.refine = true;
            CurveFitter::fitLoop(loop, samples_, fs, whole_, &covers_);
            chooser_.judge(whole_, corners_, true, in, out);
            if (chooser_.keep()) p.curve = whole_;
        }
        return true;
    }

    // A piece the loop of `u` claims (`job`), between two of its
    // junctions: its corners and samples are found for its own steps
    // alone. False when `going` answered false.
    bool piece(const Uses& u, const FitJob& job, const Going& going) {
        const CrackLoop& loop = u.shape->loops[u.loop];
        const size_t n = loop.codes.size();
        Corner c = job.at;
        pc_.clear();
        pc_.push_back(c);
        for (size_t k = 0, i = job.a; k < job.steps; ++k, i = i + 1 == n ? 0 : i + 1) {
            const int d = loop.codes[i];
            c.x += kDx[d];
            c.y += kDy[d];
            pc_.push_back(c);
        }
        EdgeSamples::sample(loop, pic_, job.a, job.steps, job.at, samples_);
        return piece(loop, static_cast<int>(job.a), *u.pieces[job.piece].piece, going);
    }

private:
    // The squared distance between two regions' colours (summed over the
    // channels); -1 where the picture cannot weigh fits.
    double contrastOf(int32_t in, int32_t out) const {
        if (!given_.pixels || !pic_.colours || options_.maxCurveAreaError < 0) return -1;
        const RGBQUAD &ci = (*pic_.colours)[static_cast<size_t>(in)],
                      &co = (*pic_.colours)[static_cast<size_t>(out)];
        const double dr = ci.rgbRed - co.rgbRed, dg = ci.rgbGreen - co.rgbGreen,
                     db = ci.rgbBlue - co.rgbBlue;
        return dr * dr + dg * dg + db * db;
    }
    // Whether the curve kept between regions of that contrast is refined,
    // and the fit's mean error for them.
    static bool refined(double contrast) { return contrast < 0 || contrast > kRefineContrast; }
    static double meanShare(double contrast, double tight) {
        return contrast < 0 || contrast > kTightContrast ? tight : kSoftMeanShare;
    }

    // Whether the picture shows both regions in their own colours on each
    // of the `steps` steps of `loop` from step a (whose corners `corners`
    // lists): its staircase is then exact.
    bool exactSteps(const CrackLoop& loop, int a, const Corner* corners, int steps) const {
        if (!given_.pixels) return false;
        const int n = static_cast<int>(loop.codes.size());
        for (int k = 0; k < steps; ++k) {
            int32_t li, lo;
            const int d = loop.codes[static_cast<size_t>((a + k) % n)];
            sides(r_, corners[k], d, li, lo);
            if (lo < 0 || li < 0 || !ownColour(given_, corners[k], d, li, lo)) return false;
        }
        return true;
    }

    // Whether a piece between these regions keeps its staircase.
    bool stairs(int32_t a, int32_t b) const {
        const std::vector<uint8_t>* k = pic_.staircase;
        return k && ((a >= 0 && static_cast<size_t>(a) < k->size() && (*k)[a]) ||
                     (b >= 0 && static_cast<size_t>(b) < k->size() && (*k)[b]));
    }

    // The piece of `loop` from its step a (a junction) along the corners
    // `pc_` (to the next junction) through the samples `samples_` of its
    // steps, into the curves of `slot`.
    bool piece(const CrackLoop& loop, int a, Piece& slot, const Going& going) {
        const Raster& r = r_;
        const EdgeSamples::Picture& given = given_;
        const int n = static_cast<int>(loop.codes.size());
        std::vector<PointD>& points = points_;
        std::vector<uint8_t>& codes = codes_;
        const std::vector<Corner>& pc = pc_;
        Curve& cut = cut_;
        Curve& hidden = hidden_;
        Chooser& chooser = chooser_;
        // The piece through its samples, from junction to junction.
        const int steps = static_cast<int>(pc.size()) - 1;
        const int b = (a + steps) % n;
        int32_t in, out;
        sides(r, pc[0], loop.codes[a], in, out);
        points.clear();
        codes.clear();
        points.push_back({static_cast<double>(pc[0].x), static_cast<double>(pc[0].y)});
        codes.push_back(loop.codes[a]);
        for (int k = 0; k < steps; ++k) {
            const int i = (a + k) % n;
            points.push_back(samples_[static_cast<size_t>(k)]);
            codes.push_back(loop.codes[i]);
        }
        const Corner& cb = pc[static_cast<size_t>(steps)];
        points.push_back({static_cast<double>(cb.x), static_cast<double>(cb.y)});
        codes.push_back(loop.codes[(b + n - 1) % n]);
        // The fit runs between where the edge really ends near the junctions
        // (edgeEnd); a straight piece joins it to each junction, so that
        // every piece still meets its neighbours there.
        const int firstSamples = std::min(4, steps);
        // Where a sharp tip ends at a junction (JunctionNodes), the fit is
        // tried running to the tip too, and the better kept.
        PointD startX, endX, startTip, endTip;
        const int moreSamples = std::min(16, steps);
        std::vector<PointD> tail(points.end() - 1 - moreSamples, points.end() - 1);
        std::reverse(tail.begin(), tail.end());
        const bool moveStart =
            edgeEnd(r, pc[0], loop.codes[a], &points[1], firstSamples, moreSamples, startX);
        const bool moveEnd = edgeEnd(r, cb, (loop.codes[(b + n - 1) % n] + 2) & 3, tail.data(),
                                     firstSamples, moreSamples, endX);
        const bool tipStart = nodes_.at(pc[0], startTip), tipEnd = nodes_.at(cb, endTip);
        // Where the picture shows both regions in their own colours on every
        // step, the staircase is exact.
        const bool exact = exactSteps(loop, a, pc.data(), steps) || stairs(in, out);
        // The fit at the tolerance asked and, where it takes more than two
        // segments and the picture can judge, at twice and four times it:
        // the one kept is the one whose gain over the staircase, less
        // `kSegmentCost` per segment, is largest (a soft edge, whose exact
        // place changes the colours little, gets fewer segments).
        const bool topIn = in > out;
        const int32_t top = topIn ? in : out, self = topIn ? out : in;
        Piece p;
        p.curved = false;
        p.topIn = topIn;
        double best = 0;
        const PointD A = {static_cast<double>(pc[0].x), static_cast<double>(pc[0].y)};
        const PointD B = {static_cast<double>(cb.x), static_cast<double>(cb.y)};
        // The optimal polygon of the points as moved (or not): the same for
        // every tolerance; the straight runs it is found from, the same
        // for both but near the ends.
        std::vector<int> polygons[3], runs;
        // One fit: its segments (0: none), kept in `p` when it scores best
        // so far. `ends`: 0 on the junctions, 1 where the edge ends near
        // them, 2 at the tips there too. `going` hears of every fit (a long
        // piece takes tens of milliseconds for each); after a stop no more
        // fits.
        bool stopped = false;
        double price = kSegmentCost;
        // The ends and price of the fit kept so far; `again`: the fit about
        // to be judged is the kept one with its joins refined, which takes
        // its place wherever the chooser keeps it.
        int keptEnds = 0;
        double keptPrice = kSegmentCost;
        bool again = false;
        auto consider = [&](const OutlineFitter::Settings& fs, int ends) {
            if (stopped || !going(8 * static_cast<size_t>(steps))) {
                stopped = true;
                return size_t(0);
            }
            const bool toStart = ends == 2 && tipStart, toEnd = ends == 2 && tipEnd;
            const PointD from = toStart ? startTip : ends > 0 && moveStart ? startX : A;
            const PointD to = toEnd ? endTip : ends > 0 && moveEnd ? endX : B;
            points.front() = from;
            points.back() = to;
            // (The fit kept is refined from its cover: `keptCovers`.)
            if (!OutlineFitter::fitOpen(points, codes, fs, cut, &polygons[ends], &runs,
                                        again ? &keptCovers_ : &covers_))
                return size_t(0);
            if (from.x != A.x || from.y != A.y || to.x != B.x || to.y != B.y) {
                Curve joined;
                joined.push_back(A);
                if (from.x != A.x || from.y != A.y) appendLine(joined, from);
                joined.insert(joined.end(), cut.begin() + 1, cut.end());
                if (to.x != B.x || to.y != B.y) appendLine(joined, B);
                cut.swap(joined);
            }
            const size_t segments = (cut.size() - 1) / 3;
            // Stacked siblings: the earlier drawn on under the later one, as
            // far as the later one's pixels reach (up to a pixel under it,
            // else half a pixel), unless the edge with what lies under both
            // showing through is as true to the picture.
            // The moved curve is looked for only where it could be kept.
            chooser.judge(cut, pc, false, in, out);
            bool under = !given.staircase && stackedSiblings(given, in, out) &&
                         chooser.error(false) > chooser.error(true);
            if (under && p.curved && !again && !chooser.beats(true, segments, price, best) &&
                !chooser.beats(false, segments, price, best))
                return segments;
            under = under && (hiddenCurve(r, cut, topIn, top, self, 1.0, fs.tolerance, hidden) ||
                              hiddenCurve(r, cut, topIn, top, self, 0.5, fs.tolerance, hidden));
            if (!under) hidden.clear();
            double gain = 0;
            const bool kept = chooser.keep(under, &gain);
            if (!kept) return segments;
            const double score = gain - price * static_cast<double>(segments);
            if (!p.curved || score > best || again) {
                keptEnds = ends;
                keptPrice = price;
                p.curved = true;
                best = score;
                p.curve.swap(cut);
                p.hidden.swap(hidden);
                if (!again) std::swap(keptCovers_, covers_);
                p.tolerance = fs.tolerance;
                p.tips[0] = toStart;
                p.tips[1] = toEnd;
            }
            return segments;
        };
        if (!exact && steps >= 2 && out >= 0) {
            // The fits are weighed with their joins where the cover put
            // them; the one kept is refined.
            const double weighed = contrastOf(in, out);
            const bool weigh = weighed >= 0, refine = refined(weighed);
            OutlineFitter::Settings fs = settings_;
            fs.refine = false;
            fs.meanShare = meanShare(weighed, fs.meanShare);
            // The squared colour distance between the two regions: moving
            // the edge by d over a pixel's length costs about d times it. A
            // looser fit or an end left on its junction is tried only where
            // that could come to less than a few segments, or on a short
            // piece (where the ends, the sharp tips of thin shapes, are least
            // sure and the fits cost little).
            const double contrast = weigh ? weighed : 0;
            const double worth = 4 * kSegmentCost;
            const int ends = tipStart || tipEnd ? 2 : 1;
            if (weigh && contrast * fs.tolerance > worth) {
                OutlineFitter::Settings close = fs;
                close.tolerance *= kCloseFit;
                price = kClosePrice * kSegmentCost;
                consider(close, ends);
                price = kSegmentCost;
            }
            size_t segments = consider(fs, ends);
            for (int round = 1; weigh && segments > 2 && round < 3; ++round) {
                if (steps > kCheapSteps && contrast * fs.tolerance > worth) break;
                fs.tolerance *= 2;
                segments = consider(fs, ends);
            }
            const bool forced = nodes_.forced(pc[0]) || nodes_.forced(cb);
            if (ends == 2 && !forced) {
                if (p.curved) fs.tolerance = p.tolerance;
                consider(fs, 1);
            }
            // The ends left on the junctions save a segment each.
            auto moveOf = [](bool moved, PointD to, PointD from) {
                return moved ? std::hypot(to.x - from.x, to.y - from.y) : 0.0;
            };
            const double move = moveOf(moveStart, startX, A) + moveOf(moveEnd, endX, B);
            if (weigh && p.curved && move > 0 && !forced &&
                (steps <= kCheapSteps || contrast * move / 2 <= worth)) {
                fs.tolerance = p.tolerance;
                consider(fs, 0);
            }
            if (p.curved && refine) {
                fs.tolerance = p.tolerance;
                fs.refine = true;
                price = keptPrice;
                again = true;
                consider(fs, keptEnds);
            }
        }
        if (stopped) return false;
        if (!p.curved) {
            straightPiece(pc, p.curve);
            p.hidden.clear();
        }
        // The slot's uses (lastShape, lastForward, users) were counted when
        // the loops were walked.
        slot.curve.swap(p.curve);
        slot.hidden.swap(p.hidden);
        slot.curved = p.curved;
        slot.topIn = p.topIn;
        slot.tolerance = p.tolerance;
        slot.tips[0] = p.curved && p.tips[0];
        slot.tips[1] = p.curved && p.tips[1];
        return true;
    }

    const Raster& r_;
    const JunctionNodes& nodes_;
    const EdgeSamples::Picture& given_;
    const EdgeSamples::Picture& pic_;
    const OutputOptions& options_;
    const OutlineFitter::Settings settings_;  // the fit's, for the picture's size
    Chooser chooser_;
    std::vector<Corner> corners_, pc_;
    std::vector<PointD> samples_, points_;
    std::vector<uint8_t> codes_;
    Curve whole_, cut_, hidden_;
    // The covers of the last fit and of the one kept so far.
    OutlineFitter::Covers covers_, keptCovers_;
};

// Pictures from this many pixels on fit their pieces on several threads
// (starting one takes tens of microseconds, the fits of such a picture
// milliseconds).
const long long kMinFitPixels = 1LL << 14;

}  // namespace

bool BoundaryCurves::fit(const EdgeSamples::Picture& given, const OutputOptions& options,
                         ShapeSet& set, const std::function<bool(double)>& progress) {
    Raster r{given.labels, given.width, given.height};
    // The progress hears the share done (`share`, set by each pass) once
    // some thousands of steps were walked or fitted since it last heard:
    // the walk over the loops to 0.2, the fits to 0.9, the loops put
    // together to 1.
    double share = 0;
    long long work = 0;
    const double shapes = static_cast<double>(std::max<size_t>(set.shapes.size(), 1));
    bool stopped = false;
    const std::function<bool()> going = [&]() {
        work = 0;
        stopped = progress && !progress(share);
        return !stopped;
    };
    auto done = [&](size_t steps) {
        work += static_cast<long long>(steps);
        return work < 8192 || going();
    };
    try {
        EdgeSamples::Picture pic = given;
        std::vector<RGBQUAD> own;
        if (pic.pixels && pic.colours) {
            std::vector<double> sums;
            if (!interiorColours(pic, options.threads, own, sums, going)) return false;
            pic.colours = &own;
            if (options.innerColours) innerFills(*given.colours, sums, set);
        }
        // Every piece between junctions, by the key of its first step, and
        // every loop without junctions (`islands`, by the key of the first
        // step of the loop that chose it), each chosen once and used, the
        // other way round where a loop runs it backwards, by every loop.
        // (Their nodes come from one arena, freed in a few blocks: a large
        // picture has hundreds of thousands of pieces. A stop leaves them,
        // and the loops below, to the shape set, freed with it later.)
        std::shared_ptr<Work> kept = std::make_shared<Work>();
        KeepOnStop keep{kept, set, stopped};
        auto& pieces = kept->pieces;
        auto& islands = kept->islands;
        auto& uses = kept->uses;
        auto& islandUses = kept->islandUses;
        std::vector<Corner> corners;
        std::vector<int> js;
        std::vector<Piece*> found;
        std::vector<uint8_t> reversed;
        // What to fit: every claimed piece and every island, one job each,
        // so that a loop that claims most pieces (the background's) is
        // shared out too.
        std::vector<FitJob> jobs;
        std::vector<size_t> islandJobs;

        // 1. Every loop in order: its junctions, and which pieces it is the
        // first to run along (it claims them: it fits them, from its own
        // samples).
        for (size_t si = 0; si < set.shapes.size(); ++si) {
            Shape& s = set.shapes[si];
            share = 0.2 * static_cast<double>(si) / shapes;
            s.curves.assign(s.loops.size(), Curve());
            for (size_t li = 0; li < s.loops.size(); ++li) {
                const CrackLoop& loop = s.loops[li];
                corners = loop.corners();
                const int n = static_cast<int>(corners.size());
                if (!done(corners.size())) return false;
                js.clear();
                for (int k = 0; k < n; ++k)
                    if (r.junction(corners[k].x, corners[k].y)) js.push_back(k);
                if (js.empty()) {
                    // An island: find it run either way by an earlier loop.
                    IslandUse u{&s, li, nullptr, false, false};
                    for (int k = 0; k < n && !u.piece; ++k) {
                        const int dk = loop.codes[k];
                        auto it = islands.find(key(corners[k].x, corners[k].y, dk));
                        if (it != islands.end()) {
                            u.piece = &it->second;
                            break;
                        }
                        const Corner e = {corners[k].x + kDx[dk], corners[k].y + kDy[dk]};
                        it = islands.find(key(e.x, e.y, (dk + 2) & 3));
                        if (it != islands.end()) {
                            u.piece = &it->second;
                            u.back = true;
                        }
                    }
                    if (!u.piece) {
                        u.piece =
                            &(islands[key(corners[0].x, corners[0].y, loop.codes[0])] = Piece());
                        u.claimed = true;
                        islandJobs.push_back(islandUses.size());
                    }
                    ++u.piece->users;
                    islandUses.push_back(u);
                    continue;
                }
                // The pieces chosen before, run either way.
                const size_t J = js.size();
                found.assign(J, nullptr);
                reversed.assign(J, 0);
                for (size_t j = 0; j < J; ++j) {
                    const int a = js[j], b = js[(j + 1) % J];
                    auto it = pieces.find(key(corners[a].x, corners[a].y, loop.codes[a]));
                    if (it == pieces.end()) {
                        const int dl = loop.codes[(b + n - 1) % n];
                        it = pieces.find(key(corners[b].x, corners[b].y, (dl + 2) & 3));
                        reversed[j] = 1;
                    }
                    if (it != pieces.end()) found[j] = &it->second;
                }
                Uses u;
                u.shape = &s;
                u.loop = li;
                u.shapeIndex = static_cast<int>(si);
                u.start = {static_cast<double>(corners[js[0]].x),
                           static_cast<double>(corners[js[0]].y)};
                bool claims = false;
                for (size_t j = 0; j < J; ++j) {
                    const bool claimed = !found[j];
                    if (claimed) {
                        const int a = js[j];
                        found[j] =
                            &(pieces[key(corners[a].x, corners[a].y, loop.codes[a])] = Piece());
                        reversed[j] = 0;
                        claims = true;
                    }
                    found[j]->lastShape = u.shapeIndex;
                    found[j]->lastForward = !reversed[j];
                    ++found[j]->users;
                    u.pieces.push_back({found[j], reversed[j] != 0, claimed});
                }
                for (size_t j = 0; claims && j < J; ++j) {
                    if (!u.pieces[j].claimed) continue;
                    const int a = js[j], b = js[(j + 1) % J];
                    const int steps = b > a ? b - a : b + n - a;
                    jobs.push_back({uses.size(), j, static_cast<size_t>(a),
                                    static_cast<size_t>(steps), corners[static_cast<size_t>(a)],
                                    corners[static_cast<size_t>(b)]});
                }
                uses.push_back(std::move(u));
            }
        }
        for (size_t i : islandJobs) {
            const IslandUse& u = islandUses[i];
            jobs.push_back({uses.size() + i, 0, 0, u.shape->loops[u.loop].codes.size(), {}, {}});
        }
        std::vector<size_t>().swap(islandJobs);
        // The longest first, so that the threads end at about one time.
        std::stable_sort(jobs.begin(), jobs.end(),
                         [](const FitJob& x, const FitJob& y) { return x.steps > y.steps; });

        // Where the pieces meet at the junctions inside the picture, from
        // the samples at both ends of every piece.
        JunctionNodes nodes;
        if (pic.pixels) {
            std::vector<PointD> ends;
            auto inside = [&](Corner c) { return c.x > 0 && c.y > 0 && c.x < r.w && c.y < r.h; };
            for (const FitJob& job : jobs) {
                if (job.use >= uses.size() || job.steps < 5) continue;
                const CrackLoop& loop = uses[job.use].shape->loops[uses[job.use].loop];
                const size_t n = loop.codes.size(), k = std::min<size_t>(8, job.steps);
                if (inside(job.at)) {
                    EdgeSamples::sample(loop, pic, job.a, k, job.at, ends);
                    nodes.add(job.at, ends.data(), static_cast<int>(ends.size()));
                }
                if (inside(job.end)) {
                    // The corner k steps before the end.
                    const size_t first = (job.a + job.steps - k) % n;
                    Corner c = job.end;
                    for (size_t i = 0, j = first; i < k; ++i, j = j + 1 == n ? 0 : j + 1) {
                        c.x -= kDx[loop.codes[j]];
                        c.y -= kDy[loop.codes[j]];
                    }
                    EdgeSamples::sample(loop, pic, first, k, c, ends);
                    std::reverse(ends.begin(), ends.end());
                    nodes.add(job.end, ends.data(), static_cast<int>(ends.size()));
                }
            }
            nodes.settle();
        }

        // 2. The claimed pieces and islands fitted, on several threads for a
        // large picture: each fit reads only the picture, the labels and its
        // own loop, and writes only its own piece, so the curves are the
        // same for any number of threads.
        if (!jobs.empty()) {
            const FlatPicture flat(given);
            // Fits the jobs `order` names (all of them when empty), on
            // several threads where the picture is large and there are
            // several: every band takes the next fit to make until none is
            // left. Band 0, on this thread, asks the progress among its
            // fits; the others stop before their next fit once told to.
            // When this thread's fits are done it asks the progress about
            // every 5 ms until the others end. False on a stop or when
            // memory ran out.
            auto fitAll = [&](const std::vector<size_t>& order, double from, double span) {
                const size_t total = order.empty() ? jobs.size() : order.size();
                if (total == 0) return true;
                std::atomic<size_t> next{0};
                std::atomic<bool> stop{false}, failed{false};
                auto fitted = [&]() {
                    return from + span * static_cast<double>(std::min(next.load(), total)) /
                                      static_cast<double>(total);
                };
                auto runJobs = [&](PieceFitter& f, const Going& go) {
                    for (;;) {
                        const size_t k = next.fetch_add(1);
                        if (k >= total) return;
                        const FitJob& job = jobs[order.empty() ? k : order[k]];
                        const size_t j = job.use;
                        if (!(j < uses.size() ? f.piece(uses[j], job, go)
                                              : f.island(islandUses[j - uses.size()], go)))
                            return;
                    }
                };
                const int count = static_cast<int>(std::min<long long>(
                    Bands::count(options.threads,
                                 static_cast<long long>(given.width) * given.height, kMinFitPixels),
                    static_cast<long long>(total)));
                Bands::run(
                    count, count,
                    [&](int band, long long, long long) {
                        try {
                            PieceFitter f(r, given, pic, flat.pic, nodes, options);
                            if (band == 0)
                                runJobs(f, [&](size_t steps) {
                                    share = fitted();
                                    if (stop.load() || !done(steps)) stop = true;
                                    return !stop.load();
                                });
                            else
                                runJobs(f, [&stop](size_t) { return !stop.load(); });
                        } catch (...) {
                            failed = true;  // memory ran out
                            stop = true;
                        }
                    },
                    [&]() {
                        share = fitted();
                        if (!stop.load() && !going()) stop = true;
                    });
                return !stopped && !failed.load() && !stop.load();
            };
            if (!fitAll({}, 0.2, 0.7)) return false;

            // Where only some of the pieces at a tip run to it, the others
            // leave a spur between their ends: such a junction goes the way
            // most of its pieces went, and the pieces that went the other
            // way are fitted again (each reads the junctions as decided and
            // writes only its own piece, as above).
            if (!nodes.empty()) {
                auto slotOf = [&](const FitJob& job) -> const Piece& {
                    return *uses[job.use].pieces[job.piece].piece;
                };
                for (const FitJob& job : jobs) {
                    if (job.use >= uses.size()) continue;
                    nodes.vote(job.at, slotOf(job).tips[0]);
                    nodes.vote(job.end, slotOf(job).tips[1]);
                }
                nodes.decide();
                std::vector<size_t> again;
                for (size_t ji = 0; ji < jobs.size(); ++ji) {
                    const FitJob& job = jobs[ji];
                    if (job.use >= uses.size()) continue;
                    const int w0 = nodes.way(job.at), w1 = nodes.way(job.end);
                    if ((w0 && (w0 > 0) != slotOf(job).tips[0]) ||
                        (w1 && (w1 > 0) != slotOf(job).tips[1]))
                        again.push_back(ji);
                }
                if (!again.empty() && !fitAll(again, 0.9, 0)) return false;
            }
        }

        // 3. Every loop put together from its pieces. A piece's curves are
        // freed once its last loop has taken them, so that the freeing of a
        // large picture's pieces happens here, among the progress checks,
        // and not all at once on the way out.
        const double loops =
            static_cast<double>(std::max<size_t>(uses.size() + islandUses.size(), 1));
        for (size_t k = 0; k < islandUses.size(); ++k) {
            IslandUse& u = islandUses[k];
            share = 0.9 + 0.1 * static_cast<double>(k) / loops;
            Piece& p = *u.piece;
            if (!done(p.curve.size())) return false;
            Curve& result = u.shape->curves[u.loop];
            if (u.back)
                result.assign(p.curve.rbegin(), p.curve.rend());
            else
                result = p.curve;
            set.curvedLoops += p.curved;
            if (--p.users == 0) Curve().swap(p.curve);
        }
        for (size_t k = 0; k < uses.size(); ++k) {
            Uses& u = uses[k];
            share = 0.9 + 0.1 * static_cast<double>(islandUses.size() + k) / loops;
            if (!done(4 * u.pieces.size())) return false;
            Curve& result = u.shape->curves[u.loop];
            bool anyCurved = false;
            result.push_back(u.start);
            for (const PieceUse& use : u.pieces) {
                Piece& p = *use.piece;
                // The hidden curve for every loop but the last one drawn,
                // when that one keeps the top region inside.
                const bool hide =
                    !p.hidden.empty() && u.shapeIndex != p.lastShape && p.lastForward == p.topIn;
                const Curve& c = hide ? p.hidden : p.curve;
                if (use.reversed)
                    result.insert(result.end(), c.rbegin() + 1, c.rend());
                else
                    result.insert(result.end(), c.begin() + 1, c.end());
                anyCurved = anyCurved || p.curved;
                if (--p.users == 0) {
                    Curve().swap(p.curve);
                    Curve().swap(p.hidden);
                }
            }
            std::vector<PieceUse>().swap(u.pieces);
            joinStraights(result);
            set.curvedLoops += anyCurved;
        }
    } catch (...) {
        return false;
    }
    return true;
}

}  // namespace om1
