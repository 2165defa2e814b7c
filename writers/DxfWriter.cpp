#include "writers/DxfWriter.h"

#include <cmath>
#include <cstdio>
#include <set>
#include <vector>

#include "writers/EpsWriter.h"
#include "writers/Polylines.h"
#include "writers/SvgWriter.h"

namespace om1 {

namespace {

struct Rgb {
    int r, g, b;
};

// The standard palette: 1..9 fixed, 10..249 24 hues of 15 degrees with five
// values at full and half saturation, 250..255 greys.
Rgb paletteColour(int i) {
    static const Rgb kFixed[10] = {{0, 0, 0},       {255, 0, 0},    {255, 255, 0}, {0, 255, 0},
                                   {0, 255, 255},   {0, 0, 255},    {255, 0, 255}, {255, 255, 255},
                                   {128, 128, 128}, {192, 192, 192}};
    static const Rgb kGreys[6] = {{0, 0, 0},       {101, 101, 101}, {102, 102, 102},
                                  {153, 153, 153}, {204, 204, 204}, {255, 255, 255}};
    if (i < 10) return kFixed[i];
    if (i >= 250) return kGreys[i - 250];
    static const int kValue[10] = {255, 255, 165, 165, 127, 127, 76, 76, 38, 38};
    const int j = (i - 10) % 10;
    const double v = kValue[j], s = j % 2 ? 0.5 : 1.0, hue = ((i - 10) / 10) * 15.0;
    const double c = v * s, x = c * (1 - std::fabs(std::fmod(hue / 60, 2) - 1)), m = v - c;
    double r = 0, g = 0, b = 0;
    switch (static_cast<int>(hue / 60)) {
        case 0:
            r = c, g = x;
            break;
        case 1:
            r = x, g = c;
            break;
        case 2:
            g = c, b = x;
            break;
        case 3:
            g = x, b = c;
            break;
        case 4:
            r = x, b = c;
            break;
        default:
            r = c, b = x;
            break;
    }
    return {static_cast<int>(r + m + 1e-9), static_cast<int>(g + m + 1e-9),
            static_cast<int>(b + m + 1e-9)};
}

void group(std::ostream& out, int code, const std::string& value) {
    out << code << '\n' << value << '\n';
}

}  // namespace

std::string DxfWriter::layerName(const RGBQUAD& c) {
    char buf[8];
    snprintf(buf, sizeof(buf), "%02X%02X%02X", c.rgbRed, c.rgbGreen, c.rgbBlue);
    return buf;
}

int DxfWriter::colourIndex(const RGBQUAD& c) {
    int best = 1;
    long best2 = -1;
    for (int i = 1; i < 256; ++i) {
        const Rgb p = paletteColour(i);
        const long dr = p.r - c.rgbRed, dg = p.g - c.rgbGreen, db = p.b - c.rgbBlue;
        const long d2 = dr * dr + dg * dg + db * db;
        if (best2 < 0 || d2 < best2) {
            best = i;
            best2 = d2;
        }
    }
    return best;
}

bool DxfWriter::write(std::ostream& out, const ShapeSet& set,
                      const std::function<bool(const Shape&)>& skip) {
    std::vector<const Shape*> shapes;
    std::set<unsigned> colours;
    for (const Shape& s : set.shapes) {
        if (s.role == Shape::Role::Frame || s.loops.empty() || (skip && skip(s))) continue;
        shapes.push_back(&s);
        const RGBQUAD c = EpsWriter::flattened(s, set.options.background);
        colours.insert(c.rgbRed << 16 | c.rgbGreen << 8 | c.rgbBlue);
    }
    group(out, 999, "om1trace");
    group(out, 0, "SECTION");
    group(out, 2, "HEADER");
    group(out, 9, "$ACADVER");
    group(out, 1, "AC1009");
    group(out, 9, "$EXTMIN");
    group(out, 10, "0");
    group(out, 20, "0");
    group(out, 9, "$EXTMAX");
    group(out, 10, std::to_string(set.width));
    group(out, 20, std::to_string(set.height));
    group(out, 0, "ENDSEC");
    group(out, 0, "SECTION");
    group(out, 2, "TABLES");
    group(out, 0, "TABLE");
    group(out, 2, "LTYPE");
    group(out, 70, "1");
    group(out, 0, "LTYPE");
    group(out, 2, "CONTINUOUS");
    group(out, 70, "0");
    group(out, 3, "Solid line");
    group(out, 72, "65");
    group(out, 73, "0");
    group(out, 40, "0.0");
    group(out, 0, "ENDTAB");
    group(out, 0, "TABLE");
    group(out, 2, "LAYER");
    group(out, 70, std::to_string(colours.size()));
    for (unsigned v : colours) {
        const RGBQUAD c{static_cast<BYTE>(v), static_cast<BYTE>(v >> 8), static_cast<BYTE>(v >> 16),
                        0};
        group(out, 0, "LAYER");
        group(out, 2, layerName(c));
        group(out, 70, "0");
        group(out, 62, std::to_string(colourIndex(c)));
        group(out, 6, "CONTINUOUS");
    }
    group(out, 0, "ENDTAB");
    group(out, 0, "ENDSEC");
    group(out, 0, "SECTION");
    group(out, 2, "ENTITIES");
    std::vector<PointD> line;
    for (const Shape* s : shapes) {
        const std::string layer = layerName(EpsWriter::flattened(*s, set.options.background));
        for (size_t k = 0; k < s->loops.size(); ++k) {
            Polylines::loop(*s, k, line);
            if (line.size() < 3) continue;
            group(out, 0, "POLYLINE");
            group(out, 8, layer);
            group(out, 66, "1");
            group(out, 10, "0");
            group(out, 20, "0");
            group(out, 30, "0");
            group(out, 70, "1");
            std::string last;
            // Mirrored in y, so walked backwards to keep outer loops
            // counter-clockwise.
            for (size_t i = line.size(); i-- > 0;) {
                const PointD& p = line[i];
                const std::string x = SvgWriter::number(p.x);
                const std::string y = SvgWriter::number(set.height - p.y);
                if (x + ' ' + y == last) continue;  // rounded onto the previous vertex
                last = x + ' ' + y;
                group(out, 0, "VERTEX");
                group(out, 8, layer);
                group(out, 10, x);
                group(out, 20, y);
                group(out, 30, "0");
            }
            group(out, 0, "SEQEND");
            group(out, 8, layer);
        }
    }
    group(out, 0, "ENDSEC");
    group(out, 0, "EOF");
    out.flush();
    return static_cast<bool>(out);
}

}  // namespace om1
