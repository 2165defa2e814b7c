#include "OutputPictures.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "interface/om1.h"
#include "shapes/LabelRaster.h"
#include "shapes/ShapeBuilder.h"
#include "stb_image.h"
#include "prepare/Tracer.h"

bool traceShapes(const Picture& p, const om1::TraceOptions& t, const om1::OutputOptions& o,
                 om1::ShapeSet& set, bool judge, std::vector<RGBQUAD>* prepared) {
    KvCtree* tree = nullptr;
    om1::TraceReport report;
    if (om1::Tracer::trace(p.px.data(), p.w, p.h, t, tree, &report) != om1::Tracer::Done)
        return false;
    const std::vector<RGBQUAD> seen = report.prepared.empty() ? p.px : report.prepared;
    if (prepared) *prepared = seen;
    const RGBQUAD* picture = judge ? p.px.data() : nullptr;
    if (!tree) {  // the exact regions
        om1::RegionTree& r = report.regions;
        om1::LabelRaster lr;
        return lr.assign(r.width, r.height, std::move(r.labels), r.parents, r.colors,
                         r.rootFrame) &&
               om1::ShapeBuilder::build(lr, false, o, set, picture);
    }
    const bool ok = om1::ShapeBuilder::build(tree, seen.data(), p.w, p.h, o, set, picture);
    om1_delKvCTree(tree);
    return ok;
}

bool shapesOf(const Picture& p, int tolerance, int minLen, om1::OutputOptions::Layout layout,
              bool polygon, om1::ShapeSet& set, double curveLimit) {
    om1::TraceOptions t;
    t.tolerancePercent = tolerance;
    t.minOutlineLen = minLen;
    om1::OutputOptions o;
    o.layout = layout;
    o.polygon = polygon;
    o.reconcileTolerance = static_cast<int>(tolerance * 2.55);
    o.maxCurveAreaError = curveLimit;
    return traceShapes(p, t, o, set);
}

namespace {
const unsigned kColours[6] = {0xffffff, 0xd02020, 0x2040c0, 0x20a040, 0xf0c000, 0x101010};
}

