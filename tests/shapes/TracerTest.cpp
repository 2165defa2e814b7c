// The library-level trace: options and refusals. (Its seeds never mix
// colours: Presets.SeedNeverMixesColours.)
#include <gtest/gtest.h>

#include "OutputPictures.h"
#include "interface/om1.h"
#include "prepare/ColorQuantizer.h"
#include "prepare/Tracer.h"

TEST(Tracer, OptionsAndRefusals) {
    Picture p("block", 20, 16);
    p.fill(0, 0, 20, 16, 0xffffff);
    p.fill(4, 4, 6, 5, 0x2040c0);
    om1::TraceOptions o;
    KvCtree* tree = nullptr;
    ASSERT_EQ(om1::Tracer::trace(p.px.data(), p.w, p.h, o, tree), om1::Tracer::Done);
    EXPECT_GT(tree->bezierCount, 0);  // curves filled by default
    om1_delKvCTree(tree);
    o.treeCurves = false;
    ASSERT_EQ(om1::Tracer::trace(p.px.data(), p.w, p.h, o, tree), om1::Tracer::Done);
    EXPECT_EQ(tree->bezierCount, 0);
    EXPECT_EQ(tree->bezier, nullptr);
    om1_delKvCTree(tree);
    // Three colours: a limit of 2 refuses the picture, one of 3 traces it;
    // quantising to 2 colours first brings it under the limit.
    p.fill(12, 4, 3, 3, 0x10ff10);
    EXPECT_EQ(om1::ColorQuantizer::distinct(p.px.data(), p.w, p.h, 100), 3);
    EXPECT_EQ(om1::ColorQuantizer::distinct(p.px.data(), p.w, p.h, 1), 2);
    om1::TraceReport report;
    o.maxColors = 2;
    EXPECT_EQ(om1::Tracer::trace(p.px.data(), p.w, p.h, o, tree, &report),
              om1::Tracer::TooManyColors);
    EXPECT_EQ(tree, nullptr);
    EXPECT_EQ(report.colors, 3);
    EXPECT_EQ(report.traces, 0);
    o.colors = 2;
    ASSERT_EQ(om1::Tracer::trace(p.px.data(), p.w, p.h, o, tree), om1::Tracer::Done);
    om1_delKvCTree(tree);
    o.colors = 0;
    o.maxColors = 3;
    ASSERT_EQ(om1::Tracer::trace(p.px.data(), p.w, p.h, o, tree), om1::Tracer::Done);
    om1_delKvCTree(tree);
    o.maxOutlines = 0;
    EXPECT_EQ(om1::Tracer::trace(p.px.data(), p.w, p.h, o, tree), om1::Tracer::LimitExceeded);
    EXPECT_EQ(tree, nullptr);
    EXPECT_EQ(om1::Tracer::trace(nullptr, 20, 16, o, tree), om1::Tracer::NoOutlines);
    EXPECT_EQ(om1::Tracer::trace(p.px.data(), 2, 2, o, tree), om1::Tracer::NoOutlines);
    EXPECT_EQ(tree, nullptr);
}
