#include "output/SvgWriter.h"

#include <cmath>
#include <cstdio>

namespace om1 {

std::string SvgWriter::number(double v) {
    char buf[64];
    double r = std::round(v * 100.0) / 100.0;
    if (r == 0) r = 0;  // no "-0"
    snprintf(buf, sizeof(buf), "%.2f", r);
    std::string s(buf);
    while (!s.empty() && s.back() == '0') s.pop_back();
    if (!s.empty() && s.back() == '.') s.pop_back();
    return s;
}

std::string SvgWriter::colour(const RGBQUAD& c) {
    char buf[8];
    snprintf(buf, sizeof(buf), "#%02x%02x%02x", c.rgbRed, c.rgbGreen, c.rgbBlue);
    return buf;
}

void SvgWriter::pathData(std::ostream& out, const Shape& shape) {
    for (size_t k = 0; k < shape.loops.size(); ++k) {
        if (k < shape.curves.size() && shape.curves[k].size() >= 4) {
            const std::vector<PointD>& c = shape.curves[k];
            out << 'M' << number(c[0].x) << ' ' << number(c[0].y) << 'C';
            for (size_t i = 1; i < c.size(); ++i) {
                if (i > 1) out << ' ';
                out << number(c[i].x) << ' ' << number(c[i].y);
            }
            out << 'Z';
            continue;
        }
        const std::vector<Corner> v = shape.loops[k].vertices();
        if (v.empty()) continue;
        out << 'M' << v[0].x << ' ' << v[0].y;
        for (size_t i = 1; i < v.size(); ++i) {
            if (v[i].x != v[i - 1].x)
                out << 'H' << v[i].x;
            else
                out << 'V' << v[i].y;
        }
        out << 'Z';
    }
}

bool SvgWriter::write(std::ostream& out, const ShapeSet& set,
                      const std::function<bool(const Shape&)>& skip) {
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << set.width << "\" height=\""
        << set.height << "\" viewBox=\"0 0 " << set.width << ' ' << set.height << "\">\n";
    for (const Shape& s : set.shapes) {
        if (s.role == Shape::Role::Frame || s.loops.empty() || (skip && skip(s))) continue;
        out << "<path fill=\"" << colour(s.color) << "\" fill-rule=\"evenodd\" d=\"";
        pathData(out, s);
        out << "\"/>\n";
    }
    out << "</svg>\n";
    out.flush();
    return static_cast<bool>(out);
}

}  // namespace om1
