#include "tools/OutputPaths.h"

#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <map>
#include <utility>

std::string OutputPaths::canonical(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    char real[PATH_MAX];
    if (name.empty() || name == "." || name == ".." || !realpath(folder.c_str(), real)) return path;
    return std::string(real) + "/" + name;
}

bool OutputPaths::check(const CommandLine& cl, std::string& error) {
    std::map<std::pair<dev_t, ino_t>, size_t> inputFiles;
    for (size_t i = 0; i < cl.inputs.size(); ++i) {
        struct stat st;
        if (cl.inputs[i] != "-" && stat(cl.inputs[i].c_str(), &st) == 0)
            inputFiles.emplace(std::make_pair(st.st_dev, st.st_ino), i);
    }
    std::map<std::string, size_t> outputs;
    for (size_t i = 0; i < cl.inputs.size(); ++i) {
        const std::string out = cl.outputAt(i);
        if (out == "-") continue;  // standard output
        auto [at, added] = outputs.emplace(canonical(out), i);
        if (!added) {
            error = cl.inputs[at->second] + " and " + cl.inputs[i] + " are both written to " + out +
                    " (one result would be lost; use -d DIR or rename one)";
            return false;
        }
        struct stat st;
        if (stat(out.c_str(), &st) != 0) continue;
        auto same = inputFiles.find({st.st_dev, st.st_ino});
        if (same != inputFiles.end()) {
            error = "the output " + out + " of " + cl.inputs[i] + " would overwrite the input " +
                    cl.inputs[same->second];
            return false;
        }
    }
    return true;
}
