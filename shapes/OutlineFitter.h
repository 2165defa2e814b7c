// OutlineFitter: a smooth closed outline through the samples of a boundary,
// with sharp corners where the boundary turns sharply.
//
// The samples are points on the true edge, one per boundary step (the step's
// midpoint, or the edge found between the pixel corners; EdgeSamples). The
// fit runs in four stages:
// 1. the polygon with the fewest edges such that every sample lies within
//    `straightness` of the edge that spans it (among those, the one with the
//    least squared distance), an edge never spanning a run that goes in all
//    four directions;
// 2. every polygon vertex moved to where the straight lines fitted to its two
//    edges (least squares over their samples) meet, at most `maxShift` away;
//    an edge under two pixels across a corner goes where the lines of its
//    neighbours meet within two pixels of its middle;
// 3. a vertex is a corner when a smooth curve through the midpoints of its
//    two edges could come no closer to it than `cornerSlack` (half a pixel
//    measured across the diagonal of a pixel) with handles of `alphaMax`
//    times the way to the vertex (with the default 1 a right angle between
//    edges of eight pixels or more), or when the polygon turns there by 80
//    degrees or more between edges of at least two pixels and every sample
//    of the two edges lies within 0.35 px of them (the corner of a small
//    feature: a rounded bend's samples fall short of the vertex), or at the
//    tip of a thin wedge;
// 4. a closed loop without corners whose samples all lie near one ellipse
//    (within `tolerance` and a quarter of a pixel, 0.06 px in the root mean
//    square) is that ellipse, four segments (EllipseFit): a drawn circle
//    stays round where its anti-aliased edge follows the renderer's chords;
//    else every stretch between corners (the whole loop when there is none) is
//    covered by as few cubic segments as keep every sample within
//    `tolerance`: the longest segment that fits is taken first (then fitted
//    again with more rounds, its ends and tangents kept), segments
//    meet with one tangent, and a stretch within `tolerance` of its chord is
//    one straight segment;
// 5. with `refine`, every join between two segments of a stretch is moved
//    across the curve and turned, a little at a time, where the two
//    segments fitted again come nearer their samples (least squares), each
//    within `tolerance`: the cover places a join on the sample where its
//    segment stops fitting, with the direction of the few samples there,
//    and the two segments together tell its place and direction better
//    (on the corpus's art the squared distances halve). The segments stay
//    as many.
#pragma once

#include <cstdint>
#include <vector>

#include "shapes/Shape.h"

namespace om1 {

class OutlineFitter {
public:
    struct Settings {
        double straightness = 0.5;  // pixels, stage 1
        double maxShift = 1.5;      // pixels, stage 2
        double cornerSlack = 0.5;   // pixels, stage 3
        double alphaMax = 1.0;      // stage 3
        double tolerance = 0.3;     // pixels, stage 4
        // Stage 4: a fit's squared distances sum to at most this share of
        // the tolerance's square per sample (0.29 of it in the root mean
        // square): a curve within the tolerance everywhere can still run
        // off to one side of a stretch of samples, and the edge then points
        // the wrong way there.
        double meanShare = 1.0 / 12;
        bool refine = true;  // stage 5
    };

    // The covers of one fit (stage 4), stretch by stretch, with the
    // polygon of a closed fit: a fit without `refine` records them, and a
    // fit of the same samples with the same settings but `refine` takes
    // them instead of covering again (stage 5 starts from the cover, so its
    // result is the same as without them). A stretch whose ends differ
    // from the one recorded at its place is covered again.
    struct Covers {
        struct Segment {
            int s, e;
            PointD t0, t3;
            bool skip0, skip3;
            // The refinement's first fit of it, where known: whether it
            // fits, its squared distances, its parameters in `params`.
            bool known, fits;
            double sum;
            size_t paramsAt, paramCount;
        };
        struct Stretch {
            int a, b;
            PointD A, B, tA, tB;
            size_t first, count;  // its segments in `segments`
        };
        std::vector<int> polygon;  // a closed fit's; empty: not recorded
        std::vector<Stretch> stretches;
        std::vector<Segment> segments;
        std::vector<PointD> points;  // three per segment, as the fit writes them
        std::vector<double> params;
        void clear() {
            polygon.clear();
            stretches.clear();
            segments.clear();
            points.clear();
            params.clear();
        }
    };

    // `samples` and `codes` (the step directions, 0 = +x, 1 = +y, 2 = -x,
    // 3 = -y; as many as samples) describe one closed boundary, one entry
    // per step. `out` gets a
    // closed curve of 3n + 1 points (straight segments have their control
    // points at the thirds). False when the boundary is too small or too
    // thin for a polygon of three edges; `out` is then empty. Throws
    // std::bad_alloc when memory runs out.
    // `covers` (may be null): see Covers.
    static bool fit(const std::vector<PointD>& samples, const uint8_t* codes,
                    const Settings& settings, std::vector<PointD>& out, Covers* covers = nullptr);

    // The same for an open path from points.front() to points.back(), which
    // stay where they are (as corners); `codes` gives each point's step
    // direction (the ends: those of the first and last steps). `out` gets
    // 3n + 1 points from the first point to the last.
    // `polygon`, when given, keeps the path's optimal polygon between calls
    // on the same points and codes (it does not depend on the tolerance):
    // empty, it is found and stored; else it is used as it is. Clear it
    // when the points change.
    // `runs`, when given, keeps the straight runs from every point that the
    // polygon is found from, between calls on the same codes and the same
    // points but the first and the last (the path's ends moved): empty, they
    // are found; else those that reach neither end are taken as they are.
    // Either way it gets this path's. Clear it when the points between
    // change.
    // `covers` as in fit().
    static bool fitOpen(const std::vector<PointD>& points, const std::vector<uint8_t>& codes,
                        const Settings& settings, std::vector<PointD>& out,
                        std::vector<int>* polygon = nullptr, std::vector<int>* runs = nullptr,
                        Covers* covers = nullptr);
};

}  // namespace om1
