// Progress and cancel through the pipeline: the shares a host hears, the
// same output with and without a progress, and a stop at every kind of place
// (the composite, the stages, while the core's tracer runs, inside the region
// labelling, the shapes, the writing) ending in
// OM1_CANCELLED with everything released (the asan preset checks that).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "PipelinePictures.h"
#include "pipeline/OptionTable.h"
#include "pipeline/Progress.h"
#include "pipeline/OptionsRecord.h"
#include "pipeline/Vectorize.h"
#include "prepare/Tracer.h"
#include "prepare/WorkerThread.h"
#include "shapes/LabelRaster.h"
#include "shapes/ShapeBuilder.h"

namespace {

// Discs and bands of flat colours on a grey ground, with soft edges for the
// anti-alias stage; `cells` x `cells` small squares of 8 colours below, for
// a tracer that has many regions to trace.
Rgba makePicture(int w, int h, int cells) {
    Rgba t(w, h, 255);
    static const uint8_t palette[8][3] = {{200, 30, 40},  {20, 120, 60}, {30, 60, 200},
                                          {240, 200, 40}, {90, 90, 90},  {250, 250, 250},
                                          {10, 10, 10},   {160, 80, 200}};
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t* p = t.at(x, y);
            int c = 4;
            const int dx = x - w / 3, dy = y - h / 3;
            if (dx * dx + dy * dy < w * h / 16) c = 0;
            if ((x + 2 * y) % (w / 2) < w / 10) c = 2;
            if (cells > 0 && y > h / 2)
                c = ((x / cells) * 7 + (y / cells) * 13 + (x / cells) * (y / cells)) % 8;
            for (int k = 0; k < 3; ++k) p[k] = palette[c][k];
            // A soft edge of in-between colours along the disc.
            if (c == 0 && dx * dx + dy * dy > w * h / 16 - w) p[1] = 110;
        }
    return t;
}

struct Heard {
    std::vector<double> shares;
    long stopAt = -1;  // answer false at this call (0 the first)
    om1::Hooks hooks() {
        om1::Hooks h;
        h.progress = [this](double s) {
            shares.push_back(s);
            return static_cast<long>(shares.size()) - 1 != stopAt;
        };
        return h;
    }
};

std::string svgOf(const om1::Result& r, const om1::Hooks* hooks, int& code) {
    return written(r, om1::OutputFormat::Kind::Svg, hooks, &code);
}

// The settings of the cancel table: every preset and exact polygons.
om1_options settingsOf(const std::string& name) {
    om1_options o = name == "polygon" ? preset("graphic", "polygon", "on") : preset(name.c_str());
    o.max_outlines = 10000000;
    return o;
}

const char* const kSettings[] = {"plain", "graphic", "photo", "bw", "pixel", "polygon"};

// The core's tracer cannot be interrupted: given a progress it runs on a
// thread of its own while the caller keeps asking. A stop heard then returns
// Cancelled at once with nothing asked after it; the abandoned run frees its
// picture and tree when it ends (the asan preset checks that), and traces
// started at once beside it, with and without a progress, give the output of
// a trace that was never stopped.
TEST(TracerProgress, AStopWhileTheCoreTracerRunsReturnsAtOnce) {
    const Rgba many = makePicture(240, 180, 3);
    const std::vector<RGBQUAD> px = many.pixels();
    const om1_options o = settingsOf("plain");
    const om1::TraceOptions t = om1::OptionsRecord::toTrace(o);
    int code = 0;
    const std::string expected = svgOf(om1::vectorize(many.picture(), &o), nullptr, code);
    ASSERT_EQ(code, OM1_OK);
    // The tracer's span: from 0.68 of the trace (the stages before it).
    const double from = 0.68;
    {
        std::vector<double> heard;
        const om1::Tracer::Progress progress = [&](double s) {
            heard.push_back(s);
            return !(s > from + 1e-12 && s < 1);
        };
        KvCtree* tree = nullptr;
        om1::TraceReport report;
        EXPECT_EQ(om1::Tracer::trace(px.data(), many.w, many.h, t, tree, &report, progress),
                  om1::Tracer::Cancelled);
        EXPECT_EQ(tree, nullptr);
        ASSERT_FALSE(heard.empty());
        EXPECT_GT(heard.back(), from) << "the stop is the last call";
        EXPECT_LT(heard.back(), 1.0);
        // At once, beside the run that was given up.
        om1::Hooks going;
        going.progress = [](double) { return true; };
        const om1::Result again = om1::vectorize(many.picture(), &o, &going);
        ASSERT_EQ(again.status(), OM1_OK);
        EXPECT_EQ(svgOf(again, &going, code), expected);
        EXPECT_EQ(svgOf(om1::vectorize(many.picture(), &o), nullptr, code), expected);
    }
    EXPECT_LE(om1::WorkerThread::abandoned(), 1);
    om1::WorkerThread::waitForAbandoned();
    EXPECT_EQ(om1::WorkerThread::abandoned(), 0);
}

