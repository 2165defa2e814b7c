// The library-level trace with presets and stages: whole runs on generated
// pictures, checked by the colours and counts of the resulting tree.
#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>
#include <vector>

#include "interface/om1.h"
#include "prepare/PictureCleaner.h"
#include "prepare/Presets.h"
#include "prepare/Tracer.h"

namespace {

using om1::Presets;
using om1::TraceOptions;
using om1::Tracer;

RGBQUAD rgb(int r, int g, int b) {
    return RGBQUAD{static_cast<BYTE>(b), static_cast<BYTE>(g), static_cast<BYTE>(r), 0};
}

uint32_t key(const RGBQUAD& q) {
    return q.rgbRed | q.rgbGreen << 8 | q.rgbBlue << 16;
}

struct Picture {
    int w, h;
    std::vector<RGBQUAD> px;
    Picture(int w_, int h_, RGBQUAD fill) : w(w_), h(h_), px(static_cast<size_t>(w_) * h_, fill) {}
    RGBQUAD& at(int x, int y) { return px[static_cast<size_t>(y) * w + x]; }
};

// A disc of `ink` on `paper`, every pixel covered by the disc in proportion
// to 4 x 4 samples: a ring of in-between colours along the edge.
Picture antiAliasedDisc(int size, double radius, RGBQUAD ink, RGBQUAD paper) {
    Picture p(size, size, paper);
    const double c = size / 2.0;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x) {
            int in = 0;
            for (int sy = 0; sy < 4; ++sy)
                for (int sx = 0; sx < 4; ++sx) {
                    const double dx = x + (sx + 0.5) / 4 - c, dy = y + (sy + 0.5) / 4 - c;
                    in += dx * dx + dy * dy <= radius * radius;
                }
            auto mix = [&](BYTE a, BYTE b) {
                return static_cast<BYTE>((a * in + b * (16 - in)) / 16);
            };
            p.at(x, y) = RGBQUAD{mix(ink.rgbBlue, paper.rgbBlue), mix(ink.rgbGreen, paper.rgbGreen),
                                 mix(ink.rgbRed, paper.rgbRed), 0};
        }
    return p;
}

// Green field, a blue square of 20 x 20 with a red spot of 3 x 3 (9 pixels)
// inside it, and a red spot of 4 x 4 (16 pixels) in the field.
Picture spots() {
    Picture p(60, 40, rgb(0, 160, 0));
    for (int y = 10; y < 30; ++y)
        for (int x = 5; x < 25; ++x) p.at(x, y) = rgb(0, 0, 200);
    for (int y = 15; y < 18; ++y)
        for (int x = 12; x < 15; ++x) p.at(x, y) = rgb(200, 0, 0);
    for (int y = 10; y < 14; ++y)
        for (int x = 40; x < 44; ++x) p.at(x, y) = rgb(200, 0, 0);
    return p;
}

// Colours of the coloured (non-frame) nodes of a tree.
void fillColours(const KvCtree* t, std::vector<RGBQUAD>& out) {
    std::vector<const KvCtree*> stack{t};
    while (!stack.empty()) {
        const KvCtree* n = stack.back();
        stack.pop_back();
        if (!n->isFrame) out.push_back(n->color);
        for (const KvCtree::Holes* h = n->holes; h; h = h->next)
            if (h->ctree) stack.push_back(h->ctree);
    }
}

struct Traced {
    Tracer::Result result;
    KvCtree* tree = nullptr;
    om1::TraceReport report;
    std::vector<RGBQUAD> colours;
    Traced(const Picture& p, const TraceOptions& o) {
        result = Tracer::trace(p.px.data(), p.w, p.h, o, tree, &report);
        if (tree) fillColours(tree, colours);
        const om1::RegionTree& r = report.regions;
        for (size_t i = r.rootFrame ? 1 : 0; i < r.colors.size(); ++i)
            colours.push_back(r.colors[i]);
    }
    ~Traced() { om1_delKvCTree(tree); }
    std::set<uint32_t> distinct() const {
        std::set<uint32_t> s;
        for (const RGBQUAD& q : colours) s.insert(key(q));
        return s;
    }
};

