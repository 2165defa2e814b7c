// The curve record, the smoothing filters, straight-line editing and the
// Bezier segments, on chains built by hand and on random closed chains.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <set>
#include <utility>
#include <vector>

#include "curves/CurveConverter.h"
#include "ChainShapes.h"

namespace {

// The differences of a closed curve sum to zero in both directions.
void expectClosed(const BmCurve& b) {
    double x = 0, y = 0;
    for (int i = 0; i < b.count; ++i) x += b.diffX[i], y += b.diffY[i];
    EXPECT_NEAR(x, 0, 1e-9);
    EXPECT_NEAR(y, 0, 1e-9);
}

// A closed chain round a random blob: the boundary walk of a union of discs.
std::vector<unsigned char> randomLoop(unsigned seed, POINT& start) {
    srand(seed);
    const int N = 40;
    std::vector<int> inside(N * N, 0);
    int discs = 1 + rand() % 4;
    for (int d = 0; d < discs; ++d) {
        int cx = 12 + rand() % 16, cy = 12 + rand() % 16, r = 3 + rand() % 8;
        for (int y = 0; y < N; ++y)
            for (int x = 0; x < N; ++x)
                if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r) inside[y * N + x] = 1;
    }
    // Keep the component of the first disc centre's... take the topmost pixel.
    int sx = -1, sy = -1;
    for (int y = 0; y < N && sx < 0; ++y)
        for (int x = 0; x < N; ++x)
            if (inside[y * N + x]) {
                sx = x;
                sy = y;
                break;
            }
    // Follow the outer boundary with the square-tracing rule on 4-neighbours
    // (pixel steps), giving a closed chain through boundary pixels.
    auto in = [&](int x, int y) { return x >= 0 && y >= 0 && x < N && y < N && inside[y * N + x]; };
    const int dx[4] = {1, 0, -1, 0}, dy[4] = {0, 1, 0, -1};
    std::vector<unsigned char> codes;
    int x = sx, y = sy, d = 0;
    start = POINT{sx, sy};
    for (int guard = 0; guard < 100000; ++guard) {
        // Turn left first (keeps the region on one side), then straight, right, back.
        int tryOrder[4] = {(d + 3) % 4, d, (d + 1) % 4, (d + 2) % 4};
        int nd = -1;
        for (int t : tryOrder)
            if (in(x + dx[t], y + dy[t])) {
                nd = t;
                break;
            }
        if (nd < 0) break;
        x += dx[nd];
        y += dy[nd];
        d = nd;
        codes.push_back(static_cast<unsigned char>(nd));
        if (x == sx && y == sy && codes.size() > 2) break;
    }
    return codes;
}

}  // namespace

TEST(CurveData, LengthZeroKeepsTheCurveAndBadInputIsRefused) {
    std::vector<unsigned char> c = testchains::box(3, 3);
    CurveConverter cv;
    ASSERT_TRUE(cv.getCurveData(c.data(), 12, POINT{0, 0}));
    BmCurve* before = cv.curve;
    EXPECT_TRUE(cv.getCurveData(c.data(), 0, POINT{0, 0}));
    EXPECT_EQ(cv.curve, before);
    EXPECT_FALSE(cv.getCurveData(nullptr, 5, POINT{0, 0}));
    EXPECT_EQ(cv.curve, before);
    unsigned char one = 1;
    ASSERT_TRUE(cv.getCurveData(&one, 1, POINT{0, 0}));
    EXPECT_EQ(cv.curve->count, 1);
    EXPECT_DOUBLE_EQ(cv.curve->diffY[0], 1.0);
}