// Through the pipeline, a host that hears every report: the shares rise from
// 0 to kTraced over vectorize and on to 1 over the shapes and the writing,
// and the output is that of a run without a progress. A host that stops at
// its k-th report, for every k the whole job gave it (vectorize, the shapes,
// the SVG): the call running then returns OM1_CANCELLED (a cancelled
// vectorize has no drawing and no stats), and a stopped result still writes
// the whole output. (Leaks and stale reads: the asan preset.)
TEST(StopAtEveryCall, ThePipelineEndsCancelled) {
    const Rgba many = makePicture(160, 120, 3);
    for (const char* name : kSettings) {
        const om1_options o = settingsOf(name);
        int code = 0;
        const std::string plain = svgOf(om1::vectorize(many.picture(), &o), nullptr, code);
        Heard all;
        om1::Hooks hooks = all.hooks();
        const om1::Result whole = om1::vectorize(many.picture(), &o, &hooks);
        ASSERT_EQ(whole.status(), OM1_OK) << name;
        EXPECT_EQ(all.shares.front(), 0.0) << name;
        EXPECT_DOUBLE_EQ(all.shares.back(), om1::Progress::kTraced) << name;
        const std::string expected = svgOf(whole, &hooks, code);
        ASSERT_EQ(code, OM1_OK) << name;
        EXPECT_EQ(expected, plain) << name;
        EXPECT_DOUBLE_EQ(all.shares.back(), 1.0) << name;
        bool shaped = false;  // the shapes' span, built by the write
        for (size_t i = 0; i < all.shares.size(); ++i) {
            EXPECT_LE(i ? all.shares[i - 1] : 0.0, all.shares[i]) << name << " call " << i;
            const double s = all.shares[i];
            shaped = shaped || (s > om1::Progress::kTraced && s <= om1::Progress::kShaped);
        }
        EXPECT_TRUE(shaped) << name;
        for (long k = 0; k < static_cast<long>(all.shares.size()); ++k) {
            Heard heard;
            heard.stopAt = k;
            hooks = heard.hooks();
            const om1::Result r = om1::vectorize(many.picture(), &o, &hooks);
            if (r.status() != OM1_OK) {
                EXPECT_EQ(r.status(), OM1_CANCELLED) << name << " call " << k;
                EXPECT_EQ(static_cast<long>(heard.shares.size()), k + 1) << name;
                EXPECT_EQ(r.drawing(), nullptr) << name;
                om1_stats st;
                EXPECT_EQ(r.stats(st), OM1_CANCELLED) << name;
                continue;
            }
            const std::string svg = svgOf(r, &hooks, code);
            // Fewer reports this time (they come at most every 10 ms), or
            // the stop came with the last (which changes nothing): done.
            if (static_cast<long>(heard.shares.size()) <= k || heard.shares.back() == 1.0) {
                EXPECT_EQ(code, OM1_OK) << name << " call " << k;
                continue;
            }
            EXPECT_EQ(code, OM1_CANCELLED) << name << " call " << k;
            EXPECT_EQ(static_cast<long>(heard.shares.size()), k + 1) << name;
            EXPECT_EQ(svgOf(r, nullptr, code), expected) << name << " call " << k;
        }
    }
}

// The calls to stop at out of `count`: every one up to 7, else 7 spread
// over them, the first and the last among them.
std::vector<long> stopsOf(long count) {
    std::vector<long> at;
    const long n = std::min(count, 7L);
    for (long i = 0; i < n; ++i) at.push_back(n < 2 ? 0 : i * (count - 1) / (n - 1));
    return at;
}

