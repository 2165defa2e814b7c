#include "writers/GeoJsonWriter.h"

#include <vector>

#include "writers/Polylines.h"
#include "writers/SvgWriter.h"

namespace om1 {

namespace {

void ring(std::ostream& out, const std::vector<PointD>& line) {
    out << '[';
    for (size_t i = 0; !line.empty() && i <= line.size(); ++i) {
        const PointD& p = line[i % line.size()];
        out << (i ? ", [" : "[") << SvgWriter::number(p.x) << ", " << SvgWriter::number(p.y) << ']';
    }
    out << ']';
}

}  // namespace

bool GeoJsonWriter::write(std::ostream& out, const ShapeSet& set,
                          const std::function<bool(const Shape&)>& skip) {
    out << "{\"type\": \"FeatureCollection\", \"bbox\": [0, 0, " << set.width << ", " << set.height
        << "], \"features\": [";
    bool first = true;
    std::vector<PointD> line;
    for (const Shape& s : set.shapes) {
        if (s.role == Shape::Role::Frame || s.loops.empty() || (skip && skip(s))) continue;
        const std::vector<int> owner = Polylines::holesOf(s);
        std::vector<size_t> outers;
        for (size_t k = 0; k < s.loops.size(); ++k)
            if (owner[k] < 0 && s.loops[k].area() > 0) outers.push_back(k);
        if (outers.empty()) continue;
        const bool multi = outers.size() > 1;
        out << (first ? "\n" : ",\n") << "{\"type\": \"Feature\", \"properties\": {\"color\": \""
            << SvgWriter::colour(s.color) << "\", \"role\": \""
            << (s.role == Shape::Role::Hole ? "hole" : "outline") << "\", \"pixels\": " << s.pixels
            << ", \"depth\": " << s.depth;
        if (set.transparent) out << ", \"opacity\": " << SvgWriter::opacity(s.alpha);
        out << "}, \"geometry\": {\"type\": \"" << (multi ? "MultiPolygon" : "Polygon")
            << "\", \"coordinates\": [";
        first = false;
        for (size_t o = 0; o < outers.size(); ++o) {
            out << (o ? ", " : "") << (multi ? "[" : "");
            Polylines::loop(s, outers[o], line);
            ring(out, line);
            for (size_t k = 0; k < s.loops.size(); ++k) {
                if (owner[k] != static_cast<int>(outers[o])) continue;
                Polylines::loop(s, k, line);
                if (line.size() < 3) continue;
                out << ", ";
                ring(out, line);
            }
            out << (multi ? "]" : "");
        }
        out << "]}}";
    }
    out << "\n]}\n";
    out.flush();
    return static_cast<bool>(out);
}

}  // namespace om1
