// JsonWriter: the contour tree as it is: for every node its kind (frame or
// outline), colour, start pixel, chain length, Bezier points (with the
// library's 1.0 offset removed, as in the SVG: pixel centres at x + 0.5) and
// its holes, nested.
#pragma once

#include <string>

#include "companion/KvCtree.h"

class JsonWriter {
public:
    static std::string write(const KvCtree* tree, int width, int height);

protected:
    static void node(const KvCtree* n, int width, std::string& out, int depth);
};
