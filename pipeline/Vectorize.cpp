#include "pipeline/Vectorize.h"

#include <chrono>
#include <new>
#include <vector>

#include "pipeline/OptionTable.h"
#include "pipeline/OptionsRecord.h"
#include "pipeline/Progress.h"
#include "pipeline/ResultState.h"
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
    if (!hooks || !hooks->notice || t.tolerancePercent != 0 || t.colors != 0 ||
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

// The pixels composited over the background (rounded to nearest); counts
// the pixels of exactly the background colour and those of them that were
// fully transparent.
// False when the progress asked to stop (every 256 rows).
bool composite(const Picture& p, long long stride, uint32_t background, std::vector<RGBQUAD>& out,
               long long& bgPixels, long long& bgTransparent, Progress& progress) {
    const unsigned br = (background >> 16) & 0xFF, bgg = (background >> 8) & 0xFF,
                   bb = background & 0xFF;
    out.resize(static_cast<size_t>(p.width) * static_cast<size_t>(p.height));
    bgPixels = bgTransparent = 0;
    for (int y = 0; y < p.height; ++y) {
        if ((y & 255) == 0 && !progress.at(Progress::kComposited * y / p.height)) return false;
        const uint8_t* row = p.rgba + static_cast<size_t>(y) * static_cast<size_t>(stride);
        RGBQUAD* dst = out.data() + static_cast<size_t>(y) * static_cast<size_t>(p.width);
        for (int x = 0; x < p.width; ++x) {
            const uint8_t* s = row + 4 * static_cast<size_t>(x);
            const unsigned a = s[3];
            RGBQUAD& q = dst[x];
            if (a == 255) {
                q = RGBQUAD{s[2], s[1], s[0], 0};
            } else {
                auto mix = [a](unsigned c, unsigned b) {
                    return static_cast<BYTE>((c * a + b * (255 - a) + 127) / 255);
                };
                q = RGBQUAD{mix(s[2], bb), mix(s[1], bgg), mix(s[0], br), 0};
            }
            if (q.rgbRed == br && q.rgbGreen == bgg && q.rgbBlue == bb) {
                ++bgPixels;
                if (a == 0) ++bgTransparent;
            }
        }
    }
    return true;
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
    std::vector<RGBQUAD> picture;
    long long bgPixels = 0, bgTransparent = 0;
    Progress progress(hooks);
    if (!composite(p, stride, static_cast<uint32_t>(o.background), picture, bgPixels, bgTransparent,
                   progress))
        return OM1_CANCELLED;
    s.dropBackground = o.transparent && bgTransparent * 2 > bgPixels;

    const TraceOptions t = OptionsRecord::toTrace(o);
    announceLongTrace(picture, p.width, p.height, t, hooks);
    const Tracer::Result traced =
        Tracer::trace(picture.data(), p.width, p.height, t, s.tree, &s.report,
                      progress.active() ? progress.span(Progress::kComposited, Progress::kTraced)
                                        : Tracer::Progress());
    s.traceMs =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
    if (traced == Tracer::Cancelled || !progress.reached(Progress::kTraced)) return OM1_CANCELLED;
    if (traced == Tracer::LimitExceeded) return OM1_LIMIT_EXCEEDED;
    if (traced == Tracer::TooManyColors) return OM1_TOO_MANY_COLORS;
    if (traced != Tracer::Done || !s.tree) return OM1_NO_OUTLINES;
    // The shapes are checked against the picture the tracer saw.
    if (s.report.prepared.empty())
        s.seen = std::move(picture);
    else
        s.seen = std::move(s.report.prepared);
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
