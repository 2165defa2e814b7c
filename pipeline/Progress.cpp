#include "pipeline/Progress.h"

#include <algorithm>

namespace om1 {

constexpr double Progress::kComposited;
constexpr double Progress::kTraced;
constexpr double Progress::kShaped;
constexpr std::chrono::milliseconds Progress::kInterval;

Progress::Progress(const Hooks* hooks) {
    if (hooks && hooks->progress) hook_ = &hooks->progress;
}

bool Progress::at(double share) {
    if (stopped_) return false;
    if (!hook_) return true;
    share = std::min(std::max(share, share_), 1.0);  // never backwards
    const auto now = std::chrono::steady_clock::now();
    if (told_ && now - last_ < kInterval) return true;
    told_ = true;
    last_ = now;
    share_ = share;
    stopped_ = !(*hook_)(share);
    return !stopped_;
}

bool Progress::reached(double share) {
    told_ = false;
    return at(share);
}

std::function<bool(double)> Progress::span(double from, double to) {
    return [this, from, to](double part) {
        return at(from + (to - from) * std::min(std::max(part, 0.0), 1.0));
    };
}

}  // namespace om1
