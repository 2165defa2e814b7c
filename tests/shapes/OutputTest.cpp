// The output layer: exact boundaries of worked shapes, the lossless polygon
// mode rendered back, cutout coverage without seams or overlaps, curve
// accuracy, and the writers' formats.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "OutputPictures.h"
#include "interface/om1.h"
#include "shapes/CrackTracer.h"
#include "writers/JsonWriter.h"
#include "shapes/LabelRaster.h"
#include "shapes/ShapeBuilder.h"
#include "writers/SvgWriter.h"
#include "prepare/Presets.h"
#include "prepare/Tracer.h"

using om1::Corner;
using om1::CrackLoop;
using om1::OutputOptions;
using om1::ShapeSet;

namespace {

// Loops of a label raster given as text rows ('.' = -1, digits = labels).
std::vector<om1::CrackTracer::Labelled> loopsOf(const std::vector<std::string>& rows) {
    const int h = static_cast<int>(rows.size()), w = static_cast<int>(rows[0].size());
    std::vector<int32_t> labels;
    for (const std::string& r : rows)
        for (char c : r) labels.push_back(c == '.' ? -1 : c - '0');
    std::vector<om1::CrackTracer::Labelled> out;
    EXPECT_TRUE(om1::CrackTracer::trace(labels.data(), w, h, 0, 0, out));
    return out;
}

std::string verts(const CrackLoop& l) {
    EXPECT_EQ(l.vertexCount(), l.vertices().size());
    std::string s;
    for (const Corner& c : l.vertices())
        s += "(" + std::to_string(c.x) + "," + std::to_string(c.y) + ")";
    return s;
}

std::string writeSvg(const ShapeSet& set, const std::string& name) {
    const std::string path = (std::filesystem::temp_directory_path() /
                              ("om1-output-test-" + std::to_string(getpid()) + "-" + name + ".svg"))
                                 .string();
    std::ofstream f(path);
    EXPECT_TRUE(om1::SvgWriter::write(f, set));
    return path;
}

const OutputOptions::Layout kStacked = OutputOptions::Layout::Stacked;
const OutputOptions::Layout kCutout = OutputOptions::Layout::Cutout;

}  // namespace

// The worked shapes, on label rasters: exact corner polygons and areas.
TEST(CrackTracer, WorkedShapes) {
    struct Case {
        const char* name;
        std::vector<std::string> rows;
        std::vector<std::string> loops;  // per loop: "label:vertices:area"
    };
    const std::vector<Case> cases = {
        {"block", {"....", ".00.", ".00.", "...."}, {"0:(1,1)(3,1)(3,3)(1,3):4"}},
        {"single pixel", {"...", ".0.", "..."}, {"0:(1,1)(2,1)(2,2)(1,2):1"}},
        {"ring",
         {"000", "010", "000"},
         {"0:(0,0)(3,0)(3,3)(0,3):9", "1:(1,1)(2,1)(2,2)(1,2):1", "0:(1,2)(2,2)(2,1)(1,1):-1"}},
        {"one-pixel line", {".....", ".000.", "....."}, {"0:(1,1)(4,1)(4,2)(1,2):3"}},
        {"border region", {"00.", "00.", "..."}, {"0:(0,0)(2,0)(2,2)(0,2):4"}},
        // A hole touching the outer boundary at a corner: the hole's pixel
        // (1, 1) meets the outside pixel (0, 0) only diagonally.
        {"hole at a corner",
         {".000", "0100", "0000"},
         {"0:(1,0)(4,0)(4,3)(0,3)(0,1)(1,1)(1,2)(2,2)(2,1)(1,1):10", "1:(1,1)(2,1)(2,2)(1,2):1"}},
    };
    for (const Case& c : cases) {
        std::vector<std::string> got;
        for (const auto& l : loopsOf(c.rows))
            got.push_back(std::to_string(l.label) + ":" + verts(l.loop) + ":" +
                          std::to_string(l.loop.area()));
        EXPECT_EQ(got, c.loops) << c.name;
    }
}

