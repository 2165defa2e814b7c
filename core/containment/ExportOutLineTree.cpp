#include "containment/ExportOutLineTree.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "containment/Walker.h"

HoleNode::~HoleNode() {
    delete tree;
    HoleNode* n = next;
    next = nullptr;
    while (n) {
        HoleNode* following = n->next;
        n->next = nullptr;
        delete n;
        n = following;
    }
}

ExportOutLineTree::ExportOutLineTree(unsigned char* codes, int len_, int startPos_)
    : type(1),
      holes(nullptr),
      valid(1),
      bounds{-1, -1, -1, -1},
      data(nullptr),
      len(0),
      startPos(0),
      color{0, 0, 0, 0} {
    if (!codes) return;
    startPos = startPos_;
    if (len_ < 0) {
        valid = 0;
        return;
    }
    if (len_ > 0) {
        data = static_cast<unsigned char*>(calloc(static_cast<size_t>(len_), 1));
        if (!data) {
            valid = 0;
            return;
        }
        memcpy(data, codes, static_cast<size_t>(len_));
    }
    len = len_;
}

ExportOutLineTree::~ExportOutLineTree() {
    delete holes;
    free(data);
}

void ExportOutLineTree::setColor(DWORD c) {
    color.rgbBlue = static_cast<BYTE>((c >> 16) & 255);
    color.rgbGreen = static_cast<BYTE>((c >> 8) & 255);
    color.rgbRed = static_cast<BYTE>(c & 255);
}

bool ExportOutLineTree::addHoleAtHead(unsigned char* codes, int len_, int startPos_) {
    ExportOutLineTree* t = new (std::nothrow) ExportOutLineTree(codes, len_, startPos_);
    if (!t) return false;
    if (!t->valid || !insertHoleAtHead(t)) {
        delete t;
        return false;
    }
    return true;
}

bool ExportOutLineTree::insertHoleAtHead(ExportOutLineTree* hole) {
    HoleNode* h = new (std::nothrow) HoleNode(hole);
    if (!h) return false;
    h->next = holes;
    holes = h;
    return true;
}

bool ExportOutLineTree::insertHoleAfterHead(ExportOutLineTree* hole) {
    if (!holes) return insertHoleAtHead(hole);
    HoleNode* h = new (std::nothrow) HoleNode(hole);
    if (!h) return false;
    h->next = holes->next;
    holes->next = h;
    return true;
}

void ExportOutLineTree::moveReplaceHoles(ExportOutLineTree* other) {
    if (!other || other == this) return;
    delete other->holes;
    other->holes = holes;
    holes = nullptr;
}

void ExportOutLineTree::moveAddHolesToTail(ExportOutLineTree* other) {
    if (!other || other == this || !other->holes) return;
    if (!holes) {
        holes = other->holes;
    } else {
        HoleNode* last = holes;
        while (last->next) last = last->next;
        last->next = other->holes;
    }
    other->holes = nullptr;
}

void ExportOutLineTree::moveFirstHole(ExportOutLineTree* other) {
    if (!holes) return;
    HoleNode* first = holes;
    holes = first->next;
    first->next = nullptr;
    if (other && other != this) {
        first->next = other->holes;
        other->holes = first;
    } else {
        delete first;
    }
}

void ExportOutLineTree::moveHolesToFirstOne() {
    if (!holes || !holes->next || !holes->tree) return;
    HoleNode* rest = holes->next;
    holes->next = nullptr;
    ExportOutLineTree* first = holes->tree;
    if (!first->holes) {
        first->holes = rest;
    } else {
        HoleNode* last = first->holes;
        while (last->next) last = last->next;
        last->next = rest;
    }
}

void ExportOutLineTree::prnOutLinesToDIB(RGBQUAD* pixels, int width, int height,
                                         ExportOutLineTree* node) {
    if (!node || !pixels || width <= 0 || height <= 0) return;
    const long long total = static_cast<long long>(width) * height;
    Walker w(width);
    long long x = node->startPos % width;
    long long y = node->startPos / width;
    for (int i = 0; i < node->len && node->data; ++i) {
        long long off = y * width + x;
        if (off >= 0 && off < total) pixels[off] = node->color;
        int c = node->data[i] & 3;
        x += w.dx[c];
        y += w.dy[c];
    }
    for (HoleNode* h = node->holes; h; h = h->next)
        prnOutLinesToDIB(pixels, width, height, h->tree);
}
