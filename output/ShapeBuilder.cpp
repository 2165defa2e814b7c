#include "output/ShapeBuilder.h"

#include <algorithm>

#include "output/CrackTracer.h"
#include "output/CurveFitter.h"
#include "output/CutoutCurves.h"
#include "output/LabelRaster.h"

namespace om1 {

namespace {

struct Box {
    int x0 = 1 << 30, y0 = 1 << 30, x1 = -1, y1 = -1;  // inclusive
    void add(int x, int y) {
        x0 = std::min(x0, x);
        y0 = std::min(y0, y);
        x1 = std::max(x1, x);
        y1 = std::max(y1, y);
    }
    void add(const Box& b) {
        if (b.x1 < 0) return;
        add(b.x0, b.y0);
        add(b.x1, b.y1);
    }
};

bool stackedLoops(const LabelRaster& lr, ShapeSet& out) {
    const int n = static_cast<int>(lr.nodes.size());
    std::vector<Box> boxes(static_cast<size_t>(n));
    std::vector<long long> counts(static_cast<size_t>(n), 0);
    for (int y = 0; y < lr.height; ++y)
        for (int x = 0; x < lr.width; ++x) {
            const int32_t l = lr.labels[static_cast<size_t>(y) * lr.width + x];
            if (l < 0) continue;
            boxes[l].add(x, y);
            ++counts[l];
        }
    // Children come after their parents: fold boxes and counts upward.
    for (int i = n - 1; i >= 0; --i) {
        const int p = lr.nodes[i].parent;
        if (p >= 0) {
            boxes[p].add(boxes[i]);
            counts[p] += counts[i];
        }
    }
    std::vector<uint8_t> mask;
    for (int i = 0; i < n; ++i) {
        Shape& s = out.shapes[i];
        s.pixels = counts[i];
        if (s.role == Shape::Role::Frame || boxes[i].x1 < 0) continue;
        const Box& b = boxes[i];
        const int w = b.x1 - b.x0 + 1, h = b.y1 - b.y0 + 1;
        const int lo = i, hi = lr.subtreeEnd(i);
        mask.assign(static_cast<size_t>(w) * h, 0);
        for (int y = 0; y < h; ++y) {
            const int32_t* row = &lr.labels[static_cast<size_t>(y + b.y0) * lr.width + b.x0];
            for (int x = 0; x < w; ++x)
                mask[static_cast<size_t>(y) * w + x] = row[x] >= lo && row[x] < hi;
        }
        if (!CrackTracer::traceMask(mask.data(), w, h, b.x0, b.y0, s.loops)) return false;
    }
    return true;
}

bool cutoutLoops(const LabelRaster& lr, ShapeSet& out) {
    std::vector<CrackTracer::Labelled> loops;
    if (!CrackTracer::trace(lr.labels.data(), lr.width, lr.height, 0, 0, loops)) return false;
    for (CrackTracer::Labelled& l : loops) out.shapes[l.label].loops.push_back(std::move(l.loop));
    for (int32_t l : lr.labels)
        if (l >= 0) ++out.shapes[l].pixels;
    return true;
}

}  // namespace

bool ShapeBuilder::build(const KvCtree* tree, const RGBQUAD* pixels, int width, int height,
                         const OutputOptions& options, ShapeSet& out) {
    out = ShapeSet();
    out.width = width;
    out.height = height;
    out.options = options;
    try {
        LabelRaster lr;
        if (!lr.build(tree, width, height, pixels)) return false;
        if (pixels && options.reconcileTolerance >= 0) {
            const long long moved = lr.reconcile(pixels, options.reconcileTolerance);
            if (moved < 0) return false;
            out.reconciledPixels = moved;
        }
        out.shapes.resize(lr.nodes.size());
        for (size_t i = 0; i < lr.nodes.size(); ++i) {
            const LabelRaster::Node& n = lr.nodes[i];
            Shape& s = out.shapes[i];
            s.role = n.frame        ? Shape::Role::Frame
                     : n.parent < 0 ? Shape::Role::Outline
                                    : Shape::Role::Hole;
            s.parent = n.parent;
            s.depth = n.depth;
            s.color = n.color;
            s.node = n.tree;
        }
        const bool cutout = options.layout == OutputOptions::Layout::Cutout;
        if (!(cutout ? cutoutLoops(lr, out) : stackedLoops(lr, out))) {
            out.shapes.clear();
            return false;
        }
        for (const Shape& s : out.shapes) out.loops += static_cast<long long>(s.loops.size());
        if (!options.polygon) {
            if (cutout) {
                if (!CutoutCurves::fit(lr.labels.data(), width, height, options, out)) {
                    out.shapes.clear();
                    return false;
                }
            } else {
                for (Shape& s : out.shapes) {
                    s.curves.resize(s.loops.size());
                    for (size_t k = 0; k < s.loops.size(); ++k) {
                        bool fitted = false;
                        if (!CurveFitter::fitLoop(s.loops[k], options.curveTolerance, s.curves[k],
                                                  &fitted, options.maxCurveAreaError)) {
                            out.shapes.clear();
                            return false;
                        }
                        out.curvedLoops += fitted;
                    }
                }
            }
        }
    } catch (...) {
        out.shapes.clear();
        return false;
    }
    return true;
}

}  // namespace om1
