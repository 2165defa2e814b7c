// OptionTable: the settings of om1_options by name, with their kinds and
// ranges, and the record's conversion to the trace layer's TraceOptions.
// Stage settings are set and checked through om1::Presets, so the C
// interface, the bindings and the command-line tool agree on names, ranges
// and values. A new setting is one field in om1c.h, one row in the table
// (OptionTable.cpp) and one line in each of toTrace and fromTrace.
#pragma once

#include "frontends/c/om1c.h"
#include "prepare/Presets.h"
#include "prepare/TraceOptions.h"

namespace om1c {

class OptionTable {
public:
    enum class Kind { Int, LongLong, Double, Bool, Colour, Filter, Palette };
    struct Row {
        const char* name;
        Kind kind;
        size_t offset;         // in om1_options
        double min, max;       // the range of fields not checked by Presets
        const char* stageKey;  // the key of om1::Presets::set, or null
    };

    // The default preset's settings.
    static void defaults(om1_options& o);
    // Null past the end.
    static const Row* row(int index);
    static const Row* find(const char* name);
    // om1_status codes; `o` is unchanged on failure.
    static int set(om1_options& o, const Row& row, const char* text);
    static int check(const om1_options& o);
    static int preset(om1_options& o, const char* name);
    static const char* presetName(int index);

    // The trace layer's options of a checked record.
    static om1::TraceOptions toTrace(const om1_options& o);
    // The record of trace-layer options; the output fields keep their values.
    static void fromTrace(const om1::TraceOptions& t, om1_options& o);
};

}  // namespace om1c
