// Picture: the pixels the pipeline traces, as the host holds them: 4 bytes a
// pixel (red, green, blue, alpha), row 0 at the top, rows `stride` bytes
// apart. Only read.
#pragma once

#include <cstdint>

namespace om1 {

struct Picture {
    const uint8_t* rgba = nullptr;
    int width = 0;
    int height = 0;
    long long stride = 0;  // bytes from one row to the next; 0: 4 * width
};

}  // namespace om1
