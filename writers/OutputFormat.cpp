#include "writers/OutputFormat.h"

#include <cctype>

#include "writers/DxfWriter.h"
#include "writers/EpsWriter.h"
#include "writers/GeoJsonWriter.h"
#include "writers/JsonWriter.h"
#include "writers/PdfWriter.h"
#include "writers/SvgWriter.h"

namespace om1 {

namespace {

const OutputFormat::Kind kAll[] = {OutputFormat::Kind::Svg, OutputFormat::Kind::Json,
                                   OutputFormat::Kind::Pdf, OutputFormat::Kind::Eps,
                                   OutputFormat::Kind::Dxf, OutputFormat::Kind::GeoJson};

std::string lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

}  // namespace

const char* OutputFormat::name(Kind kind) {
    switch (kind) {
        case Kind::Svg:
            return "svg";
        case Kind::Json:
            return "json";
        case Kind::Pdf:
            return "pdf";
        case Kind::Eps:
            return "eps";
        case Kind::Dxf:
            return "dxf";
        case Kind::GeoJson:
            return "geojson";
    }
    return "svg";
}

const char* OutputFormat::extension(Kind kind) {
    return name(kind);
}

std::string OutputFormat::names() {
    std::string s;
    for (Kind k : kAll) s += std::string(s.empty() ? "" : ", ") + name(k);
    return s;
}

bool OutputFormat::fromName(const std::string& text, Kind& kind) {
    const std::string n = lower(text);
    for (Kind k : kAll)
        if (n == name(k)) {
            kind = k;
            return true;
        }
    return false;
}

bool OutputFormat::at(int index, Kind& kind) {
    if (index < 0 || index >= static_cast<int>(sizeof(kAll) / sizeof(kAll[0]))) return false;
    kind = kAll[index];
    return true;
}

bool OutputFormat::fromPath(const std::string& path, Kind& kind) {
    const size_t dot = path.find_last_of('.');
    const size_t slash = path.find_last_of('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return false;
    const std::string ext = lower(path.substr(dot + 1));
    if (ext == "ps") {
        kind = Kind::Eps;
        return true;
    }
    return fromName(ext, kind);
}

bool OutputFormat::write(std::ostream& out, Kind kind, const ShapeSet& set,
                         const std::function<bool(const Shape&)>& skip) {
    switch (kind) {
        case Kind::Svg:
            return SvgWriter::write(out, set, skip);
        case Kind::Json:
            return JsonWriter::write(out, set);
        case Kind::Pdf:
            return PdfWriter::write(out, set, skip);
        case Kind::Eps:
            return EpsWriter::write(out, set, skip);
        case Kind::Dxf:
            return DxfWriter::write(out, set, skip);
        case Kind::GeoJson:
            return GeoJsonWriter::write(out, set, skip);
    }
    return false;
}

}  // namespace om1
