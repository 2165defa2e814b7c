#include "platform/AfxMessageBox.h"

#include <atomic>
#include <cstdio>

namespace {
#if defined(_WIN32)
// The system's message box; the text is taken as UTF-8.
void defaultSink(const char* text, UINT type) {
    const char* t = text ? text : "";
    wchar_t wide[1024];
    if (MultiByteToWideChar(CP_UTF8, 0, t, -1, wide, 1024) == 0) wide[0] = L'\0';
    MessageBoxW(nullptr, wide, nullptr, type);
}
#else
void defaultSink(const char* text, UINT) {
    fprintf(stderr, "%s\n", text ? text : "");
}
#endif
std::atomic<MessageSink> g_sink{&defaultSink};
}  // namespace

int AfxMessageBox(const char* text, UINT type, UINT) {
    MessageSink sink = g_sink.load();
    sink(text, type);
    return 1;
}

MessageSink SetMessageSink(MessageSink sink) {
    return g_sink.exchange(sink ? sink : &defaultSink);
}
