#include "containment/FreeHoleQueue.h"

#include <new>

#include "containment/ExportOutLineTree.h"

bool FreeHoleQueue::push(ExportOutLineTree* tree) {
    Entry* e = new (std::nothrow) Entry{tree, nullptr};
    if (!e) return false;
    if (tail)
        tail->next = e;
    else
        head = e;
    tail = e;
    return true;
}

ExportOutLineTree* FreeHoleQueue::pop() {
    if (!head) return nullptr;
    Entry* e = head;
    head = e->next;
    if (!head) tail = nullptr;
    ExportOutLineTree* t = e->tree;
    delete e;
    return t;
}

void FreeHoleQueue::append(FreeHoleQueue& other) {
    if (&other == this || !other.head) return;
    if (tail)
        tail->next = other.head;
    else
        head = other.head;
    tail = other.tail;
    other.head = other.tail = nullptr;
}

int FreeHoleQueue::count() const {
    int n = 0;
    for (Entry* e = head; e; e = e->next) ++n;
    return n;
}

void FreeHoleQueue::clear() {
    while (head) delete pop();
}
