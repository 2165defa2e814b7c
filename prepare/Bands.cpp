#include "prepare/Bands.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#ifndef _WIN32
#include <unistd.h>
#endif
#ifdef __linux__
#include <pthread.h>
#include <sched.h>
#endif

namespace om1 {

namespace {

// One run's bands that went to other threads: whether each was taken (by
// its thread, or by the caller when the thread had not started it yet), how
// many of those taken by threads are still running, and the calling
// thread's wait for them. Shared with the threads: one that wakes after the
// caller took its band and returned touches only this.
struct Running {
    explicit Running(int bands)
        : taken(new std::atomic<bool>[static_cast<size_t>(bands)]),
          given(new bool[static_cast<size_t>(bands)]()) {
        for (int b = 0; b < bands; ++b) taken[b] = false;
    }
    std::unique_ptr<std::atomic<bool>[]> taken;
    std::unique_ptr<bool[]> given;  // to a thread (the caller's record)
    int count = 0;                  // under lock
    std::mutex lock;
    std::condition_variable ended;  // told when a band ends
};

// A band given to a kept thread.
struct Part {
    const std::function<void(int, long long, long long)>* work = nullptr;
    int band = 0;
    long long begin = 0, end = 0;
    std::shared_ptr<Running> running;
};

// At most this many threads kept for every core (several callers at once
// each take their own).
const unsigned kKeptPerCore = 4;

// Asks a kept thread to run on another core than the calling thread's (any
// other that the caller may use): woken on the caller's core, it would take
// that core from the caller, and the two would share it until the system
// moves one of them (milliseconds later, most of a small picture's fits).
#ifdef __linux__
using Handle = pthread_t;
void offCaller(Handle thread) {
    const int here = sched_getcpu();
    cpu_set_t set;
    CPU_ZERO(&set);
    if (here < 0 || here >= CPU_SETSIZE ||
        pthread_getaffinity_np(pthread_self(), sizeof(set), &set) != 0 || !CPU_ISSET(here, &set))
        return;
    CPU_CLR(here, &set);
    if (CPU_COUNT(&set) > 0) pthread_setaffinity_np(thread, sizeof(set), &set);
}
#else
using Handle = int;
void offCaller(Handle) {}
#endif

// The threads kept between runs: a thread that has done its band waits for
// the next one, so that a picture's many passes (and the next picture's)
// start no thread of their own. They are kept until the process ends (the
// keeper is never destroyed: at exit they are waiting, touching nothing).
class Keeper {
public:
    static Keeper& the() {
        static Keeper* keeper = new Keeper();
        return *keeper;
    }

    // Gives `part` to a waiting thread, or to a new one; false when no
    // thread can be had.
    bool give(const Part& part) {
        Kept* k = nullptr;
        {
            const std::lock_guard<std::mutex> hold(lock_);
            forgetAfterFork();
            if (!waiting_.empty()) {
                k = waiting_.back();
                waiting_.pop_back();
            }
        }
        if (!k) {
            {
                // A thread that has yet to find its band taken by its
                // caller is back soon: no other is started meanwhile (the
                // band runs on the caller), so that late threads never
                // make more.
                const std::lock_guard<std::mutex> hold(lock_);
                const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
                if (late_ > 0 || kept_.size() >= kKeptPerCore * cores) return false;
            }
            return start(part);
        }
        offCaller(k->handle);
        {
            const std::lock_guard<std::mutex> hold(k->lock);
            k->part = part;
            k->given = true;
        }
        k->told.notify_one();
        return true;
    }

    // The caller is about to try to take a band it gave to a thread (`by`
    // 1; which will then find it taken), or failed to (`by` -1): counted
    // before the try, so that the thread, back after it, never counts first.
    void taking(int by) {
        const std::lock_guard<std::mutex> hold(lock_);
        late_ += by;
    }

private:
    struct Kept {
        std::mutex lock;
        std::condition_variable told;
        Part part;
        bool given = false;
        std::thread thread;
        Handle handle{};
    };

    Keeper() { at_ = processId(); }

    static long long processId() {
#ifndef _WIN32
        return static_cast<long long>(getpid());
#else
        return 0;
#endif
    }

    // A child of fork has none of its parent's threads: it forgets them
    // (their records are left, never touched again). Called under lock_.
    void forgetAfterFork() {
        const long long now = processId();
        if (now == at_) return;
        at_ = now;
        for (std::unique_ptr<Kept>& k : kept_) k.release();
        kept_.clear();
        waiting_.clear();
        late_ = 0;
    }

