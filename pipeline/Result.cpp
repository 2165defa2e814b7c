#include "pipeline/Result.h"

#include <chrono>
#include <mutex>
#include <new>
#include <vector>

#include "pipeline/OptionsRecord.h"
#include "pipeline/ResultState.h"
#include "shapes/ShapeBuilder.h"

namespace om1 {

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
    std::call_once(v.once, [&] { s.build(v, !cutout); });
    return v.built ? &v.set : nullptr;
}

const ShapeSet* Result::outlines() const {
    if (!state_ || state_->status != OM1_OK) return nullptr;
    State& s = *state_;
    std::call_once(s.outlines.once, [&] { s.build(s.outlines, false); });
    return s.outlines.built ? &s.outlines.set : nullptr;
}

bool Result::hidden(const Shape& sh) const {
    return sh.role != Shape::Role::Frame && sh.alpha == 0;
}

int Result::stats(om1_stats& out, OutputFormat::Kind kind) const {
    out = om1_stats{};
    if (!state_ || state_->status != OM1_OK) return status();
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
                                : static_cast<long long>(sh.loops[k].vertices().size());
    }
    return OM1_OK;
}

int Result::write(std::ostream& out, OutputFormat::Kind kind) const {
    if (!state_ || state_->status != OM1_OK) return status();
    const ShapeSet* set = kind == OutputFormat::Kind::Json ? outlines() : drawing();
    if (!set) return OM1_OUT_OF_MEMORY;
    try {
        const bool ok =
            OutputFormat::write(out, kind, *set, [&](const Shape& sh) { return hidden(sh); });
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
        default:
            return "unknown error code";
    }
}

Result::State::~State() {
    if (tree) kvctr_deleteKvCtree(tree);
}

void Result::State::build(View& v, bool joinParts) {
    const auto t0 = std::chrono::steady_clock::now();
    OutputOptions oo = OptionsRecord::toOutput(options);
    oo.joinParts = joinParts;
    try {
        PixelAlpha alpha;
        if (!levels.empty()) {
            alpha.levels = levels.data();
            alpha.coverage = coverage.empty() ? nullptr : coverage.data();
        }
        const RGBQUAD* before = input.empty() ? nullptr : input.data();
        v.built = tree ? ShapeBuilder::build(tree, seen.data(), alpha, width, height, oo, v.set,
                                             before)
                       : ShapeBuilder::build(regions, !levels.empty(), oo, v.set, before);
    } catch (...) {
        v.set.shapes.clear();
        v.built = false;
    }
    v.ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
}

}  // namespace om1