TEST(CurveFilters, NeutralWindowsAndFailures) {
    std::vector<unsigned char> c = testchains::box(7, 5);
    CurveConverter cv;
    ASSERT_TRUE(cv.getCurveData(c.data(), static_cast<int>(c.size()), POINT{0, 0}));
    std::vector<double> x(cv.curve->diffX, cv.curve->diffX + cv.curve->count);
    EXPECT_TRUE(cv.AverFilter(1));
    EXPECT_TRUE(cv.cornerProtectiveFilter(0));
    for (int i = 0; i < cv.curve->count; ++i) EXPECT_EQ(cv.curve->diffX[i], x[i]);
    EXPECT_FALSE(cv.smoothFiniteDiff(-0.5));
    unsigned char four[4] = {0, 1, 2, 3};  // too short to smooth
    ASSERT_TRUE(cv.getCurveData(four, 4, POINT{0, 0}));
    x.assign(cv.curve->diffX, cv.curve->diffX + 4);
    ASSERT_TRUE(cv.smoothFiniteDiff(5.0));
    for (int i = 0; i < 4; ++i) EXPECT_DOUBLE_EQ(cv.curve->diffX[i], x[i]);
    CurveConverter none;
    EXPECT_FALSE(none.AverFilter(3));
    EXPECT_FALSE(none.smoothFiniteDiff(1.0));
    EXPECT_FALSE(none.dropSmartMedian());
    none.editStraightLines();
    EXPECT_EQ(none.getSegmentCount(), 0);
}

TEST(CurveFilters, FiltersKeepTheCurveClosed) {
    std::vector<unsigned char> c = testchains::box(9, 6);
    for (int k : {2, 3, 5, 40}) {  // 40: wider than the chain of 30
        CurveConverter a, b;
        ASSERT_TRUE(a.getCurveData(c.data(), static_cast<int>(c.size()), POINT{0, 0}));
        ASSERT_TRUE(b.getCurveData(c.data(), static_cast<int>(c.size()), POINT{0, 0}));
        ASSERT_TRUE(a.AverFilter(k));
        CurveCnvrtParam p = {k};
        ASSERT_TRUE(b.convertBmCurveToBezier(nullptr, 0, p));
        EXPECT_EQ(b.curve->window, k);
        expectClosed(*a.curve);
        expectClosed(*b.curve);
    }
    CurveConverter s;
    ASSERT_TRUE(s.getCurveData(c.data(), static_cast<int>(c.size()), POINT{0, 0}));
    ASSERT_TRUE(s.smoothFiniteDiff(2.0));
    expectClosed(*s.curve);
}

TEST(StraightLines, RectangleGivesFourCornerNodes) {
    std::vector<unsigned char> c = testchains::box(8, 5);
    CurveConverter cv(1.0);
    ASSERT_TRUE(cv.getCurveData(c.data(), static_cast<int>(c.size()), POINT{3, 2}));
    ASSERT_TRUE(cv.dropSmartMedian());
    ASSERT_EQ(cv.curve->nodeCount, 4);
    const double want[4][2] = {{3, 2}, {11, 2}, {11, 7}, {3, 7}};
    for (int j = 0; j < 4; ++j) {
        EXPECT_DOUBLE_EQ(cv.curve->nodes[j].pos.x, want[j][0]) << j;
        EXPECT_DOUBLE_EQ(cv.curve->nodes[j].pos.y, want[j][1]) << j;
    }
    cv.editStraightLines();
    ASSERT_EQ(cv.getSegmentCount(), 4);
    for (int j = 0; j < 4; ++j) EXPECT_TRUE(cv.curve->nodes[j].corner) << j;
    const BezierSegment* s = cv.getSegments();
    EXPECT_DOUBLE_EQ(s[0].p0.x, 4.0);  // node 0 plus the 1.0 offset
    EXPECT_DOUBLE_EQ(s[0].p0.y, 3.0);
    // Straight chords: handles on the chord at 0.4 of its length.
    EXPECT_DOUBLE_EQ(s[0].p1.x, 4.0 + 0.4 * 8);
    EXPECT_DOUBLE_EQ(s[0].p1.y, 3.0);
    EXPECT_DOUBLE_EQ(s[3].p3.x, s[0].p0.x);
    EXPECT_DOUBLE_EQ(s[3].p3.y, s[0].p0.y);

    // A second edit finds every node visited and appends nothing: the four
    // segments stay, with their values.
    const std::vector<BezierSegment> before(s, s + 4);
    cv.editStraightLines();
    ASSERT_EQ(cv.getSegmentCount(), 4);
    ASSERT_NE(cv.getSegments(), nullptr);
    for (int j = 0; j < 4; ++j) {
        EXPECT_DOUBLE_EQ(cv.getSegments()[j].p0.x, before[j].p0.x) << j;
        EXPECT_DOUBLE_EQ(cv.getSegments()[j].p2.y, before[j].p2.y) << j;
    }
}

