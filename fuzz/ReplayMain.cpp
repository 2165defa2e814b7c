// Runs a fuzz target's LLVMFuzzerTestOneInput on every file of the folders
// (or files) named on the command line, without libFuzzer: the kept inputs
// of tests/fuzz/<target>/ run as regression tests in every build. Exits 1
// when a folder is missing or holds no file; a broken invariant aborts.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

bool runFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
    printf("%s (%zu bytes)\n", path.c_str(), bytes.size());
    fflush(stdout);
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    int files = 0;
    for (int a = 1; a < argc; ++a) {
        struct stat st;
        if (stat(argv[a], &st) != 0) {
            fprintf(stderr, "%s: missing\n", argv[a]);
            return 1;
        }
        if (!S_ISDIR(st.st_mode)) {
            files += runFile(argv[a]);
            continue;
        }
        DIR* d = opendir(argv[a]);
        if (!d) return 1;
        while (dirent* e = readdir(d))
            if (e->d_name[0] != '.') files += runFile(std::string(argv[a]) + "/" + e->d_name);
        closedir(d);
    }
    printf("%d inputs replayed\n", files);
    return files > 0 ? 0 : 1;
}
