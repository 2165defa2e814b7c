#include "shapes/CrackLoop.h"

namespace om1 {

namespace {
const int kDx[4] = {1, 0, -1, 0};
const int kDy[4] = {0, 1, 0, -1};
}  // namespace

long long CrackLoop::area() const {
    // Sum of x * dy over the vertical steps: the enclosed area, positive for
    // clockwise loops on a y-down picture.
    long long a = 0;
    int x = this->x;
    for (uint8_t c : codes) {
        a += static_cast<long long>(x) * kDy[c];
        x += kDx[c];
    }
    return a;
}

std::vector<Corner> CrackLoop::corners() const {
    std::vector<Corner> out;
    out.reserve(codes.size());
    int cx = x, cy = y;
    for (uint8_t c : codes) {
        out.push_back({cx, cy});
        cx += kDx[c];
        cy += kDy[c];
    }
    return out;
}

size_t CrackLoop::vertexCount() const {
    const size_t n = codes.size();
    size_t count = 0;
    for (size_t i = 0; i < n; ++i) count += codes[i] != codes[i == 0 ? n - 1 : i - 1];
    return count;
}

std::vector<Corner> CrackLoop::vertices() const {
    std::vector<Corner> out;
    const size_t n = codes.size();
    if (n == 0) return out;
    out.reserve(vertexCount());
    int cx = x, cy = y;
    for (size_t i = 0; i < n; ++i) {
        uint8_t prev = codes[(i + n - 1) % n];
        if (codes[i] != prev) out.push_back({cx, cy});
        cx += kDx[codes[i]];
        cy += kDy[codes[i]];
    }
    return out;
}

}  // namespace om1
