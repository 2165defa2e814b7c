// The ring working copy of the chain against the chain fields: for every
// rotation of a few closed loops (plain boxes, a thin loop, a plus whose
// centre is visited four times, a U), every look-up, splice and cut must
// leave exactly the codes, start and split-off loop that the field
// operations of the tracer leave.
#include <gtest/gtest.h>

#include <vector>

#include "TracerFixtures.h"
#include "ChainShapes.h"
#include "tracer/ChainRing.h"

namespace {

const int kW = 14, kH = 12;

struct Loop {
    const char* name;
    POINT start;
    std::vector<unsigned char> codes;
};

std::vector<Loop> loops() {
    std::vector<Loop> out;
    out.push_back({"box", {2, 2}, testchains::boxOfPixels(6, 5)});
    out.push_back({"thin", {2, 3}, testchains::box(7, 1)});
    // 1-wide arms round (6, 6): right, down, left, up and back each time.
    out.push_back({"plus", {6, 6}, {0, 0, 2, 2, 1, 1, 3, 3, 2, 2, 0, 0, 3, 3, 1, 1}});
    // Along a U-shaped strip whose arms lie side by side.
    out.push_back(
        {"u", {2, 2}, {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 0, 0, 0, 3, 3, 2, 2, 2, 3}});
    return out;
}

// The loop in `c` with its logical start moved `rotation` positions on.
void lay(BoundChain& c, const Loop& l, int rotation) {
    c.count = 0;
    c.rotation = 0;
    c.start = c.end = l.start;
    for (size_t i = 0; i < l.codes.size(); ++i) c.append(l.codes[i], static_cast<unsigned>(i));
    c.end = c.start;
    for (int i = 0; i < rotation; ++i) c.advanceStart();
}

std::vector<unsigned char> logical(const BoundChain& c) {
    std::vector<unsigned char> v;
    for (int i = 0; i < c.count; ++i) v.push_back(static_cast<unsigned char>(c.codeAt(i)));
    return v;
}

// Lays in `a` an arc from the start of `c`: out with d2, then along the
// chain's first n codes.
void layArc(Arc_& a, const BoundChain& c, int d2, int n) {
    a.count = 0;
    a.start = a.end = c.start;
    a.append(d2, 0);
    for (int j = 0; j < n; ++j) a.pushBack(c.codeAt(j));
}

// A tracer over a blank picture, for its chain, arc and field operations.
struct Fixture {
    Image img{kW, kH, RGB(200, 200, 200)};
    OutLineManipulator olm{img.px.data(), kW, kH, 10, 4, 3, 0};
    TestOmbrel t{&olm};
    BoundChain out{64, 64, kW};  // receives the ring's results
    ChainRing ring{kW, kH};

    // The chain after the ring's operation must equal the tracer's chain.
    void expectSame(const char* what) {
        ASSERT_TRUE(ring.store(out)) << what;
        EXPECT_EQ(out.count, t.chain->count) << what;
        EXPECT_EQ(out.start.x, t.chain->start.x) << what;
        EXPECT_EQ(out.start.y, t.chain->start.y) << what;
        EXPECT_EQ(logical(out), logical(*t.chain)) << what;
    }
    void expectSameInner(const char* what) {
        ASSERT_EQ(out.innerLen, t.chain->innerLen) << what;
        EXPECT_TRUE(out.innerPending) << what;
        for (int i = 0; i < out.innerLen; ++i) EXPECT_EQ(out.inner[i], t.chain->inner[i]) << what;
    }
};

}  // namespace

TEST(ChainRing, WalksAndLooksUpLikeTheChainAtEveryRotation) {
    for (const Loop& l : loops()) {
        BoundChain c(64, 64, kW);
        lay(c, l, 0);
        ChainRing r(kW, kH);
        ASSERT_TRUE(r.load(c)) << l.name;
        const int n = static_cast<int>(l.codes.size());
        for (int rot = 0; rot <= 2 * n; ++rot) {
            ASSERT_EQ(r.count(), c.count);
            EXPECT_EQ(r.start().x, c.start.x) << l.name << rot;
            EXPECT_EQ(r.start().y, c.start.y) << l.name << rot;
            EXPECT_EQ(r.lastCodeReversed(), c.lastCodeReversed()) << l.name << rot;
            for (int i = 0; i < n; ++i) EXPECT_EQ(r.codeAt(i), c.codeAt(i)) << l.name << rot;
            for (int y = -1; y <= kH; ++y)
                for (int x = -1; x <= kW; ++x)
                    ASSERT_EQ(r.indexOf(POINT{x, y}), c.indexOf(POINT{x, y}))
                        << l.name << " rotation " << rot << " at " << x << "," << y;
            r.advanceStart();
            c.advanceStart();
        }
        BoundChain back(64, 64, kW);
        ASSERT_TRUE(r.store(back));
        EXPECT_EQ(back.rotation, 0);
        EXPECT_EQ(logical(back), logical(c)) << l.name;
    }
}

TEST(ChainRing, RefusesOpenChainsAndPixelsOutsideTheRaster) {
    BoundChain c(64, 64, kW);
    c.start = c.end = POINT{2, 2};
    c.append(0, 0);
    c.append(1, 1);
    ChainRing r(kW, kH);
    EXPECT_FALSE(r.load(c));  // open
    lay(c, Loop{"edge", {kW - 2, 2}, testchains::box(3, 2)}, 0);
    EXPECT_FALSE(r.load(c));  // leaves the raster
    BoundChain empty(64, 64, kW);
    EXPECT_FALSE(r.load(empty));
}

