#include "tools/TraceJob.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>

#include "interface/om1.h"
#include "input/ImageLoader.h"
#include "tools/JsonWriter.h"
#include "tools/SvgWriter.h"

namespace {

double msSince(std::chrono::steady_clock::time_point t0) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
}

bool endsWith(const std::string& s, const std::string& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

void count(const KvCtree* n, TraceJob::Stats& s, bool isHole) {
    std::vector<std::pair<const KvCtree*, bool>> stack{{n, isHole}};
    while (!stack.empty()) {
        auto [node, hole] = stack.back();
        stack.pop_back();
        if (node->isFrame)
            ++s.frames;
        else
            ++s.regions;
        if (hole) ++s.holes;
        if (node->bezierCount > 1) s.segments += (node->bezierCount - 1) / 3;
        for (const KvCtree::Holes* h = node->holes; h; h = h->next)
            if (h->ctree) stack.push_back({h->ctree, true});
    }
}

}  // namespace

bool TraceJob::writeAtomically(const std::string& path, const std::string& text,
                               std::string& error) {
    std::string tmp = path + ".tmp" + std::to_string(getpid()) + "." +
                      std::to_string(reinterpret_cast<uintptr_t>(&text) & 0xFFFFFF);
    FILE* f = fopen(tmp.c_str(), "wb");
    if (!f) {
        error = strerror(errno);
        return false;
    }
    bool ok = fwrite(text.data(), 1, text.size(), f) == text.size();
    ok = (fflush(f) == 0) && ok;
    int e = errno;
    ok = (fclose(f) == 0) && ok;
    if (!ok) {
        remove(tmp.c_str());
        error = strerror(e ? e : EIO);
        return false;
    }
    if (rename(tmp.c_str(), path.c_str()) != 0) {
        error = strerror(errno);
        remove(tmp.c_str());
        return false;
    }
    return true;
}

int TraceJob::run(const CommandLine& cl, const std::string& input, const std::string& output,
                  Stats& stats, std::string& message) {
    auto t0 = std::chrono::steady_clock::now();
    RasterImage img;
    std::string error;
    if (!ImageLoader::load(input, cl.maxPixels, cl.background, img, error)) {
        message = input + ": " + error;
        return BadInput;
    }
    stats.width = img.width;
    stats.height = img.height;
    stats.decodeMs = msSince(t0);

    // Rows go to the library top-down, so its coordinates are the picture's.
    auto t1 = std::chrono::steady_clock::now();
    KvCtree* tree = nullptr;
    int r = om1_kvTrace1Bmp(tree, img.pixels.data(), img.width, img.height, cl.tolerance,
                            cl.minLength, cl.maxOutlines, cl.curveTolerance, 0.0);
    stats.traceMs = msSince(t1);
    if (r == 2) {
        om1_delKvCTree(tree);
        message = input + ": more than " + std::to_string(cl.maxOutlines) +
                  " outlines (raise --max-outlines or --tolerance)";
        return LimitExceeded;
    }
    if (r != 0 || !tree) {
        om1_delKvCTree(tree);
        message = input + ": no outlines";
        return NoOutlines;
    }
    count(tree, stats, false);

    auto t2 = std::chrono::steady_clock::now();
    std::string text;
    if (endsWith(output, ".json")) {
        text = JsonWriter::write(tree, img.width, img.height);
    } else {
        // A fully transparent region was composited to exactly the background
        // colour, so its node has that colour. Such nodes are left out when
        // most pixels of that colour were transparent in the input.
        long long bgPixels = 0, bgTransparent = 0;
        const BYTE br = cl.background.red, bgG = cl.background.green, bb = cl.background.blue;
        for (size_t i = 0; cl.transparent && i < img.pixels.size(); ++i) {
            const RGBQUAD& q = img.pixels[i];
            if (q.rgbRed == br && q.rgbGreen == bgG && q.rgbBlue == bb) {
                ++bgPixels;
                if (img.alpha[i] == 0) ++bgTransparent;
            }
        }
        const bool dropBackground = cl.transparent && bgTransparent * 2 > bgPixels;
        auto transparentRegion = [&](const KvCtree* n) {
            return dropBackground && n->color.rgbRed == br && n->color.rgbGreen == bgG &&
                   n->color.rgbBlue == bb;
        };
        text = SvgWriter::write(tree, img.width, img.height, transparentRegion);
    }
    om1_delKvCTree(tree);
    if (!writeAtomically(output, text, error)) {
        message = output + ": cannot write: " + error;
        return CannotWrite;
    }
    stats.writeMs = msSince(t2);
    return Done;
}
