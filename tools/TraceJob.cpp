#include "tools/TraceJob.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>

#include <fstream>

#include "interface/om1.h"
#include "output/JsonWriter.h"
#include "output/ShapeBuilder.h"
#include "output/SvgWriter.h"
#include "tools/ImageLoader.h"
#include "trace/Tracer.h"

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
        for (const KvCtree::Holes* h = node->holes; h; h = h->next)
            if (h->ctree) stack.push_back({h->ctree, true});
    }
}

}  // namespace

bool TraceJob::writeAtomically(const std::string& path,
                               const std::function<bool(std::ostream&)>& body, std::string& error) {
    std::string tmp = path + ".tmp" + std::to_string(getpid()) + "." +
                      std::to_string(reinterpret_cast<uintptr_t>(&body) & 0xFFFFFF);
    bool ok = false;
    int e = 0;
    {
        std::ofstream f(tmp, std::ios::binary | std::ios::trunc);
        if (!f) {
            error = strerror(errno);
            return false;
        }
        ok = body(f);
        f.flush();
        ok = ok && static_cast<bool>(f);
        e = errno;
        f.close();
        ok = ok && !f.fail();
    }
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
    om1::TraceOptions options = om1::Presets::options(cl.preset);
    if (cl.toleranceGiven || cl.polygon) options.tolerancePercent = cl.tolerance;
    if (cl.minLengthGiven || cl.polygon) options.minOutlineLen = cl.minLength;
    options.maxOutlines = cl.maxOutlines;
    options.curveTolerance = cl.curveTolerance;
    for (const auto& kv : cl.stages)
        if (!om1::Presets::set(options, kv.first, kv.second, error)) {
            message = error;
            return BadUsage;
        }
    options.treeCurves = false;  // the output layer fits its own
    KvCtree* tree = nullptr;
    om1::TraceReport report;
    const om1::Tracer::Result r =
        om1::Tracer::trace(img.pixels.data(), img.width, img.height, options, tree, &report);
    // Shapes are checked against the picture the tracer saw.
    const RGBQUAD* traced = report.prepared.empty() ? img.pixels.data() : report.prepared.data();
    stats.traceMs = msSince(t1);
    if (r == om1::Tracer::LimitExceeded) {
        om1_delKvCTree(tree);
        message = input + ": more than " + std::to_string(cl.maxOutlines) +
                  " outlines (raise --max-outlines or --tolerance)";
        return LimitExceeded;
    }
    if (r != om1::Tracer::Done || !tree) {
        om1_delKvCTree(tree);
        message = input + ": no outlines";
        return NoOutlines;
    }
    count(tree, stats, false);

    auto t2 = std::chrono::steady_clock::now();
    om1::OutputOptions out;
    out.layout =
        cl.cutout ? om1::OutputOptions::Layout::Cutout : om1::OutputOptions::Layout::Stacked;
    out.polygon = cl.polygon || om1::Presets::polygonOutput(cl.preset);
    out.curveTolerance = cl.curveTolerance;
    out.reconcileTolerance = static_cast<int>(options.tolerancePercent * 2.55);
    om1::ShapeSet shapes;
    const bool built = om1::ShapeBuilder::build(tree, traced, img.width, img.height, out, shapes);
    om1_delKvCTree(tree);
    if (!built) {
        message = input + ": out of memory while building the shapes";
        return NoOutlines;
    }
    stats.corrected = shapes.reconciledPixels;
    stats.loops = shapes.loops;
    for (const om1::Shape& sh : shapes.shapes)
        for (size_t k = 0; k < sh.loops.size(); ++k)
            stats.segments += k < sh.curves.size() && sh.curves[k].size() >= 4
                                  ? static_cast<long long>(sh.curves[k].size() - 1) / 3
                                  : static_cast<long long>(sh.loops[k].vertices().size());
    stats.curved = shapes.curvedLoops;
    if (endsWith(output, ".json")) {
        if (!writeAtomically(
                output, [&](std::ostream& o) { return om1::JsonWriter::write(o, shapes); },
                error)) {
            message = output + ": cannot write: " + error;
            return CannotWrite;
        }
        for (const om1::Shape& sh : shapes.shapes)
            if (sh.role != om1::Shape::Role::Frame && !sh.loops.empty()) ++stats.paths;
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
        auto skip = [&](const om1::Shape& sh) {
            const bool drop = dropBackground && sh.color.rgbRed == br && sh.color.rgbGreen == bgG &&
                              sh.color.rgbBlue == bb;
            if (!drop && sh.role != om1::Shape::Role::Frame && !sh.loops.empty()) ++stats.paths;
            return drop;
        };
        if (!writeAtomically(
                output, [&](std::ostream& o) { return om1::SvgWriter::write(o, shapes, skip); },
                error)) {
            message = output + ": cannot write: " + error;
            return CannotWrite;
        }
    }
    struct stat st;
    if (stat(output.c_str(), &st) == 0) stats.bytes = st.st_size;
    stats.writeMs = msSince(t2);
    return Done;
}
