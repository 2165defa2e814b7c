// TraceJob: one input traced into one output file. Jobs share nothing, so a
// batch runs them on several threads.
#pragma once

#include <functional>
#include <ostream>
#include <string>

#include "frontends/cli/CommandLine.h"

class TraceJob {
public:
    enum Exit {
        Done = 0,
        NoOutlines = 1,
        LimitExceeded = 2,
        TooManyColors = 3,
        BadUsage = 64,
        BadInput = 65,
        CannotWrite = 74
    };

    struct Stats {
        int width = 0, height = 0;
        int regions = 0, frames = 0, holes = 0;
        long long segments = 0;           // curve segments or polygon sides written
        int paths = 0;                    // shapes written
        long long corrected = 0;          // pixels moved to match the picture
        long long loops = 0, curved = 0;  // boundary loops, those kept as fitted curves
        long long bytes = 0;              // size of the output
        double decodeMs = 0, traceMs = 0, writeMs = 0;
    };

    // Runs the job; `message` receives an error (naming the file) or nothing.
    // `progress`, when given, hears the share of the trace, the shapes and
    // the writing done (om1::Hooks::progress).
    static int run(const CommandLine& cl, const std::string& input, const std::string& output,
                   Stats& stats, std::string& message,
                   const std::function<bool(double)>& progress = {});
    // Writes text to path whole or not at all (a temporary file beside it,
    // then a rename). False with `error` set on failure.
    static bool writeAtomically(const std::string& path, const std::string& text,
                                std::string& error);
    // The same, with the content streamed by `body` into a buffered stream.
    static bool writeAtomically(const std::string& path,
                                const std::function<bool(std::ostream&)>& body, std::string& error);
};
