#include "shapes/ShapeBuilder.h"

#include <algorithm>

#include "shapes/CrackTracer.h"
#include "shapes/BoundaryCurves.h"
#include "shapes/LabelRaster.h"
#include "shapes/LabelRun.h"

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

bool sameColour(const RGBQUAD& a, const RGBQUAD& b) {
    return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
}

// Groups of nodes written as one shape (OutputOptions::joinParts): join[i]
// is the first node of i's group. Two nodes join when they have one colour,
// their own pixels touch, and every member's parent stays a proper ancestor
// of the group's first node, so that drawing the union in that slot leaves
// the picture as it was (stacked masks of nodes that are not nested never
// overlap, and each member's descendants are still drawn after it).
//
// A leaf node (no holes) drawn after a group of its colour that it touches
// joins it too, as a lifted member (lifted[i] = 1): its pixels are drawn with
// the group and left out of every other shape's mask, so that the ancestors
// drawn after the group no longer cover them (a stray piece of a region that
// the tracer cut off inside a neighbour costs no path of its own).
// `going` is asked every 256 rows; when it answers false the groups are
// left unfinished (the caller stops).
std::vector<int> joinGroups(const LabelRaster& lr, std::vector<uint8_t>& lifted,
                            const std::function<bool()>& going) {
    const int n = static_cast<int>(lr.nodes.size());
    std::vector<int> join(static_cast<size_t>(n));
    std::vector<int> size(static_cast<size_t>(n), 1);
    lifted.assign(static_cast<size_t>(n), 0);
    for (int i = 0; i < n; ++i) join[i] = i;
    std::vector<std::pair<int32_t, int32_t>> pairs;
    // (Pairs are sorted and made unique below: one that repeats the last
    // found is left out at once.)
    auto consider = [&](int32_t a, int32_t b) {
        if (b < 0 || a == b) return;
        const LabelRaster::Node &na = lr.nodes[a], &nb = lr.nodes[b];
        if (na.frame || nb.frame || !sameColour(na.color, nb.color)) return;
        if (na.alpha != nb.alpha || na.alpha == 0) return;
        const std::pair<int32_t, int32_t> pr(std::min(a, b), std::max(a, b));
        if (pairs.empty() || pairs.back() != pr) pairs.push_back(pr);
    };
    const int w = lr.width, h = lr.height;
    // Every pixel and its neighbours right, below, below right and below
    // left. (The pairs are sorted below, so the order they are met in does
    // not matter.)
    auto pixel = [&](const int32_t* p, int x, int y) {
        const int32_t a = p[0];
        if (a < 0) return;
        if (x + 1 < w && p[1] != a) consider(a, p[1]);
        if (y + 1 < h) {
            if (p[w] != a) consider(a, p[w]);
            if (x + 1 < w && p[w + 1] != a) consider(a, p[w + 1]);
            if (x > 0 && p[w - 1] != a) consider(a, p[w - 1]);
        }
    };
    // Inside the picture, eight pixels at a time are passed over at once
    // where all of them and their neighbours there have one label (most of
    // a picture).
    const int kBlock = 8;
    for (int y = 0; y < h; ++y) {
        if ((y & 255) == 255 && !going()) return join;
        const int32_t* const row = lr.labels.data() + static_cast<size_t>(y) * w;
        int x = 0;
        if (y + 1 < h && w > kBlock + 2) {
            pixel(row, 0, y);
            for (x = 1; x + kBlock < w; x += kBlock) {
                const int32_t* p = row + x;
                const int32_t a = p[0];
                if (LabelRun::eight(p + 1, a) && LabelRun::eight(p + w - 1, a) && p[w + 7] == a &&
                    p[w + 8] == a)
                    continue;
                for (int k = 0; k < kBlock; ++k) pixel(p + k, x + k, y);
            }
        }
        for (; x < w; ++x) pixel(row + x, x, y);
    }
    std::sort(pairs.begin(), pairs.end());
    pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    // deep[r]: the deepest parent of the members of group r (all of them lie
    // on the path from the root to r); -1 when that is the root's "parent".
    std::vector<int> deep(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) deep[i] = lr.nodes[i].parent;
    auto find = [&](int i) {
        while (join[i] != i) i = join[i] = join[join[i]];
        return i;
    };
    auto properAncestor = [&](int a, int of) { return a < 0 || (a < of && of < lr.subtreeEnd(a)); };
    for (const auto& pr : pairs) {
        int ra = find(pr.first), rb = find(pr.second);
        if (ra == rb) continue;
        if (rb < ra) std::swap(ra, rb);
        if (!properAncestor(deep[rb], ra)) {
            if (size[rb] != 1 || lr.subtreeEnd(rb) != rb + 1) continue;
            lifted[rb] = 1;
            join[rb] = ra;
            ++size[ra];
            continue;
        }
        join[rb] = ra;
        size[ra] += size[rb];
        if (deep[rb] >= 0 && (deep[ra] < 0 || lr.nodes[deep[rb]].depth > lr.nodes[deep[ra]].depth))
            deep[ra] = deep[rb];
    }
    for (int i = 0; i < n; ++i) join[i] = find(i);
    return join;
}

