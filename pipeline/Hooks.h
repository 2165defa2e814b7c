// Hooks: what a host may hear from vectorize while it works. Every member may
// be empty.
#pragma once

#include <functional>
#include <string>

namespace om1 {

struct Hooks {
    // A notice worth telling the user before a long wait (a sentence without
    // the picture's name), such as an exact-colour trace of very many regions.
    std::function<void(const std::string&)> notice;
    // How far the job has come, 0..1 (see Progress for the spans of the
    // stages, the tracer, the shapes and the writing), on the caller's
    // thread, about every 10 ms while the work runs. Returning false asks to
    // stop: the call ends with OM1_CANCELLED soon after (see the README for
    // the measured delay), having released everything it made.
    std::function<bool(double)> progress;
};

}  // namespace om1
