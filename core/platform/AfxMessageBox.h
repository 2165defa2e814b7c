// Stand-in for the framework's message box. The text goes to a replaceable
// message sink; by default it is shown in the system's message box on Windows
// and printed to stderr elsewhere. Tests install their own sink to capture
// messages (so nothing waits for a click).
#pragma once

#include "platform/PlatformExport.h"
#include "platform/WinTypes.h"

typedef void (*MessageSink)(const char* text, UINT type);

// Shows `text` through the current sink; returns 1 (IDOK).
PLATFORM_API int AfxMessageBox(const char* text, UINT type = MB_OK, UINT helpId = 0);

// Installs a sink (null restores the default) and returns the previous one.
PLATFORM_API MessageSink SetMessageSink(MessageSink sink);
