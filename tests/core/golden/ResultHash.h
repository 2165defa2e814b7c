// Hashes of whole results, shared by the golden results and the cross-system
// comparison: FNV-1a, 64 bits, over a canonical stream of values. Trees are
// walked in pre-order with an explicit stack and a marker for every missing
// link, so any change to a stored value or to the shape of a tree changes
// the hash.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "companion/KvCtree.h"
#include "tracer/ListOfOutLines.h"

namespace golden {

struct Hash {
    uint64_t h = 1469598103934665603ull;
    void byte(uint8_t b) {
        h ^= b;
        h *= 1099511628211ull;
    }
    void i64(long long v) {
        for (int k = 0; k < 8; ++k)
            byte(static_cast<uint8_t>(static_cast<unsigned long long>(v) >> (8 * k)));
    }
    void bytes(const unsigned char* p, int n) {
        i64(n);
        for (int k = 0; p && k < n; ++k) byte(p[k]);
    }
    // Bezier points to a millionth of a pixel, so that the last bits of the
    // maths library do not matter.
    void real(double v) { i64(std::llround(v * 1e6)); }
    void colour(const RGBQUAD& c) {
        byte(c.rgbBlue);
        byte(c.rgbGreen);
        byte(c.rgbRed);
        byte(c.rgbReserved);
    }
    std::string hex() const {
        char s[17];
        std::snprintf(s, sizeof s, "%016llx", static_cast<unsigned long long>(h));
        return s;
    }
};

// Walks a tree in pre-order: a 0 byte for every missing node, else a 1 byte
// and `node(n, stack)`, which hashes n's fields and pushes its children (the
// last pushed is walked first).
template <class Node, class F>
void hashTree(Hash& hs, const Node* root, F node) {
    std::vector<const Node*> stack{root};
    while (!stack.empty()) {
        const Node* n = stack.back();
        stack.pop_back();
        hs.byte(n ? 1 : 0);
        if (n) node(n, stack);
    }
}

// The tracer's outline tree: child, next, parts and extraLink of every node.
inline void hashOutlines(Hash& hs, int result, const ListOfOutLines* root) {
    hs.i64(result);
    hashTree(hs, root, [&](const ListOfOutLines* n, std::vector<const ListOfOutLines*>& stack) {
        hs.i64(n->checkState);
        hs.i64(n->start.x);
        hs.i64(n->start.y);
        hs.bytes(n->data, n->len);
        for (int b : n->bounds) hs.i64(b);
        hs.i64(n->pixelCount);
        hs.i64(n->paletteIndex);
        hs.i64(n->color);
        hs.i64(n->tag);
        hs.i64(n->isFrame);
        hs.i64(n->allHolesFree);
        hs.i64(n->kind);
        stack.push_back(n->extraLink);
        stack.push_back(n->parts);
        stack.push_back(n->next);
        stack.push_back(n->child);
    });
}

// An entry point's contour tree with its holes, chains and Bezier points.
inline void hashKvCtree(Hash& hs, int result, const KvCtree* root) {
    hs.i64(result);
    hashTree(hs, root, [&](const KvCtree* n, std::vector<const KvCtree*>& stack) {
        hs.i64(n->isFrame);
        hs.bytes(n->chain, n->dirNum);
        hs.i64(n->startOffset);
        hs.colour(n->color);
        hs.i64(n->bezierCount);
        for (int k = 0; n->bezier && k < n->bezierCount; ++k) {
            hs.real(n->bezier[k].x);
            hs.real(n->bezier[k].y);
        }
        std::vector<const KvCtree*> list;
        for (const KvCtree::Holes* h = n->holes; h; h = h->next) list.push_back(h->ctree);
        hs.i64(static_cast<long long>(list.size()));
        for (auto it = list.rbegin(); it != list.rend(); ++it) stack.push_back(*it);
    });
}

}  // namespace golden
