// om1trace: vectorises picture files into SVG, JSON, PDF, EPS, DXF or GeoJSON
// with the om1 library. Only the output itself goes to standard output (with
// -o -); every message goes to standard error.
#include <algorithm>
#include <functional>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

#include "frontends/cli/CommandLine.h"
#include "frontends/cli/FileSystem.h"
#include "frontends/cli/OutputPaths.h"
#include "frontends/cli/TraceJob.h"

int main(int argc, char** argv) {
    FileSystem::binaryStandardStreams();
    FileSystem::keepFreedMemory();
    CommandLine cl;
    std::string error;
    if (!cl.parse(argc, argv, error)) {
        fprintf(stderr, "om1trace: %s\nom1trace --help for the options\n", error.c_str());
        return TraceJob::BadUsage;
    }
    if (cl.help) {
        fputs(CommandLine::usage().c_str(), stdout);
        return 0;
    }
    if (cl.version) {
        puts("om1trace 0.1.0");
        return 0;
    }

    if (!cl.expandInputs(error)) {
        fprintf(stderr, "om1trace: %s\n", error.c_str());
        return TraceJob::BadInput;
    }
    // -d DIR and the folders under it for inputs found in subdirectories
    // are made when missing.
    if (!cl.dir.empty()) FileSystem::makeDirectories(cl.dir);
    for (size_t i = 0; i < cl.inputs.size(); ++i)
        if (!cl.subdirs[i].empty() && !cl.dir.empty())
            FileSystem::makeDirectories(cl.dir + "/" + cl.subdirs[i]);
    if (!OutputPaths::check(cl, error)) {
        fprintf(stderr, "om1trace: %s\n", error.c_str());
        return TraceJob::BadUsage;
    }

    const size_t n = cl.inputs.size();
    // A batch is spread over the cores by pictures (--jobs): each picture
    // then takes one thread, unless --threads says otherwise.
    if (n > 1 && std::none_of(cl.given.begin(), cl.given.end(),
                              [](const std::pair<std::string, std::string>& g) {
                                  return g.first == "threads";
                              }))
        cl.options.threads = 1;
    std::vector<int> codes(n, 0);
    std::vector<std::string> messages(n);
    std::vector<TraceJob::Stats> stats(n);
    std::atomic<size_t> next{0}, done{0};
    std::mutex printLock;
    const bool progress = n > 1 && !cl.quiet && FileSystem::isTerminal(stderr);
    // One picture on a terminal: a bar of its own trace, shapes and writing.
    std::function<bool(double)> bar;
    int shown = -1;
    if (n == 1 && !cl.quiet && FileSystem::isTerminal(stderr))
        bar = [&](double share) {
            const int percent = static_cast<int>(share * 100);
            if (percent != shown) {
                shown = percent;
                const int filled = static_cast<int>(share * 30);
                fprintf(stderr, "\r[%s%s] %3d%% ", std::string(filled, '#').c_str(),
                        std::string(30 - filled, ' ').c_str(), percent);
                if (percent == 100) fputc('\n', stderr);
            }
            return true;
        };

    const auto start = std::chrono::steady_clock::now();
    auto worker = [&]() {
        for (size_t i = next++; i < n; i = next++) {
            codes[i] = TraceJob::run(cl, cl.inputs[i], cl.outputAt(i), stats[i], messages[i], bar);
            const size_t d = ++done;
            if (progress) {
                // [#####     ] done/total, pictures per second, time left.
                std::lock_guard<std::mutex> g(printLock);
                const double s =
                    std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
                const double rate = s > 0 ? d / s : 0;
                const int filled = static_cast<int>(30 * d / n);
                fprintf(stderr, "\r[%s%s] %zu/%zu  %.1f/s  %.0f s left ",
                        std::string(filled, '#').c_str(), std::string(30 - filled, ' ').c_str(), d,
                        n, rate, rate > 0 ? (n - d) / rate : 0.0);
                if (d == n) fputc('\n', stderr);
            }
        }
    };
    unsigned threads = cl.jobs > 0 ? static_cast<unsigned>(cl.jobs)
                                   : std::max(1u, std::thread::hardware_concurrency());
    threads = static_cast<unsigned>(std::min<size_t>(threads, n));
    std::vector<std::thread> pool;
    for (unsigned t = 1; t < threads; ++t) pool.emplace_back(worker);
    worker();
    for (std::thread& t : pool) t.join();
    if (bar && shown >= 0 && shown < 100) fputc('\n', stderr);  // the bar stopped short

    int worst = 0;
    for (size_t i = 0; i < n; ++i) {
        worst = std::max(worst, codes[i]);
        if (!messages[i].empty()) fprintf(stderr, "om1trace: %s\n", messages[i].c_str());
        if (codes[i] == 0 && !cl.quiet) {
            const TraceJob::Stats& s = stats[i];
            const std::string out = cl.outputAt(i);
            const char* shown = out == "-" ? "standard output" : out.c_str();
            if (cl.stats)
                fprintf(
                    stderr,
                    "%s -> %s: %dx%d, %d regions, %d frames, %d holes, %d paths, %lld segments, "
                    "%lld bytes, "
                    "%lld of %lld loops curved, %lld pixels corrected; decode %.1f ms, trace %.1f "
                    "ms, write %.1f ms\n",
                    cl.inputs[i].c_str(), shown, s.width, s.height, s.regions, s.frames, s.holes,
                    s.paths, s.segments, s.bytes, s.curved, s.loops, s.corrected, s.decodeMs,
                    s.traceMs, s.writeMs);
            else
                fprintf(stderr, "%s -> %s\n", cl.inputs[i].c_str(), shown);
        }
    }
    return worst;
}
