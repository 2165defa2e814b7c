#include "prepare/Bands.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace om1 {

int Bands::count(int threads, long long pixels) {
    if (pixels < kMinPixels) return 1;
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
    try {
        started.reserve(static_cast<size_t>(bands));
    } catch (...) {
    }
    for (int b = 1; b < bands; ++b) {
        try {
            ++running;
            started.emplace_back([&work, &running, b, from = begin(b), to = begin(b + 1)]() {
                work(b, from, to);
                --running;
            });
        } catch (...) {
            --running;
            inTurn.push_back(b);  // no thread to be had: this band runs here
        }
    }
    work(0, 0, begin(1));
    for (int b : inTurn) work(b, begin(b), begin(b + 1));
    if (waiting)
        while (running.load() > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            waiting();
        }
    for (std::thread& t : started) t.join();
}

}  // namespace om1
