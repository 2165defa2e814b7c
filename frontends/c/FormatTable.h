// FormatTable: the output formats of the C interface, in the order
// om1_format_name lists them. Names, extensions and writers are the output
// layer's (OutputFormat); a new format is one row in the table.
#pragma once

#include "writers/OutputFormat.h"

namespace om1c {

class FormatTable {
public:
    // False past the end.
    static bool at(int index, om1::OutputFormat::Kind& kind);
    // By name or extension (with or without the dot), case-insensitive.
    static bool find(const char* name, om1::OutputFormat::Kind& kind);
};

}  // namespace om1c
