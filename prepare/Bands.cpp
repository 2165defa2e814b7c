#include "prepare/Bands.h"

#include <algorithm>
#include <thread>
#include <vector>

namespace om1 {

int Bands::count(int threads, long long pixels) {
    if (pixels < kMinPixels) return 1;
    if (threads <= 0) threads = static_cast<int>(std::thread::hardware_concurrency());
    return std::min(std::max(threads, 1), 64);
}

void Bands::run(int bands, long long total,
                const std::function<void(int, long long, long long)>& work) {
    bands = static_cast<int>(std::max(1LL, std::min<long long>(bands, total)));
    auto begin = [&](int b) { return total * b / bands; };
    std::vector<std::thread> started;
    std::vector<int> inTurn;
    try {
        started.reserve(static_cast<size_t>(bands));
    } catch (...) {
    }
    for (int b = 1; b < bands; ++b) {
        try {
            started.emplace_back(work, b, begin(b), begin(b + 1));
        } catch (...) {
            inTurn.push_back(b);  // no thread to be had: this band runs here
        }
    }
    work(0, 0, begin(1));
    for (int b : inTurn) work(b, begin(b), begin(b + 1));
    for (std::thread& t : started) t.join();
}

}  // namespace om1
