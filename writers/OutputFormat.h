// OutputFormat: the output formats by name or file extension, and one call
// that writes a ShapeSet in any of them.
//   svg      SvgWriter       .svg
//   json     JsonWriter      .json (the outline tree; `skip` does not apply)
//   pdf      PdfWriter       .pdf
//   eps      EpsWriter       .eps, .ps
//   dxf      DxfWriter       .dxf
//   geojson  GeoJsonWriter   .geojson
#pragma once

#include <functional>
#include <ostream>
#include <string>

#include "shapes/Shape.h"

namespace om1 {

class OutputFormat {
public:
    enum class Kind { Svg, Json, Pdf, Eps, Dxf, GeoJson };

    // By name ("svg", "geojson", ...), case-insensitive. False if unknown.
    static bool fromName(const std::string& name, Kind& kind);
    // By the extension of a path ("out/a.PDF"), case-insensitive. False
    // without a known extension.
    static bool fromPath(const std::string& path, Kind& kind);
    // The formats in order (svg first); false past the end.
    static bool at(int index, Kind& kind);
    static const char* name(Kind kind);
    // The usual extension, without the dot ("pdf").
    static const char* extension(Kind kind);
    // "svg, json, pdf, eps, dxf, geojson".
    static std::string names();
    // False when the stream failed.
    static bool write(std::ostream& out, Kind kind, const ShapeSet& set,
                      const std::function<bool(const Shape&)>& skip = nullptr);
};

}  // namespace om1
