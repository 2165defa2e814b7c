// Construction, the outward and inward builds and the attaching operations.
#include "containment/CntmTreeCreator.h"

#include <climits>
#include <cstdlib>
#include <new>

#include "tracer/ListOfOutLines.h"

CntmTreeCreator::CntmTreeCreator(int width_, int height_)
    : width(width_),
      height(height_),
      ownerMap(nullptr),
      mapBytes(0),
      valid(false),
      walker(nullptr),
      marked(nullptr),
      markedCount(0),
      markedCapacity(0),
      markedOverflow(false) {
    if (width_ <= 0 || height_ <= 0) return;
    long long n = static_cast<long long>(width_) * height_;
    if (n > INT_MAX / static_cast<long long>(sizeof(ExportOutLineTree*))) return;
    ownerMap = static_cast<ExportOutLineTree**>(calloc(static_cast<size_t>(n), sizeof(*ownerMap)));
    mapBytes = static_cast<int>(n * static_cast<long long>(sizeof(*ownerMap)));
    walker = new (std::nothrow) Walker(width_);
    valid = ownerMap && walker;
}

CntmTreeCreator::~CntmTreeCreator() {
    free(ownerMap);
    free(marked);
    delete walker;
    freeHoleQueue.clear();
}

bool CntmTreeCreator::createCntmTree(ExportOutLinesStruct& out, AllOutLines all) {
    if (!valid) return false;
    if (!all.outLines) return true;
    if (all.height != height || all.width != width) return false;
    all.outLines->allHolesFree = true;
    ExportOutLineTree* tree = createCntmTreeExpanding(nullptr, all.outLines);
    editExTree(tree);
    out.width = width;
    delete out.exportTree;
    out.exportTree = tree;
    return true;
}

int CntmTreeCreator::startPosOf(ListOfOutLines* L) const {
    return L->start.y * width + L->start.x;
}

ExportOutLineTree* CntmTreeCreator::createCntmTreeExpanding(ExportOutLineTree* prev,
                                                            ListOfOutLines* L) {
    // Each step wraps the tree built so far; the chain of extern frames is
    // followed in a loop.
    for (;;) {
        ListOfOutLines* ext = getExternFrame(L);
        if (!ext) return prev;
        ExportOutLineTree* F =
            new (std::nothrow) ExportOutLineTree(ext->data, ext->len, startPosOf(ext));
        if (!F || !F->valid) {
            delete F;
            return prev;
        }
        invertOutLineDir(F->data, F->len);

        if (isFrameOutLine(ext)) {
            if (areAllHolesFree(L)) {
                addFreeHolesExceptExternWhenAllOfThemAreFree(F, L);
                if (prev) {
                    if (!createEmptyFirstHole(F)) {
                        delete F;
                        delete prev;
                        return nullptr;
                    }
                    F->holes->tree = prev;
                }
            } else {
                addPartsToFrame(F, L);
                setLargestHoleFirst(F);
                markFirstHoleAsFrame(F);
                F->moveHolesToFirstOne();
                treatFreeHolesExceptExtern(F, L);
                ExportOutLineTree* first = F->holes ? F->holes->tree : nullptr;
                cleanBuffer();
                markFrame(F);
                markFrame(F, first);
                markHoles(first);
                addFreeHolesToAppropriateParts();
                addNonFreeHolesToFrame(first, L);
                addFrameToFirstHole(F, prev);
            }
            F->setTypeAsOutLine();
            F->setColor(L->color);
        } else {
            addPartsToFrame(F, L);
            treatFreeHoles(F, L);
            cleanBuffer();
            markHoles(F);
            addFreeHolesToAppropriateParts();
            addNonFreeHolesExceptExternToFrame(F, L);
            addFrameToFrame(F, prev);
        }
        prev = F;
        L = ext;
    }
}

