// The core's entry point, as a host that holds BGR pixels calls it.
#include <vector>

#include "interface/om1.h"

bool traceWithCore(std::vector<RGBQUAD>& bgr, int width, int height) {
    KvCtree* tree = nullptr;
    const int code = om1_kvTrace1Bmp(tree, bgr.data(), width, height, 10, 4, 1000, 1, 0);
    const bool traced = code == OM1_DONE && tree != nullptr && tree->holes != nullptr;
    om1_delKvCTree(tree);
    return traced && tree == nullptr;
}
