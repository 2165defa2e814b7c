// Stand-in for the framework's client-area device context of a view: a
// memory device context with the view's bitmap selected, released with the
// object.
#pragma once

#include "platform/CObject.h"
#include "platform/PlatformExport.h"
#include "platform/WinTypes.h"

class CView;

class PLATFORM_API CClientDC : public CObject {
public:
    HDC m_hDC;  // null when the context could not be made

    explicit CClientDC(CView* view);
    ~CClientDC() override;

    CClientDC(const CClientDC&) = delete;
    CClientDC& operator=(const CClientDC&) = delete;

    HDC GetSafeHdc() const { return m_hDC; }
};
