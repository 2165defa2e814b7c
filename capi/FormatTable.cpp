#include "capi/FormatTable.h"

#include <strings.h>

#include "output/JsonWriter.h"
#include "output/SvgWriter.h"

namespace om1c {

namespace {

const FormatTable::Row kRows[] = {
    {"svg", "svg",
     [](std::ostream& o, const om1::ShapeSet& s, const FormatTable::Skip& skip) {
         return om1::SvgWriter::write(o, s, skip);
     }},
    {"json", "json",
     [](std::ostream& o, const om1::ShapeSet& s, const FormatTable::Skip&) {
         return om1::JsonWriter::write(o, s);
     }},
};
const int kRowCount = static_cast<int>(sizeof(kRows) / sizeof(kRows[0]));

}  // namespace

const FormatTable::Row* FormatTable::row(int index) {
    return index >= 0 && index < kRowCount ? &kRows[index] : nullptr;
}

const FormatTable::Row* FormatTable::find(const char* name) {
    if (name[0] == '.') ++name;
    for (const Row& r : kRows)
        if (strcasecmp(r.name, name) == 0 || strcasecmp(r.extension, name) == 0) return &r;
    return nullptr;
}

}  // namespace om1c
