#include "frontends/cli/TraceJob.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <fstream>
#include <iostream>

#include "interface/om1.h"
#include "decode/ImageLoader.h"
#include "writers/JsonWriter.h"
#include "writers/OutputFormat.h"
#include "shapes/ShapeBuilder.h"
#include "frontends/cli/FileSystem.h"
#include "prepare/ColorQuantizer.h"
#include "prepare/PictureCleaner.h"
#include "prepare/Tracer.h"

namespace {

// Above this many regions an exact-colour trace takes seconds.
const long long kManyExactRegions = 10000;

double msSince(std::chrono::steady_clock::time_point t0) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
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

// Standard input copied into a private temporary file (the decoders read
// the picture's first bytes and then start again, which a pipe cannot do);
// the format is then told by its signature as for any file.
bool stdinToFile(std::string& path, std::string& error) {
    std::string name;
    const int fd = FileSystem::temporaryFile("om1trace-stdin-", name);
    if (fd < 0) {
        error = std::string("cannot make a temporary file: ") + strerror(errno);
        return false;
    }
    std::vector<char> buf(1 << 16);
    bool ok = true;
    ssize_t got;
    while ((got = read(STDIN_FILENO, buf.data(), buf.size())) != 0) {
        if (got < 0) {
            if (errno == EINTR) continue;
            error = strerror(errno);
            ok = false;
            break;
        }
        for (ssize_t done = 0; ok && done < got;) {
            const ssize_t put = write(fd, buf.data() + done, static_cast<size_t>(got - done));
            if (put < 0 && errno == EINTR) continue;
            if (put <= 0) {
                error = std::string("cannot keep the picture: ") + strerror(errno);
                ok = false;
            } else {
                done += put;
            }
        }
        if (!ok) break;
    }
    if (close(fd) != 0 && ok) {
        error = std::string("cannot keep the picture: ") + strerror(errno);
        ok = false;
    }
    if (!ok) unlink(name.c_str());
    path = name;
    return ok;
}

// The output's temporary file, created beside it before the trace so that an
// output that cannot be written is found before the work; renamed over the
// output when the whole text is written, removed otherwise.
class PendingOutput {
public:
    ~PendingOutput() {
        if (open_) {
            f_.close();
            remove(tmp_.c_str());
        }
    }
    bool open(const std::string& path, const void* tag, std::string& error) {
        struct stat st;
        if (stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
            error = strerror(EISDIR);
            return false;
        }
        path_ = path;
        tmp_ = path + ".tmp" + std::to_string(FileSystem::processId()) + "." +
               std::to_string(reinterpret_cast<uintptr_t>(tag) & 0xFFFFFF);
        f_.open(tmp_, std::ios::binary | std::ios::trunc);
        if (!f_) {
            error = strerror(errno);
            return false;
        }
        open_ = true;
        return true;
    }
    bool commit(const std::function<bool(std::ostream&)>& body, std::string& error) {
        errno = 0;
        bool ok = body(f_);
        f_.flush();
        ok = ok && static_cast<bool>(f_);
        const int e = errno;
        f_.close();
        ok = ok && !f_.fail();
        open_ = false;
        if (ok && FileSystem::replace(tmp_, path_)) return true;
        error = strerror(ok ? errno : (e ? e : EIO));
        remove(tmp_.c_str());
        return false;
    }

private:
    std::string path_, tmp_;
    std::ofstream f_;
    bool open_ = false;
};

}  // namespace

bool TraceJob::writeAtomically(const std::string& path,
                               const std::function<bool(std::ostream&)>& body, std::string& error) {
    PendingOutput out;
    return out.open(path, &body, error) && out.commit(body, error);
}

bool TraceJob::writeAtomically(const std::string& path, const std::string& text,
                               std::string& error) {
    return writeAtomically(
        path, [&](std::ostream& o) { return static_cast<bool>(o.write(text.data(), text.size())); },
        error);
}