ExportOutLineTree* CntmTreeCreator::createCntmTreeCollapsing(ListOfOutLines* L) {
    if (!L) return nullptr;
    ExportOutLineTree* T = new (std::nothrow) ExportOutLineTree(L->data, L->len, startPosOf(L));
    if (!T || !T->valid) {
        delete T;
        return nullptr;
    }
    if (areAllHolesFree(L)) {
        addFreeHolesWhenAllOfThemAreFree(T, L);
        T->setTypeAsOutLine();
        T->setColor(L->color);
    } else {
        addPartsToFrame(T, L);
        treatFreeHoles(T, L);
        cleanBuffer();
        markHoles(T);
        addFreeHolesToAppropriateParts();
        addNonFreeHolesToFrame(T, L);
    }
    return T;
}

// --- hole searches ----------------------------------------------------------

ListOfOutLines* CntmTreeCreator::getExternFrame(ListOfOutLines* L) {
    return L ? L->child : nullptr;
}

bool CntmTreeCreator::isFrameOutLine(ListOfOutLines* L) {
    return L && L->isFrame;
}

bool CntmTreeCreator::areAllHolesFree(ListOfOutLines* L) {
    if (!L || !L->child) return true;
    return L->allHolesFree;
}

ListOfOutLines* CntmTreeCreator::getNextFreeHole(ListOfOutLines* C) {
    for (ListOfOutLines* n = C ? C->next : nullptr; n; n = n->next)
        if (isFrameOutLine(n)) return n;
    return nullptr;
}

ListOfOutLines* CntmTreeCreator::getNextNonFreeHole(ListOfOutLines* C) {
    for (ListOfOutLines* n = C ? C->next : nullptr; n; n = n->next)
        if (!isFrameOutLine(n)) return n;
    return nullptr;
}

ListOfOutLines* CntmTreeCreator::getFirstFreeHole(ListOfOutLines* L) {
    ListOfOutLines* c = L ? L->child : nullptr;
    if (!c) return nullptr;
    return isFrameOutLine(c) ? c : getNextFreeHole(c);
}

ListOfOutLines* CntmTreeCreator::getFirstNonFreeHole(ListOfOutLines* L) {
    ListOfOutLines* c = L ? L->child : nullptr;
    if (!c) return nullptr;
    return !isFrameOutLine(c) ? c : getNextNonFreeHole(c);
}

ListOfOutLines* CntmTreeCreator::getFirstNonExternFreeHole(ListOfOutLines* L) {
    return L && L->child ? getNextFreeHole(L->child) : nullptr;
}

ListOfOutLines* CntmTreeCreator::getFirstNonExternNonFreeHole(ListOfOutLines* L) {
    return L && L->child ? getNextNonFreeHole(L->child) : nullptr;
}

bool CntmTreeCreator::doesFrameBoundBitmap(ExportOutLineTree* S) {
    return S && S->len == 2 * (width + height) - 4;
}

// --- attaching ----------------------------------------------------------------

void CntmTreeCreator::addFreeHolesFrom(ExportOutLineTree* T, ListOfOutLines* first) {
    for (ListOfOutLines* c = first; c; c = getNextFreeHole(c)) {
        ExportOutLineTree* sub = createCntmTreeCollapsing(c);
        if (sub && !T->insertHoleAtHead(sub)) delete sub;
    }
}

void CntmTreeCreator::addFreeHolesWhenAllOfThemAreFree(ExportOutLineTree* T, ListOfOutLines* L) {
    if (T) addFreeHolesFrom(T, getFirstFreeHole(L));
}

void CntmTreeCreator::addFreeHolesExceptExternWhenAllOfThemAreFree(ExportOutLineTree* T,
                                                                   ListOfOutLines* L) {
    if (T) addFreeHolesFrom(T, getFirstNonExternFreeHole(L));
}

void CntmTreeCreator::addNonFreeHolesFrom(ExportOutLineTree* T, ListOfOutLines* first) {
    for (ListOfOutLines* c = first; c; c = getNextNonFreeHole(c)) {
        if (!T) continue;  // nowhere to put it: not built at all
        addFrameToFrame(T, createCntmTreeCollapsing(c));
    }
}

void CntmTreeCreator::addNonFreeHolesToFrame(ExportOutLineTree* T, ListOfOutLines* L) {
    addNonFreeHolesFrom(T, getFirstNonFreeHole(L));
}

