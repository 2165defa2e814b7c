#include "prepare/Bands.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace om1 {

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
    std::vector<std::thread> started;
    std::vector<int> inTurn;
    std::atomic<int> running{0};
    std::mutex waitingFor;
    std::condition_variable ended;  // told when a band's thread ends
    try {
        started.reserve(static_cast<size_t>(bands));
    } catch (...) {
    }
    for (int b = 1; b < bands; ++b) {
        try {
            ++running;
            started.emplace_back(
                [&work, &running, &waitingFor, &ended, b, from = begin(b), to = begin(b + 1)]() {
                    work(b, from, to);
                    {
                        const std::lock_guard<std::mutex> hold(waitingFor);
                        --running;
                    }
                    ended.notify_one();
                });
        } catch (...) {
            --running;
            inTurn.push_back(b);  // no thread to be had: this band runs here
        }
    }
    work(0, 0, begin(1));
    for (int b : inTurn) work(b, begin(b), begin(b + 1));
    if (waiting) {
        std::unique_lock<std::mutex> hold(waitingFor);
        while (running.load() > 0) {
            ended.wait_for(hold, std::chrono::milliseconds(5),
                           [&running]() { return running.load() == 0; });
            hold.unlock();
            waiting();
            hold.lock();
        }
    }
    for (std::thread& t : started) t.join();
}

}  // namespace om1
