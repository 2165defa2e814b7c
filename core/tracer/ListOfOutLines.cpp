#include "tracer/ListOfOutLines.h"

#include <cstdlib>
#include <cstring>
#include <new>

ListOfOutLines::ListOfOutLines() : ListOfOutLines(0) {}

ListOfOutLines::ListOfOutLines(DWORD color_)
    : checkState(-1),
      start{-1, -1},
      data(nullptr),
      len(0),
      bounds{-1, -1, -1, -1},
      pixelCount(-1),
      paletteIndex(0),
      color(color_),
      tag(0),
      isFrame(true),
      allHolesFree(false),
      kind(0),
      child(nullptr),
      next(nullptr),
      parts(nullptr),
      extraLink(nullptr) {}

ListOfOutLines::~ListOfOutLines() {
    free(data);
    ListOfOutLines* n = next;
    next = nullptr;
    while (n) {
        ListOfOutLines* following = n->next;
        n->next = nullptr;
        delete n;
        n = following;
    }
    delete child;
    delete parts;
    delete extraLink;
}

bool ListOfOutLines::FreeAllocAndPutData(void* src, long len_, POINT start_) {
    free(data);
    data = nullptr;
    len = 0;
    if (len_ < 0 || len_ > 0x7FFFFFFFL || (len_ > 0 && !src)) return false;
    if (len_ > 0) {
        data = static_cast<unsigned char*>(calloc(static_cast<size_t>(len_), 1));
        if (!data) return false;
        memcpy(data, src, static_cast<size_t>(len_));
    }
    len = static_cast<int>(len_);
    start = start_;
    return true;
}

ListOfOutLines* ListOfOutLines::AllocAndAddHead(DWORD color_) {
    ListOfOutLines* n = new (std::nothrow) ListOfOutLines(color_);
    if (!n) return this;
    n->next = this;
    return n;
}

ListOfOutLines* ListOfOutLines::AllocAndAddToHead(DWORD color_) {
    ListOfOutLines* n = new (std::nothrow) ListOfOutLines(color_);
    if (!n) return this;
    n->next = next;
    next = n;
    return n;
}

ListOfOutLines* ListOfOutLines::AllocAndAddQueue(DWORD color_) {
    ListOfOutLines* n = new (std::nothrow) ListOfOutLines(color_);
    if (!n) return this;
    n->next = next;  // normally null: called on the last node
    next = n;
    return n;
}

void ListOfOutLines::GetData(void* dst, int& len_, POINT& start_, int& rotation) {
    if (!data || !dst) return;
    memcpy(dst, data, static_cast<size_t>(len));
    len_ = len;
    start_ = start;
    rotation = 0;
}
