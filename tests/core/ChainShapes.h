// Closed chains used by several test programs.
#pragma once

#include <vector>

namespace testchains {

// Round a box: `across` steps +x, `down` steps +y, then back and up again
// (the box covers across + 1 by down + 1 pixels).
inline std::vector<unsigned char> box(int across, int down) {
    std::vector<unsigned char> c;
    c.insert(c.end(), across, 0);
    c.insert(c.end(), down, 1);
    c.insert(c.end(), across, 2);
    c.insert(c.end(), down, 3);
    return c;
}

// The loop through the border pixels of a w x h box.
inline std::vector<unsigned char> boxOfPixels(int w, int h) {
    return box(w - 1, h - 1);
}

}  // namespace testchains