// `at` hears the share of the whole build (0.35..0.6) every 256 rows and
// every few thousand pixels of shapes traced; false stops it.
bool stackedLoops(const LabelRaster& lr, bool joinParts, bool transparent, ShapeSet& out,
                  const std::function<bool(double)>& at) {
    const int n = static_cast<int>(lr.nodes.size());
    double share = 0.35;
    const std::function<bool()> going = [&]() { return at(share); };
    // With transparency a node is drawn under the descendants it reaches
    // through opaque nodes only: not under the empty region, nor under a
    // region of partial opacity, which would show it through. barrier[d] is
    // the deepest node on the path from the root to d (d included) that is
    // neither opaque nor a frame, -1 when there is none; d's pixels lie in
    // node i's mask when barrier[d] <= i.
    std::vector<int> barrier;
    if (transparent) {
        barrier.assign(static_cast<size_t>(n), -1);
        for (int i = 0; i < n; ++i) {
            const LabelRaster::Node& node = lr.nodes[i];
            const bool cut = !node.frame && node.alpha != 255;
            barrier[i] = cut ? i : node.parent >= 0 ? barrier[node.parent] : -1;
        }
    }
    std::vector<Box> boxes(static_cast<size_t>(n));
    // Every node's pixel count (its subtree's once folded) is kept in its
    // shape's `pixels` until the shape of its group is made (a group's
    // first node comes before its other members).
    for (int i = 0; i < n; ++i) out.shapes[i].pixels = 0;
    // The first pixel of every node, for the single loop of an exact
    // labelling's subtree.
    // (With transparency a subtree's mask can have holes: the masks are used.)
    std::vector<int32_t> firstPixel(lr.exact() && !transparent ? static_cast<size_t>(n) : 0, -1);
    for (int y = 0; y < lr.height; ++y) {
        if ((y & 255) == 255 && !going()) return false;
        // A run of one label at a time: its ends widen the label's box.
        const int32_t* const row = lr.labels.data() + static_cast<size_t>(y) * lr.width;
        for (int x = 0; x < lr.width;) {
            const int32_t l = row[x];
            const int end = LabelRun::end(row, x + 1, lr.width, l);
            if (l >= 0) {
                const size_t p = static_cast<size_t>(y) * lr.width + x;
                if (!firstPixel.empty() && firstPixel[l] < 0)
                    firstPixel[l] = static_cast<int32_t>(p);
                boxes[l].add(x, y);
                boxes[l].add(end - 1, y);
                out.shapes[l].pixels += end - x;
            }
            x = end;
        }
    }
    // Children come after their parents: fold boxes and counts upward.
    for (int i = n - 1; i >= 0; --i) {
        const int p = lr.nodes[i].parent;
        if (p >= 0) {
            boxes[p].add(boxes[i]);
            out.shapes[p].pixels += out.shapes[i].pixels;
        }
    }
    std::vector<int> join;
    std::vector<uint8_t> lifted;
    share = 0.4;
    if (joinParts) join = joinGroups(lr, lifted, going);
    share = 0.45;
    if (!going()) return false;
    // liftedBefore[i]: lifted nodes below i, so that a subtree's count is a
    // difference.
    std::vector<int> liftedBefore(lifted.empty() ? 0 : static_cast<size_t>(n) + 1, 0);
    for (size_t i = 0; i < lifted.size(); ++i) liftedBefore[i + 1] = liftedBefore[i] + lifted[i];
    // The members of each group, in node order: group g's are
    // member[start[g] .. start[g + 1]) (one list for all, no list per node).
    std::vector<int> start(static_cast<size_t>(n) + 1, 0), member(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) ++start[(join.empty() ? i : join[i]) + 1];
    for (int i = 0; i < n; ++i) start[i + 1] += start[i];
    {
        std::vector<int> fill(start.begin(), start.end() - 1);
        for (int i = 0; i < n; ++i) member[fill[join.empty() ? i : join[i]]++] = i;
    }
    std::vector<uint8_t> mask, steps;
    CrackTracer::Scratch scratch;
    long long work = 0;  // pixels of the shapes traced since the progress last heard
    for (int i = 0; i < n; ++i) {
        if (work > (1 << 18)) {
            work = 0;
            if (!at(0.45 + 0.15 * i / n)) return false;
        }
        Shape& s = out.shapes[i];
        const int* const membersBegin = member.data() + start[i];
        const int* const membersEnd = member.data() + start[i + 1];
        if (membersBegin == membersEnd) {
            s.pixels = 0;
            continue;  // drawn with the first of its group
        }
        Box b;
        long long pixels = 0;
        for (const int* m = membersBegin; m != membersEnd; ++m) {
            pixels += out.shapes[*m].pixels;
            b.add(boxes[*m]);
        }
        s.pixels = pixels;
        if (s.role == Shape::Role::Frame || b.x1 < 0) continue;
        if (transparent && lr.nodes[i].alpha == 0) continue;  // never drawn
        work += (static_cast<long long>(b.x1 - b.x0) + 1) * (b.y1 - b.y0 + 1);
        // An exact labelling's subtree is one area without holes: its one
        // loop is followed along the labels, without a mask over its box.
        const int end = lr.subtreeEnd(i);
        if (!firstPixel.empty() && membersEnd - membersBegin == 1 &&
            (liftedBefore.empty() || liftedBefore[end] == liftedBefore[i])) {
            CrackLoop& loop = s.loops.emplace_back();
            const int32_t f = firstPixel[i];
            if (s.pixels == 1) {
                // One pixel (most regions of a detailed picture): its square.
                loop.x = f % lr.width;
                loop.y = f / lr.width;
                loop.codes = {0, 1, 2, 3};
                continue;
            }
            if (!CrackTracer::traceRange(lr.labels.data(), lr.width, lr.height, i, end,
                                         f % lr.width, f / lr.width, s.loops.back(), &steps))
                return false;
            continue;
        }
        const int w = b.x1 - b.x0 + 1, h = b.y1 - b.y0 + 1;
        mask.assign(static_cast<size_t>(w) * h, 0);
        for (const int* mp = membersBegin; mp != membersEnd; ++mp) {
            const int m = *mp;
            const Box& mb = boxes[m];
            if (mb.x1 < 0) continue;
            const int lo = m, hi = lr.subtreeEnd(m);
            for (int y = mb.y0; y <= mb.y1; ++y) {
                if ((y & 255) == 255 && !at(0.45 + 0.15 * i / n)) return false;
                const int32_t* row = &lr.labels[static_cast<size_t>(y) * lr.width];
                uint8_t* mrow = &mask[static_cast<size_t>(y - b.y0) * w];
                for (int x = mb.x0; x <= mb.x1; ++x)
                    if (row[x] >= lo && row[x] < hi &&
                        (lifted.empty() || !lifted[row[x]] || join[row[x]] == i) &&
                        (barrier.empty() || barrier[row[x]] <= m))
                        mrow[x - b.x0] = 1;
            }
        }
        if (transparent) {
            s.pixels = 0;
            for (uint8_t v : mask) s.pixels += v;
        }
        if (!CrackTracer::traceMask(
                mask.data(), w, h, b.x0, b.y0, s.loops, [&]() { return at(0.45 + 0.15 * i / n); },
                &scratch))
            return false;
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

// The shapes of a finished label raster. With `transparent`, the nodes carry
// their alpha (LabelRaster::setAlpha): the empty region is never drawn.
// `pixels` (may be null) is the picture the raster was traced from, `input`
// (may be null) the picture before preparation, which places the curves.
// `at` hears the share of the whole build done (0.35..1); false stops it.
bool shapesOf(const LabelRaster& lr, const OutputOptions& options, bool transparent,
              const RGBQUAD* pixels, const RGBQUAD* input, ShapeSet& out,
              const std::function<bool(double)>& at) {
    const int width = lr.width, height = lr.height;
    out.transparent = transparent;
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
        s.alpha = n.alpha;
        s.node = n.tree;
    }
    const bool cutout = options.layout == OutputOptions::Layout::Cutout;
    if (!at(0.35)) return false;
    if (!(cutout ? cutoutLoops(lr, out)
                 : stackedLoops(lr, options.joinParts, transparent, out, at)))
        return false;
    // Stacked: when no region covers the whole picture (the tree's root is a
    // frame), the first region drawn is drawn as the whole picture instead;
    // everything drawn after it covers its own pixels, so the picture stays
    // the same, and every edge between two regions drawn later has a region
    // under it, not the empty page. Not with transparency: the page shows
    // where the picture is empty.
    int base = -1;
    if (!cutout && !transparent) {
        for (size_t i = 0; i < out.shapes.size() && base < 0; ++i) {
            const LabelRaster::Node& n = lr.nodes[i];
            if (n.frame || out.shapes[i].loops.empty()) continue;
            bool underFrames = true;
            for (int p = n.parent; p >= 0; p = lr.nodes[static_cast<size_t>(p)].parent)
                underFrames = underFrames && lr.nodes[static_cast<size_t>(p)].frame;
            if (underFrames) base = static_cast<int>(i);
            break;
        }
        if (base >= 0) {
            CrackLoop whole;
            whole.codes.reserve(2 * static_cast<size_t>(width) + 2 * height);
            whole.codes.insert(whole.codes.end(), static_cast<size_t>(width), 0);
            whole.codes.insert(whole.codes.end(), static_cast<size_t>(height), 1);
            whole.codes.insert(whole.codes.end(), static_cast<size_t>(width), 2);
            whole.codes.insert(whole.codes.end(), static_cast<size_t>(height), 3);
            Shape& b = out.shapes[static_cast<size_t>(base)];
            b.loops.assign(1, whole);
            b.pixels = static_cast<long long>(width) * height;  // the area drawn
        }
    }
    for (const Shape& s : out.shapes)
        if (s.alpha != 0) out.loops += static_cast<long long>(s.loops.size());
    if (!at(0.6)) return false;
    if (!options.polygon) {
        std::vector<RGBQUAD> colours(lr.nodes.size());
        for (size_t i = 0; i < lr.nodes.size(); ++i) colours[i] = lr.nodes[i].color;
        EdgeSamples::Picture pic;
        pic.labels = lr.labels.data();
        pic.width = width;
        pic.height = height;
        pic.pixels = input ? input : pixels;
        pic.colours = &colours;
        std::vector<int> parents(lr.nodes.size());
        std::vector<uint8_t> drawn(lr.nodes.size());
        for (size_t i = 0; i < lr.nodes.size(); ++i) {
            parents[i] = lr.nodes[i].parent;
            drawn[i] = !lr.nodes[i].frame && lr.nodes[i].alpha != 0;
        }
        std::vector<uint8_t> staircase;
        if (transparent) {
            staircase.resize(lr.nodes.size());
            for (size_t i = 0; i < lr.nodes.size(); ++i) staircase[i] = lr.nodes[i].alpha == 0;
            pic.staircase = &staircase;
        }
        if (!cutout) {
            pic.parents = &parents;
            pic.drawn = &drawn;
            pic.base = base;
        }
        if (!BoundaryCurves::fit(pic, options, out,
                                 [&](double share) { return at(0.6 + 0.4 * share); }))
            return false;
    }
    // The empty region is never drawn (in the cutout layout its pieces were
    // fitted for its neighbours).
    for (Shape& s : out.shapes)
        if (s.alpha == 0) {
            s.loops.clear();
            s.curves.clear();
        }
    return true;
}

void start(ShapeSet& out, int width, int height, const OutputOptions& options) {
    out = ShapeSet();
    out.width = width;
    out.height = height;
    out.options = options;
}

}  // namespace

