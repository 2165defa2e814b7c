#include "writers/EpsWriter.h"

#include "writers/PdfWriter.h"

namespace om1 {

RGBQUAD EpsWriter::flattened(const Shape& shape, int background) {
    if (shape.alpha == 255) return shape.color;
    const unsigned a = shape.alpha;
    auto over = [a](unsigned c, unsigned b) {
        return static_cast<BYTE>((c * a + b * (255 - a) + 127) / 255);
    };
    RGBQUAD c = shape.color;
    c.rgbRed = over(c.rgbRed, (background >> 16) & 0xFF);
    c.rgbGreen = over(c.rgbGreen, (background >> 8) & 0xFF);
    c.rgbBlue = over(c.rgbBlue, background & 0xFF);
    return c;
}

bool EpsWriter::write(std::ostream& out, const ShapeSet& set,
                      const std::function<bool(const Shape&)>& skip) {
    out << "%!PS-Adobe-3.0 EPSF-3.0\n"
        << "%%BoundingBox: 0 0 " << set.width << ' ' << set.height << '\n'
        << "%%HiResBoundingBox: 0 0 " << set.width << ' ' << set.height << '\n'
        << "%%Creator: om1trace\n%%LanguageLevel: 2\n%%Pages: 1\n%%EndComments\n"
        << "%%BeginProlog\n"
        << "/m {moveto} bind def /l {lineto} bind def /c {curveto} bind def\n"
        << "/h {closepath} bind def /rg {setrgbcolor} bind def /f {eofill} bind def\n"
        << "%%EndProlog\n%%Page: 1 1\n"
        << "save\n0 " << set.height << " translate 1 -1 scale\n";
    for (const Shape& s : set.shapes) {
        if (s.role == Shape::Role::Frame || s.loops.empty() || (skip && skip(s))) continue;
        const RGBQUAD c = flattened(s, set.options.background);
        out << PdfWriter::unit(c.rgbRed) << ' ' << PdfWriter::unit(c.rgbGreen) << ' '
            << PdfWriter::unit(c.rgbBlue) << " rg\nnewpath\n";
        PdfWriter::pathOps(out, s);
        out << "f\n";
    }
    out << "restore\nshowpage\n%%Trailer\n%%EOF\n";
    out.flush();
    return static_cast<bool>(out);
}

}  // namespace om1
