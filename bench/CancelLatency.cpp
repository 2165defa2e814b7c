// How soon a trace stops once the host wants it to. The host can only say
// so when the progress asks, so what a user feels is the gap between two
// progress calls plus the time from a `false` to the return. For each
// setting the whole job (vectorize, the shapes, the SVG writing) runs once
// with a progress that notes every call: the largest and median gap between
// consecutive calls (from the call's start to its return), and where the
// largest lies. Then the job runs again with a progress that answers false
// at points spread over it: the time from that answer to the return.
//   CancelLatency PICTURE.png [points] [setting ...]
// A setting is a preset name or --polygon (the default preset with exact
// polygons); without any: plain graphic photo bw pixel --polygon.
// (BenchPictures writes photo-4096.png.)
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "decode/ImageLoader.h"
#include "pipeline/OptionTable.h"
#include "pipeline/Vectorize.h"

namespace {

using Clock = std::chrono::steady_clock;

double msBetween(Clock::time_point a, Clock::time_point b) {
    return std::chrono::duration<double, std::milli>(b - a).count();
}

struct Call {
    double ms;     // since the job's start
    double share;  // what the progress said
};

struct Job {
    std::vector<Call> calls;  // every progress call, up to the stop
    double totalMs = 0;       // start to return
    double stopMs = -1;       // when the progress answered false (-1: never)
    int status = OM1_OK;
};

// The whole job with a progress that answers false from `stopMs` on (never
// when < 0).
Job job(const om1::Picture& p, const om1_options& o, double stopMs) {
    Job j;
    j.calls.reserve(4096);
    const Clock::time_point t0 = Clock::now();
    om1::Hooks hooks;
    hooks.progress = [&](double s) {
        const double now = msBetween(t0, Clock::now());
        j.calls.push_back({now, s});
        if (j.stopMs < 0 && stopMs >= 0 && now >= stopMs) j.stopMs = now;
        return j.stopMs < 0;
    };
    const om1::Result r = om1::vectorize(p, &o, &hooks);
    j.status = r.status();
    if (j.status == OM1_OK) {
        std::ostringstream out;
        j.status = r.write(out, om1::OutputFormat::Kind::Svg, &hooks);
    }
    j.totalMs = msBetween(t0, Clock::now());
    return j;
}

double median(std::vector<double> v) {
    if (v.empty()) return 0;
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

void measure(const om1::Picture& p, const std::string& setting, int points) {
    om1_options o;
    if (setting == "--polygon") {
        om1::OptionTable::defaults(o);
        std::string error;
        if (om1::OptionTable::apply(o, {{"polygon", "on"}}, error) != OM1_OK) {
            std::printf("%s: %s\n", setting.c_str(), error.c_str());
            return;
        }
    } else if (!om1::OptionTable::preset(o, setting)) {
        std::printf("%s: no such preset\n", setting.c_str());
        return;
    }
    const Job whole = job(p, o, -1);
    if (whole.status != OM1_OK) {
        std::printf("%-10s status %d (%s)\n", setting.c_str(), whole.status,
                    om1::Result::message(whole.status));
        return;
    }
    // The gaps: start to first call, call to call, last call to return.
    std::vector<double> gaps;
    std::string over;  // the gaps above 20 ms: "length (share from-to)"
    double largest = 0, before = 0, after = 0;
    double last = 0, lastShare = 0;
    auto gap = [&](double ms, double share) {
        gaps.push_back(ms - last);
        if (ms - last > 20 && over.size() < 400) {
            char text[64];
            std::snprintf(text, sizeof text, " %.0f (%.3f-%.3f)", ms - last, lastShare, share);
            over += text;
        }
        if (ms - last > largest) {
            largest = ms - last;
            before = lastShare;
            after = share;
        }
        last = ms;
        lastShare = share;
    };
    for (const Call& c : whole.calls) gap(c.ms, c.share);
    gap(whole.totalMs, 1);
    int over20 = 0;
    for (double g : gaps) over20 += g > 20;
    std::printf(
        "%-10s whole job %6.0f ms, %4zu progress calls; gap median %5.1f ms, largest %6.1f ms "
        "(share %.3f to %.3f), %d above 20 ms\n",
        setting.c_str(), whole.totalMs, whole.calls.size(), median(gaps), largest, before, after,
        over20);
    if (!over.empty()) std::printf("%-10s gaps above 20 ms:%s\n", "", over.c_str());
    std::vector<double> latencies;
    double worst = 0, worstShare = 0;
    for (int i = 0; i < points; ++i) {
        const Job j = job(p, o, whole.totalMs * (i + 0.5) / points);
        if (j.stopMs < 0) continue;
        if (j.status != OM1_CANCELLED)
            std::printf("  stop at %.0f ms: status %d, not cancelled\n", j.stopMs, j.status);
        const double ms = j.totalMs - j.stopMs;
        latencies.push_back(ms);
        if (ms > worst) {
            worst = ms;
            worstShare = j.calls.back().share;
        }
    }
    if (!latencies.empty())
        std::printf(
            "%-10s false to return over %zu stops: median %5.1f ms, largest %5.1f ms (at share "
            "%.3f)\n",
            "", latencies.size(), median(latencies), worst, worstShare);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: CancelLatency PICTURE [points] [preset|--polygon ...]\n");
        return 64;
    }
    RasterImage img;
    std::string error;
    if (!ImageLoader::loadRgba(argv[1], 1LL << 32, img, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 65;
    }
    const int points = argc > 2 ? std::atoi(argv[2]) : 10;
    std::vector<std::string> settings(argv + std::min(argc, 3), argv + argc);
    if (settings.empty()) settings = {"plain", "graphic", "photo", "bw", "pixel", "--polygon"};
    om1::Picture p;
    p.rgba = img.rgba.data();
    p.width = img.width;
    p.height = img.height;
    std::printf("%s: %d x %d, %d stops each\n", argv[1], p.width, p.height, points);
    for (const std::string& s : settings) {
        measure(p, s, points);
        std::fflush(stdout);
    }
    return 0;
}
