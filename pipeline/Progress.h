// Progress: how far one job (a picture traced, its shapes built, written)
// has come, told to the host through Hooks::progress, and whether the host
// asked to stop. The job's share is laid out in fixed spans, so that a bar
// moves on from one call to the next (vectorize, then the shapes, then the
// writing): the stages and the tracer up to kTraced, the shapes up to
// kShaped, the writing up to 1. The host hears at most one report every
// kInterval (besides the first and the last), so a lower layer may report as
// often as it likes; once the host answers false every report answers false.
// The end of each call's span is always told.
#pragma once

#include <chrono>
#include <functional>

#include "pipeline/Hooks.h"

namespace om1 {

class Progress {
public:
    static constexpr double kComposited = 0.02;
    static constexpr double kTraced = 0.75;
    static constexpr double kShaped = 0.95;
    static constexpr std::chrono::milliseconds kInterval{10};

    // Reports nothing when `hooks` or its progress member is empty.
    explicit Progress(const Hooks* hooks);

    // The job is at `share` (0..1). False when the host asked to stop.
    bool at(double share);
    // The same, told to the host whatever the time since the last report:
    // the end of a call's span.
    bool reached(double share);
    // What a lower layer calls with its own share (0..1), placed in [from, to].
    std::function<bool(double)> span(double from, double to);
    bool stopped() const { return stopped_; }
    bool active() const { return hook_ != nullptr; }

private:
    const std::function<bool(double)>* hook_ = nullptr;
    std::chrono::steady_clock::time_point last_{};
    bool told_ = false;
    bool stopped_ = false;
    double share_ = 0;
};

}  // namespace om1
