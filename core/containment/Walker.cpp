#include "containment/Walker.h"

Walker::Walker(int width_)
    : width(width_), offset{1, width_, -1, -width_}, dx{1, 0, -1, 0}, dy{0, 1, 0, -1} {}