int TraceJob::run(const CommandLine& cl, const std::string& input, const std::string& output,
                  Stats& stats, std::string& message) {
    std::string error;
    const bool toStdout = output == "-";
    PendingOutput pending;
    if (!toStdout && !pending.open(output, &stats, error)) {
        message = output + ": cannot write: " + error;
        return CannotWrite;
    }
    auto t0 = std::chrono::steady_clock::now();
    RasterImage img;
    const bool fromStdin = input == "-";
    std::string source = input;
    if (fromStdin && !stdinToFile(source, error)) {
        message = "standard input: " + error;
        return BadInput;
    }
    const bool loaded = ImageLoader::load(source, cl.maxPixels, cl.background, img, error);
    if (fromStdin) unlink(source.c_str());
    if (!loaded) {
        message = (fromStdin ? std::string("standard input") : input) + ": " + error;
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
    options.seed = om1::TraceOptions::Seed::UniformRing;
    options.treeCurves = false;  // the output layer fits its own
    // Exact polygons are lossless only on the picture's own colours.
    if (cl.polygon) om1::Presets::exactColours(options);
    for (const auto& kv : cl.stages)
        if (!om1::Presets::set(options, kv.first, kv.second, error)) {
            message = error;
            return BadUsage;
        }
    // Exact colours and no stage that reduces them: every speck of its own
    // colour is a region, and the tracer's work grows with the square of the
    // region count. On a picture of many colours say so before the wait.
    if (!cl.quiet && options.tolerancePercent == 0 && options.colors == 0 &&
        options.paletteCount == 0 && options.threshold < 0 && options.merge <= 0 &&
        options.speckle <= 1 && options.speckleShare <= 0 &&
        options.filter == om1::TraceOptions::Filter::None) {
        // Not when the colour limit refuses the picture at once.
        const bool refused = options.maxColors > 0 &&
                             om1::ColorQuantizer::distinct(img.pixels.data(), img.width, img.height,
                                                           options.maxColors) > options.maxColors;
        const long long regions =
            refused ? 0 : om1::PictureCleaner::regions(img.pixels.data(), img.width, img.height);
        if (regions > kManyExactRegions)
            fprintf(stderr,
                    "om1trace: %s: %lld regions of exact colours; tracing them all can take "
                    "long (--preset photo or graphic reduce the colours first)\n",
                    input.c_str(), regions);
    }
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
    if (r == om1::Tracer::TooManyColors) {
        message = input + ": more than " + std::to_string(options.maxColors) +
                  " colours, too many for " +
                  (cl.preset == om1::Presets::Pixel ? "pixel art" : "--max-colors") +
                  " (try --preset graphic or photo, or reduce them with --colors N, or raise "
                  "--max-colors)";
        return TooManyColors;
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
    // The JSON tree keeps one node per traced outline; the drawing formats
    // write touching parts of one colour as one shape.
    const om1::OutputFormat::Kind format = cl.formatFor(output);
    out.joinParts = format != om1::OutputFormat::Kind::Json;
    om1::ShapeSet shapes;
    const bool built = om1::ShapeBuilder::build(tree, traced, img.width, img.height, out, shapes,
                                                img.pixels.data());
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
    // The whole file or nothing at a path; standard output as it comes.
    auto emit = [&](const std::function<bool(std::ostream&)>& body) {
        if (!toStdout) return pending.commit(body, error);
        const bool ok = body(std::cout) && static_cast<bool>(std::cout.flush());
        if (!ok) error = strerror(errno ? errno : EIO);
        return ok;
    };
    const std::string shownOutput = toStdout ? "standard output" : output;
    if (format == om1::OutputFormat::Kind::Json) {
        if (!emit([&](std::ostream& o) { return om1::JsonWriter::write(o, shapes); })) {
            message = shownOutput + ": cannot write: " + error;
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
        if (!emit([&](std::ostream& o) {
                return om1::OutputFormat::write(o, format, shapes, skip);
            })) {
            message = shownOutput + ": cannot write: " + error;
            return CannotWrite;
        }
    }
    struct stat st;
    if (!toStdout && stat(output.c_str(), &st) == 0) stats.bytes = st.st_size;
    stats.writeMs = msSince(t2);
    return Done;
}
