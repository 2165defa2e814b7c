#include "writers/SvgWriter.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace om1 {

namespace {

// The most characters an int takes ("-2147483648").
const size_t kIntChars = 11;

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
    static const char kHex[] = "0123456789abcdef";
    const char out[7] = {'#',
                         kHex[c.rgbRed >> 4],
                         kHex[c.rgbRed & 15],
                         kHex[c.rgbGreen >> 4],
                         kHex[c.rgbGreen & 15],
                         kHex[c.rgbBlue >> 4],
                         kHex[c.rgbBlue & 15]};
    return std::string(out, sizeof(out));
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
        // The corner polygon (CrackLoop::vertices) read off the steps, with
        // no list of corners: a vertex wherever the direction changes, after
        // a horizontal run an H, after a vertical one a V.
        const CrackLoop& loop = shape.loops[k];
        const size_t n = loop.codes.size();
        const size_t vertices = loop.vertexCount();
        if (vertices == 0) continue;
        // Written straight into the string: at most "M" and two numbers for
        // the first vertex, a letter and a number for each other, and "Z".
        const size_t at = out.size();
        out.resize(at + 2 * kIntChars + 2 + (vertices - 1) * (kIntChars + 1) + 1);
        char* p = &out[at];
        char* const end = &out[0] + out.size();
        int x = loop.x, y = loop.y;
        bool first = true;
        for (size_t i = 0; i < n; ++i) {
            const uint8_t c = loop.codes[i];
            if (c != loop.codes[i == 0 ? n - 1 : i - 1]) {
                if (first) {
                    *p++ = 'M';
                    p = std::to_chars(p, end, x).ptr;
                    *p++ = ' ';
                    p = std::to_chars(p, end, y).ptr;
                    first = false;
                } else if (loop.codes[i - 1] & 1) {
                    // The run since the last vertex was vertical.
                    *p++ = 'V';
                    p = std::to_chars(p, end, y).ptr;
                } else {
                    *p++ = 'H';
                    p = std::to_chars(p, end, x).ptr;
                }
            }
            x += c == 0 ? 1 : c == 2 ? -1 : 0;
            y += c == 1 ? 1 : c == 3 ? -1 : 0;
        }
        *p++ = 'Z';
        out.resize(static_cast<size_t>(p - out.data()));
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
