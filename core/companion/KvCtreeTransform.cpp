// The two whole-tree transforms of the companion library: the flip to
// top-left coordinates and the palette merge.
#include "companion/KvCtree.h"

namespace {

template <class F>
void forEachNode(KvCtree* node, F& f) {
    f(node);
    for (KvCtree::Holes* h = node->holes; h; h = h->next)
        if (h->ctree) forEachNode(h->ctree, f);
}

int channelDist(BYTE a, BYTE b) {
    return a > b ? a - b : b - a;
}

int colorDist(const RGBQUAD& a, const RGBQUAD& b) {
    int d = channelDist(a.rgbRed, b.rgbRed);
    int g = channelDist(a.rgbGreen, b.rgbGreen);
    int bl = channelDist(a.rgbBlue, b.rgbBlue);
    if (g > d) d = g;
    return bl > d ? bl : d;
}

}  // namespace

void flipShiftCTree(KvCtree* tree, int width, int height) {
    if (!tree || width <= 0 || height <= 0) return;
    auto flip = [width, height](KvCtree* n) {
        if (n->dirNum > 0 || n->chain) {
            int x = n->startOffset % width;
            int y = n->startOffset / width;
            n->startOffset = (height - 1 - y) * width + x;
        }
        for (int i = 0; i < n->dirNum && n->chain; ++i) {
            if (n->chain[i] == 1)
                n->chain[i] = 3;
            else if (n->chain[i] == 3)
                n->chain[i] = 1;
        }
        for (int i = 0; i < n->bezierCount && n->bezier; ++i) {
            n->bezier[i].x = n->bezier[i].x - 0.5;
            n->bezier[i].y = height - n->bezier[i].y + 0.5;
        }
    };
    forEachNode(tree, flip);
}

void mergeIntoPalette(KvCtree* tree, RGBQUAD* palette, int count) {
    if (!tree || !palette || count < 1) return;
    auto snap = [palette, count](KvCtree* n) {
        int best = 0;
        int bestDist = colorDist(n->color, palette[0]);
        for (int i = 1; i < count; ++i) {
            int d = colorDist(n->color, palette[i]);
            if (d < bestDist) {
                bestDist = d;
                best = i;
            }
        }
        n->color.rgbBlue = palette[best].rgbBlue;
        n->color.rgbGreen = palette[best].rgbGreen;
        n->color.rgbRed = palette[best].rgbRed;
        n->color.rgbReserved = 0;
    };
    forEachNode(tree, snap);
}
