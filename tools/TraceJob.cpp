#include "tools/TraceJob.h"

#include <sys/stat.h>
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

// The output's temporary file, created beside it before the trace so that an
// output that cannot be written is found before the work; renamed over the
// output when the text is complete, removed otherwise.
class PendingOutput {
public:
    ~PendingOutput() {
        if (f_) {
            fclose(f_);
            remove(tmp_.c_str());
        }
    }
    bool open(const std::string& path, std::string& error) {
        struct stat st;
        if (stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
            error = strerror(EISDIR);
            return false;
        }
        path_ = path;
        tmp_ = path + ".tmp" + std::to_string(getpid()) + "." +
               std::to_string(reinterpret_cast<uintptr_t>(this) & 0xFFFFFF);
        f_ = fopen(tmp_.c_str(), "wb");
        if (!f_) error = strerror(errno);
        return f_ != nullptr;
    }
    bool commit(const std::string& text, std::string& error) {
        bool ok = fwrite(text.data(), 1, text.size(), f_) == text.size();
        ok = (fflush(f_) == 0) && ok;
        int e = errno;
        ok = (fclose(f_) == 0) && ok;
        f_ = nullptr;
        if (ok && rename(tmp_.c_str(), path_.c_str()) == 0) return true;
        error = strerror(ok ? errno : (e ? e : EIO));
        remove(tmp_.c_str());
        return false;
    }

private:
    std::string path_, tmp_;
    FILE* f_ = nullptr;
};

}  // namespace

bool TraceJob::writeAtomically(const std::string& path, const std::string& text,
                               std::string& error) {
    PendingOutput out;
    return out.open(path, error) && out.commit(text, error);
}

int TraceJob::run(const CommandLine& cl, const std::string& input, const std::string& output,
                  Stats& stats, std::string& message) {
    std::string error;
    PendingOutput pending;
    if (!pending.open(output, error)) {
        message = output + ": cannot write: " + error;
        return CannotWrite;
    }
    auto t0 = std::chrono::steady_clock::now();
    RasterImage img;
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
    if (!pending.commit(text, error)) {
        message = output + ": cannot write: " + error;
        return CannotWrite;
    }
    stats.writeMs = msSince(t2);
    return Done;
}