TEST(Presets, HaloOfInBetweenColoursDisappears) {
    const Picture disc = antiAliasedDisc(64, 20.3, rgb(20, 20, 160), rgb(255, 255, 255));
    // Without the cleanup the ring of in-between colours gives many regions.
    {
        TraceOptions o = Presets::options(Presets::Plain);
        o.tolerancePercent = 0;
        Traced plain(disc, o);
        ASSERT_EQ(plain.result, Tracer::Done);
        EXPECT_GT(plain.colours.size(), 10u);
    }
    Traced g(disc, Presets::options(Presets::Graphic));
    ASSERT_EQ(g.result, Tracer::Done);
    // Two regions in their mean colours: the disc's takes in a little of the
    // paper along its edge and the paper's a little of the ink.
    ASSERT_EQ(g.colours.size(), 2u);
    const RGBQUAD disk = g.colours[0].rgbRed < 128 ? g.colours[0] : g.colours[1];
    const RGBQUAD paper = g.colours[0].rgbRed < 128 ? g.colours[1] : g.colours[0];
    EXPECT_NEAR(disk.rgbRed, 20, 3);
    EXPECT_NEAR(disk.rgbBlue, 160, 3);
    EXPECT_NEAR(paper.rgbRed, 255, 2);
    EXPECT_NEAR(paper.rgbBlue, 255, 2);
    // The edge lies where the disc covers half a pixel: every prepared pixel
    // is the colour of the side its centre's coverage is nearer to.
    ASSERT_EQ(g.report.prepared.size(), disc.px.size());
    int off = 0;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            const double d = std::hypot(x + 0.5 - 32, y + 0.5 - 32);
            const bool ink = key(g.report.prepared[y * 64 + x]) == key(disk);
            if (std::abs(d - 20.3) > 0.75) off += ink != (d < 20.3);
        }
    EXPECT_EQ(off, 0);
}

TEST(Presets, ThinLineOfItsOwnColourIsKept) {
    // A red line one pixel wide between white and blue: not between them.
    Picture p(30, 20, rgb(255, 255, 255));
    for (int y = 0; y < 20; ++y)
        for (int x = 15; x < 30; ++x) p.at(x, y) = x == 15 ? rgb(220, 0, 0) : rgb(0, 0, 200);
    RGBQUAD* px = p.px.data();
    EXPECT_EQ(om1::PictureCleaner::antialias(px, 30, 20, 2, 40), 0);
    // A grey line between black and white is absorbed by the nearer side.
    Picture q(30, 20, rgb(255, 255, 255));
    for (int y = 0; y < 20; ++y)
        for (int x = 15; x < 30; ++x) q.at(x, y) = x == 15 ? rgb(90, 90, 90) : rgb(0, 0, 0);
    EXPECT_EQ(om1::PictureCleaner::antialias(q.px.data(), 30, 20, 2, 40), 20);
    for (int y = 0; y < 20; ++y) EXPECT_EQ(key(q.at(15, y)), key(rgb(0, 0, 0)));
}

// Spots below the area join their surroundings: the speckle stage takes a
// region of fewer pixels; the library's spot pass marks a region whose own
// share of its weight is at most the area, and the repaint paints the spots
// nested in it over with its colour (the blue square holds 400 pixels).
TEST(Presets, SpotsBelowTheAreaJoinTheirSurroundings) {
    const Picture p = spots();
    const uint32_t red = key(rgb(200, 0, 0)), blue = key(rgb(0, 0, 200)),
                   green = key(rgb(0, 160, 0));
    struct Case {
        bool library;
        int area;
        size_t regions;
        uint32_t spotInSquare, spotInField;
    } cases[] = {
        {false, 0, 4, red, red},     {false, 9, 4, red, red},  // 9 is not below 9
        {false, 10, 3, blue, red},                             // the inner spot goes
        {false, 17, 2, blue, green},                           // both go, each to its own
        {true, 0, 4, red, red},      {true, 100, 4, red, red}, {true, 1000, 3, blue, red},
    };
    for (const Case& c : cases) {
        TraceOptions o = Presets::options(Presets::Pixel);
        (c.library ? o.spots : o.speckle) = c.area;
        Traced t(p, o);
        ASSERT_EQ(t.result, Tracer::Done);
        EXPECT_EQ(t.colours.size(), c.regions) << c.library << " area " << c.area;
        const std::vector<RGBQUAD>& seen = t.report.prepared.empty() ? p.px : t.report.prepared;
        EXPECT_EQ(key(seen[16 * 60 + 13]), c.spotInSquare) << c.library << " area " << c.area;
        EXPECT_EQ(key(seen[11 * 60 + 41]), c.spotInField) << c.library << " area " << c.area;
    }
}

TEST(Presets, SpecklesDoNotCarryAColourAcrossANoisyPatch) {
    // White on the left (x < 20), dark grey elsewhere, and in the grey a
    // patch (x 20..29, y 10..29) of one-pixel speckles in two near greys
    // beside the white. Speckles merged into the white must not make their
    // neighbours white in turn: only the column touching the white may go.
    const RGBQUAD white = rgb(255, 255, 255), grey = rgb(50, 50, 50);
    Picture p(40, 40, grey);
    for (int y = 0; y < 40; ++y)
        for (int x = 0; x < 20; ++x) p.at(x, y) = white;
    for (int y = 10; y < 30; ++y)
        for (int x = 20; x < 30; ++x) p.at(x, y) = (x + y) % 2 ? rgb(40, 40, 40) : rgb(60, 60, 60);
    ASSERT_GT(om1::PictureCleaner::speckle(p.px.data(), p.w, p.h, 4), 0);
    for (int y = 10; y < 30; ++y)
        for (int x = 21; x < 30; ++x) EXPECT_EQ(key(p.at(x, y)), key(grey)) << x << "," << y;
}

