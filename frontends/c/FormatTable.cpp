#include "frontends/c/FormatTable.h"

#include <string>

namespace om1c {

namespace {

using F = om1::OutputFormat::Kind;
const F kRows[] = {F::Svg, F::Json, F::Pdf, F::Eps, F::Dxf, F::GeoJson};
const int kRowCount = static_cast<int>(sizeof(kRows) / sizeof(kRows[0]));

}  // namespace

bool FormatTable::at(int index, om1::OutputFormat::Kind& kind) {
    if (index < 0 || index >= kRowCount) return false;
    kind = kRows[index];
    return true;
}

bool FormatTable::find(const char* name, om1::OutputFormat::Kind& kind) {
    const std::string n = name[0] == '.' ? name + 1 : name;
    return om1::OutputFormat::fromName(n, kind) || om1::OutputFormat::fromPath("." + n, kind);
}

}  // namespace om1c
