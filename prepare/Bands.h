// Bands: one picture's work split into contiguous parts run at once on
// several threads. Each part writes only its own rows (or items), so the
// result is the same for any number of bands.
#pragma once

#include <functional>

namespace om1 {

class Bands {
public:
    // Below this many pixels a second thread costs more than it saves.
    static const long long kMinPixels = 1LL << 20;

    // How many bands `pixels` of work take when `threads` are allowed (0:
    // one per core): 1 below `least` pixels (work that costs more a pixel
    // pays for a thread sooner), never more than 64.
    static int count(int threads, long long pixels, long long least = kMinPixels);

    // Runs work(band, begin, end) for `bands` contiguous parts of
    // [0, total), in order of band; band 0 on the calling thread, the others
    // on threads kept for the bands (started when none waits, then kept
    // waiting for the next run until the process ends; each asked to run on
    // another core than the caller's; in turn on the calling thread when no
    // thread can be started, or when its thread has not yet started it by
    // the time the calling thread has done its own: on a busy machine a
    // woken thread may wait milliseconds for a core). Returns when every
    // part is done. `work` must not throw. `waiting` (may be empty), when
    // the calling thread has done its part before the others, is called
    // about every 5 ms until they end (it may tell them to stop through the
    // state `work` reads).
    static void run(int bands, long long total,
                    const std::function<void(int band, long long begin, long long end)>& work,
                    const std::function<void()>& waiting = {});
};

}  // namespace om1