void CntmTreeCreator::addNonFreeHolesExceptExternToFrame(ExportOutLineTree* T, ListOfOutLines* L) {
    addNonFreeHolesFrom(T, getFirstNonExternNonFreeHole(L));
}

void CntmTreeCreator::addPartsToFrame(ExportOutLineTree* T, ListOfOutLines* L) {
    if (!T || !L) return;
    for (ListOfOutLines* P = L->parts; P; P = P->next) {
        if (P->isFrame) continue;
        if (!T->addHoleAtHead(P->data, P->len, startPosOf(P))) return;
        T->holes->tree->setTypeAsOutLine();
        T->holes->tree->setColor(P->color);
    }
}

void CntmTreeCreator::addFrameToFrame(ExportOutLineTree* T, ExportOutLineTree* S) {
    if (!S) return;
    if (!T || T == S) {
        if (T != S) delete S;  // no container: never leaked
        return;
    }
    if (S->type != 0) {
        T->moveAddHolesToTail(S);
        delete S;
    } else if (!T->insertHoleAfterHead(S)) {
        delete S;
    }
}

void CntmTreeCreator::addFrameToFirstHole(ExportOutLineTree* T, ExportOutLineTree* S) {
    if (T && T->holes && T->holes->tree)
        addFrameToFrame(T->holes->tree, S);
    else
        delete S;
}

bool CntmTreeCreator::createEmptyFirstHole(ExportOutLineTree* T) {
    HoleNode* h = new (std::nothrow) HoleNode();
    if (!h) return false;
    h->next = T->holes;
    T->holes = h;
    return true;
}

void CntmTreeCreator::markFirstHoleAsFrame(ExportOutLineTree* T) {
    if (T && T->holes && T->holes->tree) T->holes->tree->type = 1;
}

void CntmTreeCreator::setLargestHoleFirst(ExportOutLineTree* T) {
    if (!T || !T->holes) return;
    HoleNode* candidate = T->holes;
    HoleNode* candidatePrev = nullptr;
    HoleNode* prev = T->holes;
    for (HoleNode* h = T->holes->next; h; prev = h, h = h->next) {
        if (cmp1and2_OL_4boundsTest(candidate->tree, h->tree) == FirstInsideSecond) {
            candidate = h;
            candidatePrev = prev;
        }
    }
    if (candidatePrev) {
        candidatePrev->next = candidate->next;
        candidate->next = T->holes;
        T->holes = candidate;
    }
}

// --- free holes -------------------------------------------------------------

void CntmTreeCreator::treatFreeHolesFrom(ListOfOutLines* first) {
    FreeHoleQueue local;
    for (ListOfOutLines* c = first; c; c = getNextFreeHole(c)) {
        ExportOutLineTree* sub = createCntmTreeCollapsing(c);
        if (sub && !local.push(sub)) delete sub;
    }
    freeHoleQueue.append(local);
}

void CntmTreeCreator::treatFreeHoles(ExportOutLineTree*, ListOfOutLines* L) {
    treatFreeHolesFrom(getFirstFreeHole(L));
}

void CntmTreeCreator::treatFreeHolesExceptExtern(ExportOutLineTree*, ListOfOutLines* L) {
    treatFreeHolesFrom(getFirstNonExternFreeHole(L));
}

void CntmTreeCreator::addFreeHolesToAppropriateParts() {
    while (!freeHoleQueue.empty()) {
        ExportOutLineTree* tree = freeHoleQueue.pop();
        ExportOutLineTree* c = getContainer(tree);
        if (!c) {
            delete tree;  // dropped; the rest waits for the next call
            return;
        }
        if (!c->insertHoleAfterHead(tree)) delete tree;
    }
}

ExportOutLineTree* CntmTreeCreator::getContainer(ExportOutLineTree* S) {
    if (!S || !ownerMap || width <= 0) return nullptr;
    int x = S->startPos % width;
    int y = S->startPos / width;
    if (y < 0 || y >= height || x <= 0) return nullptr;
    if (x > width) x = width;
    ExportOutLineTree** row = ownerMap + static_cast<size_t>(y) * width;
    for (int i = x - 1; i >= 0; --i)
        if (row[i]) return row[i];
    return nullptr;
}