std::vector<Picture> regionPictures() {
    const unsigned ink[4] = {0xffffff, 0x000000, 0xd02030, 0x2050c0};
    std::vector<Picture> out;
    unsigned seed = 2024;
    auto next = [&seed]() { return seed = seed * 1664525u + 1013904223u; };
    for (int colours : {2, 3}) {  // noise: single pixels, many of them alone
        Picture p("noise" + std::to_string(colours), 40, 30);
        for (int y = 0; y < p.h; ++y)
            for (int x = 0; x < p.w; ++x) p.set(x, y, ink[(next() >> 24) % colours]);
        out.push_back(p);
    }
    {  // mosaic: overlapping rectangles
        Picture p("mosaic", 48, 40);
        p.fill(0, 0, 48, 40, ink[0]);
        for (int k = 0; k < 40; ++k) {
            const int x = (next() >> 20) % 44, y = (next() >> 20) % 36;
            p.fill(x, y, 1 + (next() >> 24) % (48 - x), 1 + (next() >> 24) % (40 - y),
                   ink[1 + k % 3]);
        }
        out.push_back(p);
    }
    {  // islands: squares on a ground, one with a ring and an island in it
        Picture p("islands", 40, 30);
        p.fill(0, 0, 40, 30, ink[0]);
        p.fill(4, 4, 5, 5, ink[2]);
        p.fill(20, 4, 6, 5, ink[1]);
        p.fill(4, 15, 6, 7, ink[3]);
        p.fill(22, 14, 12, 12, ink[1]);
        p.fill(25, 17, 6, 6, ink[3]);
        p.fill(27, 19, 2, 2, ink[2]);
        out.push_back(p);
    }
    {  // nested rings, one of them broken open, with an island of the outer colour
        Picture p("rings", 41, 41);
        for (int r = 20; r >= 0; r -= 2)
            p.fill(20 - r, 20 - r, 2 * r + 1, 2 * r + 1, ink[r / 2 % 3]);
        p.fill(20, 4, 1, 3, ink[2]);
        p.set(20, 20, ink[3]);
        out.push_back(p);
    }
    {  // one-pixel lines: a grid, a staircase, a spiral arm
        Picture p("lines", 36, 30);
        p.fill(0, 0, 36, 30, ink[0]);
        for (int x = 2; x < 36; x += 5) p.fill(x, 2, 1, 12, ink[1]);
        for (int y = 3; y < 14; y += 4) p.fill(1, y, 34, 1, ink[1]);
        for (int k = 0; k < 12; ++k) p.fill(2 + k, 16 + k, 2, 1, ink[2]);
        p.fill(20, 17, 14, 1, ink[3]);
        p.fill(33, 17, 1, 11, ink[3]);
        p.fill(22, 27, 12, 1, ink[3]);
        p.fill(22, 19, 1, 9, ink[3]);
        p.fill(22, 19, 9, 1, ink[3]);
        p.fill(30, 19, 1, 6, ink[3]);
        out.push_back(p);
    }
    {  // corner-to-corner touches: checkerboards, diagonal squares, a ring
       // closed only at a corner, a ring whose corner opens to the outside
        Picture p("corners", 40, 32);
        p.fill(0, 0, 40, 32, ink[0]);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                if ((x + y) % 2) p.set(x, y, ink[1]);
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                if ((x / 2 + y / 2) % 2) p.set(10 + x, y, ink[2]);
        p.fill(20, 2, 3, 3, ink[1]);
        p.fill(23, 5, 3, 3, ink[1]);
        p.fill(2, 12, 8, 8, ink[3]);  // ring closed at a corner: the U of
        p.fill(3, 13, 6, 6, ink[0]);  // ink 3 meets itself diagonally
        p.fill(8, 18, 2, 2, ink[0]);
        p.set(8, 18, ink[3]);
        p.fill(14, 12, 7, 7, ink[2]);  // corner cut to the outside
        p.fill(15, 13, 5, 5, ink[0]);
        p.set(14, 12, ink[0]);
        p.fill(24, 12, 10, 10, ink[3]);  // holes that touch each other diagonally
        p.fill(26, 14, 3, 3, ink[1]);
        p.fill(29, 17, 3, 3, ink[2]);
        out.push_back(p);
    }
    for (Picture& p : out) p.fill(0, 0, 3, 3, ink[0]);
    return out;
}

Picture antialiased(const std::string& name, int w, int h,
                    const std::function<unsigned(double, double)>& shape) {
    Picture p(name, w, h);
    const int k = 16;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            double r = 0, g = 0, b = 0;
            for (int j = 0; j < k; ++j)
                for (int i = 0; i < k; ++i) {
                    const unsigned c = shape(x + (i + 0.5) / k, y + (j + 0.5) / k);
                    r += c >> 16;
                    g += (c >> 8) & 255;
                    b += c & 255;
                }
            const double n = k * k;
            p.set(x, y,
                  static_cast<unsigned>(std::lround(r / n)) << 16 |
                      static_cast<unsigned>(std::lround(g / n)) << 8 |
                      static_cast<unsigned>(std::lround(b / n)));
        }
    return p;
}

Picture nestPicture() {
    Picture p("nest", 20, 16);
    p.fill(0, 0, 20, 16, 0xffffff);
    p.fill(2, 2, 12, 10, 0x2040c0);
    p.fill(5, 5, 3, 3, 0xf0c000);
    return p;
}

Picture bundledExample() {
    int w = 0, h = 0, n = 0;
    unsigned char* data = stbi_load(OM1_SOURCE_DIR "/examples/shapes.png", &w, &h, &n, 3);
    Picture p("shapes", data ? w : 0, data ? h : 0);
    for (int i = 0; data && i < w * h; ++i)
        p.set(i % w, i / w, data[3 * i] << 16 | data[3 * i + 1] << 8 | data[3 * i + 2]);
    stbi_image_free(data);
    return p;
}

