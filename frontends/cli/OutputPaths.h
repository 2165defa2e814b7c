// OutputPaths: checks the output file of every input of a run before anything
// is traced. A run is refused when two inputs would be written to the same
// file (one result would be lost) or when an output is one of the inputs
// (the picture would be replaced by its own trace), however the paths are
// spelled: outputs are compared by their folder's real path and name (on
// Windows without case), inputs by device and inode (volume and file index),
// so links and "dir/./x" are caught too.
#pragma once

#include <string>

#include "frontends/cli/CommandLine.h"

class OutputPaths {
public:
    // True when the run may go ahead; false with `error` naming the files.
    static bool check(const CommandLine& cl, std::string& error);
    // The path with its folder resolved ("a/../b/x.svg" -> "/abs/b/x.svg");
    // the path as given when the folder does not exist.
    static std::string canonical(const std::string& path);
};