TEST(StraightLines, StaircaseMergesIntoOneChordAtToleranceZero) {
    // A diamond whose four sides are 45-degree staircases of eight steps.
    std::vector<unsigned char> c;
    const int pairs[4][2] = {{0, 1}, {1, 2}, {2, 3}, {3, 0}};
    for (auto& p : pairs)
        for (int k = 0; k < 4; ++k) {
            c.push_back(static_cast<unsigned char>(p[0]));
            c.push_back(static_cast<unsigned char>(p[1]));
        }
    CurveConverter cv(0.0);
    ASSERT_TRUE(cv.getCurveData(c.data(), static_cast<int>(c.size()), POINT{10, 10}));
    ASSERT_TRUE(cv.dropSmartMedian());
    // Runs of one step, and runs of two where two sides meet (four of them).
    ASSERT_EQ(cv.curve->nodeCount, 28);
    cv.editStraightLines();
    // The staircase nodes of each side lie on one line and merge into one
    // 45-degree chord of five nodes; the corner nodes stay.
    ASSERT_EQ(cv.curve->nodeCount, 12);
    EXPECT_EQ(cv.getSegmentCount(), 12);
    int chords = 0;
    for (int i = 0; i < 12; ++i) {
        const CurveNode& a = cv.curve->nodes[i];
        const CurveNode& b = cv.curve->nodes[(i + 1) % 12];
        if (a.span != 5) continue;
        ++chords;
        EXPECT_DOUBLE_EQ(std::fabs(b.pos.x - a.pos.x), std::fabs(b.pos.y - a.pos.y));
        EXPECT_DOUBLE_EQ(a.bulge, 0.0);
        EXPECT_DOUBLE_EQ(a.arcAngle, 0.0);
    }
    EXPECT_EQ(chords, 4);
}

TEST(BezierFit, HalfAngleSearch) {
    EXPECT_DOUBLE_EQ(BmCurve::solveHalfAngle(0.005), 0.005);
    EXPECT_DOUBLE_EQ(BmCurve::solveHalfAngle(1.5), 1.5);
    // Searched from 0.05 in steps of 0.01 below 0.3 (1/t - cot t ~ t/3): the
    // grid point 0.15.
    EXPECT_NEAR(BmCurve::solveHalfAngle(0.05), 0.15, 1e-9);
}

namespace {
// Three nodes: a straight run, a turn of `angle` at node 1, straight on.
bool cornerAt(double angle, double arc0) {
    CurveConverter cv;
    unsigned char dummy[4] = {0, 1, 2, 3};
    cv.getCurveData(dummy, 4, POINT{0, 0});
    BmCurve& b = *cv.curve;
    b.nodeCount = 3;
    b.nodes[0].pos = {0, 0};
    b.nodes[1].pos = {10, 0};
    b.nodes[2].pos = {10 + 10 * std::cos(angle), 10 * std::sin(angle)};
    b.nodes[0].arcAngle = arc0;
    for (int i = 0; i < 3; ++i) b.nodes[i].corner = false;
    struct Expose : CurveConverter {
        using CurveConverter::markCorners;
    };
    static_cast<Expose&>(cv).markCorners();
    return b.nodes[1].corner;
}
}  // namespace

TEST(BezierFit, CornerThresholds) {
    EXPECT_FALSE(cornerAt(0.03, 0));
    EXPECT_TRUE(cornerAt(0.05, 0));
    EXPECT_FALSE(cornerAt(0.3, 0.1));  // beside a curved segment the limit is 0.4
    EXPECT_TRUE(cornerAt(0.6, 0.1));
}