    // A new kept thread that does `part` first, then waits for the next.
    bool start(const Part& part) {
        std::unique_ptr<Kept> k;
        try {
            k.reset(new Kept());
            k->part = part;
            k->given = true;
            const std::lock_guard<std::mutex> hold(lock_);
            kept_.reserve(kept_.size() + 1);
            waiting_.reserve(kept_.size() + 1);
            Kept* raw = k.get();
            k->thread = std::thread([this, raw]() { serve(*raw); });
#ifdef __linux__
            k->handle = k->thread.native_handle();
            offCaller(k->handle);
#endif
            k->thread.detach();
            kept_.push_back(std::move(k));
        } catch (...) {
            return false;  // no memory or no thread to be had
        }
        return true;
    }

    void serve(Kept& k) {
        for (;;) {
            Part part;
            {
                std::unique_lock<std::mutex> hold(k.lock);
                k.told.wait(hold, [&k]() { return k.given; });
                part = std::move(k.part);
                k.part = Part();
                k.given = false;
            }
            Running& r = *part.running;
            // A band the caller took is not run here (its `work` may be
            // gone with the run).
            const bool mine = !r.taken[part.band].exchange(true);
            if (mine) (*part.work)(part.band, part.begin, part.end);
            {
                // Waiting again before its caller hears the band ended, so
                // that the caller's next run finds it (room was reserved).
                const std::lock_guard<std::mutex> all(lock_);
                waiting_.push_back(&k);
                if (!mine) --late_;
            }
            if (!mine) continue;
            const std::lock_guard<std::mutex> hold(r.lock);
            --r.count;
            r.ended.notify_one();
        }
    }

    std::mutex lock_;
    // Threads whose band their caller took, not yet back waiting.
    int late_ = 0;
    long long at_ = 0;
    std::vector<std::unique_ptr<Kept>> kept_;
    std::vector<Kept*> waiting_;
};

}  // namespace

int Bands::count(int threads, long long pixels, long long least) {
    if (pixels < least) return 1;
    if (threads <= 0) threads = static_cast<int>(std::thread::hardware_concurrency());
    return std::min(std::max(threads, 1), 64);
}

void Bands::run(int bands, long long total,
                const std::function<void(int, long long, long long)>& work,
                const std::function<void()>& waiting) {
    bands = static_cast<int>(std::max(1LL, std::min<long long>(bands, total)));
    auto begin = [&](int b) { return total * b / bands; };
    if (bands == 1) {
        work(0, 0, total);
        return;
    }
    std::shared_ptr<Running> shared;
    try {
        shared = std::make_shared<Running>(bands);
    } catch (...) {
        for (int b = 0; b < bands; ++b) work(b, begin(b), begin(b + 1));
        return;
    }
    Running& running = *shared;
    for (int b = 1; b < bands; ++b) {
        {
            const std::lock_guard<std::mutex> hold(running.lock);
            ++running.count;
        }
        Part part;
        part.work = &work;
        part.band = b;
        part.begin = begin(b);
        part.end = begin(b + 1);
        part.running = shared;
        running.given[b] = Keeper::the().give(part);
        if (!running.given[b]) {
            // No thread to be had: this band runs here (taken below).
            const std::lock_guard<std::mutex> hold(running.lock);
            --running.count;
        }
    }
    work(0, 0, begin(1));
    // The bands no thread has started yet run here, in turn (a thread that
    // wakes late, on a busy machine, finds its band taken).
    for (int b = 1; b < bands; ++b) {
        if (running.given[b]) Keeper::the().taking(1);
        if (running.taken[b].exchange(true)) {
            if (running.given[b]) Keeper::the().taking(-1);
            continue;
        }
        work(b, begin(b), begin(b + 1));
        if (!running.given[b]) continue;
        const std::lock_guard<std::mutex> hold(running.lock);
        --running.count;
    }
    std::unique_lock<std::mutex> hold(running.lock);
    while (running.count > 0) {
        if (!waiting) {
            running.ended.wait(hold, [&running]() { return running.count == 0; });
            break;
        }
        running.ended.wait_for(hold, std::chrono::milliseconds(5),
                               [&running]() { return running.count == 0; });
        hold.unlock();
        waiting();
        hold.lock();
    }
}

}  // namespace om1
