// FormatTable: the output formats of the C interface by name. A new format
// is one row in the table (FormatTable.cpp) calling its writer.
#pragma once

#include <functional>
#include <ostream>

#include "output/Shape.h"

namespace om1c {

class FormatTable {
public:
    using Skip = std::function<bool(const om1::Shape&)>;
    struct Row {
        const char* name;
        const char* extension;
        // False when the stream failed. `skip` tells the shapes writers leave out.
        bool (*write)(std::ostream& out, const om1::ShapeSet& set, const Skip& skip);
    };

    // Null past the end.
    static const Row* row(int index);
    // By name or extension, case-insensitive; null when none.
    static const Row* find(const char* name);
};

}  // namespace om1c
