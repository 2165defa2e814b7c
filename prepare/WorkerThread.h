// WorkerThread: a long step that cannot stop by itself (the library's
// tracer) run on a thread of its own, so that the caller can give up on it
// at once.
//
// The calling thread waits for the step, asking `ask` about every kPoll;
// when `ask` answers false the caller returns at once and the step is
// abandoned: it goes on to its end on its own thread (a core stays busy
// until then), then its job object is destroyed there, which frees whatever
// the job owns (the picture it worked on, the tree it made). A job must
// therefore own everything it touches (hold it by value or through a
// shared_ptr), never the caller's locals.
//
// Abandoned steps are counted process-wide. waitForAbandoned() waits until
// every one has ended and freed its memory; the library does so itself when
// the process exits (a static object's destructor), so a host that exits
// right after a cancel waits for the step to end, and leak and thread
// checkers see nothing left behind.
#pragma once

#include <chrono>
#include <functional>

namespace om1 {

class WorkerThread {
public:
    static constexpr std::chrono::milliseconds kPoll{5};

    // Runs `job` on a new thread and waits for it. `ask` is called with the
    // seconds since the start, once at once and then about every kPoll
    // until the job ends. True: the job ended (its effects are visible to
    // the caller); false: `ask` answered false and the job was abandoned
    // (the caller must no longer read what the job writes). When no thread
    // can be started the job runs on the calling thread (true, `ask` not
    // called). `job` must not throw.
    static bool run(std::function<void()> job, const std::function<bool(double)>& ask);

    // Jobs abandoned and still running.
    static int abandoned();
    // Returns when no abandoned job is left (each has ended and freed its
    // memory).
    static void waitForAbandoned();
};

}  // namespace om1
