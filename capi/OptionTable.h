// OptionTable: the settings of om1_options by name, with their kinds and
// ranges. A new setting is one field in om1c.h, its default in
// om1_options_init and one row in the table (OptionTable.cpp).
#pragma once

#include "capi/om1c.h"

namespace om1c {

class OptionTable {
public:
    enum class Kind { Int, LongLong, Double, Bool, Colour };
    struct Row {
        const char* name;
        Kind kind;
        size_t offset;  // in om1_options
        double min;
        double max;
    };

    static void defaults(om1_options& o);
    // Null past the end.
    static const Row* row(int index);
    static const Row* find(const char* name);
    // om1_status codes.
    static int set(om1_options& o, const Row& row, const char* text);
    static int check(const om1_options& o);
    static int preset(om1_options& o, const char* name);
    static const char* presetName(int index);
};

}  // namespace om1c
