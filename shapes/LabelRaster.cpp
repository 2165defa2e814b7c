#include "shapes/LabelRaster.h"

#include <algorithm>
#include <unordered_map>
#include <climits>
#include <cstdlib>

namespace om1 {

namespace {
const int kDx[4] = {1, 0, -1, 0};
const int kDy[4] = {0, 1, 0, -1};
// The progress is asked about every this many pixels painted or looked at.
const size_t kAskEvery = size_t{1} << 18;

// Asks `going` once kAskEvery pixels were painted or looked at since it
// last asked.
struct Paced {
    const std::function<bool()>& going;
    size_t since = 0;
    bool operator()(size_t more) {
        since += more;
        if (since < kAskEvery) return true;
        since = 0;
        return !going || going();
    }
};
// Thrown inside build when the progress asks to stop.
struct Stopped {};
}  // namespace

namespace {

int distance(const RGBQUAD& a, const RGBQUAD& b) {
    return std::max({std::abs(a.rgbRed - b.rgbRed), std::abs(a.rgbGreen - b.rgbGreen),
                     std::abs(a.rgbBlue - b.rgbBlue)});
}

uint32_t pack(const RGBQUAD& c) {
    return c.rgbRed | c.rgbGreen << 8 | c.rgbBlue << 16;
}

bool same(const RGBQUAD& a, const RGBQUAD& b) {
    return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
}

// True when the node's chain runs through its own pixels rather than those
// of the region around it: more of its pixels are nearer the node's colour
// than the colour of what was painted there before (unpainted pixels count
// for the node); `tie` when as many are nearer the one as the other.
bool chainOnOwnPixels(const KvCtree* t, const RGBQUAD& own, const RGBQUAD* pixels,
                      const std::vector<int32_t>& labels,
                      const std::vector<LabelRaster::Node>& nodes, int w, int h, bool tie) {
    long long x = t->startOffset % w, y = t->startOffset / w;
    int mine = 0, theirs = 0;
    for (int k = 0; k < t->dirNum; ++k) {
        if (x >= 0 && y >= 0 && x < w && y < h) {
            const size_t i = static_cast<size_t>(y) * w + x;
            const int32_t before = labels[i];
            if (before < 0) {
                ++mine;
            } else {
                const int a = distance(pixels[i], own);
                const int b = distance(pixels[i], nodes[before].color);
                mine += a < b;
                theirs += b < a;
            }
        }
        const int c = t->chain[k] & 3;
        x += kDx[c];
        y += kDy[c];
    }
    return mine == theirs ? tie : mine > theirs;
}

}  // namespace

bool LabelRaster::build(const KvCtree* root, int w, int h, const RGBQUAD* pixels,
                        const std::function<bool()>& going) {
    Paced paced{going};
    exact_ = false;
    width = w;
    height = h;
    nodes.clear();
    labels.clear();
    if (w <= 0 || h <= 0 || static_cast<long long>(w) * h > INT_MAX) return false;
    try {
        // Filled a slice at a time between the asks.
        const size_t n = static_cast<size_t>(w) * h;
        labels.reserve(n);
        while (labels.size() < n) {
            labels.resize(std::min(n, labels.size() + kAskEvery), -1);
            if (!paced(kAskEvery)) throw Stopped();
        }
        // Depth first without recursion: holes pushed in reverse list order.
        std::vector<Node> stack;
        if (root) stack.push_back({root, -1, 0, RGBQUAD{}, false, false});
        std::vector<const KvCtree*> holes;
        while (!stack.empty()) {
            Node n = stack.back();
            stack.pop_back();
            const int index = static_cast<int>(nodes.size());
            n.color = n.tree->color;
            n.frame = n.tree->isFrame != 0;
            // Without the picture: the root and the parts of a frame run
            // through their own pixels, other holes through the region around.
            n.ownChain = n.parent < 0 || nodes[n.parent].frame;
            nodes.push_back(n);
            holes.clear();
            for (const KvCtree::Holes* e = n.tree->holes; e; e = e->next)
                if (e->ctree) holes.push_back(e->ctree);
            for (auto it = holes.rbegin(); it != holes.rend(); ++it)
                stack.push_back({*it, index, n.depth + 1, RGBQUAD{}, false, false});
            if (!paced(64)) throw Stopped();
        }
        std::vector<uint8_t> mask;
        for (size_t i = 0; i < nodes.size(); ++i) {
            Node& n = nodes[i];
            if (n.parent >= 0 && pixels && !n.frame && n.tree->chain)
                n.ownChain =
                    chainOnOwnPixels(n.tree, n.color, pixels, labels, nodes, w, h, n.ownChain);
            // With the picture, the chain pixels of a hole go to it only
            // where they are nearer its colour than what lies there already.
            const bool pick = n.parent >= 0 && pixels && !n.frame && n.ownChain;
            const bool tieToNode = n.ownChain;
            int x0, y0, mw, mh;
            if (!paintMask(static_cast<int>(i), mask, x0, y0, mw, mh)) return false;
            if (!paced(static_cast<size_t>(mw) * mh + 64)) throw Stopped();
            for (int y = 0; y < mh; ++y)
                for (int x = 0; x < mw; ++x) {
                    const uint8_t m = mask[static_cast<size_t>(y) * mw + x];
                    if (!m) continue;
                    const size_t p = static_cast<size_t>(y + y0) * w + x + x0;
                    if (m == 2 && pick && labels[p] >= 0) {
                        const int a = distance(pixels[p], n.color);
                        const int b = distance(pixels[p], nodes[labels[p]].color);
                        if (a > b || (a == b && !tieToNode)) continue;
                    }
                    labels[p] = static_cast<int32_t>(i);
                }
        }
        computeEnds();
    } catch (...) {
        nodes.clear();
        labels.clear();
        return false;
    }
    return true;
}

bool LabelRaster::assign(int w, int h, std::vector<int32_t>&& given,
                         const std::vector<int32_t>& parents, const std::vector<RGBQUAD>& colors,
                         bool rootFrame) {
    width = w;
    height = h;
    nodes.clear();
    labels.clear();
    ends_.clear();
    exact_ = false;
    const size_t n = parents.size();
    if (w <= 0 || h <= 0 || static_cast<long long>(w) * h > INT_MAX || n == 0 ||
        colors.size() != n || n > static_cast<size_t>(INT_MAX) ||
        given.size() != static_cast<size_t>(w) * h || parents[0] != -1)
        return false;
    try {
        nodes.reserve(n);
        for (size_t i = 0; i < n; ++i) {
            const int p = parents[i];
            if (i > 0 && (p < 0 || static_cast<size_t>(p) >= i)) {
                nodes.clear();
                return false;
            }
            const bool frame = i == 0 && rootFrame;
            nodes.push_back({nullptr, p, p < 0 ? 0 : nodes[p].depth + 1,
                             frame ? RGBQUAD{} : colors[i], frame, true});
        }
        const int32_t lo = rootFrame ? 1 : 0, hi = static_cast<int32_t>(n);
        for (const int32_t l : given)
            if (l < lo || l >= hi) {
                nodes.clear();
                return false;
            }
        labels = std::move(given);
        computeEnds();
    } catch (...) {
        nodes.clear();
        labels.clear();
        return false;
    }
    exact_ = true;
    return true;
}

void LabelRaster::computeEnds() {
    const int n = static_cast<int>(nodes.size());
    ends_.assign(static_cast<size_t>(n), 0);
    for (int i = n - 1; i >= 0; --i) {
        if (ends_[i] == 0) ends_[i] = i + 1;
        const int p = nodes[i].parent;
        if (p >= 0) ends_[p] = std::max(ends_[p], ends_[i]);
    }
}

int LabelRaster::subtreeEnd(int i) const {
    return i >= 0 && i < static_cast<int>(ends_.size()) ? ends_[i] : i + 1;
}

bool LabelRaster::setAlpha(const RGBQUAD* pixels, const uint8_t* levels) {
    if (!pixels || !levels) return true;
    try {
        std::unordered_map<uint32_t, uint8_t> levelOf;
        const size_t n = labels.size();
        for (size_t i = 0; i < n; ++i) levelOf.emplace(pack(pixels[i]), levels[i]);
        // Nodes of a colour the picture does not have: votes of their pixels.
        std::unordered_map<int32_t, std::vector<int>> votes;
        for (size_t k = 0; k < nodes.size(); ++k) {
            Node& node = nodes[k];
            if (node.frame) continue;
            auto it = levelOf.find(pack(node.color));
            if (it != levelOf.end())
                node.alpha = it->second;
            else
                votes[static_cast<int32_t>(k)].assign(256, 0);
        }
        if (votes.empty()) return true;
        for (size_t i = 0; i < n; ++i) {
            auto it = labels[i] >= 0 ? votes.find(labels[i]) : votes.end();
            if (it != votes.end()) ++it->second[levels[i]];
        }
        for (auto& v : votes) {
            const int best = static_cast<int>(std::max_element(v.second.begin(), v.second.end()) -
                                              v.second.begin());
            nodes[v.first].alpha = v.second[best] > 0 ? static_cast<uint8_t>(best) : 255;
        }
    } catch (...) {
        return false;
    }
    return true;
}

long long LabelRaster::reconcile(const RGBQUAD* pixels, int tolerance, const uint8_t* levels,
                                 const std::function<bool()>& going) {
    if (!pixels || labels.empty() || nodes.empty()) return 0;
    Paced paced{going};
    const int w = width, h = height;
    long long moved = 0;
    // Whether a pixel's level fits a node's.
    auto fits = [&](const Node& node, size_t i) {
        if (!levels) return true;
        const int a = node.alpha, b = levels[i];
        return (a == 0) == (b == 0) && std::abs(a - b) <= tolerance;
    };
    try {
        const size_t n = labels.size();
        std::vector<uint8_t> wrong(n, 0);
        bool any = false;
        for (size_t i = 0; i < n; ++i) {
            if ((i & (kAskEvery - 1)) == kAskEvery - 1 && !paced(kAskEvery)) return -1;
            const int32_t l = labels[i];
            if (l < 0 || nodes[l].frame || distance(nodes[l].color, pixels[i]) > tolerance ||
                !fits(nodes[l], i)) {
                wrong[i] = 1;
                any = true;
            }
        }
        if (!any) return 0;
        std::vector<size_t> group, stack;
        std::vector<int> touch;  // contacts per neighbouring label
        std::vector<int32_t> touched;
        std::vector<int> painted;
        const int dx[4] = {1, 0, -1, 0}, dy[4] = {0, 1, 0, -1};
        for (size_t s = 0; s < n; ++s) {
            if (!paced(1)) return -1;
            if (wrong[s] != 1) continue;
            // The 4-connected group of wrong pixels of the colour of s.
            group.clear();
            stack.assign(1, s);
            wrong[s] = 2;
            touched.clear();
            while (!stack.empty()) {
                const size_t p = stack.back();
                stack.pop_back();
                group.push_back(p);
                const int px = static_cast<int>(p % w), py = static_cast<int>(p / w);
                for (int k = 0; k < 4; ++k) {
                    const int qx = px + dx[k], qy = py + dy[k];
                    if (qx < 0 || qy < 0 || qx >= w || qy >= h) continue;
                    const size_t q = static_cast<size_t>(qy) * w + qx;
                    if (wrong[q] == 1 && same(pixels[q], pixels[s])) {
                        wrong[q] = 2;
                        stack.push_back(q);
                    } else if (wrong[q] == 0 &&
                               distance(nodes[labels[q]].color, pixels[s]) <= tolerance &&
                               fits(nodes[labels[q]], s)) {
                        touched.push_back(labels[q]);
                    }
                }
            }
            int32_t target = -1;
            if (!touched.empty()) {
                std::sort(touched.begin(), touched.end());
                int best = 0;
                for (size_t a = 0; a < touched.size();) {
                    size_t b = a;
                    while (b < touched.size() && touched[b] == touched[a]) ++b;
                    if (static_cast<int>(b - a) > best) {
                        best = static_cast<int>(b - a);
                        target = touched[a];
                    }
                    a = b;
                }
            }
            if (target < 0) {
                // A new region, a hole of the label most of the group had.
                painted.clear();
                for (size_t p : group) painted.push_back(labels[p]);
                std::sort(painted.begin(), painted.end());
                int parent = painted[0], best = 0;
                for (size_t a = 0; a < painted.size();) {
                    size_t b = a;
                    while (b < painted.size() && painted[b] == painted[a]) ++b;
                    if (static_cast<int>(b - a) > best) {
                        best = static_cast<int>(b - a);
                        parent = painted[a];
                    }
                    a = b;
                }
                if (parent < 0) parent = 0;
                long long r = 0, g = 0, bl = 0;
                for (size_t p : group) {
                    r += pixels[p].rgbRed;
                    g += pixels[p].rgbGreen;
                    bl += pixels[p].rgbBlue;
                }
                const long long c = static_cast<long long>(group.size());
                Node added{nullptr, parent, nodes[parent].depth + 1, RGBQUAD{}, false, true};
                added.color.rgbRed = static_cast<BYTE>((r + c / 2) / c);
                added.color.rgbGreen = static_cast<BYTE>((g + c / 2) / c);
                added.color.rgbBlue = static_cast<BYTE>((bl + c / 2) / c);
                if (levels) added.alpha = levels[s];
                target = static_cast<int32_t>(nodes.size());
                nodes.push_back(added);
            }
            for (size_t p : group) {
                labels[p] = target;
                wrong[p] = 0;
            }
            if (!paced(4 * group.size())) return -1;
            moved += static_cast<long long>(group.size());
        }
        if (!renumber()) return -1;
    } catch (...) {
        return -1;
    }
    return moved;
}

bool LabelRaster::renumber() {
    const int n = static_cast<int>(nodes.size());
    std::vector<std::vector<int>> children(static_cast<size_t>(n));
    std::vector<int> roots;
    for (int i = 0; i < n; ++i) {
        if (nodes[i].parent >= 0)
            children[nodes[i].parent].push_back(i);
        else
            roots.push_back(i);
    }
    std::vector<int> order, next(static_cast<size_t>(n), -1);
    order.reserve(static_cast<size_t>(n));
    std::vector<int> stack(roots.rbegin(), roots.rend());
    while (!stack.empty()) {
        const int i = stack.back();
        stack.pop_back();
        next[i] = static_cast<int>(order.size());
        order.push_back(i);
        for (auto it = children[i].rbegin(); it != children[i].rend(); ++it) stack.push_back(*it);
    }
    std::vector<Node> renamed;
    renamed.reserve(order.size());
    for (int old : order) {
        Node node = nodes[old];
        if (node.parent >= 0) node.parent = next[node.parent];
        node.depth = node.parent >= 0 ? renamed[node.parent].depth + 1 : 0;
        renamed.push_back(node);
    }
    nodes.swap(renamed);
    for (int32_t& l : labels)
        if (l >= 0) l = next[l];
    computeEnds();
    return true;
}

bool LabelRaster::paintMask(int i, std::vector<uint8_t>& mask, int& x0, int& y0, int& mw,
                            int& mh) const {
    x0 = y0 = mw = mh = 0;
    mask.clear();
    if (i < 0 || i >= static_cast<int>(nodes.size())) return true;
    const KvCtree* t = nodes[i].tree;
    if (t->isFrame || t->dirNum < 1 || !t->chain || width <= 0) return true;
    const bool ownPixels = nodes[i].ownChain;

    // Bounding box of the chain's pixel centres.
    long long x = t->startOffset % width, y = t->startOffset / width;
    long long minX = x, maxX = x, minY = y, maxY = y;
    for (int k = 0; k < t->dirNum; ++k) {
        const int c = t->chain[k] & 3;
        x += kDx[c];
        y += kDy[c];
        minX = std::min(minX, x);
        maxX = std::max(maxX, x);
        minY = std::min(minY, y);
        maxY = std::max(maxY, y);
    }
    const long long bx0 = minX, by0 = minY;
    const long long bw = maxX - minX + 1, bh = maxY - minY + 1;
    if (bw * bh > static_cast<long long>(INT_MAX)) return false;
    try {
        // On-chain flags and winding deltas over the chain's own box.
        std::vector<uint8_t> on(static_cast<size_t>(bw * bh), 0);
        std::vector<int> delta(static_cast<size_t>(bw * bh), 0);
        x = t->startOffset % width - bx0;
        y = t->startOffset / width - by0;
        for (int k = 0; k < t->dirNum; ++k) {
            const int c = t->chain[k] & 3;
            on[static_cast<size_t>(y * bw + x)] = 1;
            // A vertical step crosses the ray from a centre to the right,
            // taken just below the centre's row.
            if (c == 1) delta[static_cast<size_t>(y * bw + x)] += 1;
            if (c == 3) delta[static_cast<size_t>((y - 1) * bw + x)] -= 1;
            x += kDx[c];
            y += kDy[c];
        }
        // Clip the box to the raster.
        const long long cx0 = std::max(bx0, 0LL), cy0 = std::max(by0, 0LL);
        const long long cx1 = std::min(bx0 + bw, static_cast<long long>(width));
        const long long cy1 = std::min(by0 + bh, static_cast<long long>(height));
        if (cx1 <= cx0 || cy1 <= cy0) return true;
        x0 = static_cast<int>(cx0);
        y0 = static_cast<int>(cy0);
        mw = static_cast<int>(cx1 - cx0);
        mh = static_cast<int>(cy1 - cy0);
        mask.assign(static_cast<size_t>(mw) * mh, 0);
        for (long long row = 0; row < bh; ++row) {
            const long long py = row + by0;
            int winding = 0;  // crossings right of the current centre
            for (long long col = bw - 1; col >= 0; --col) {
                const size_t k = static_cast<size_t>(row * bw + col);
                const long long px = col + bx0;
                const bool inside = on[k] ? ownPixels : winding != 0;
                if (inside && px >= cx0 && px < cx1 && py >= cy0 && py < cy1)
                    mask[static_cast<size_t>((py - cy0) * mw + (px - cx0))] = on[k] ? 2 : 1;
                winding += delta[k];
            }
        }
    } catch (...) {
        mask.clear();
        mw = mh = 0;
        return false;
    }
    return true;
}

}  // namespace om1
