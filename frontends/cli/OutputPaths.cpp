#include "frontends/cli/OutputPaths.h"

#include <cstdint>
#include <map>
#include <utility>

#include "frontends/cli/FileSystem.h"

std::string OutputPaths::canonical(const std::string& path) {
    const size_t slash = FileSystem::lastSeparator(path);
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string real;
    if (name.empty() || name == "." || name == ".." || !FileSystem::realFolder(folder, real))
        return path;
    return real + "/" + name;
}

bool OutputPaths::check(const CommandLine& cl, std::string& error) {
    std::map<std::pair<uint64_t, uint64_t>, size_t> inputFiles;
    for (size_t i = 0; i < cl.inputs.size(); ++i) {
        std::pair<uint64_t, uint64_t> id;
        if (cl.inputs[i] != "-" && FileSystem::identity(cl.inputs[i], id))
            inputFiles.emplace(id, i);
    }
    std::map<std::string, size_t> outputs;
    for (size_t i = 0; i < cl.inputs.size(); ++i) {
        const std::string out = cl.outputAt(i);
        if (out == "-") continue;  // standard output
        auto [at, added] = outputs.emplace(FileSystem::comparable(canonical(out)), i);
        if (!added) {
            error = cl.inputs[at->second] + " and " + cl.inputs[i] + " are both written to " + out +
                    " (one result would be lost; use -d DIR or rename one)";
            return false;
        }
        std::pair<uint64_t, uint64_t> id;
        if (!FileSystem::identity(out, id)) continue;
        auto same = inputFiles.find(id);
        if (same != inputFiles.end()) {
            error = "the output " + out + " of " + cl.inputs[i] + " would overwrite the input " +
                    cl.inputs[same->second];
            return false;
        }
    }
    return true;
}
