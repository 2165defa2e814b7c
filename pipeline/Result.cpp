#include "pipeline/Result.h"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <ostream>
#include <streambuf>
#include <vector>

#include "pipeline/OptionsRecord.h"
#include "pipeline/ResultState.h"
#include "shapes/ShapeBuilder.h"

namespace om1 {

namespace {

// Passes what a writer writes on to `target` in blocks of `size` bytes and
// asks `going` (if given) before each block: with 64 KB blocks one shape
// whose path is megabytes long (a region with thousands of holes) is still
// stopped promptly. A false answer fails the stream, so the writer gives up.
// Without `going`, large blocks spare the target (a file) a write for every
// few kilobytes of a file of hundreds of megabytes.
class CheckedBuffer : public std::streambuf {
public:
    CheckedBuffer(std::ostream& target, std::function<bool()> going, size_t size)
        : target_(target), going_(std::move(going)), block_(new char[size]), size_(size) {
        setp(block_.get(), block_.get() + size_);
    }
    // Passes on what is left; false when the target or `going` failed.
    bool finish() { return pass() && !failed_; }

protected:
    int_type overflow(int_type c) override {
        if (!pass() || (going_ && !going_())) {
            failed_ = true;
            return traits_type::eof();
        }
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }
    int sync() override { return pass() ? 0 : -1; }

private:
    bool pass() {
        const std::streamsize n = pptr() - pbase();
        if (n > 0 && !target_.write(pbase(), n)) failed_ = true;
        setp(block_.get(), block_.get() + size_);
        return !failed_;
    }