// The red block of the report: 10 x 7 at (2, 3) on 40 x 30 white covers
// exactly [2, 12) x [3, 10) in every mode; polygons are the exact rectangle.
TEST(ShapeBuilder, RedBlockIsExactInEveryMode) {
    Picture p("red", 40, 30);
    p.fill(0, 0, 40, 30, 0xffffff);
    p.fill(2, 3, 10, 7, 0xff0000);
    for (auto layout : {kStacked, kCutout})
        for (bool polygon : {true, false}) {
            ShapeSet set;
            ASSERT_TRUE(shapesOf(p, polygon ? 0 : 10, polygon ? 0 : 4, layout, polygon, set));
            ASSERT_EQ(set.shapes.size(), 2u);
            EXPECT_EQ(set.reconciledPixels, 0);
            const om1::Shape& red = set.shapes[1];
            EXPECT_EQ(red.role, om1::Shape::Role::Hole);
            EXPECT_EQ(red.pixels, 70);
            ASSERT_EQ(red.loops.size(), 1u);
            EXPECT_EQ(verts(red.loops[0]), "(2,3)(12,3)(12,10)(2,10)");
            std::vector<int> owner;
            centreCoverage(set, !polygon, owner);
            for (int y = 0; y < 30; ++y)
                for (int x = 0; x < 40; ++x)
                    EXPECT_EQ(owner[y * 40 + x] == 1, x >= 2 && x < 12 && y >= 3 && y < 10)
                        << x << "," << y << (polygon ? " polygon" : " curves");
        }
}

// Joined parts: touching nodes of one colour become one shape and the
// drawing stays exact (every pixel centre shows its prepared colour). The
// arch is a silhouette on white touching the top border with smooth edges:
// the tracer cuts the white into parts at the border, written as one shape.
// The island is white inside a blue ring whose corner is cut: it touches the
// outer white only corner to corner, so it is a hole of the ring; drawn with
// the outer white, it is left out of the ring's mask.
TEST(ShapeBuilder, JoinedPartsStayExact) {
    Picture island("island", 12, 12);
    island.fill(0, 0, 12, 12, 0xffffff);
    island.fill(3, 3, 6, 6, 0x2040c0);
    island.fill(4, 4, 4, 4, 0xffffff);
    island.fill(3, 3, 1, 1, 0xffffff);
    Picture diagonal("diagonal", 12, 12);
    diagonal.fill(0, 0, 12, 12, 0xffffff);
    diagonal.fill(2, 2, 3, 3, 0x000000);
    diagonal.fill(5, 5, 3, 3, 0x000000);
    Picture stripes("stripes", 40, 30);
    stripes.fill(0, 0, 40, 30, 0xffffff);
    stripes.fill(10, 0, 5, 30, 0x000000);
    stripes.fill(25, 0, 5, 30, 0x000000);
    const Picture arch = antialiased("arch", 96, 96, [](double x, double y) {
        const double r = std::hypot(x - 48, y - 45);
        const bool in = (r >= 36 && r <= 45.6 && y < 45) ||
                        ((std::fabs(x - 8) < 7 || std::fabs(x - 88) < 7) && y >= 40 && y <= 70);
        return in ? 0x2e3336u : 0xffffffu;
    });
    struct Case {
        const Picture& picture;
        om1::Presets::Preset preset;
        // Coloured nodes and shapes written with joinParts: from the
        // library's tracer, and from the exact labelling (one node a region).
        int nodes, joined, exactNodes, exactJoined;
    };
    const Case cases[] = {{diagonal, om1::Presets::Pixel, 2, 2, 3, 2},
                          {island, om1::Presets::Pixel, 3, 2, 3, 2},
                          {stripes, om1::Presets::Pixel, 5, 5, 5, 5},
                          {arch, om1::Presets::Graphic, 4, 2, 2, 2}};
    for (const Case& c : cases)
        for (bool exact : {false, true})
            for (bool join : {false, true}) {
                const Picture& p = c.picture;
                om1::TraceOptions t = om1::Presets::options(c.preset);
                t.exactRegions = exact;
                OutputOptions o;
                o.polygon = true;
                o.joinParts = join;
                ShapeSet set;
                std::vector<RGBQUAD> seen;
                ASSERT_TRUE(traceShapes(p, t, o, set, false, &seen)) << p.name;
                int drawn = 0;
                for (const om1::Shape& s : set.shapes) drawn += !s.loops.empty();
                EXPECT_EQ(drawn, exact ? (join ? c.exactJoined : c.exactNodes)
                                       : (join ? c.joined : c.nodes))
                    << p.name << (exact ? " exact" : "");
                EXPECT_EQ(coverage(set, false, &seen).wrong, 0)
                    << p.name << (join ? " joined" : "") << (exact ? " exact" : "");
            }
    // Noise and checkerboards: many corner contacts, still exact.
    for (const Picture& p : hardEdgedPictures()) {
        om1::TraceOptions t;
        t.tolerancePercent = 0;
        t.minOutlineLen = 0;
        OutputOptions o;
        o.polygon = true;
        o.joinParts = true;
        o.reconcileTolerance = 0;
        ShapeSet joined;
        ASSERT_TRUE(traceShapes(p, t, o, joined)) << p.name;
        EXPECT_EQ(coverage(joined, false, &p.px).wrong, 0) << p.name;
    }
}