TEST(Presets, RestitutionGivesRegionsTheirMeanColour) {
    // Two regions of the prepared picture (left and right half); the input
    // under the left one holds 10 and 21 in red, under the right one 200.
    Picture prepared(4, 2, rgb(0, 0, 0)), input(4, 2, rgb(200, 0, 0));
    for (int y = 0; y < 2; ++y) {
        prepared.at(2, y) = prepared.at(3, y) = rgb(9, 9, 9);
        input.at(0, y) = rgb(10, 0, 0);
        input.at(1, y) = rgb(21, 0, 0);
    }
    ASSERT_TRUE(om1::PictureCleaner::restitute(prepared.px.data(), input.px.data(), 4, 2));
    EXPECT_EQ(key(prepared.at(0, 0)), key(rgb(16, 0, 0)));  // 15.5 rounds up
    EXPECT_EQ(key(prepared.at(1, 1)), key(rgb(16, 0, 0)));
    EXPECT_EQ(key(prepared.at(3, 1)), key(rgb(200, 0, 0)));
}

TEST(Presets, ColorsGivesAtMostThatManyFillColours) {
    // A smooth two-way gradient: thousands of colours.
    Picture p(96, 64, rgb(0, 0, 0));
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 96; ++x) p.at(x, y) = rgb(x * 255 / 95, y * 255 / 63, 128);
    for (int n : {2, 4, 7}) {
        // As the option table sets it: merged regions then keep the palette's colours.
        TraceOptions o = Presets::options(Presets::Graphic);
        o.colors = n;
        o.mergeMeans = false;
        o.antialias = false;
        Traced t(p, o);
        ASSERT_EQ(t.result, Tracer::Done);
        EXPECT_LE(t.distinct().size(), static_cast<size_t>(n));
        EXPECT_GE(t.distinct().size(), 2u);
        EXPECT_LE(t.report.colors, n);
    }
    // A palette: every fill is one of its entries.
    TraceOptions o;
    o.palette[0] = rgb(255, 0, 0);
    o.palette[1] = rgb(0, 255, 0);
    o.palette[2] = rgb(0, 0, 255);
    o.paletteCount = 3;
    o.tolerancePercent = 0;
    Traced t(p, o);
    ASSERT_EQ(t.result, Tracer::Done);
    for (uint32_t c : t.distinct())
        EXPECT_TRUE(c == key(rgb(255, 0, 0)) || c == key(rgb(0, 255, 0)) ||
                    c == key(rgb(0, 0, 255)));
}

TEST(Presets, MaxPathsIsHonoured) {
    // A grid of 8 x 6 squares of 8 distinct sizes and colours.
    Picture p(120, 90, rgb(255, 255, 255));
    int k = 0;
    for (int gy = 0; gy < 6; ++gy)
        for (int gx = 0; gx < 8; ++gx, ++k) {
            const int s = 2 + (k % 8) * 1;
            for (int y = 0; y < s; ++y)
                for (int x = 0; x < s; ++x)
                    p.at(gx * 15 + 3 + x, gy * 15 + 3 + y) =
                        rgb(k * 5, 255 - k * 5, (k * 37) % 256);
        }
    for (int budget : {60, 30, 10, 1}) {
        for (int tol : {0, 10}) {
            TraceOptions o = Presets::options(Presets::Pixel);
            o.tolerancePercent = tol;
            o.maxPaths = budget;
            Traced t(p, o);
            ASSERT_EQ(t.result, Tracer::Done);
            EXPECT_LE(static_cast<int>(t.colours.size()), budget) << budget << " at " << tol;
            EXPECT_EQ(t.report.paths, static_cast<int>(t.colours.size()));
        }
    }
    // No budget: all 49 regions.
    Traced all(p, Presets::options(Presets::Pixel));
    EXPECT_EQ(all.colours.size(), 49u);
}

