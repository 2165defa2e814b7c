// FileSystem: the file-system, terminal and process calls of om1trace that
// differ between Linux and Windows, in one place. Paths are byte strings as the
// command line gives them; on Windows both '/' and '\' separate folders, and
// "C:" starts a path on a drive.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

class FileSystem {
public:
    // Where the path's last folder separator is ('/'; on Windows also '\'
    // and the ':' after a drive letter); npos when there is none.
    static size_t lastSeparator(const std::string& path);
    static bool isDirectory(const std::string& path);
    // Makes the folder and the folders above it where missing. Failures are
    // left to show when a file in it cannot be written.
    static void makeDirectories(const std::string& path);
    // The folder's absolute path with "." and ".." (and on Linux links)
    // resolved; false when it does not exist.
    static bool realFolder(const std::string& folder, std::string& real);
    // The path as the file system compares names: on Windows without case
    // and with one kind of separator ("C:\Out\A.svg" and "c:/out/a.SVG" name
    // one file), unchanged on Linux.
    static std::string comparable(const std::string& path);
    // Two paths of the same existing file give the same identity (device and
    // inode; on Windows volume and file index). False when the file is not
    // there.
    static bool identity(const std::string& path, std::pair<uint64_t, uint64_t>& id);
    // The names in a folder ("." and ".." left out), or false with `error`.
    static bool list(const std::string& folder, std::vector<std::string>& names,
                     std::string& error);
    // Renames `from` over `to`, replacing a file there; errno set on failure.
    static bool replace(const std::string& from, const std::string& to);
    // A new file that only this process uses, in the temporary folder; its
    // descriptor (open for writing bytes unchanged) with `path` set, or -1
    // with errno set.
    static int temporaryFile(const std::string& prefix, std::string& path);
    // Standard input and output carry bytes unchanged (on Windows they are
    // switched out of text mode, which would change line ends).
    static void binaryStandardStreams();
    static bool isTerminal(FILE* stream);
    // With the GNU C library: freed blocks of any size stay in the heap for
    // the next allocation instead of going back to the system (no block is
    // mapped on its own; only the heap's top beyond 256 MB is given back).
    // The trace stages allocate and free picture-sized buffers many times,
    // and every fresh page costs a fault (a third less time on a 400 x 300
    // photograph; at 4096 x 4096 a quarter less system time and 27 MB less
    // at the peak, as the freed buffers are reused). Freed memory is kept
    // until the process ends. Nothing elsewhere.
    static void keepFreedMemory();
    static long processId();
};
