// The whole pipeline on a photograph-like picture and its 2 x 2, 4 x 4 and
// 8 x 8 mosaics, stage by stage: trace (tracer with all levels), containment
// tree, output conversion (short outlines, contour tree, Bezier curves). A
// linear pipeline takes n * n times the 1x time for the n x n mosaic. Then
// the whole pipeline on a 512 x 384 flag with anti-aliased edges at three
// colour tolerances.
#include <benchmark/benchmark.h>

#include <memory>

#include "BenchImages.h"
#include "containment/CntmTreeCreator.h"
#include "interface/kvMngr.h"
#include "interface/om1.h"
#include "raster/OutLineManipulator.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"

namespace {

const int kW = 256, kH = 192;

std::vector<RGBQUAD>& picture(int n) {
    static std::vector<RGBQUAD> tile = photoLike(kW, kH);
    static std::vector<RGBQUAD> m[9];
    if (m[n].empty()) m[n] = mosaic(tile, kW, kH, n);
    return m[n];
}

AllOutLines trace(std::vector<RGBQUAD>& px, int w, int h, int& outlines) {
    AllOutLines all;
    OutLineManipulator olm(px.data(), w, h, static_cast<int>(10 * 2.55), 4, 3, 0);
    Ombrel t(&olm);
    t.DoOmbrel_(all, t.generateInitPoint(0, w, h), 10000000);
    outlines = t.outlineCount;
    return all;
}

void BM_Trace(benchmark::State& state) {
    int n = static_cast<int>(state.range(0));
    std::vector<RGBQUAD>& px = picture(n);
    int outlines = 0;
    for (auto _ : state) {
        AllOutLines all = trace(px, kW * n, kH * n, outlines);
        delete all.outLines;
    }
    state.counters["pixels"] = static_cast<double>(px.size());
    state.counters["outlines"] = outlines;
}

void BM_Containment(benchmark::State& state) {
    int n = static_cast<int>(state.range(0));
    std::vector<RGBQUAD>& px = picture(n);
    int outlines = 0;
    AllOutLines all = trace(px, kW * n, kH * n, outlines);
    for (auto _ : state) {
        ExportOutLinesStruct out(nullptr, kW * n);
        CntmTreeCreator c(kW * n, kH * n);
        c.createCntmTree(out, all);
    }
    delete all.outLines;
    state.counters["outlines"] = outlines;
}

void BM_Conversion(benchmark::State& state) {
    int n = static_cast<int>(state.range(0));
    std::vector<RGBQUAD>& px = picture(n);
    int outlines = 0;
    AllOutLines all = trace(px, kW * n, kH * n, outlines);
    ExportOutLinesStruct out(nullptr, kW * n);
    CntmTreeCreator c(kW * n, kH * n);
    c.createCntmTree(out, all);
    delete all.outLines;
    for (auto _ : state) {
        kvMngr m(kW * n, kH * n);
        m.delSmallOutLn(4, out.exportTree);
        KvCtree* tree = nullptr;
        m.createKvCTree(tree, out.exportTree, kW * n);
        m.convBmToBezierRecurs(tree, 1, kW * n);
        kvctr_deleteKvCtree(tree);
    }
}

void BM_WholePipeline(benchmark::State& state) {
    int n = static_cast<int>(state.range(0));
    std::vector<RGBQUAD>& px = picture(n);
    for (auto _ : state) {
        KvCtree* tree = nullptr;
        om1_kvTrace1Bmp(tree, px.data(), kW * n, kH * n, 10, 4, 10000000, 1, 0.0);
        om1_delKvCTree(tree);
    }
    state.counters["pixels"] = static_cast<double>(px.size());
}

void BM_AntiAliasedFlag(benchmark::State& state) {
    const int w = 512, h = 384;
    static std::vector<RGBQUAD> px = antiAliasedFlag(w, h);
    for (auto _ : state) {
        KvCtree* tree = nullptr;
        om1_kvTrace1Bmp(tree, px.data(), w, h, static_cast<int>(state.range(0)), 4, 10000000, 1,
                        0.0);
        om1_delKvCTree(tree);
    }
    state.counters["pixels"] = static_cast<double>(px.size());
}

}  // namespace

BENCHMARK(BM_Trace)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Containment)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Conversion)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WholePipeline)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AntiAliasedFlag)->Arg(5)->Arg(10)->Arg(20)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