// Below the pipeline every check reaches the progress (no 10 ms spacing):
// the stages and the trace, then the shapes, stopped at calls spread over
// all they make, on a picture large enough for the checks inside the passes
// over the pixels (every 256 rows, every 2^18 pixels) and in the exact
// region labelling (every few hundred rows and regions). Each stop ends its
// step with nothing kept. (`plain` has no stages, and the core's tracer is
// slow under the sanitizers: a smaller picture.)
TEST(StopAtEveryCall, EveryCheckInsideTheStagesAndShapesStops) {
    for (const char* name : kSettings) {
        const bool small = std::string(name) == "plain";
        const Rgba many = makePicture(small ? 200 : 512, small ? 150 : 520, 3);
        const std::vector<RGBQUAD> px = many.pixels();
        const om1_options o = settingsOf(name);
        // One thread: bands ask as time goes while the others end (a stop
        // there: Bands.AStageByBandsStopsWhenAsked).
        om1::TraceOptions t = om1::OptionsRecord::toTrace(o);
        t.threads = 1;
        long calls = 0, stopAt = -1;
        // The asks while the core's tracer runs come as time goes (a stop
        // there: AStopWhileTheCoreTracerRunsReturnsAtOnce): not counted.
        const bool coreTracer = !t.exactRegions || t.tolerancePercent > 0;
        bool tracing = true;  // false for the shapes
        const om1::Tracer::Progress progress = [&](double s) {
            if (coreTracer && tracing && s > 0.68 && s < 1) return true;
            return calls++ != stopAt;
        };
        // Traced once without a stop: the calls to stop at, and the shapes'.
        KvCtree* tree = nullptr;
        om1::TraceReport report;
        ASSERT_EQ(om1::Tracer::trace(px.data(), many.w, many.h, t, tree, &report, progress),
                  om1::Tracer::Done)
            << name;
        const long traceCalls = calls;
        EXPECT_GE(traceCalls, 4) << name;
        for (const long k : stopsOf(traceCalls)) {
            stopAt = k;
            calls = 0;
            KvCtree* stopped = nullptr;
            om1::TraceReport r;
            const om1::Tracer::Result result =
                om1::Tracer::trace(px.data(), many.w, many.h, t, stopped, &r, progress);
            EXPECT_EQ(result, om1::Tracer::Cancelled) << name << " call " << stopAt;
            EXPECT_EQ(stopped, nullptr) << name;
            EXPECT_TRUE(r.regions.labels.empty() && r.regions.parents.empty()) << name;
            EXPECT_EQ(calls, stopAt + 1) << name << ": asked again after the stop";
        }
        // The shapes, from the tree (plain) or the labelling.
        tracing = false;
        om1::LabelRaster regions;
        if (!tree) {
            ASSERT_TRUE(regions.assign(report.regions.width, report.regions.height,
                                       std::move(report.regions.labels), report.regions.parents,
                                       report.regions.colors, report.regions.rootFrame));
        }
        // One thread: the curve fits on several ask as time goes (a stop
        // there: CurveThreads.AStopWhileTheFitsRunReturnsFalseWithEveryThreadEnded).
        om1::OutputOptions oo = om1::OptionsRecord::toOutput(o);
        oo.threads = 1;
        const RGBQUAD* seen = report.prepared.empty() ? px.data() : report.prepared.data();
        auto build = [&](om1::ShapeSet& set) {
            return tree ? om1::ShapeBuilder::build(tree, seen, many.w, many.h, oo, set, px.data(),
                                                   progress)
                        : om1::ShapeBuilder::build(regions, false, oo, set, px.data(), progress);
        };
        om1::ShapeSet set;
        calls = 0;
        stopAt = -1;
        ASSERT_TRUE(build(set)) << name;
        const long shapeCalls = calls;
        EXPECT_GE(shapeCalls, 4) << name;
        for (const long k : stopsOf(shapeCalls)) {
            stopAt = k;
            calls = 0;
            om1::ShapeSet stopped;
            EXPECT_FALSE(build(stopped)) << name << " call " << stopAt;
        }
        if (tree) kvctr_deleteKvCtree(tree);
    }
}

}  // namespace