std::vector<Picture> hardEdgedPictures(int k) {
    std::vector<Picture> out;
    std::mt19937 rng(7);
    auto n = [&](int m) { return static_cast<int>(rng() % static_cast<unsigned>(m)); };
    {
        Picture p("rectangles", 64 * k, 48 * k);
        p.fill(0, 0, p.w, p.h, kColours[0]);
        for (int i = 0; i < 12; ++i)
            p.fill(n(p.w - 4), n(p.h - 4), 1 + n(20 * k), 1 + n(16 * k), kColours[1 + n(5)]);
        out.push_back(p);
    }
    {
        Picture p("discs", 60 * k, 50 * k);
        p.fill(0, 0, p.w, p.h, kColours[0]);
        for (int i = 0; i < 8; ++i) {
            const int cx = n(p.w), cy = n(p.h), r = 1 + n(14 * k);
            const unsigned c = kColours[1 + n(5)];
            for (int y = 0; y < p.h; ++y)
                for (int x = 0; x < p.w; ++x)
                    if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r) p.set(x, y, c);
        }
        out.push_back(p);
    }
    {
        Picture p("bands", 50 * k, 40 * k);
        for (int y = 0; y < p.h; ++y)
            for (int x = 0; x < p.w; ++x) p.set(x, y, kColours[((x + 2 * y) / (7 * k)) % 4]);
        out.push_back(p);
    }
    {
        Picture p("lines", 48 * k, 40 * k);
        p.fill(0, 0, p.w, p.h, kColours[0]);
        p.fill(3, 5 * k, 40 * k, 1, kColours[1]);
        p.fill(10 * k, 8, 1, 30 * k, kColours[2]);
        p.fill(20 * k, 12 * k, 1, 1, kColours[3]);
        for (int i = 0; i < 20 * k; ++i) p.set(25 * k + i, 15 * k + i, kColours[5]);
        out.push_back(p);
    }
    {
        Picture p("checker", 24 * k, 20 * k);
        p.fill(0, 0, p.w, p.h, kColours[0]);
        for (int y = 4; y < p.h - 4; ++y)
            for (int x = 4; x < p.w - 4; ++x)
                if ((x + y) % 2) p.set(x, y, kColours[1]);
        out.push_back(p);
    }
    {
        Picture p("noise4", 32 * k, 24 * k);
        for (int y = 0; y < p.h; ++y)
            for (int x = 0; x < p.w; ++x) p.set(x, y, kColours[n(4)]);
        p.fill(12, 8, 6, 6, kColours[0]);  // a calm spot for the seed
        out.push_back(p);
    }
    {
        Picture p("borders", 40 * k, 30 * k);
        p.fill(0, 0, p.w, p.h, kColours[0]);
        p.fill(0, 0, p.w, 3 * k, kColours[1]);
        p.fill(0, 0, 2 * k, p.h, kColours[2]);
        p.fill(p.w - 3 * k, 10 * k, 3 * k, 20 * k, kColours[3]);
        p.fill(10 * k, p.h - 1, 20 * k, 1, kColours[4]);
        p.set(p.w - 1, 0, kColours[5]);
        out.push_back(p);
    }
    return out;
}

std::vector<om1::PointD> flattened(const std::vector<om1::PointD>& c, int steps) {
    std::vector<om1::PointD> out;
    if (c.empty()) return out;
    out.push_back(c[0]);
    for (size_t i = 0; i + 3 < c.size(); i += 3)
        for (int k = 1; k <= steps; ++k) {
            const double t = static_cast<double>(k) / steps, u = 1 - t;
            const double b0 = u * u * u, b1 = 3 * u * u * t, b2 = 3 * u * t * t, b3 = t * t * t;
            out.push_back({b0 * c[i].x + b1 * c[i + 1].x + b2 * c[i + 2].x + b3 * c[i + 3].x,
                           b0 * c[i].y + b1 * c[i + 1].y + b2 * c[i + 2].y + b3 * c[i + 3].y});
        }
    return out;
}