bool ShapeBuilder::build(const KvCtree* tree, const RGBQUAD* pixels, int width, int height,
                         const OutputOptions& options, ShapeSet& out, const RGBQUAD* input,
                         const std::function<bool(double)>& progress) {
    return build(tree, pixels, PixelAlpha(), width, height, options, out, input, progress);
}

namespace {

// Runs `steps`, which hear the progress through the function they are
// given; false when they fail. A failure that is no stop (memory ran out)
// empties the shapes; a stop leaves the unfinished shapes to their owner
// (see the header).
bool guarded(ShapeSet& out, const std::function<bool(double)>& progress,
             const std::function<bool(const std::function<bool(double)>&)>& steps) {
    bool stopped = false;
    const std::function<bool(double)> at = [&](double share) {
        if (!progress || progress(share)) return true;
        stopped = true;
        return false;
    };
    bool built = false;
    try {
        built = at(0) && steps(at) && at(1);
    } catch (...) {
        built = false;
    }
    if (!built && !stopped) out.shapes.clear();
    return built;
}

}  // namespace

bool ShapeBuilder::build(const KvCtree* tree, const RGBQUAD* pixels, const PixelAlpha& alpha,
                         int width, int height, const OutputOptions& options, ShapeSet& out,
                         const RGBQUAD* input, const std::function<bool(double)>& progress) {
    start(out, width, height, options);
    const uint8_t* levels = pixels ? alpha.levels : nullptr;
    return guarded(out, progress, [&](const std::function<bool(double)>& at) {
        LabelRaster lr;
        if (!lr.build(tree, width, height, pixels, [&]() { return at(0.1); }) ||
            (levels && !lr.setAlpha(pixels, levels)) || !at(0.25))
            return false;
        if (pixels && options.reconcileTolerance >= 0) {
            const long long moved =
                lr.reconcile(pixels, options.reconcileTolerance, levels, [&]() { return at(0.3); });
            if (moved < 0) return false;
            out.reconciledPixels = moved;
        }
        return shapesOf(lr, options, levels != nullptr, pixels, input, out, at);
    });
}

bool ShapeBuilder::build(const LabelRaster& regions, bool transparent, const OutputOptions& options,
                         ShapeSet& out, const RGBQUAD* input,
                         const std::function<bool(double)>& progress) {
    start(out, regions.width, regions.height, options);
    if (regions.nodes.empty()) return false;
    return guarded(out, progress, [&](const std::function<bool(double)>& at) {
        return shapesOf(regions, options, transparent, nullptr, input, out, at);
    });
}

}  // namespace om1
