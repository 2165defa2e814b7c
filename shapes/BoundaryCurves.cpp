#include "shapes/BoundaryCurves.h"

#include <cmath>
#include <unordered_map>
#include <vector>

#include "shapes/AreaCoverage.h"
#include "shapes/CurveFitter.h"
#include "shapes/CurveJudge.h"

namespace om1 {

namespace {

const int kDx[4] = {1, 0, -1, 0};
const int kDy[4] = {0, 1, 0, -1};
const int kOutX[4] = {0, 0, -1, -1}, kOutY[4] = {-1, 0, 0, -1};

using Curve = std::vector<PointD>;

struct Raster {
    const int32_t* labels;
    int w, h;
    int32_t at(int x, int y) const {
        return x < 0 || y < 0 || x >= w || y >= h ? -1 : labels[static_cast<size_t>(y) * w + x];
    }
    bool junction(int cx, int cy) const {
        if ((cx == 0 || cx == w) && (cy == 0 || cy == h)) return true;
        const int32_t a = at(cx - 1, cy - 1), b = at(cx, cy - 1), c = at(cx - 1, cy),
                      d = at(cx, cy);
        const int degree = (a != b) + (c != d) + (a != c) + (b != d);
        return degree >= 3;
    }
};

long long key(int x, int y, int d) {
    return ((static_cast<long long>(y) << 32) | static_cast<unsigned>(x)) * 4 + d;
}

PointD bezierAt(const PointD* p, double t) {
    const double u = 1 - t;
    const double b0 = u * u * u, b1 = 3 * u * u * t, b2 = 3 * u * t * t, b3 = t * t * t;
    return {b0 * p[0].x + b1 * p[1].x + b2 * p[2].x + b3 * p[3].x,
            b0 * p[0].y + b1 * p[1].y + b2 * p[2].y + b3 * p[3].y};
}

// The part of cubic p between parameters t0 < t1, as four points.
void subSegment(const PointD* p, double t0, double t1, PointD* out) {
    auto split = [](const PointD* q, double t, PointD* left, PointD* right) {
        auto lerp = [t](PointD a, PointD b) {
            return PointD{a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t};
        };
        const PointD a = lerp(q[0], q[1]), b = lerp(q[1], q[2]), c = lerp(q[2], q[3]);
        const PointD d = lerp(a, b), e = lerp(b, c), f = lerp(d, e);
        if (left) {
            left[0] = q[0];
            left[1] = a;
            left[2] = d;
            left[3] = f;
        }
        if (right) {
            right[0] = f;
            right[1] = e;
            right[2] = c;
            right[3] = q[3];
        }
    };
    PointD right[4];
    split(p, t0, nullptr, right);
    const double t = t0 < 1 ? (t1 - t0) / (1 - t0) : 0;
    split(right, t, out, nullptr);
}

// A position on a closed curve: segment index plus parameter.
struct Pos {
    int seg;
    double t;
};

// Appends to `out` (which ends at the curve point of `a`) the curve from a
// to b, going forward and wrapping round; b at or before a means the full
// way round.
void appendSection(const Curve& c, Pos a, Pos b, Curve& out) {
    const int n = static_cast<int>((c.size() - 1) / 3);
    int seg = a.seg;
    double t = a.t;
    bool first = true;
    for (int guard = 0; guard <= n + 1; ++guard) {
        const bool last = seg == b.seg && (b.t > t || (!first && b.t >= t));
        const double t1 = last ? b.t : 1.0;
        if (t1 > t) {
            PointD s[4];
            subSegment(&c[3 * seg], t, t1, s);
            out.push_back(s[1]);
            out.push_back(s[2]);
            out.push_back(s[3]);
        }
        if (last) return;
        seg = (seg + 1) % n;
        t = 0;
        first = false;
    }
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

// The corners of a loop from corner a to corner b (round the loop; b at or
// before a: the full way round).
void cornersBetween(const std::vector<Corner>& corners, int a, int b, std::vector<Corner>& pc) {
    const int n = static_cast<int>(corners.size());
    pc.clear();
    for (int k = a;; k = (k + 1) % n) {
        pc.push_back(corners[static_cast<size_t>(k)]);
        if (k == b && pc.size() > 1) break;
    }
}

// Whether a fitted piece (or an island's whole curve) stays: see the header.
class Chooser {
public:
    Chooser(const EdgeSamples::Picture& pic, const OutputOptions& options)
        : pic_(pic), options_(options) {}

    bool keep(const Curve& curve, const std::vector<Corner>& stair, bool closed, int32_t in,
              int32_t out) {
        if (options_.maxCurveAreaError < 0) return true;
        if (out < 0 || in < 0) return false;
        const CurveJudge::Errors e =
            CurveJudge::compare(curve, stair, closed, in, out, judgePicture(), cov_, cells_);
        if (e.area <= 1e-6) return false;  // the staircase itself
        if (pic_.pixels) return e.curve < e.staircase;
        const double steps = static_cast<double>(stair.size() - (closed ? 0 : 1));
        return e.area <= options_.maxCurveAreaError * steps;
    }

private:
    // Without a picture the judge still measures the area between the two;
    // every pixel then reads as its label's colour.
    const EdgeSamples::Picture& judgePicture() {
        if (pic_.pixels) return pic_;
        if (flat_.empty()) {
            flat_.resize(static_cast<size_t>(pic_.width) * pic_.height);
            for (size_t i = 0; i < flat_.size(); ++i) {
                const int32_t l = pic_.labels[i];
                flat_[i] = l >= 0 ? (*pic_.colours)[static_cast<size_t>(l)] : RGBQUAD{};
            }
            flatPic_ = pic_;
            flatPic_.pixels = flat_.data();
        }
        return flatPic_;
    }

    const EdgeSamples::Picture& pic_;
    const OutputOptions& options_;
    AreaCoverage cov_;
    std::vector<AreaCoverage::Cell> cells_;
    std::vector<RGBQUAD> flat_;
    EdgeSamples::Picture flatPic_;
};

// The labels on either side of the step that leaves corner k of a loop.
void sides(const Raster& r, const CrackLoop& loop, const std::vector<Corner>& corners, int k,
           int32_t& in, int32_t& out) {
    const int d = loop.codes[static_cast<size_t>(k)];
    const Corner& c = corners[static_cast<size_t>(k)];
    out = r.at(c.x + kOutX[d], c.y + kOutY[d]);
    const int o = (d + 3) & 3;
    in = r.at(c.x + kOutX[d] - kDx[o], c.y + kOutY[d] - kDy[o]);
}

}  // namespace

bool BoundaryCurves::fit(const EdgeSamples::Picture& pic, const OutputOptions& options,
                         ShapeSet& set) {
    Raster r{pic.labels, pic.width, pic.height};
    const bool cutout = options.layout == OutputOptions::Layout::Cutout;
    try {
        Chooser chooser(pic, options);
        // Cutout: pieces owned by a loop, by the key of their first step,
        // and whole loops without junctions, by the key of their first step.
        std::unordered_map<long long, Curve> owned;
        std::unordered_map<long long, Curve> islands;
        std::vector<std::vector<std::vector<int>>> junctions(set.shapes.size());
        std::vector<PointD> samples;
        std::vector<Corner> pc;

        // Pass 1: fit the loops; cut and choose the pieces each owns.
        for (size_t si = 0; si < set.shapes.size(); ++si) {
            Shape& s = set.shapes[si];
            const int32_t label = static_cast<int32_t>(si);
            junctions[si].resize(s.loops.size());
            s.curves.assign(s.loops.size(), Curve());
            for (size_t li = 0; li < s.loops.size(); ++li) {
                const CrackLoop& loop = s.loops[li];
                const std::vector<Corner> corners = loop.corners();
                const size_t n = corners.size();
                std::vector<int>& js = junctions[si][li];
                for (size_t k = 0; k < n; ++k)
                    if (r.junction(corners[k].x, corners[k].y)) js.push_back(static_cast<int>(k));
                // Which pieces this loop decides.
                auto owns = [&](int k) {
                    if (!cutout) return true;
                    int32_t in, out;
                    sides(r, loop, corners, k, in, out);
                    return out < 0 || label < out;
                };
                bool any = js.empty() ? owns(0) : false;
                for (size_t j = 0; j < js.size() && !any; ++j) any = owns(js[j]);
                if (!any) continue;
                Curve whole;
                EdgeSamples::sample(loop, pic, samples);
                CurveFitter::fitLoop(loop, samples, options.curveTolerance, whole);
                Curve& result = s.curves[li];
                if (js.empty()) {
                    int32_t in, out;
                    sides(r, loop, corners, 0, in, out);
                    const bool curved = chooser.keep(whole, corners, true, in, out);
                    if (curved) {
                        ++set.curvedLoops;
                        result = whole;
                    } else {
                        CurveFitter::polygonCurve(loop, result);
                    }
                    if (cutout) {
                        const int d = loop.codes[0];
                        islands[key(corners[0].x, corners[0].y, d)] = result;
                    }
                    continue;
                }
                // Flatten the fitted curve for nearest-point searches.
                const int segs = static_cast<int>((whole.size() - 1) / 3);
                const int per = 16;
                std::vector<PointD> pts;
                std::vector<Pos> where;
                for (int sg = 0; sg < segs; ++sg)
                    for (int k = 0; k < per; ++k) {
                        pts.push_back(bezierAt(&whole[3 * sg], static_cast<double>(k) / per));
                        where.push_back({sg, static_cast<double>(k) / per});
                    }
                const size_t m = pts.size();
                auto d2 = [&](size_t i, const Corner& c) {
                    return (pts[i].x - c.x) * (pts[i].x - c.x) +
                           (pts[i].y - c.y) * (pts[i].y - c.y);
                };
                // First junction: the nearest sample anywhere.
                std::vector<size_t> at(js.size());
                std::vector<double> dist(js.size());
                size_t best = 0;
                for (size_t i = 1; i < m; ++i)
                    if (d2(i, corners[js[0]]) < d2(best, corners[js[0]])) best = i;
                at[0] = best;
                dist[0] = m ? d2(best, corners[js[0]]) : 1e9;
                // The others: searching forward within the piece's length.
                for (size_t j = 1; j < js.size() && m; ++j) {
                    const double steps = js[j] - js[j - 1];
                    const size_t from = at[j - 1];
                    size_t b = from;
                    double walked = 0;
                    for (size_t i = from, c = 0; c < m; ++c) {
                        const size_t nx = (i + 1) % m;
                        walked += std::hypot(pts[nx].x - pts[i].x, pts[nx].y - pts[i].y);
                        i = nx;
                        if (walked > 1.6 * steps + 3) break;
                        if (d2(i, corners[js[j]]) < d2(b, corners[js[j]])) b = i;
                    }
                    at[j] = b;
                    dist[j] = d2(b, corners[js[j]]);
                }
                bool anyCurved = false;
                if (!cutout)
                    result.push_back({static_cast<double>(corners[js[0]].x),
                                      static_cast<double>(corners[js[0]].y)});
                for (size_t j = 0; j < js.size(); ++j) {
                    const size_t j2 = (j + 1) % js.size();
                    const int a = js[j], b = js[j2];
                    const Corner& ca = corners[a];
                    const int d = loop.codes[a];
                    if (!owns(a)) continue;
                    int32_t in, out;
                    sides(r, loop, corners, a, in, out);
                    cornersBetween(corners, a, b, pc);
                    Curve piece;
                    const int steps = static_cast<int>(pc.size()) - 1;
                    const bool closeBy = dist[j] <= 4.0 && dist[j2] <= 4.0;
                    const bool ordered = js.size() == 1 || at[j2] != at[j];
                    bool curved = false;
                    if (steps >= 3 && closeBy && ordered && out >= 0) {
                        piece.push_back({static_cast<double>(ca.x), static_cast<double>(ca.y)});
                        appendSection(whole, where[at[j]], where[at[j2]], piece);
                        // Pin both ends exactly onto the junctions.
                        const Corner& cb = corners[b];
                        if (piece.size() >= 4) {
                            const PointD s0 =
                                bezierAt(&whole[3 * where[at[j]].seg], where[at[j]].t);
                            piece[1].x += ca.x - s0.x;
                            piece[1].y += ca.y - s0.y;
                            PointD& e = piece.back();
                            PointD& e1 = piece[piece.size() - 2];
                            e1.x += cb.x - e.x;
                            e1.y += cb.y - e.y;
                            e = {static_cast<double>(cb.x), static_cast<double>(cb.y)};
                            curved = chooser.keep(piece, pc, false, in, out);
                        }
                    }
                    if (!curved) straightPiece(pc, piece);
                    anyCurved = anyCurved || curved;
                    if (cutout)
                        owned[key(ca.x, ca.y, d)] = std::move(piece);
                    else
                        result.insert(result.end(), piece.begin() + 1, piece.end());
                }
                set.curvedLoops += anyCurved;
            }
        }
        if (!cutout) return true;

        // Pass 2 (cutout): assemble every loop from its pieces.
        for (size_t si = 0; si < set.shapes.size(); ++si) {
            Shape& s = set.shapes[si];
            const int32_t label = static_cast<int32_t>(si);
            for (size_t li = 0; li < s.loops.size(); ++li) {
                const CrackLoop& loop = s.loops[li];
                const std::vector<Corner> corners = loop.corners();
                const int n = static_cast<int>(corners.size());
                const std::vector<int>& js = junctions[si][li];
                Curve& out = s.curves[li];
                if (js.empty()) {
                    const int d = loop.codes[0];
                    const int32_t other = r.at(corners[0].x + kOutX[d], corners[0].y + kOutY[d]);
                    if (other < 0 || label < other) continue;  // done in pass 1
                    // The neighbour's loop runs the same steps backwards; find it
                    // by any of its steps: the reverse of each of ours.
                    const Curve* theirs = nullptr;
                    for (int k = 0; k < n && !theirs; ++k) {
                        const int dk = loop.codes[k];
                        const Corner e = {corners[k].x + kDx[dk], corners[k].y + kDy[dk]};
                        auto it = islands.find(key(e.x, e.y, (dk + 2) & 3));
                        if (it != islands.end()) theirs = &it->second;
                    }
                    if (theirs)
                        out.assign(theirs->rbegin(), theirs->rend());
                    else
                        CurveFitter::polygonCurve(loop, out);
                    continue;
                }
                out.clear();
                out.push_back(
                    {static_cast<double>(corners[js[0]].x), static_cast<double>(corners[js[0]].y)});
                for (size_t j = 0; j < js.size(); ++j) {
                    const int a = js[j], b = js[(j + 1) % js.size()];
                    const int d = loop.codes[a];
                    const int32_t other = r.at(corners[a].x + kOutX[d], corners[a].y + kOutY[d]);
                    const Curve* piece = nullptr;
                    Curve reversed;
                    if (other < 0 || label < other) {
                        auto it = owned.find(key(corners[a].x, corners[a].y, d));
                        if (it != owned.end()) piece = &it->second;
                    } else {
                        // The owner's piece starts where ours ends, going back.
                        const int last = (b + n - 1) % n;
                        const int dl = loop.codes[last];
                        auto it = owned.find(key(corners[b].x, corners[b].y, (dl + 2) & 3));
                        if (it != owned.end()) {
                            reversed.assign(it->second.rbegin(), it->second.rend());
                            piece = &reversed;
                        }
                    }
                    Curve fallback;
                    if (!piece) {
                        cornersBetween(corners, a, b, pc);
                        straightPiece(pc, fallback);
                        piece = &fallback;
                    }
                    out.insert(out.end(), piece->begin() + 1, piece->end());
                }
            }
        }
    } catch (...) {
        return false;
    }
    return true;
}

}  // namespace om1
