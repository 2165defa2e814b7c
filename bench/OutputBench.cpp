// The output layer on a traced photograph-like picture: shapes in each layout,
// with curves and as polygons, and the SVG written into memory.
#include <benchmark/benchmark.h>

#include <sstream>

#include "BenchImages.h"
#include "interface/om1.h"
#include "shapes/ShapeBuilder.h"
#include "writers/SvgWriter.h"
#include "prepare/Tracer.h"

namespace {

struct Traced {
    int w = 320, h = 240;
    std::vector<RGBQUAD> px;
    KvCtree* tree = nullptr;
    Traced() : px(photoLike(w, h)) {
        om1::TraceOptions o;
        o.treeCurves = false;
        om1::Tracer::trace(px.data(), w, h, o, tree);
    }
    ~Traced() { om1_delKvCTree(tree); }
};

const Traced& traced() {
    static Traced t;
    return t;
}

void BM_Shapes(benchmark::State& state) {
    const Traced& t = traced();
    om1::OutputOptions o;
    o.layout =
        state.range(0) ? om1::OutputOptions::Layout::Cutout : om1::OutputOptions::Layout::Stacked;
    o.polygon = state.range(1) != 0;
    o.reconcileTolerance = 25;
    size_t bytes = 0;
    for (auto _ : state) {
        om1::ShapeSet set;
        om1::ShapeBuilder::build(t.tree, t.px.data(), t.w, t.h, o, set);
        std::ostringstream svg;
        om1::SvgWriter::write(svg, set);
        bytes = svg.str().size();
        benchmark::DoNotOptimize(bytes);
    }
    state.counters["svg_bytes"] = static_cast<double>(bytes);
}

}  // namespace

BENCHMARK(BM_Shapes)
    ->ArgNames({"cutout", "polygon"})
    ->Args({0, 0})
    ->Args({0, 1})
    ->Args({1, 0})
    ->Args({1, 1})
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
