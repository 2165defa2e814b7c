#include "companion/KvCtree.h"

#include <cstdlib>
#include <cstring>

KvCtree* kvctr_newKvCtree() {
    return static_cast<KvCtree*>(calloc(1, sizeof(KvCtree)));
}

bool KvCtree::init(unsigned char* codes, int len, int start, int width) {
    free(chain);
    chain = nullptr;
    dirNum = 0;
    startOffset = start;
    chainWidth = width;
    if (len < 0 || (len > 0 && !codes)) return false;
    if (len > 0) {
        chain = static_cast<unsigned char*>(malloc(static_cast<size_t>(len)));
        if (!chain) return false;
        memcpy(chain, codes, static_cast<size_t>(len));
    }
    dirNum = len;
    return true;
}

KvCtree::Holes* KvCtree::addTail() {
    Holes* h = static_cast<Holes*>(calloc(1, sizeof(Holes)));
    if (!h) return nullptr;
    h->ctree = kvctr_newKvCtree();
    if (!h->ctree) {
        free(h);
        return nullptr;
    }
    if (holesTail)
        holesTail->next = h;
    else
        holes = h;
    holesTail = h;
    return h;
}

bool KvCtree::newBezier(int count) {
    free(bezier);
    bezier = nullptr;
    if (count < 1) return false;
    bezier = static_cast<KvPoint*>(calloc(static_cast<size_t>(count), sizeof(KvPoint)));
    return bezier != nullptr;
}

void kvctr_deleteKvCtree(KvCtree* tree) {
    if (!tree) return;
    KvCtree::Holes* h = tree->holes;
    while (h) {
        KvCtree::Holes* next = h->next;
        kvctr_deleteKvCtree(h->ctree);
        free(h);
        h = next;
    }
    free(tree->chain);
    free(tree->bezier);
    free(tree);
}
