#include "frontends/cli/FileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

#ifdef _WIN32
#include <io.h>
#include <process.h>
#include "platform/WinTypes.h"  // windows.h without min and max macros
#else
#include <dirent.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <limits.h>
#include <unistd.h>
#endif

size_t FileSystem::lastSeparator(const std::string& path) {
#ifdef _WIN32
    const size_t at = path.find_last_of("/\\");
    if (at == std::string::npos && path.size() >= 2 && path[1] == ':') return 1;
    return at;
#else
    return path.find_last_of('/');
#endif
}

bool FileSystem::isDirectory(const std::string& path) {
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

void FileSystem::makeDirectories(const std::string& path) {
    std::error_code ec;
    std::filesystem::create_directories(std::filesystem::u8path(path), ec);
}

bool FileSystem::realFolder(const std::string& folder, std::string& real) {
#ifdef _WIN32
    char buf[MAX_PATH * 4];
    if (!isDirectory(folder) || !_fullpath(buf, folder.c_str(), sizeof(buf))) return false;
    real = buf;
    while (real.size() > 3 && (real.back() == '\\' || real.back() == '/')) real.pop_back();
#else
    char buf[PATH_MAX];
    if (!realpath(folder.c_str(), buf)) return false;
    real = buf;
#endif
    return true;
}

std::string FileSystem::comparable(const std::string& path) {
#ifdef _WIN32
    std::string key = path;
    for (char& c : key)
        c = c == '\\' ? '/' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return key;
#else
    return path;
#endif
}

bool FileSystem::identity(const std::string& path, std::pair<uint64_t, uint64_t>& id) {
#ifdef _WIN32
    HANDLE h = CreateFileA(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                           nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (h == INVALID_HANDLE_VALUE) return false;
    BY_HANDLE_FILE_INFORMATION info;
    const bool ok = GetFileInformationByHandle(h, &info) != 0;
    CloseHandle(h);
    if (!ok) return false;
    id = {info.dwVolumeSerialNumber,
          static_cast<uint64_t>(info.nFileIndexHigh) << 32 | info.nFileIndexLow};
    return true;
#else
    struct stat st;
    if (stat(path.c_str(), &st) != 0) return false;
    id = {static_cast<uint64_t>(st.st_dev), static_cast<uint64_t>(st.st_ino)};
    return true;
#endif
}

bool FileSystem::list(const std::string& folder, std::vector<std::string>& names,
                      std::string& error) {
#ifdef _WIN32
    std::error_code ec;
    std::filesystem::directory_iterator it(std::filesystem::u8path(folder), ec), end;
    for (; !ec && it != end; it.increment(ec)) names.push_back(it->path().filename().u8string());
    if (ec) {
        error = ec.message();
        return false;
    }
#else
    DIR* d = opendir(folder.c_str());
    if (!d) {
        error = strerror(errno);
        return false;
    }
    while (const dirent* e = readdir(d)) {
        const std::string name = e->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    closedir(d);
#endif
    return true;
}

bool FileSystem::replace(const std::string& from, const std::string& to) {
#ifdef _WIN32
    // rename() refuses an existing target on Windows.
    if (MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING)) return true;
    errno = GetLastError() == ERROR_ACCESS_DENIED ? EACCES : EIO;
    return false;
#else
    return rename(from.c_str(), to.c_str()) == 0;
#endif
}

int FileSystem::temporaryFile(const std::string& prefix, std::string& path) {
#ifdef _WIN32
    std::error_code ec;
    std::string folder = std::filesystem::temp_directory_path(ec).string();
    if (ec) folder = ".";
    if (!folder.empty() && folder.back() != '\\' && folder.back() != '/') folder += '\\';
#else
    const char* tmp = getenv("TMPDIR");
    const std::string folder = std::string(tmp && *tmp ? tmp : "/tmp") + "/";
#endif
    path = folder + prefix + "XXXXXX";
    return mkstemp(&path[0]);  // MinGW's opens in binary mode
}

void FileSystem::binaryStandardStreams() {
#ifdef _WIN32
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
#endif
}

void FileSystem::keepFreedMemory() {
#ifdef __GLIBC__
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, 256 << 20);
#endif
}

bool FileSystem::isTerminal(FILE* stream) {
#ifdef _WIN32
    return _isatty(_fileno(stream)) != 0;
#else
    return isatty(fileno(stream)) != 0;
#endif
}

long FileSystem::processId() {
#ifdef _WIN32
    return static_cast<long>(_getpid());
#else
    return static_cast<long>(getpid());
#endif
}
