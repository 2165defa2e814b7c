// Running om1trace from the tests as a program of its own, through the
// system's shell: sh on Linux, cmd on Windows (under Wine too). Command lines
// use only what both shells share: redirections with <, > and 2>.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#ifdef _WIN32
#include "platform/WinTypes.h"  // windows.h without min and max macros
#else
#include <sys/wait.h>
#endif

// The tool the build made (on Windows the one beside the test program, so
// that the path is the system's own).
inline std::string toolPath() {
#ifdef _WIN32
    char self[MAX_PATH];
    const DWORD n = GetModuleFileNameA(nullptr, self, MAX_PATH);
    return (std::filesystem::path(std::string(self, n)).parent_path() / "om1trace.exe").string();
#else
    return OM1TRACE_PATH;
#endif
}

// The file that discards what is written to it.
inline std::string nullDevice() {
#ifdef _WIN32
    return "NUL";
#else
    return "/dev/null";
#endif
}

// Runs a command line through the shell; the exit code, or -1 when the
// program did not exit by itself.
inline int runShell(const std::string& command) {
    const int status = std::system(command.c_str());
#ifdef _WIN32
    return status;
#else
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

// Runs om1trace with the arguments and redirections given.
inline int runTrace(const std::string& args) {
    return runShell(toolPath() + " " + args);
}
