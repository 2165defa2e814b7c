#include "writers/SvgWriter.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace om1 {

namespace {

void appendInt(std::string& s, long long v) {
    char buf[24];
    const std::to_chars_result r = std::to_chars(buf, buf + sizeof(buf), v);
    s.append(buf, r.ptr);
}

}  // namespace

std::string SvgWriter::number(double v) {
    const double scaled = std::round(v * 100.0);
    if (std::fabs(scaled) < 1e15) {
        // Hundredths as an integer: the digits "%.2f" prints for the rounded
        // value, written without the formatter (it dominated the writer's time).
        long long k = static_cast<long long>(scaled);
        if (k == 0) return "0";  // no "-0"
        char buf[32];
        char* e = buf + sizeof(buf);
        char* p = e;
        const bool negative = k < 0;
        if (negative) k = -k;
        const int frac = static_cast<int>(k % 100);
        k /= 100;
        if (frac != 0) {
            if (frac % 10 != 0) *--p = static_cast<char>('0' + frac % 10);
            *--p = static_cast<char>('0' + frac / 10);
            *--p = '.';
        }
        do {
            *--p = static_cast<char>('0' + k % 10);
            k /= 10;
        } while (k);
        if (negative) *--p = '-';
        return std::string(p, e);
    }
    char buf[64];
    double r = scaled / 100.0;
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

std::string SvgWriter::opacity(uint8_t alpha) {
    char buf[16];
    snprintf(buf, sizeof(buf), "%.3f", alpha / 255.0);
    std::string s(buf);
    while (s.back() == '0') s.pop_back();
    if (s.back() == '.') s.pop_back();
    return s;
}

void SvgWriter::appendPathData(std::string& out, const Shape& shape) {
    for (size_t k = 0; k < shape.loops.size(); ++k) {
        if (k < shape.curves.size() && shape.curves[k].size() >= 4) {
            // Straight segments (control points at the thirds) as H, V or L.
            const std::vector<PointD>& c = shape.curves[k];
            out += 'M';
            out += number(c[0].x);
            out += ' ';
            out += number(c[0].y);
            char last = 0;
            for (size_t i = 1; i + 2 < c.size(); i += 3) {
                const PointD &a = c[i - 1], &p1 = c[i], &p2 = c[i + 1], &b = c[i + 2];
                const bool straight = std::fabs(p1.x - (2 * a.x + b.x) / 3) < 1e-6 &&
                                      std::fabs(p1.y - (2 * a.y + b.y) / 3) < 1e-6 &&
                                      std::fabs(p2.x - (a.x + 2 * b.x) / 3) < 1e-6 &&
                                      std::fabs(p2.y - (a.y + 2 * b.y) / 3) < 1e-6;
                const bool last3 = i + 3 >= c.size();
                if (straight && last3 && b.x == c[0].x && b.y == c[0].y) break;  // Z closes
                if (straight && number(a.y) == number(b.y)) {
                    out += 'H';
                    out += number(b.x);
                    last = 'H';
                } else if (straight && number(a.x) == number(b.x)) {
                    out += 'V';
                    out += number(b.y);
                    last = 'V';
                } else {
                    const char cmd = straight ? 'L' : 'C';
                    out += last == cmd ? ' ' : cmd;
                    if (!straight)
                        for (double v : {p1.x, p1.y, p2.x, p2.y}) {
                            out += number(v);
                            out += ' ';
                        }
                    out += number(b.x);
                    out += ' ';
                    out += number(b.y);
                    last = cmd;
                }
            }
            out += 'Z';
            continue;
        }
        const std::vector<Corner> v = shape.loops[k].vertices();
        if (v.empty()) continue;
        out += 'M';
        appendInt(out, v[0].x);
        out += ' ';
        appendInt(out, v[0].y);
        for (size_t i = 1; i < v.size(); ++i) {
            if (v[i].x != v[i - 1].x) {
                out += 'H';
                appendInt(out, v[i].x);
            } else {
                out += 'V';
                appendInt(out, v[i].y);
            }
        }
        out += 'Z';
    }
}

void SvgWriter::pathData(std::ostream& out, const Shape& shape) {
    std::string d;
    appendPathData(d, shape);
    out.write(d.data(), static_cast<std::streamsize>(d.size()));
}

bool SvgWriter::write(std::ostream& out, const ShapeSet& set,
                      const std::function<bool(const Shape&)>& skip) {
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << set.width << "\" height=\""
        << set.height << "\" viewBox=\"0 0 " << set.width << ' ' << set.height << "\">\n";
    std::string line;
    for (const Shape& s : set.shapes) {
        if (s.role == Shape::Role::Frame || s.loops.empty() || (skip && skip(s))) continue;
        // One element, one write.
        line.assign("<path fill=\"");
        line += colour(s.color);
        if (s.alpha != 255) {
            line += "\" fill-opacity=\"";
            line += opacity(s.alpha);
        }
        line += "\" fill-rule=\"evenodd\" d=\"";
        appendPathData(line, s);
        line += "\"/>\n";
        out.write(line.data(), static_cast<std::streamsize>(line.size()));
    }
    out << "</svg>\n";
    out.flush();
    return static_cast<bool>(out);
}

}  // namespace om1
