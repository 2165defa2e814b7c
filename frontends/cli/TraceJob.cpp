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

#include "decode/ImageLoader.h"
#include "frontends/cli/FileSystem.h"
#include "pipeline/Vectorize.h"

namespace {

double msSince(std::chrono::steady_clock::time_point t0) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
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
                  Stats& stats, std::string& message, const std::function<bool(double)>& progress) {
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
    const bool loaded = ImageLoader::loadRgba(source, cl.options.max_pixels, img, error);
    if (fromStdin) unlink(source.c_str());
    if (!loaded) {
        message = (fromStdin ? std::string("standard input") : input) + ": " + error;
        return BadInput;
    }
    stats.width = img.width;
    stats.height = img.height;
    stats.decodeMs = msSince(t0);

    om1::Picture picture;
    picture.rgba = img.rgba.data();
    picture.width = img.width;
    picture.height = img.height;
    picture.owner = &img.rgba;  // freed once the pipeline has its copy
    om1::Hooks hooks;
    if (!cl.quiet)
        hooks.notice = [&](const std::string& text) {
            fprintf(stderr, "om1trace: %s: %s\n", input.c_str(), text.c_str());
        };
    hooks.progress = progress;
    const om1::Result result = om1::vectorize(picture, &cl.options, &hooks);
    stats.traceMs = result.traceMs();
    switch (result.status()) {
        case OM1_OK:
            break;
        case OM1_LIMIT_EXCEEDED:
            message = input + ": more than " + std::to_string(cl.options.max_outlines) +
                      " outlines (raise --max-outlines or --tolerance)";
            return LimitExceeded;
        case OM1_TOO_MANY_COLORS:
            message = input + ": more than " + std::to_string(cl.options.max_colors) +
                      " colours, too many for " +
                      (cl.preset == om1::Presets::Pixel ? "pixel art" : "--max-colors") +
                      " (try --preset graphic or photo, or reduce them with --colors N, or raise "
                      "--max-colors)";
            return TooManyColors;
        case OM1_OUT_OF_MEMORY:
            message = input + ": out of memory";
            return NoOutlines;
        default:
            message = input + ": no outlines";
            return NoOutlines;
    }

    auto t2 = std::chrono::steady_clock::now();
    const om1::OutputFormat::Kind format = cl.formatFor(output);
    om1_stats counts;
    if (result.stats(counts, format, &hooks) != OM1_OK) {
        message = input + ": out of memory while building the shapes";
        return NoOutlines;
    }
    stats.regions = counts.regions;
    stats.frames = counts.frames;
    stats.holes = counts.holes;
    stats.paths = counts.paths;
    stats.segments = counts.segments;
    stats.corrected = counts.corrected_pixels;
    stats.loops = counts.loops;
    stats.curved = counts.curved_loops;
    // The whole file or nothing at a path; standard output as it comes.
    int code = OM1_OK;
    auto body = [&](std::ostream& o) {
        code = result.write(o, format, &hooks);
        return code == OM1_OK;
    };
    bool ok;
    if (toStdout) {
        ok = body(std::cout) && static_cast<bool>(std::cout.flush());
        if (!ok) error = strerror(errno ? errno : EIO);
    } else {
        ok = pending.commit(body, error);
    }
    if (!ok) {
        message = (toStdout ? std::string("standard output") : output) + ": cannot write: " +
                  (code == OM1_OUT_OF_MEMORY ? std::string("out of memory") : error);
        return CannotWrite;
    }
    struct stat st;
    if (!toStdout && stat(output.c_str(), &st) == 0) stats.bytes = st.st_size;
    stats.writeMs = msSince(t2);
    return Done;
}
