// om1trace: vectorises picture files into SVG (or JSON) with the om1 library.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <mutex>
#include <thread>
#include <vector>

#include "tools/CommandLine.h"
#include "tools/TraceJob.h"

int main(int argc, char** argv) {
    CommandLine cl;
    std::string error;
    if (!cl.parse(argc, argv, error)) {
        fprintf(stderr, "om1trace: %s\n%s", error.c_str(), CommandLine::usage().c_str());
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

    const size_t n = cl.inputs.size();
    std::vector<int> codes(n, 0);
    std::vector<std::string> messages(n);
    std::vector<TraceJob::Stats> stats(n);
    std::atomic<size_t> next{0}, done{0};
    std::mutex printLock;
    const bool progress = n > 1 && !cl.quiet && isatty(STDERR_FILENO);

    auto worker = [&]() {
        for (size_t i = next++; i < n; i = next++) {
            codes[i] =
                TraceJob::run(cl, cl.inputs[i], cl.outputFor(cl.inputs[i]), stats[i], messages[i]);
            size_t d = ++done;
            if (progress) {
                std::lock_guard<std::mutex> g(printLock);
                fprintf(stderr, "\r%zu/%zu traced", d, n);
                if (d == n) fputc('\n', stderr);
            }
        }
    };
    unsigned threads = std::max(1u, std::thread::hardware_concurrency());
    threads = static_cast<unsigned>(std::min<size_t>(threads, n));
    std::vector<std::thread> pool;
    for (unsigned t = 1; t < threads; ++t) pool.emplace_back(worker);
    worker();
    for (std::thread& t : pool) t.join();

    int worst = 0;
    for (size_t i = 0; i < n; ++i) {
        worst = std::max(worst, codes[i]);
        if (!messages[i].empty()) fprintf(stderr, "om1trace: %s\n", messages[i].c_str());
        if (codes[i] == 0 && !cl.quiet) {
            const TraceJob::Stats& s = stats[i];
            if (cl.stats)
                printf(
                    "%s -> %s: %dx%d, %d regions, %d frames, %d holes, %d paths, %lld segments, "
                    "%lld bytes, "
                    "%lld of %lld loops curved, %lld pixels corrected; decode %.1f ms, trace %.1f "
                    "ms, write %.1f ms\n",
                    cl.inputs[i].c_str(), cl.outputFor(cl.inputs[i]).c_str(), s.width, s.height,
                    s.regions, s.frames, s.holes, s.paths, s.segments, s.bytes, s.curved, s.loops,
                    s.corrected, s.decodeMs, s.traceMs, s.writeMs);
            else
                printf("%s -> %s\n", cl.inputs[i].c_str(), cl.outputFor(cl.inputs[i]).c_str());
        }
    }
    return worst;
}