    std::ostream& target_;
    std::function<bool()> going_;
    // Not cleared: a small file touches only the pages it fills.
    std::unique_ptr<char[]> block_;
    size_t size_;
    bool failed_ = false;
};

}  // namespace

Result::Result() = default;
Result::~Result() = default;
Result::Result(Result&&) noexcept = default;
Result& Result::operator=(Result&&) noexcept = default;

int Result::status() const {
    return state_ ? state_->status : OM1_OUT_OF_MEMORY;
}

int Result::width() const {
    return state_ ? state_->width : 0;
}

int Result::height() const {
    return state_ ? state_->height : 0;
}

const om1_options& Result::options() const {
    static const om1_options none = {};
    return state_ ? state_->options : none;
}

const TraceReport& Result::report() const {
    static const TraceReport none;
    return state_ ? state_->report : none;
}

double Result::traceMs() const {
    return state_ ? state_->traceMs : 0;
}

double Result::shapesMs() const {
    return state_ ? state_->drawing.ms + state_->outlines.ms : 0;
}

const ShapeSet* Result::drawing() const {
    if (!state_ || state_->status != OM1_OK) return nullptr;
    State& s = *state_;
    const bool cutout = s.options.cutout != 0;
    // In the cutout layout the drawing and the outlines are one view.
    State::View& v = cutout ? s.outlines : s.drawing;
    return s.view(v, !cutout, nullptr) == OM1_OK ? &v.set : nullptr;
}

const ShapeSet* Result::outlines() const {
    if (!state_ || state_->status != OM1_OK) return nullptr;
    State& s = *state_;
    return s.view(s.outlines, false, nullptr) == OM1_OK ? &s.outlines.set : nullptr;
}

int Result::shapes(OutputFormat::Kind kind, const Hooks* hooks) const {
    if (!state_ || state_->status != OM1_OK) return status();
    Progress progress(hooks);
    const int code = state_->viewFor(kind, &progress);
    if (code != OM1_OK) return code;
    return progress.reached(Progress::kShaped) ? OM1_OK : OM1_CANCELLED;
}

bool Result::hidden(const Shape& sh) const {
    return sh.role != Shape::Role::Frame && sh.alpha == 0;
}

int Result::stats(om1_stats& out, OutputFormat::Kind kind, const Hooks* hooks) const {
    out = om1_stats{};
    if (!state_ || state_->status != OM1_OK) return status();
    if (hooks) {
        const int code = shapes(kind, hooks);
        if (code != OM1_OK) return code;
    }
    const bool json = kind == OutputFormat::Kind::Json;
    const ShapeSet* set = json ? outlines() : drawing();
    if (!set) return OM1_OUT_OF_MEMORY;
    out.width = set->width;
    out.height = set->height;
    out.loops = set->loops;
    out.curved_loops = set->curvedLoops;
    out.corrected_pixels = set->reconciledPixels;
    for (const Shape& sh : set->shapes) {
        if (sh.role == Shape::Role::Frame) {
            ++out.frames;
            continue;
        }
        ++out.regions;
        if (sh.role == Shape::Role::Hole) ++out.holes;
        if ((!json && hidden(sh)) || sh.loops.empty()) continue;
        ++out.paths;
        for (size_t k = 0; k < sh.loops.size(); ++k)
            out.segments += k < sh.curves.size() && sh.curves[k].size() >= 4
                                ? static_cast<long long>(sh.curves[k].size() - 1) / 3
                                : static_cast<long long>(sh.loops[k].vertexCount());
    }
    return OM1_OK;
}

int Result::write(std::ostream& out, OutputFormat::Kind kind, const Hooks* hooks) const {
    if (!state_ || state_->status != OM1_OK) return status();
    Progress progress(hooks);
    const int code = state_->viewFor(kind, &progress);
    if (code != OM1_OK) return code;
    const ShapeSet* set = kind == OutputFormat::Kind::Json ? outlines() : drawing();
    if (!set || !progress.reached(Progress::kShaped))
        return set ? OM1_CANCELLED : OM1_OUT_OF_MEMORY;
    try {
        // The writers ask for every shape in turn whether it is left out:
        // there the share moves, and a stop fails the stream, so that the
        // rest is skipped.
        size_t asked = 0;
        const double each = (1 - Progress::kShaped) / std::max<size_t>(set->shapes.size(), 1);
        auto share = [&]() { return Progress::kShaped + each * static_cast<double>(asked); };
        bool ok;
        if (progress.active()) {
            CheckedBuffer checked(
                out, [&]() { return progress.at(share()); }, 1 << 16);
            std::ostream through(&checked);
            ok = OutputFormat::write(through, kind, *set, [&](const Shape& sh) {
                if (!progress.at(share())) through.setstate(std::ios::badbit);
                ++asked;
                return hidden(sh);
            });
            ok = checked.finish() && ok;
        } else {
            CheckedBuffer blocks(out, nullptr, 1 << 20);
            std::ostream through(&blocks);
            ok = OutputFormat::write(through, kind, *set,
                                     [&](const Shape& sh) { return hidden(sh); });
            ok = blocks.finish() && ok;
        }
        if (progress.stopped()) return OM1_CANCELLED;
        // Done: what the host answers to the last report changes nothing.
        if (ok) progress.reached(1);
        return ok ? OM1_OK : OM1_WRITE_FAILED;
    } catch (const std::bad_alloc&) {
        return OM1_OUT_OF_MEMORY;
    }
}

const char* Result::message(int status) {
    switch (status) {
        case OM1_OK:
            return "done";
        case OM1_NO_OUTLINES:
            return "no outlines were traced";
        case OM1_LIMIT_EXCEEDED:
            return "more outlines than max_outlines allows (raise max_outlines or tolerance)";
        case OM1_NULL_ARGUMENT:
            return "a required pointer argument is null";
        case OM1_BAD_SIZE:
            return "width and height must be at least 1 and width * height at most max_pixels";
        case OM1_TOO_SMALL:
            return "the picture must be at least 3 x 3 pixels";
        case OM1_BAD_STRIDE:
            return "stride must be at least 4 * width bytes";
        case OM1_BAD_OPTION:
            return "an option is out of its range";
        case OM1_UNKNOWN_OPTION:
            return "no option or preset of that name";
        case OM1_UNKNOWN_FORMAT:
            return "no output format of that name";
        case OM1_BAD_INDEX:
            return "a region, loop or hole index is out of range";
        case OM1_OUT_OF_MEMORY:
            return "out of memory";
        case OM1_INTERNAL_ERROR:
            return "an unexpected failure inside the library";
        case OM1_TOO_MANY_COLORS:
            return "more colours than max_colors allows (reduce them with colors, or raise "
                   "max_colors)";
        case OM1_WRITE_FAILED:
            return "the output could not be written";
        case OM1_CANCELLED:
            return "cancelled: the progress callback asked to stop";
        default:
            return "unknown error code";
    }
}

Result::State::~State() {
    if (tree) kvctr_deleteKvCtree(tree);
}

int Result::State::view(View& v, bool joinParts, Progress* progress) {
    std::lock_guard<std::mutex> g(v.lock);
    if (v.tried) return v.built ? OM1_OK : OM1_OUT_OF_MEMORY;
    const auto t0 = std::chrono::steady_clock::now();
    OutputOptions oo = OptionsRecord::toOutput(options);
    oo.joinParts = joinParts;
    try {
        PixelAlpha alpha;
        if (!levels.empty()) {
            alpha.levels = levels.data();
        }
        const RGBQUAD* before = input.empty() ? nullptr : input.data();
        const std::function<bool(double)> watch =
            progress && progress->active() ? progress->span(Progress::kTraced, Progress::kShaped)
                                           : std::function<bool(double)>();
        v.built = tree ? ShapeBuilder::build(tree, seen.data(), alpha, width, height, oo, v.set,
                                             before, watch)
                       : ShapeBuilder::build(regions, !levels.empty(), oo, v.set, before, watch);
    } catch (...) {
        v.built = false;
    }
    v.ms +=
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
    // Stopped: the unfinished shapes stay until the next build or the
    // result's end frees them, so that the stop returns at once.
    if (progress && progress->stopped()) return OM1_CANCELLED;
    if (!v.built) v.set = ShapeSet();
    v.tried = true;
    return v.built ? OM1_OK : OM1_OUT_OF_MEMORY;
}

int Result::State::viewFor(OutputFormat::Kind kind, Progress* progress) {
    const bool cutout = options.cutout != 0;
    if (kind == OutputFormat::Kind::Json || cutout) return view(outlines, false, progress);
    return view(drawing, true, progress);
}

}  // namespace om1
