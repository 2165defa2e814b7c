// Report: the exact region labelling against the library's tracer on the
// corpus, after each preset's colour stages (the picture the product path
// labels):
//
//   build/default/bench/RegionReport CORPUS_DIR [preset...]
//
// For every picture and preset (default graphic and photo): the regions the
// labelling finds, the tracer's painted nodes, the regions it cut into parts,
// the specks it had no outline for, the nodes it hangs below another region
// than the labelling does, and whether every traced node lies in one
// labelled region (tests/shapes/CoreRegions.h says how). Not a test: the
// corpus pictures are too large for one, and the tracer's own differences
// are reported here, not asserted.
#include <dirent.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "../tests/shapes/CoreRegions.h"
#include "decode/ImageLoader.h"
#include "prepare/Presets.h"

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: RegionReport CORPUS_DIR [preset...]\n");
        return 2;
    }
    std::vector<std::string> files;
    if (DIR* d = opendir(argv[1])) {
        while (dirent* e = readdir(d)) {
            const std::string n = e->d_name;
            if (n.size() > 4 && n.substr(n.size() - 4) == ".png") files.push_back(n);
        }
        closedir(d);
    }
    std::sort(files.begin(), files.end());
    std::vector<std::string> presets;
    for (int i = 2; i < argc; ++i) presets.push_back(argv[i]);
    if (presets.empty()) presets = {"graphic", "photo"};
    std::printf("%-30s %-8s %8s %8s %6s %7s %7s %5s %9s\n", "picture", "preset", "regions", "nodes",
                "cut", "specks", "other", "same", "tracer ms");
    int same = 0, all = 0;
    for (const std::string& f : files)
        for (const std::string& name : presets) {
            om1::Presets::Preset preset;
            if (!om1::Presets::parse(name, preset)) continue;
            RasterImage img;
            std::string error;
            if (!ImageLoader::load(std::string(argv[1]) + "/" + f, 100000000,
                                   ImageLoader::Background(), img, error)) {
                std::printf("%-30s %s\n", f.c_str(), error.c_str());
                continue;
            }
            om1::TraceOptions o = om1::Presets::options(preset);
            KvCtree* tree = nullptr;
            om1::TraceReport report;
            if (om1::Tracer::trace(img.pixels.data(), img.width, img.height, o, tree, &report) !=
                    om1::Tracer::Done ||
                tree)
                continue;
            const std::vector<RGBQUAD>& seen =
                report.prepared.empty() ? img.pixels : report.prepared;
            const auto t0 = std::chrono::steady_clock::now();
            const coreregions::Comparison c =
                coreregions::compare(seen.data(), img.width, img.height, report.regions);
            const double ms =
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0)
                    .count();
            ++all;
            same += c.same && c.cut == 0 && c.otherParent == 0;
            std::printf("%-30s %-8s %8d %8d %6d %7d %7d %5s %9.0f %s\n", f.c_str(), name.c_str(),
                        c.labelled, c.nodes, c.cut, c.corrected, c.otherParent,
                        c.same ? "yes" : "no", ms, c.same ? "" : c.why.c_str());
            std::fflush(stdout);
        }
    std::printf("%d of %d traces: same regions, none cut, same containment\n", same, all);
    return 0;
}