TEST(BezierFit, RandomClosedChainsGiveFiniteClosedCurvesNearTheChain) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        POINT start;
        std::vector<unsigned char> c = randomLoop(seed, start);
        ASSERT_GE(c.size(), 4u);
        std::set<std::pair<int, int>> pixels;
        int x = start.x, y = start.y;
        for (unsigned char code : c) {
            pixels.insert({x, y});
            x += code == 0 ? 1 : code == 2 ? -1 : 0;
            y += code == 1 ? 1 : code == 3 ? -1 : 0;
        }
        ASSERT_EQ(x, start.x);
        ASSERT_EQ(y, start.y);
        for (double tol : {0.0, 1.0, 2.0}) {
            CurveConverter cv(tol);
            ASSERT_TRUE(cv.getCurveData(c.data(), static_cast<int>(c.size()), start));
            ASSERT_TRUE(cv.dropSmartMedian());
            cv.editStraightLines();
            int n = cv.getSegmentCount();
            ASSERT_GE(n, 1) << seed;
            const BezierSegment* s = cv.getSegments();
            for (int i = 0; i < n; ++i) {
                for (const CurvePoint& p : {s[i].p0, s[i].p1, s[i].p2, s[i].p3}) {
                    EXPECT_TRUE(std::isfinite(p.x) && std::isfinite(p.y)) << seed;
                }
                const CurvePoint& next = s[(i + 1) % n].p0;
                EXPECT_DOUBLE_EQ(s[i].p3.x, next.x);
                EXPECT_DOUBLE_EQ(s[i].p3.y, next.y);
                double ex = s[i].p0.x - 1.0, ey = s[i].p0.y - 1.0;
                double best = 1e9;
                for (auto& px : pixels)
                    best = std::min(best, std::hypot(px.first - ex, px.second - ey));
                EXPECT_LE(best, 2.0) << "seed " << seed << " tol " << tol;
            }
        }
    }
}

namespace {

struct MergingConverter : CurveConverter {
    using CurveConverter::CurveConverter;
    using CurveConverter::mergePass;
};

// The merge pass as written, with no guard; returns the number of rounds.
int unguardedMergePass(BmCurve& c) {
    int prev = c.nodeCount - 1, i = 0, rounds = 0;
    bool first = true;
    while (i < c.nodeCount) {
        ++rounds;
        while (c.mergeNext(i)) {
        }
        while (c.adjustBoundary(prev, i)) {
        }
        if (!first && i < prev) {
            prev = i;
            i += c.nodes[i].span;
            break;
        }
        prev = i;
        first = false;
        i += c.nodes[i].span;
    }
    i = BmCurve::wrapIndex(i, c.nodeCount);
    while (c.adjustBoundary(prev, i)) {
    }
    return rounds;
}

// A long closed chain round a rectangle whose sides carry random dents.
std::vector<unsigned char> noisyRectangle(unsigned seed, int side) {
    std::vector<unsigned char> c;
    for (int d = 0; d < 4; ++d) {
        const unsigned char along = static_cast<unsigned char>(d == 0   ? 0
                                                               : d == 1 ? 3
                                                               : d == 2 ? 2
                                                                        : 1);
        for (int k = 0; k < side; ++k) {
            seed = seed * 1664525u + 1013904223u;
            c.push_back(along);
            if ((seed >> 24) % 5 == 0) {  // a dent one or two pixels deep
                unsigned char out = static_cast<unsigned char>((along + 1) % 4);
                int depth = 1 + static_cast<int>((seed >> 16) % 2);
                for (int t = 0; t < depth; ++t) c.push_back(out);
                c.push_back(along);
                for (int t = 0; t < depth; ++t)
                    c.push_back(static_cast<unsigned char>((out + 2) % 4));
            }
        }
    }
    return c;
}

}  // namespace

TEST(StraightLines, MergePassEndsWellBeforeItsGuard) {
    for (unsigned seed : {1u, 2u})
        for (double tolerance : {0.0, 1.0, 3.0}) {
            std::vector<unsigned char> chain = noisyRectangle(seed, 800);
            MergingConverter cv(tolerance);
            ASSERT_TRUE(cv.getCurveData(chain.data(), static_cast<int>(chain.size()), POINT{0, 0}));
            ASSERT_TRUE(cv.dropSmartMedian());
            BmCurve& c = *cv.curve;
            const int n = c.nodeCount;
            ASSERT_GT(n, 500);
            BmCurve ref;
            ref.nodeCount = n;
            ref.tolerance = c.tolerance;
            ref.nodes = static_cast<CurveNode*>(calloc(static_cast<size_t>(n), sizeof(CurveNode)));
            ASSERT_NE(ref.nodes, nullptr);
            for (int k = 0; k < n; ++k) ref.nodes[k] = c.nodes[k];
            const int rounds = unguardedMergePass(ref);
            EXPECT_LE(rounds, n + 1);
            cv.mergePass();
            for (int k = 0; k < n; ++k) {
                ASSERT_EQ(c.nodes[k].span, ref.nodes[k].span) << k;
                ASSERT_EQ(c.nodes[k].absorbed, ref.nodes[k].absorbed) << k;
            }
        }
}
