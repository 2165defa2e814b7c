// The framework stand-ins: message box sink, views and their client contexts.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/AfxMessageBox.h"
#include "platform/CClientDC.h"
#include "platform/CView.h"
#include "platform/Gdi.h"

namespace {
std::vector<std::string> g_seen;
void capture(const char* text, UINT type) {
    g_seen.push_back(std::string(text) + "/" + std::to_string(type));
}
}  // namespace

TEST(AfxMessageBox, GoesThroughTheInstalledSink) {
    g_seen.clear();
    MessageSink old = SetMessageSink(&capture);
    EXPECT_EQ(AfxMessageBox("Cannot allocate memory", MB_OK, 0), 1);
    SetMessageSink(old);
    ASSERT_EQ(g_seen.size(), 1u);
    EXPECT_EQ(g_seen[0], "Cannot allocate memory/0");
}

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