TEST(Presets, SeedNeverMixesColours) {
    // Four quadrants of different colours meet at the centre, where the
    // fixed seed's start ring straddles all four.
    Picture p(40, 30, rgb(0, 0, 0));
    const RGBQUAD c[4] = {rgb(250, 0, 0), rgb(0, 250, 0), rgb(0, 0, 250), rgb(250, 250, 0)};
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x) p.at(x, y) = c[(x >= 20) + 2 * (y >= 15)];
    const std::set<uint32_t> allowed = {key(c[0]), key(c[1]), key(c[2]), key(c[3])};
    {
        // The entry points' fixed seed gives the first region the ring's mixture.
        TraceOptions o = Presets::options(Presets::Plain);
        o.tolerancePercent = 0;
        Traced fixed(p, o);
        ASSERT_EQ(fixed.result, Tracer::Done);
        EXPECT_NE(fixed.distinct(), allowed);
    }
    for (Presets::Preset pr : {Presets::Graphic, Presets::Photo, Presets::Pixel}) {
        Traced t(p, Presets::options(pr));
        ASSERT_EQ(t.result, Tracer::Done) << Presets::name(pr);
        EXPECT_EQ(t.distinct(), allowed) << Presets::name(pr);
    }
}

// PSNR over red, green and blue of one picture against another.
double psnr(const std::vector<RGBQUAD>& a, const std::vector<RGBQUAD>& b) {
    double e = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        const double d[3] = {1.0 * a[i].rgbRed - b[i].rgbRed, 1.0 * a[i].rgbGreen - b[i].rgbGreen,
                             1.0 * a[i].rgbBlue - b[i].rgbBlue};
        e += d[0] * d[0] + d[1] * d[1] + d[2] * d[2];
    }
    return 10 * std::log10(3.0 * a.size() * 255 * 255 / e);
}

TEST(Presets, PhotoMergingLosesAtMostTheDropOnATexturedPicture) {
    // A photograph stand-in: a gradient in red and green under a fixed
    // pseudo-random texture of +-24, quantised by the photo preset into
    // dozens of regions. With every union cheap, merging goes on
    // until the regions' means have lost the drop, and no further.
    Picture p(64, 64, rgb(0, 0, 0));
    uint32_t seed = 12345;
    for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) {
            seed = seed * 1103515245u + 12345u;
            const int n = static_cast<int>(seed >> 16) % 49 - 24;
            p.at(x, y) = rgb(40 + 2 * x + n, 60 + 2 * y + n / 2, 120 - n);
        }
    TraceOptions o = Presets::options(Presets::Photo);
    o.mergePsnr = 0;
    o.merge = 1e-9;  // only unions of equal means: the regions as they start
    Traced start(p, o);
    ASSERT_EQ(start.result, Tracer::Done);
    const double before = psnr(start.report.prepared, p.px);
    ASSERT_GT(start.colours.size(), 20u);
    o.merge = 1e6;
    for (double drop : {1.0, 3.0}) {
        o.mergeDrop = drop;
        Traced t(p, o);
        ASSERT_EQ(t.result, Tracer::Done);
        const double after = psnr(t.report.prepared, p.px);
        EXPECT_GE(after, before - drop) << drop;
        EXPECT_LT(after, before - drop + 0.2) << drop;  // the bound, not the cost, stopped it
        EXPECT_GT(t.colours.size(), 1u) << drop;
        EXPECT_LT(t.colours.size(), start.colours.size()) << drop;
    }
}

TEST(Presets, BlackAndWhiteByThreshold) {
    const Picture disc = antiAliasedDisc(48, 15.2, rgb(30, 60, 90), rgb(240, 230, 220));
    for (TraceOptions::Filter f : {TraceOptions::Filter::None, TraceOptions::Filter::Quadrant,
                                   TraceOptions::Filter::Adaptive}) {
        TraceOptions o = Presets::options(Presets::Bw);
        o.filter = f;
        Traced t(disc, o);
        ASSERT_EQ(t.result, Tracer::Done);
        EXPECT_EQ(t.distinct(), (std::set<uint32_t>{key(rgb(0, 0, 0)), key(rgb(255, 255, 255))}));
        EXPECT_EQ(t.colours.size(), 2u);
    }
    // A light grey silhouette on white: the automatic threshold still splits
    // it from the ground, a fixed 128 does not.
    const Picture light = antiAliasedDisc(48, 15.2, rgb(190, 190, 190), rgb(255, 255, 255));
    EXPECT_GT(om1::PictureCleaner::otsuThreshold(light.px.data(), 48, 48), 190);
    EXPECT_LE(om1::PictureCleaner::otsuThreshold(light.px.data(), 48, 48), 255);
    for (int threshold : {TraceOptions::kAutoThreshold, 128}) {
        TraceOptions o = Presets::options(Presets::Bw);
        o.threshold = threshold;
        Traced t(light, o);
        ASSERT_EQ(t.result, Tracer::Done);
        EXPECT_EQ(t.colours.size(), threshold == 128 ? 1u : 2u);
    }
}

}  // namespace
