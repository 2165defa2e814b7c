#include "writers/JsonWriter.h"

#include <vector>

#include "writers/SvgWriter.h"

namespace om1 {

namespace {

const char* roleName(Shape::Role r) {
    return r == Shape::Role::Frame ? "frame" : r == Shape::Role::Hole ? "hole" : "outline";
}

void openNode(std::ostream& out, const Shape& s, int depth, bool transparent) {
    const std::string pad(static_cast<size_t>(depth) * 2, ' ');
    out << pad << "{\"role\": \"" << roleName(s.role) << "\", \"color\": \""
        << SvgWriter::colour(s.color) << '"';
    if (transparent) out << ", \"alpha\": " << static_cast<int>(s.alpha);
    out << ", \"pixels\": " << s.pixels << ", \"boundary\": [";
    for (size_t k = 0; k < s.loops.size(); ++k) {
        out << (k ? ", [" : "[");
        const std::vector<Corner> v = s.loops[k].vertices();
        for (size_t i = 0; i < v.size(); ++i)
            out << (i ? ", [" : "[") << v[i].x << ", " << v[i].y << ']';
        out << ']';
    }
    out << "], \"curves\": [";
    for (size_t k = 0; k < s.curves.size(); ++k) {
        out << (k ? ", [" : "[");
        for (size_t i = 0; i < s.curves[k].size(); ++i)
            out << (i ? ", [" : "[") << SvgWriter::number(s.curves[k][i].x) << ", "
                << SvgWriter::number(s.curves[k][i].y) << ']';
        out << ']';
    }
    out << "], \"holes\": [";
}

}  // namespace

bool JsonWriter::write(std::ostream& out, const ShapeSet& set) {
    const bool cutout = set.options.layout == OutputOptions::Layout::Cutout;
    out << "{\"width\": " << set.width << ", \"height\": " << set.height << ", \"layout\": \""
        << (cutout ? "cutout" : "stacked") << "\", \"geometry\": \""
        << (set.options.polygon ? "polygon" : "curves") << "\", \"tree\": ";
    if (set.shapes.empty()) {
        out << "null}\n";
        out.flush();
        return static_cast<bool>(out);
    }
    out << '\n';
    // Shapes are in drawing order (depth first), so a node's holes follow it
    // directly; a stack of open nodes closes them as the depth falls.
    std::vector<int> open;       // depths of the open nodes
    std::vector<bool> hasChild;  // per open node: a hole was written
    for (size_t i = 0; i < set.shapes.size(); ++i) {
        const Shape& s = set.shapes[i];
        while (!open.empty() && open.back() >= s.depth) {
            const bool had = hasChild.back();
            open.pop_back();
            hasChild.pop_back();
            if (had) out << '\n' << std::string((open.size() + 1) * 2, ' ');
            out << "]}";
        }
        if (!open.empty()) {
            out << (hasChild.back() ? ",\n" : "\n");
            hasChild.back() = true;
        }
        openNode(out, s, static_cast<int>(open.size()) + 1, set.transparent);
        open.push_back(s.depth);
        hasChild.push_back(false);
    }
    while (!open.empty()) {
        const bool had = hasChild.back();
        open.pop_back();
        hasChild.pop_back();
        if (had) out << '\n' << std::string((open.size() + 1) * 2, ' ');
        out << "]}";
    }
    out << "\n}\n";
    out.flush();
    return static_cast<bool>(out);
}

}  // namespace om1
