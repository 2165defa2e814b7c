// OptionTable: every option of a trace, once: its name, kind, range, one line
// of help and where it lives in the options record (om1_options). The
// command line (--name-with-dashes), the C interface (name_with_underscores),
// Python's keywords, `om1trace --help` and the README's option table all come
// from here, so the front ends accept the same options with the same ranges.
//
// Rows are in the order settings are applied: an option that implies others
// comes before them (polygon sets tolerance and min_length to 0; colors and
// palette keep the palette through merging, merge_means 0; speckle replaces
// the preset's share of the area, speckle_share 0), so that an explicit
// setting of the implied option wins whatever order a user gave them in.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "pipeline/om1types.h"

namespace om1 {

class OptionTable {
public:
    enum class Kind {
        Int,       // a whole number in [min, max]
        LongLong,  // the same, 64 bits
        Double,    // a decimal number in [min, max]
        Flag,      // on or off; on the command line a flag without value (--polygon)
        Switch,    // on or off; on the command line with its value (--antialias on)
        Colour,    // RRGGBB or #RRGGBB
        Choice,    // one of the names in `choices` ("none|quadrant|adaptive"), stored as its index
        Palette,   // #rrggbb,#rrggbb,... or a file of such colours
    };
    struct Row {
        const char* name;  // name_with_underscores
        Kind kind;
        size_t offset;  // in om1_options
        double min, max;
        const char* choices;    // Choice: the names, '|' between them
        const char* valueName;  // what the command line's help calls the value
        const char* help;       // one line
        // Whole numbers: besides 0, nothing below this (colors: 0 or 2..256).
        double lowestOn;
        // Texts that stand for numbers ("auto=256,off=-1"), or null.
        const char* words;
    };

    // Null past the end.
    static const Row* row(int index);
    static int rowCount();
    // By name with underscores or dashes ("min_length", "min-length"); null if none.
    static const Row* find(const std::string& name);
    // The option name nearest to `name` (edit distance), for "did you mean";
    // empty when none is near. A front end adds its own options' names in
    // `others` (with underscores).
    static std::string nearest(const std::string& name,
                               const std::vector<std::string>& others = {});

    // The default preset's settings.
    static void defaults(om1_options& o);
    // Sets a preset's values (all other fields to their defaults); false for
    // an unknown preset name.
    static bool preset(om1_options& o, const std::string& name);
    // Preset names in order ("graphic" first, the default), then null; a
    // line saying what each is for.
    static const char* presetName(int index);
    static const char* presetHelp(int index);

    // How messages name an option: as C and Python do (min_length) or as
    // the command line does (--min-length).
    enum class Names { Plain, Flags };
    static std::string shown(const std::string& name, Names names);
    // Sets one option from text (see kinds above; booleans also take
    // true/false, yes/no, 1/0). OM1_OK, or OM1_BAD_OPTION with `error`
    // saying what the option takes; `o` is then unchanged.
    static int set(om1_options& o, const Row& row, const std::string& text, std::string& error,
                   Names names = Names::Plain);
    // Sets several options in the table's order (see above). Stops at the
    // first failure: OM1_UNKNOWN_OPTION (with the nearest name) or
    // OM1_BAD_OPTION, with `error` naming the option.
    static int apply(om1_options& o, const std::vector<std::pair<std::string, std::string>>& given,
                     std::string& error, Names names = Names::Plain);
    // OM1_OK, or OM1_BAD_OPTION with `error` naming the first field out of its range.
    static int check(const om1_options& o, std::string* error = nullptr);

    // A field's value as text the table reads back ("10", "on", "ffffff",
    // "quadrant", "#ff0000,#00ff00"; palettes of no entry "").
    static std::string valueText(const om1_options& o, const Row& row);
    // What the option takes, in words ("a whole number from 0 to 100").
    static std::string takes(const Row& row);
    // The command line's help for the options, a line or two each, with the
    // default and the presets that differ from it.
    static std::string commandLineHelp();
    // The same as a Markdown table (option, C/Python name, values, default
    // per preset, what it does) for the README.
    static std::string markdown();
};

}  // namespace om1
