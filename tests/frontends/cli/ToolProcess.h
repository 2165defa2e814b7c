// Running om1trace from the tests as a program of its own, through the
// system's shell: sh on Linux, cmd on Windows (under Wine too). Command lines
// use only what both shells share: redirections with <, > and 2>.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "decode/TestPictures.h"
#include "frontends/cli/CommandLine.h"

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

// A whole file as a string.
inline std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}
// Runs om1trace with the arguments; its standard error goes to `err` when
// given, its standard output nowhere.
inline int runTool(const std::string& args, std::string* err = nullptr) {
    TempDir d;
    const std::string errFile = d.file("stderr");
    const int code = runTrace(args + " >" + nullDevice() + " 2>" + errFile);
    if (err) {  // in text mode: Windows ends the tool's lines with \r\n
        std::ifstream in(errFile);
        *err = std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    }
    return code;
}

// Parses the arguments as the tool's command line (after its name).
inline bool parseArgs(std::vector<std::string> args, CommandLine& cl, std::string& error) {
    std::vector<char*> argv;
    static char name[] = "om1trace";
    argv.push_back(name);
    for (std::string& a : args) argv.push_back(&a[0]);
    return cl.parse(static_cast<int>(argv.size()), argv.data(), error);
}