// Painting a tree: the root paints its own boundary pixels, a hole only what
// lies strictly inside its chain; reconcile has nothing to do on a clean tree
// and moves a wrongly painted pixel back.
TEST(LabelRaster, PaintsTreesAsARendererDoes) {
    Picture p("ring", 12, 10);
    p.fill(0, 0, 12, 10, 0xffffff);
    p.fill(3, 2, 6, 6, 0x2040c0);
    p.fill(5, 4, 2, 2, 0xffffff);
    om1::TraceOptions t;
    t.tolerancePercent = 0;
    KvCtree* tree = nullptr;
    ASSERT_EQ(om1::Tracer::trace(p.px.data(), p.w, p.h, t, tree), om1::Tracer::Done);
    om1::LabelRaster lr;
    ASSERT_TRUE(lr.build(tree, p.w, p.h));
    ASSERT_EQ(lr.nodes.size(), 3u);  // white, blue ring, white inside
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 12; ++x) {
            const bool blue = x >= 3 && x < 9 && y >= 2 && y < 8;
            const bool inner = x >= 5 && x < 7 && y >= 4 && y < 6;
            EXPECT_EQ(lr.labels[y * 12 + x], inner ? 2 : blue ? 1 : 0) << x << "," << y;
        }
    EXPECT_EQ(lr.subtreeEnd(0), 3);
    EXPECT_EQ(lr.subtreeEnd(1), 3);
    EXPECT_EQ(lr.reconcile(p.px.data(), 0), 0);
    p.set(0, 0, 0x000000);  // one pixel the tree does not know
    EXPECT_EQ(lr.reconcile(p.px.data(), 0), 1);
    ASSERT_EQ(lr.nodes.size(), 4u);
    EXPECT_EQ(lr.labels[0], 3);  // the new region: the root's last hole
    EXPECT_EQ(lr.nodes[3].parent, 0);
    EXPECT_EQ(lr.nodes[3].tree, nullptr);
    EXPECT_EQ(lr.subtreeEnd(0), 4);
    om1_delKvCTree(tree);
}

// Nested rings, traced from a seed that is not in the outermost region (the
// centre, whose 3 x 3 ring lies in one colour): the
// holes' chains are the rings' own outer boundaries. The picture decides
// which side a chain runs on, so the painted raster needs no correction;
// taken as hole loops of the region around, every ring comes out a pixel off.
TEST(LabelRaster, HoleChainsOnEitherSide) {
    Picture p("rings", 93, 93);
    const unsigned colours[3] = {0xffffff, 0xc81e1e, 0x1e3bc7};
    for (int y = 0; y < 91; ++y)
        for (int x = 0; x < 91; ++x)
            p.set(x, y, colours[(std::min(std::min(x, y), std::min(92 - x, 92 - y)) / 3) % 3]);
    om1::TraceOptions t;
    t.tolerancePercent = 0;
    t.seed = om1::TraceOptions::Seed::Fixed;
    KvCtree* tree = nullptr;
    ASSERT_EQ(om1::Tracer::trace(p.px.data(), p.w, p.h, t, tree), om1::Tracer::Done);
    for (bool withPicture : {true, false}) {
        om1::LabelRaster lr;
        ASSERT_TRUE(lr.build(tree, p.w, p.h, withPicture ? p.px.data() : nullptr));
        const long long moved = lr.reconcile(p.px.data(), 0);
        if (withPicture)
            EXPECT_EQ(moved, 0);
        else
            EXPECT_GT(moved, 0);
    }
    om1_delKvCTree(tree);
}

// Hard-edged pictures come back from the SVG pixel for pixel, stacked and cut
// out, as polygons (lossless) and in curve mode, where the judge keeps no fit
// on these staircases (measured: every loop straight, every picture exact).
TEST(RenderBack, HardEdgesComeBackExactly) {
    if (!haveRenderer()) GTEST_SKIP() << "rsvg-convert is not installed";
    for (int scale : {1, 3})
        for (const Picture& p : hardEdgedPictures(scale))
            for (auto layout : {kStacked, kCutout})
                for (bool polygon : {true, false}) {
                    if (polygon && scale > 1) continue;
                    ShapeSet set;
                    ASSERT_TRUE(shapesOf(p, 0, 0, layout, polygon, set)) << p.name;
                    const std::string svg = writeSvg(set, p.name);
                    const std::vector<unsigned> back = renderSvg(svg, p.w, p.h, "#ff00ff");
                    unlink(svg.c_str());
                    ASSERT_EQ(back.size(), p.px.size()) << p.name;
                    int wrong = 0;
                    for (int y = 0; y < p.h; ++y)
                        for (int x = 0; x < p.w; ++x) wrong += back[y * p.w + x] != p.at(x, y);
                    const char* mode = polygon ? "polygon" : "curves";
                    EXPECT_EQ(wrong, 0) << p.name << " " << mode;
                    EXPECT_EQ(set.curvedLoops, 0) << p.name << " " << mode;
                }
}

