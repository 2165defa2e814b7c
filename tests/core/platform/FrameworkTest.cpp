// The framework stand-ins: views and their client contexts. (The message box
// sink: OutLineManipulatorTest, which hears every allocation failure.)
#include <gtest/gtest.h>

#include "platform/CClientDC.h"
#include "platform/CView.h"
#include "platform/Gdi.h"

TEST(CClientDC, SelectsTheViewsBitmap) {
    BITMAPINFO bi = {};
    bi.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    bi.bmiHeader.biWidth = 4;
    bi.bmiHeader.biHeight = 4;
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 32;
    HBITMAP b = CreateDIBSection(nullptr, &bi, DIB_RGB_COLORS, nullptr, nullptr, 0);
    CView view(b);
    {
        CClientDC dc(&view);
        ASSERT_NE(dc.m_hDC, nullptr);
        EXPECT_EQ(GetSelectedBitmap(dc.GetSafeHdc()), b);
    }
    CClientDC none(nullptr);  // no view: a context without a bitmap
    EXPECT_EQ(GetSelectedBitmap(none.m_hDC), nullptr);
    DeleteObject(b);
}
