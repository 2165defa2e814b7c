// How soon a trace stops once the host asks: a large picture is traced with
// a progress that answers false at points spread over the whole job
// (vectorize, the shapes, the writing); the time from that answer to the
// return of the call is the latency. The wait counts from the moment the host
// wanted to stop: longer where nothing asks the host (the core's tracer).
//   CancelLatency PICTURE.png [preset] [points]
// (BenchPictures writes photo-4096.png.)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "decode/ImageLoader.h"
#include "pipeline/OptionTable.h"
#include "pipeline/Vectorize.h"

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point t) {
    return std::chrono::duration<double, std::milli>(Clock::now() - t).count();
}

// The whole job with a progress that stops after `stopMs` (never when < 0):
// the milliseconds from the stop to the return, and the share it stopped at.
double job(const om1::Picture& p, const om1_options& o, double stopMs, double& share,
           double& totalMs) {
    const Clock::time_point t0 = Clock::now();
    Clock::time_point stoppedAt{};
    bool stopped = false;
    om1::Hooks hooks;
    hooks.progress = [&](double s) {
        if (!stopped && stopMs >= 0 && msSince(t0) >= stopMs) {
            stopped = true;
            share = s;
            stoppedAt = Clock::now();
        }
        return !stopped;
    };
    const om1::Result r = om1::vectorize(p, &o, &hooks);
    if (r.status() == OM1_OK) {
        std::ostringstream out;
        r.write(out, om1::OutputFormat::Kind::Svg, &hooks);
    }
    totalMs = msSince(t0);
    return stopped ? std::chrono::duration<double, std::milli>(Clock::now() - stoppedAt).count()
                   : -1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: CancelLatency PICTURE [preset] [points]\n");
        return 64;
    }
    RasterImage img;
    std::string error;
    if (!ImageLoader::loadRgba(argv[1], 1LL << 32, img, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 65;
    }
    om1_options o;
    om1::OptionTable::preset(o, argc > 2 ? argv[2] : "graphic");
    const int points = argc > 3 ? std::atoi(argv[3]) : 10;
    om1::Picture p;
    p.rgba = img.rgba.data();
    p.width = img.width;
    p.height = img.height;
    double share = 0, total = 0;
    job(p, o, -1, share, total);
    std::printf("%d x %d, preset %s: whole job %.0f ms\n", p.width, p.height,
                argc > 2 ? argv[2] : "graphic", total);
    std::vector<double> latencies, waits;
    for (int i = 0; i < points; ++i) {
        const double at = total * (i + 0.5) / points;
        double t = 0;
        const double ms = job(p, o, at, share, t);
        if (ms < 0) continue;
        latencies.push_back(ms);
        waits.push_back(t - at);
        std::printf("stop at %6.0f ms (share %.3f): returned after %6.1f ms, waited %6.1f ms\n", at,
                    share, ms, t - at);
    }
    std::sort(latencies.begin(), latencies.end());
    std::sort(waits.begin(), waits.end());
    if (!latencies.empty())
        std::printf(
            "latency: median %.1f ms, largest %.1f ms over %zu stops; waited: median %.1f "
            "ms, largest %.1f ms\n",
            latencies[latencies.size() / 2], latencies.back(), latencies.size(),
            waits[waits.size() / 2], waits.back());
    return 0;
}
