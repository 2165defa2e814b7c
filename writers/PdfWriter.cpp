#include "writers/PdfWriter.h"

#include <cmath>
#include <cstdio>
#include <vector>

#include "writers/ByteCounter.h"
#include "writers/SvgWriter.h"

namespace om1 {

namespace {

bool straightSegment(const PointD& a, const PointD& p1, const PointD& p2, const PointD& b) {
    return std::fabs(p1.x - (2 * a.x + b.x) / 3) < 1e-6 &&
           std::fabs(p1.y - (2 * a.y + b.y) / 3) < 1e-6 &&
           std::fabs(p2.x - (a.x + 2 * b.x) / 3) < 1e-6 &&
           std::fabs(p2.y - (a.y + 2 * b.y) / 3) < 1e-6;
}

}  // namespace

std::string PdfWriter::unit(unsigned char channel) {
    char buf[16];
    snprintf(buf, sizeof(buf), "%.4f", channel / 255.0);
    std::string s(buf);
    while (s.back() == '0') s.pop_back();
    if (s.back() == '.') s.pop_back();
    return s;
}

void PdfWriter::pathOps(std::ostream& out, const Shape& shape) {
    auto pt = [&](const PointD& p) {
        out << SvgWriter::number(p.x) << ' ' << SvgWriter::number(p.y);
    };
    for (size_t k = 0; k < shape.loops.size(); ++k) {
        if (k < shape.curves.size() && shape.curves[k].size() >= 4) {
            const std::vector<PointD>& c = shape.curves[k];
            pt(c[0]);
            out << " m\n";
            for (size_t i = 1; i + 2 < c.size(); i += 3) {
                if (straightSegment(c[i - 1], c[i], c[i + 1], c[i + 2])) {
                    if (i + 3 >= c.size()) break;  // h closes
                    pt(c[i + 2]);
                    out << " l\n";
                } else {
                    pt(c[i]);
                    out << ' ';
                    pt(c[i + 1]);
                    out << ' ';
                    pt(c[i + 2]);
                    out << " c\n";
                }
            }
            out << "h\n";
            continue;
        }
        const std::vector<Corner> v = shape.loops[k].vertices();
        if (v.empty()) continue;
        out << v[0].x << ' ' << v[0].y << " m\n";
        for (size_t i = 1; i < v.size(); ++i) out << v[i].x << ' ' << v[i].y << " l\n";
        out << "h\n";
    }
}

bool PdfWriter::write(std::ostream& target, const ShapeSet& set,
                      const std::function<bool(const Shape&)>& skip) {
    ByteCounter counter(target.rdbuf());
    std::ostream out(&counter);
    std::vector<long long> offsets;  // of objects 1..5
    auto object = [&]() {
        offsets.push_back(counter.count());
        out << offsets.size() << " 0 obj\n";
    };
    out << "%PDF-1.4\n%\xe2\xe3\xcf\xd3\n";
    object();
    out << "<< /Type /Catalog /Pages 2 0 R >>\nendobj\n";
    object();
    out << "<< /Type /Pages /Kids [3 0 R] /Count 1 >>\nendobj\n";
    object();
    // Shapes of partial opacity: one graphics state per alpha (/ca).
    bool alphas[256] = {};
    bool anyAlpha = false;
    for (const Shape& s : set.shapes) {
        if (s.role == Shape::Role::Frame || s.loops.empty() || s.alpha == 255 || (skip && skip(s)))
            continue;
        alphas[s.alpha] = anyAlpha = true;
    }
    out << "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " << set.width << ' ' << set.height
        << "] /Resources << ";
    if (anyAlpha) {
        alphas[255] = true;
        out << "/ExtGState << ";
        for (int a = 0; a < 256; ++a)
            if (alphas[a])
                out << "/a" << a << " << /ca " << unit(static_cast<unsigned char>(a)) << " >> ";
        out << ">> ";
    }
    out << ">> /Contents 4 0 R >>\nendobj\n";
    object();
    out << "<< /Length 5 0 R >>\nstream\n";
    const long long start = counter.count();
    out << "1 0 0 -1 0 " << set.height << " cm\n";
    uint8_t current = 255;
    for (const Shape& s : set.shapes) {
        if (s.role == Shape::Role::Frame || s.loops.empty() || (skip && skip(s))) continue;
        if (s.alpha != current) {
            current = s.alpha;
            out << "/a" << static_cast<int>(current) << " gs\n";
        }
        out << unit(s.color.rgbRed) << ' ' << unit(s.color.rgbGreen) << ' ' << unit(s.color.rgbBlue)
            << " rg\n";
        pathOps(out, s);
        out << "f*\n";
    }
    const long long length = counter.count() - start;
    out << "endstream\nendobj\n";
    object();
    out << length << "\nendobj\n";
    const long long xref = counter.count();
    out << "xref\n0 " << offsets.size() + 1 << "\n0000000000 65535 f \n";
    char entry[32];
    for (long long o : offsets) {
        snprintf(entry, sizeof(entry), "%010lld 00000 n \n", o);
        out << entry;
    }
    out << "trailer\n<< /Size " << offsets.size() + 1 << " /Root 1 0 R >>\nstartxref\n"
        << xref << "\n%%EOF\n";
    out.flush();
    return static_cast<bool>(out) && static_cast<bool>(target);
}

}  // namespace om1