bool sameColour(const RGBQUAD& a, const RGBQUAD& b) {
    return a.rgbRed == b.rgbRed && a.rgbGreen == b.rgbGreen && a.rgbBlue == b.rgbBlue;
}

Coverage coverage(const om1::ShapeSet& set, bool curves, const std::vector<RGBQUAD>* picture) {
    std::vector<int> owner;
    const std::vector<int> count = centreCoverage(set, curves, owner);
    Coverage c;
    for (size_t i = 0; i < count.size(); ++i) {
        c.seams += count[i] == 0;
        c.overlaps += count[i] > 1;
        if (picture)
            c.wrong += owner[i] < 0 || !sameColour(set.shapes[owner[i]].color, (*picture)[i]);
    }
    return c;
}

std::vector<int> centreCoverage(const om1::ShapeSet& set, bool curves, std::vector<int>& owner) {
    const int w = set.width, h = set.height;
    std::vector<int> count(static_cast<size_t>(w) * h, 0);
    owner.assign(count.size(), -1);
    std::vector<std::vector<double>> rows(static_cast<size_t>(h));
    std::vector<om1::PointD> poly;
    for (size_t si = 0; si < set.shapes.size(); ++si) {
        const om1::Shape& s = set.shapes[si];
        if (s.role == om1::Shape::Role::Frame) continue;
        for (auto& r : rows) r.clear();
        for (size_t k = 0; k < s.loops.size(); ++k) {
            if (curves && k < s.curves.size()) {
                poly = flattened(s.curves[k]);
            } else {
                poly.clear();
                for (const om1::Corner& c : s.loops[k].vertices())
                    poly.push_back({static_cast<double>(c.x), static_cast<double>(c.y)});
            }
            for (size_t i = 0; i < poly.size(); ++i) {
                const om1::PointD a = poly[i], b = poly[(i + 1) % poly.size()];
                // Rows whose centre line y + 0.5 the edge crosses (half open).
                const double lo = std::min(a.y, b.y), hi = std::max(a.y, b.y);
                for (int y = std::max(0, static_cast<int>(std::ceil(lo - 0.5)));
                     y < h && y + 0.5 < hi; ++y) {
                    const double cy = y + 0.5;
                    if (cy < lo) continue;
                    rows[y].push_back(a.x + (b.x - a.x) * (cy - a.y) / (b.y - a.y));
                }
            }
        }
        for (int y = 0; y < h; ++y) {
            std::vector<double>& xs = rows[y];
            std::sort(xs.begin(), xs.end());
            for (size_t i = 0; i + 1 < xs.size(); i += 2)
                for (int x = std::max(0, static_cast<int>(std::ceil(xs[i] - 0.5)));
                     x < w && x + 0.5 < xs[i + 1]; ++x) {
                    ++count[static_cast<size_t>(y) * w + x];
                    owner[static_cast<size_t>(y) * w + x] = static_cast<int>(si);
                }
        }
    }
    return count;
}

// The renderer is a Linux program: the Windows build skips the render-back
// checks.
bool haveRenderer() {
#ifdef _WIN32
    return false;
#endif
    return std::system("command -v rsvg-convert >/dev/null 2>&1") == 0;
}

std::vector<unsigned> renderSvg(const std::string& svg, int w, int h,
                                const std::string& background) {
    const std::string png = svg + ".png";
    const std::string cmd = "rsvg-convert -w " + std::to_string(w) + " -h " + std::to_string(h) +
                            " -b '" + background + "' '" + svg + "' -o '" + png + "'";
    std::vector<unsigned> out;
    if (std::system(cmd.c_str()) != 0) return out;
    int rw = 0, rh = 0, n = 0;
    unsigned char* data = stbi_load(png.c_str(), &rw, &rh, &n, 3);
    unlink(png.c_str());
    if (!data) return out;
    if (rw == w && rh == h) {
        out.resize(static_cast<size_t>(w) * h);
        for (size_t i = 0; i < out.size(); ++i)
            out[i] = data[3 * i] << 16 | data[3 * i + 1] << 8 | data[3 * i + 2];
    }
    stbi_image_free(data);
    return out;
}
