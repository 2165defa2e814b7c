#include "pipeline/Vectorize.h"

#include <chrono>
#include <new>
#include <vector>

#include "pipeline/OptionTable.h"
#include "pipeline/OptionsRecord.h"
#include "pipeline/Progress.h"
#include "pipeline/ResultState.h"
#include "prepare/AlphaPicture.h"
#include "prepare/ColorQuantizer.h"
#include "prepare/PictureCleaner.h"
#include "prepare/Tracer.h"

namespace om1 {

namespace {

// Above this many regions an exact-colour trace takes seconds.
const long long kManyExactRegions = 10000;

// Exact colours and no stage that reduces them: every speck of its own
// colour is a region, and the tracer's work grows with the square of the
// region count. On a picture of many colours the host hears so before the
// wait (not when the colour limit refuses the picture at once).
void announceLongTrace(const std::vector<RGBQUAD>& picture, int width, int height,
                       const TraceOptions& t, const Hooks* hooks) {
    // (The labelling of exact regions takes no longer for many regions.)
    if (!hooks || !hooks->notice || t.exactRegions || t.tolerancePercent != 0 || t.colors != 0 ||
        t.paletteCount != 0 || t.threshold >= 0 || t.merge > 0 || t.speckle > 1 ||
        t.speckleShare > 0 || t.filter != TraceOptions::Filter::None)
        return;
    if (t.maxColors > 0 &&
        ColorQuantizer::distinct(picture.data(), width, height, t.maxColors) > t.maxColors)
        return;
    const long long regions = PictureCleaner::regions(picture.data(), width, height);
    if (regions > kManyExactRegions)
        hooks->notice(std::to_string(regions) +
                      " regions of exact colours; tracing them all can take long (the photo or "
                      "graphic preset reduces the colours first)");
}

int traceInto(const Picture& p, Result::State& s, const Hooks* hooks) {
    const om1_options& o = s.options;
    if (!p.rgba) return OM1_NULL_ARGUMENT;
    if (OptionTable::check(o) != OM1_OK) return OM1_BAD_OPTION;
    if (p.width < 1 || p.height < 1 || static_cast<long long>(p.width) * p.height > o.max_pixels)
        return OM1_BAD_SIZE;
    if (p.width < 3 || p.height < 3) return OM1_TOO_SMALL;
    const long long stride = p.stride ? p.stride : 4LL * p.width;
    if (stride < 4LL * p.width) return OM1_BAD_STRIDE;
    s.width = p.width;
    s.height = p.height;

    const auto t0 = std::chrono::steady_clock::now();
    // Transparency is traced unless a background colour asks for the picture
    // composited over it (and the transparent option does not keep it).
    std::vector<RGBQUAD> picture;
    std::vector<uint8_t> alpha;  // empty for an opaque picture
    const uint32_t bg = o.background >= 0 ? static_cast<uint32_t>(o.background) : 0xFFFFFFu;
    const RGBQUAD background = {static_cast<BYTE>(bg), static_cast<BYTE>(bg >> 8),
                                static_cast<BYTE>(bg >> 16), 0};
    Progress progress(hooks);
    if (!progress.at(0)) return OM1_CANCELLED;
    if (!AlphaPicture::fromRgba(
            p.rgba, p.width, p.height, static_cast<size_t>(stride),
            o.background >= 0 && !o.transparent, background, picture, alpha,
            [&progress]() { return progress.at(0); }, o.threads))
        return progress.stopped() ? OM1_CANCELLED : OM1_OUT_OF_MEMORY;
    if (p.owner) std::vector<uint8_t>().swap(*p.owner);
    if (!progress.at(Progress::kComposited)) return OM1_CANCELLED;

    const TraceOptions t = OptionsRecord::toTrace(o);
    announceLongTrace(picture, p.width, p.height, t, hooks);
    const Tracer::Result traced =
        Tracer::trace(picture.data(), alpha.empty() ? nullptr : alpha.data(), p.width, p.height, t,
                      s.tree, &s.report,
                      progress.active() ? progress.span(Progress::kComposited, Progress::kTraced)
                                        : Tracer::Progress());
    s.traceMs =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
    if (traced == Tracer::Cancelled || !progress.reached(Progress::kTraced)) return OM1_CANCELLED;
    if (traced == Tracer::LimitExceeded) return OM1_LIMIT_EXCEEDED;
    if (traced == Tracer::TooManyColors) return OM1_TOO_MANY_COLORS;
    RegionTree& exact = s.report.regions;
    if (traced != Tracer::Done || (!s.tree && exact.parents.empty())) return OM1_NO_OUTLINES;
    if (!s.tree) {
        // The labelling is the shapes' raster; the nodes take the alpha of
        // their pixels' level.
        if (!s.regions.assign(exact.width, exact.height, std::move(exact.labels), exact.parents,
                              exact.colors, exact.rootFrame))
            return OM1_OUT_OF_MEMORY;
        exact = RegionTree();
        const RGBQUAD* prepared =
            s.report.prepared.empty() ? picture.data() : s.report.prepared.data();
        if (!s.report.preparedAlpha.empty() &&
            !s.regions.setAlpha(prepared, s.report.preparedAlpha.data()))
            return OM1_OUT_OF_MEMORY;
        s.levels = std::move(s.report.preparedAlpha);
        s.report.prepared = std::vector<RGBQUAD>();
        s.input = std::move(picture);
        return OM1_OK;
    }
    // The shapes are checked against the picture the tracer saw, their
    // curves placed against the picture as it came.
    if (s.report.prepared.empty()) {
        s.seen = std::move(picture);
    } else {
        s.seen = std::move(s.report.prepared);
        s.input = std::move(picture);
    }
    if (!s.report.preparedAlpha.empty()) {
        s.levels = std::move(s.report.preparedAlpha);
    }
    return OM1_OK;
}

}  // namespace

Result vectorize(const Picture& picture, const om1_options* options, const Hooks* hooks) {
    Result r;
    try {
        r.state_.reset(new Result::State);
        Result::State& s = *r.state_;
        if (options)
            s.options = *options;
        else
            OptionTable::defaults(s.options);
        s.status = traceInto(picture, s, hooks);
    } catch (const std::bad_alloc&) {
        if (r.state_) r.state_->status = OM1_OUT_OF_MEMORY;
    } catch (...) {
        if (r.state_) r.state_->status = OM1_INTERNAL_ERROR;
    }
    if (r.state_ && r.state_->status != OM1_OK && r.state_->tree) {
        kvctr_deleteKvCtree(r.state_->tree);
        r.state_->tree = nullptr;
    }
    return r;
}

}  // namespace om1