// Cutout: every pixel centre is covered by exactly one region, of its own
// colour in polygon mode, with polygons and with curves. Without the limit
// on curve area every fit is kept: still no seam (every piece is shared), and
// the overlaps where fitted pieces cross are counted.
TEST(Cutout, NoSeamsNoOverlaps) {
    struct Run {
        int scale;
        bool polygon;
        double limit;
    };
    for (const Run& run : {Run{1, true, 0.05}, Run{1, false, 0.05}, Run{3, false, 0.05},
                           Run{1, false, -1}, Run{3, false, -1}})
        for (const Picture& p : hardEdgedPictures(run.scale)) {
            ShapeSet set;
            ASSERT_TRUE(shapesOf(p, 0, 0, kCutout, run.polygon, set, run.limit)) << p.name;
            const Coverage c = coverage(set, !run.polygon, run.polygon ? &p.px : nullptr);
            EXPECT_EQ(c.seams, 0) << p.name;
            if (run.limit >= 0) {
                EXPECT_EQ(c.overlaps, 0) << p.name;
            }
            EXPECT_EQ(c.wrong, 0) << p.name;
        }
}

// The bundled example with the tool's defaults (tolerance 10): loops keep
// their fitted curves where they are truer to the picture than the
// staircase, and the cutout still has no seam and no overlap.
TEST(Cutout, BundledExampleWithCurves) {
    const Picture p = bundledExample();
    ASSERT_GT(p.w, 0);
    ShapeSet set;
    ASSERT_TRUE(shapesOf(p, 10, 4, kCutout, false, set));
    const Coverage c = coverage(set, true);
    EXPECT_EQ(c.seams, 0);
    EXPECT_EQ(c.overlaps, 0);
    EXPECT_GT(set.curvedLoops, 0);
}

// The writers: one path per region with its fill, no stroke, H/V polygons;
// JSON with size, layout, roles, boundaries and nested holes.
TEST(Writers, SvgAndJsonFormats) {
    EXPECT_EQ(om1::SvgWriter::number(2.5), "2.5");
    EXPECT_EQ(om1::SvgWriter::number(0.254), "0.25");
    EXPECT_EQ(om1::SvgWriter::number(-0.001), "0");
    EXPECT_EQ(om1::SvgWriter::colour(RGBQUAD{0x12, 0x34, 0x56, 0}), "#563412");

    ShapeSet set;
    ASSERT_TRUE(shapesOf(nestPicture(), 0, 0, kCutout, true, set));
    std::ostringstream svg;
    ASSERT_TRUE(om1::SvgWriter::write(svg, set));
    const std::string s = svg.str();
    EXPECT_EQ(s.find("stroke"), std::string::npos);
    EXPECT_NE(
        s.find("<path fill=\"#2040c0\" fill-rule=\"evenodd\" d=\"M2 2H14V12H2ZM5 8H8V5H5Z\"/>"),
        std::string::npos)
        << s;
    std::ostringstream json;
    ASSERT_TRUE(om1::JsonWriter::write(json, set));
    const std::string j = json.str();
    EXPECT_EQ(j.rfind("{\"width\": 20, \"height\": 16, \"layout\": \"cutout\", \"geometry\": "
                      "\"polygon\", \"tree\": ",
                      0),
              0u);
    EXPECT_NE(j.find("{\"role\": \"hole\", \"color\": \"#f0c000\", \"pixels\": 9, \"boundary\": "
                     "[[[5, 5], [8, 5], [8, 8], [5, 8]]], \"curves\": [], \"holes\": []}"),
              std::string::npos)
        << j;
    // Three nodes, nested three deep: the closing brackets close in order.
    EXPECT_NE(j.find("]}\n    ]}\n  ]}\n}\n"), std::string::npos) << j;
    ShapeSet empty;
    std::ostringstream none;
    ASSERT_TRUE(om1::JsonWriter::write(none, empty));
    EXPECT_NE(none.str().find("\"tree\": null"), std::string::npos);
}
