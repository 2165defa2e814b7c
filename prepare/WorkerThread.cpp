#include "prepare/WorkerThread.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace om1 {

constexpr std::chrono::milliseconds WorkerThread::kPoll;

namespace {

// Between the caller and its thread.
struct Ending {
    std::mutex lock;
    std::condition_variable ended;
    bool done = false;
};

// The abandoned threads, joined once they end (when another is added, or
// all of them in waitAll). The process-wide object below waits for them in
// its destructor: it is built before main, so it is destroyed after every
// static made later and before those the library was built on.
class Abandoned {
public:
    ~Abandoned() { waitAll(); }

    void add(std::thread thread, std::shared_ptr<Ending> ending) {
        std::vector<Entry> ended;
        {
            std::lock_guard<std::mutex> g(lock_);
            for (size_t i = 0; i < entries_.size();) {
                if (isDone(*entries_[i].ending)) {
                    ended.push_back(std::move(entries_[i]));
                    entries_[i] = std::move(entries_.back());
                    entries_.pop_back();
                } else {
                    ++i;
                }
            }
            try {
                entries_.push_back(Entry{std::move(thread), std::move(ending)});
            } catch (...) {
                ended.push_back(Entry{std::move(thread), nullptr});  // joined here, below
            }
        }
        for (Entry& e : ended) e.thread.join();
    }

    int running() {
        std::lock_guard<std::mutex> g(lock_);
        int n = 0;
        for (const Entry& e : entries_) n += !isDone(*e.ending);
        return n;
    }

    void waitAll() {
        for (;;) {
            std::vector<Entry> all;
            {
                std::lock_guard<std::mutex> g(lock_);
                all.swap(entries_);
            }
            if (all.empty()) return;
            for (Entry& e : all) e.thread.join();
        }
    }

private:
    struct Entry {
        std::thread thread;
        std::shared_ptr<Ending> ending;
    };
    static bool isDone(Ending& e) {
        std::lock_guard<std::mutex> g(e.lock);
        return e.done;
    }
    std::mutex lock_;
    std::vector<Entry> entries_;
};

Abandoned g_abandoned;

// What a thread allocated comes from a heap of its own (glibc's arenas),
// which keeps what the job freed: given back, so that the caller's next
// steps do not add to it.
void releaseFreeMemory() {
#if defined(__GLIBC__)
    malloc_trim(0);
#endif
}

}  // namespace

bool WorkerThread::run(std::function<void()> job, const std::function<bool(double)>& ask) {
    std::shared_ptr<Ending> ending;
    std::shared_ptr<std::function<void()>> task;
    std::thread thread;
    try {
        ending = std::make_shared<Ending>();
        task = std::make_shared<std::function<void()>>(std::move(job));
        thread = std::thread([task, ending]() {
            (*task)();
            *task = nullptr;  // what the job owns is freed on this thread
            releaseFreeMemory();
            std::lock_guard<std::mutex> g(ending->lock);
            ending->done = true;
            ending->ended.notify_all();
        });
    } catch (...) {
        if (task)
            (*task)();
        else
            job();
        return true;
    }
    task.reset();
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> g(ending->lock);
    while (!ending->done) {
        g.unlock();
        const bool going =
            ask(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        g.lock();
        if (!going) {
            const bool done = ending->done;
            g.unlock();
            if (done)
                thread.join();
            else
                g_abandoned.add(std::move(thread), std::move(ending));
            return false;
        }
        ending->ended.wait_for(g, kPoll, [&] { return ending->done; });
    }
    g.unlock();
    thread.join();
    return true;
}

int WorkerThread::abandoned() {
    return g_abandoned.running();
}

void WorkerThread::waitForAbandoned() {
    g_abandoned.waitAll();
}

}  // namespace om1
