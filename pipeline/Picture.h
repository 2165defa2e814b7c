// Picture: the pixels the pipeline traces, as the host holds them: 4 bytes a
// pixel (red, green, blue, alpha), row 0 at the top, rows `stride` bytes
// apart. Only read, unless the host hands the buffer over (`owner`).
#pragma once

#include <cstdint>
#include <vector>

namespace om1 {

struct Picture {
    const uint8_t* rgba = nullptr;
    int width = 0;
    int height = 0;
    long long stride = 0;  // bytes from one row to the next; 0: 4 * width
    // The vector that holds `rgba`, when the host no longer needs it: the
    // pipeline empties it as soon as it has its own copy of the pixels, so
    // that a large picture is not held twice. Null: the pixels are only read.
    std::vector<uint8_t>* owner = nullptr;
};

}  // namespace om1
