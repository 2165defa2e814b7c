#include "writers/EpsWriter.h"

#include "writers/PdfWriter.h"

namespace om1 {

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
        out << PdfWriter::unit(s.color.rgbRed) << ' ' << PdfWriter::unit(s.color.rgbGreen) << ' '
            << PdfWriter::unit(s.color.rgbBlue) << " rg\nnewpath\n";
        PdfWriter::pathOps(out, s);
        out << "f\n";
    }
    out << "restore\nshowpage\n%%Trailer\n%%EOF\n";
    out.flush();
    return static_cast<bool>(out);
}

}  // namespace om1
