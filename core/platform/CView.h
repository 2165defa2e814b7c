// Stand-in for a framework view: a host window that shows one bitmap. Its
// client area is reached through a CClientDC.
#pragma once

#include "platform/CObject.h"
#include "platform/PlatformExport.h"
#include "platform/WinTypes.h"

class PLATFORM_API CView : public CObject {
public:
    CView() : bitmap(nullptr) {}
    // The view shows `bitmap`; it does not own it.
    explicit CView(HBITMAP bitmap_) : bitmap(bitmap_) {}
    ~CView() override {}

    HBITMAP GetBitmap() const { return bitmap; }
    void SetBitmap(HBITMAP b) { bitmap = b; }

protected:
    HBITMAP bitmap;
};
