#include "interface/kvMngr.h"

#include <new>

#include "containment/ExportOutLineTree.h"
#include "curves/CurveConverter.h"

kvMngr::kvMngr(int width_, int height_) : width(width_), height(height_) {}

kvMngr::~kvMngr() {}

void kvMngr::delSmallOutLn(int minLen, ExportOutLineTree* root) {
    delSmallOutLnRec(minLen, root);
}

void kvMngr::delSmallOutLnRec(int minLen, ExportOutLineTree* node) {
    if (!node) return;
    HoleNode* prevKept = nullptr;
    HoleNode* h = node->holes;
    while (h) {
        HoleNode* following = h->next;
        if (h->tree && h->tree->len < minLen) {
            h->next = nullptr;
            delete h;  // with its tree and the whole subtree
            if (prevKept)
                prevKept->next = following;
            else
                node->holes = following;
        } else {
            delSmallOutLnRec(minLen, h->tree);
            prevKept = h;
        }
        h = following;
    }
}

bool kvMngr::createKvCTree(KvCtree*& out, ExportOutLineTree* root, int width_) {
    out = kvctr_newKvCtree();
    if (!out) return false;
    return createKvCTreeRecurs(out, root, width_);
}

bool kvMngr::createKvCTreeRecurs(KvCtree* target, ExportOutLineTree* node, int width_) {
    if (!node) return true;
    if (!target) return false;
    target->init(node->data, node->len, node->startPos, width_);
    target->color = node->color;
    target->isFrame = node->type == 1 ? 1 : 0;
    for (HoleNode* h = node->holes; h; h = h->next) {
        KvCtree::Holes* entry = target->addTail();
        if (!entry) return false;
        if (!createKvCTreeRecurs(entry->ctree, h->tree, width_)) return false;
    }
    return true;
}

bool kvMngr::convBmToBezierRecurs(KvCtree* node, int tolerance, int width_) {
    if (!node) return true;
    if (!convBmToBezier(node, tolerance, width_)) return false;
    for (KvCtree::Holes* h = node->holes; h; h = h->next)
        if (!convBmToBezierRecurs(h->ctree, tolerance, width_)) return false;
    return true;
}

bool kvMngr::convBmToBezier(KvCtree* node, int tolerance, int width_) {
    if (!node || width_ < 1) return true;
    if (node->dirNum < 1) return true;
    CurveConverter* converter = new (std::nothrow) CurveConverter(static_cast<double>(tolerance));
    if (!converter) return false;
    POINT start = {node->startOffset % width_, node->startOffset / width_};
    converter->getCurveData(node->chain, node->dirNum, start);
    converter->dropSmartMedian();
    converter->editStraightLines();

    int n = converter->getSegmentCount();
    if (n < 1) {
        delete converter;
        return true;
    }
    node->bezierCount = 3 * n + 1;
    node->newBezier(node->bezierCount);
    if (!node->bezier) {
        delete converter;
        return false;
    }
    const BezierSegment* s = converter->getSegments();
    node->bezier[0] = KvPoint{s[0].p0.x, s[0].p0.y};
    for (int k = 0; k < n; ++k) {
        node->bezier[3 * k + 1] = KvPoint{s[k].p1.x, s[k].p1.y};
        node->bezier[3 * k + 2] = KvPoint{s[k].p2.x, s[k].p2.y};
        node->bezier[3 * k + 3] = KvPoint{s[k].p3.x, s[k].p3.y};
    }
    delete converter;
    return true;
}
