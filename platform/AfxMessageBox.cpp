#include "platform/AfxMessageBox.h"

#include <atomic>
#include <cstdio>

namespace {
void stderrSink(const char* text, UINT) {
    fprintf(stderr, "%s\n", text ? text : "");
}
std::atomic<MessageSink> g_sink{&stderrSink};
}  // namespace

int AfxMessageBox(const char* text, UINT type, UINT) {
    MessageSink sink = g_sink.load();
    sink(text, type);
    return 1;
}

MessageSink SetMessageSink(MessageSink sink) {
    return g_sink.exchange(sink ? sink : &stderrSink);
}