TEST(ChainRing, ClosingArcsSpliceLikeTheTracer) {
    Fixture f;
    ASSERT_TRUE(f.t.isValid());
    for (const Loop& l : loops()) {
        const int n = static_cast<int>(l.codes.size());
        for (int rot = 0; rot < n; ++rot)
            for (int i = 0; i < n; ++i)
                for (int d2 = 0; d2 < 4; ++d2) {
                    lay(*f.t.chain, l, rot);
                    ASSERT_TRUE(f.ring.load(*f.t.chain));
                    f.t.chain->normalize();
                    // The arc: out with d2, along codes 0..i-1, back onto pixel i.
                    layArc(*f.t.arc, *f.t.chain, d2, i);
                    f.t.arc->pushBack(Arc_::opposite(d2));
                    ASSERT_TRUE(f.ring.splice(*f.t.arc, i));
                    ASSERT_TRUE(f.t.spliceArc(i));
                    f.expectSame(l.name);
                    EXPECT_EQ(f.t.chain->count, n + 2);
                }
    }
}

TEST(ChainRing, FirstStepCutsChooseTheSameMainLoop) {
    Fixture f;
    int cuts = 0, swapped = 0;
    for (const Loop& l : loops()) {
        const int n = static_cast<int>(l.codes.size());
        for (int rot = 0; rot < n; ++rot)
            for (int d2 = 0; d2 < 4; ++d2) {
                lay(*f.t.chain, l, rot);
                POINT p = f.t.chain->step(d2, f.t.chain->start);
                int k = f.t.chain->indexOf(p);
                if (k <= 0) continue;
                ASSERT_TRUE(f.ring.load(*f.t.chain));
                f.t.chain->normalize();
                ASSERT_TRUE(f.ring.cutAtFirstStep(d2, k, f.out));
                f.t.SolveOneStepIntersect(d2, p);
                f.expectSame(l.name);
                f.expectSameInner(l.name);
                ++cuts;
                if (f.t.chain->count == k + 1) ++swapped;
            }
    }
    // Both outcomes of the box test are exercised.
    EXPECT_GT(cuts, 20);
    EXPECT_GT(swapped, 0);
    EXPECT_LT(swapped, cuts);
}

TEST(ChainRing, ArcCutsChooseTheSameMainLoop) {
    Fixture f;
    int cuts = 0, swapped = 0;
    for (const Loop& l : loops()) {
        const int n = static_cast<int>(l.codes.size());
        for (int rot = 0; rot < n; ++rot)
            for (int a = 2; a < n; ++a)
                for (int d2 = 0; d2 < 4; ++d2) {
                    lay(*f.t.chain, l, rot);
                    // The arc runs beside chain pixels 0..a-1 and ends on the
                    // chain at pixel k > a.
                    POINT e = f.t.chain->start;
                    for (int j = 0; j < a - 1; ++j) e = f.t.chain->step(f.t.chain->codeAt(j), e);
                    e = f.t.chain->step(d2, e);
                    int k = f.t.chain->indexOf(e);
                    if (k <= a) continue;
                    layArc(*f.t.arc, *f.t.chain, d2, a - 1);
                    ASSERT_TRUE(f.ring.load(*f.t.chain));
                    f.t.chain->normalize();
                    ASSERT_TRUE(f.ring.cutAtArc(*f.t.arc, k, f.out));
                    f.t.SolveIntersect(k);
                    f.expectSame(l.name);
                    f.expectSameInner(l.name);
                    ++cuts;
                    if (f.t.chain->count == k - a + 2) ++swapped;
                }
    }
    EXPECT_GT(cuts, 10);
    EXPECT_GT(swapped, 0);
    EXPECT_LT(swapped, cuts);
}

TEST(ChainRing, FirstStepMarksStayWithTheirPositionsWhileColourAndCodeStay) {
    Fixture f;
    const Loop l = loops()[0];
    const int n = static_cast<int>(l.codes.size());
    auto marked = [&f, n]() {
        std::vector<bool> m;
        for (int i = 0; i < n; ++i, f.ring.advanceStart()) m.push_back(f.ring.startMarked());
        return m;
    };
    lay(*f.t.chain, l, 0);
    ASSERT_TRUE(f.ring.load(*f.t.chain));
    f.ring.markColour(RGB(1, 2, 3));
    for (int i = 0; i < n; ++i, f.ring.advanceStart())
        if (i % 3 == 0) f.ring.markStart();
    std::vector<bool> every3(n);
    for (int i = 0; i < n; ++i) every3[i] = i % 3 == 0;
    EXPECT_EQ(marked(), every3);  // a whole round later
    f.ring.markColour(RGB(1, 2, 3));
    EXPECT_EQ(marked(), every3);  // the same colour keeps them
    f.ring.markColour(RGB(1, 2, 4));
    EXPECT_EQ(marked(), std::vector<bool>(n, false));

    // A splice at chain pixel 2: the arc's positions are new, chain pixels
    // 2.. keep their marks, pixel 0 comes last with the arc's first code.
    for (int i = 0; i < n; ++i, f.ring.advanceStart()) f.ring.markStart();
    f.t.chain->normalize();
    Arc_& a = *f.t.arc;
    const int d2 = (l.codes[0] + 3) % 4;
    layArc(a, *f.t.chain, d2, 2);
    a.pushBack(Arc_::opposite(d2));
    ASSERT_TRUE(f.ring.splice(a, 2));
    std::vector<bool> want;
    for (int j = 1; j < a.count; ++j) want.push_back(false);
    for (int k = 2; k < n; ++k) want.push_back(true);
    want.push_back(false);
    std::vector<bool> got;
    for (int i = 0; i < f.ring.count(); ++i, f.ring.advanceStart())
        got.push_back(f.ring.startMarked());
    EXPECT_EQ(got, want);

    ASSERT_TRUE(f.ring.load(*f.t.chain));  // loading forgets them all
    EXPECT_EQ(marked(), std::vector<bool>(n, false));
}
