#include "platform/CClientDC.h"

#include "platform/CView.h"
#include "platform/Gdi.h"

CClientDC::CClientDC(CView* view) : m_hDC(CreateCompatibleDC(nullptr)) {
    if (m_hDC && view && view->GetBitmap()) SelectObject(m_hDC, view->GetBitmap());
}

CClientDC::~CClientDC() {
    if (m_hDC) DeleteDC(m_hDC);
}
