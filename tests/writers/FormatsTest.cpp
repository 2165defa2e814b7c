// The PDF, EPS, DXF and GeoJSON writers: worked examples of each format, and
// every writer read back by a real reader: PDF rendered by pdftoppm and EPS
// by Ghostscript compared with the SVG rendered by rsvg-convert, DXF read by
// ezdxf, GeoJSON validated and its areas compared with the pixel counts.
#include <gtest/gtest.h>
#include <unistd.h>

#ifndef _WIN32
#include <sys/wait.h>
#endif

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "OutputPictures.h"
#include "interface/om1.h"
#include "writers/DxfWriter.h"
#include "writers/EpsWriter.h"
#include "writers/GeoJsonWriter.h"
#include "writers/OutputFormat.h"
#include "writers/PdfWriter.h"
#include "shapes/ShapeBuilder.h"
#include "writers/SvgWriter.h"
#include "stb_image.h"
#include "prepare/Tracer.h"

using om1::OutputFormat;
using om1::OutputOptions;
using om1::Shape;
using om1::ShapeSet;

namespace {

bool written(const Shape& s) {
    return s.role != Shape::Role::Frame && !s.loops.empty();
}

std::string tempDir() {
    static const std::string dir = [] {
        const std::filesystem::path d =
            std::filesystem::temp_directory_path() / ("om1-formats-" + std::to_string(getpid()));
        std::filesystem::create_directory(d);
        return d.string();
    }();
    return dir;
}

std::string writeFile(OutputFormat::Kind kind, const ShapeSet& set, const std::string& name) {
    const std::string path = tempDir() + "/" + name + "." + OutputFormat::extension(kind);
    std::ofstream f(path, std::ios::binary);
    EXPECT_TRUE(OutputFormat::write(f, kind, set)) << path;
    return path;
}

bool have(const std::string& command) {
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

// A Python that has ezdxf (Debian's python3-ezdxf installs for /usr/bin).
std::string python(bool ezdxf) {
    for (const char* py : {"/usr/bin/python3", "python3"})
        if (have(std::string(py) + (ezdxf ? " -c 'import ezdxf'" : " -c 'import json'"))) return py;
    return "";
}

// Runs a command and returns its exit code, its output in `text`.
int run(const std::string& command, std::string& text) {
    text.clear();
#ifdef _WIN32
    (void)command;
    return -1;
#else
    FILE* p = popen((command + " 2>&1").c_str(), "r");
    if (!p) return -1;
    char buf[512];
    while (fgets(buf, sizeof(buf), p)) text += buf;
    const int status = pclose(p);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

// A rendering at `f` device pixels per picture pixel, box-averaged back to
// w x h (RGB as doubles); empty when it is missing or has another size.
std::vector<double> loadRendering(const std::string& png, int w, int h, int f) {
    std::vector<double> out;
    int rw = 0, rh = 0, n = 0;
    unsigned char* data = stbi_load(png.c_str(), &rw, &rh, &n, 3);
    unlink(png.c_str());
    if (!data) return out;
    if (rw == w * f && rh == h * f) {
        out.assign(static_cast<size_t>(w) * h * 3, 0.0);
        for (int y = 0; y < rh; ++y)
            for (int x = 0; x < rw; ++x)
                for (int c = 0; c < 3; ++c)
                    out[(static_cast<size_t>(y / f) * w + x / f) * 3 + c] +=
                        data[(static_cast<size_t>(y) * rw + x) * 3 + c] / double(f * f);
    }
    stbi_image_free(data);
    return out;
}

double psnr(const std::vector<double>& a, const std::vector<double>& b) {
    double se = 0;
    for (size_t i = 0; i < a.size(); ++i) se += (a[i] - b[i]) * (a[i] - b[i]);
    const double mse = se / a.size();
    return mse > 0 ? 10 * std::log10(255.0 * 255.0 / mse) : 99.0;
}

struct Case {
    std::string name;
    ShapeSet set;
};

const OutputOptions::Layout kStacked = OutputOptions::Layout::Stacked;
const OutputOptions::Layout kCutout = OutputOptions::Layout::Cutout;
const int kScale = 8;

// The hard-edged corpus at twice its size, traced exactly, and the bundled
// example with the tool's defaults; each stacked and cut out, as polygons
// and as curves.
const std::vector<Case>& cases() {
    static const std::vector<Case> all = [] {
        std::vector<Case> out;
        std::vector<std::pair<Picture, int>> pictures;
        for (Picture& p : hardEdgedPictures(2)) pictures.push_back({p, 0});
        const Picture example = bundledExample();
        if (example.w > 0) pictures.push_back({example, 10});
        for (const auto& [p, tolerance] : pictures)
            for (auto layout : {kStacked, kCutout})
                for (bool polygon : {true, false}) {
                    Case c;
                    c.name = p.name + (layout == kCutout ? "-cutout" : "-stacked") +
                             (polygon ? "-polygon" : "-curves");
                    if (shapesOf(p, tolerance, tolerance ? 4 : 0, layout, polygon, c.set))
                        out.push_back(std::move(c));
                }
        return out;
    }();
    return all;
}

// What the slow readers (the renderers, ezdxf) read: the bundled example,
// the checkerboard (all edges) and the regions on every border, in every mode.
bool sampled(const Case& c) {
    for (const char* name : {"shapes-", "checker-", "borders-"})
        if (c.name.rfind(name, 0) == 0) return true;
    return false;
}

}  // namespace

TEST(OutputFormat, NamesAndExtensions) {
    struct Row {
        const char* path;
        bool known;
        OutputFormat::Kind kind;
    };
    const Row rows[] = {{"a.svg", true, OutputFormat::Kind::Svg},
                        {"dir.v2/a.JSON", true, OutputFormat::Kind::Json},
                        {"a.pdf", true, OutputFormat::Kind::Pdf},
                        {"a.eps", true, OutputFormat::Kind::Eps},
                        {"a.ps", true, OutputFormat::Kind::Eps},
                        {"a.Dxf", true, OutputFormat::Kind::Dxf},
                        {"a.geojson", true, OutputFormat::Kind::GeoJson},
                        {"a.png", false, OutputFormat::Kind::Svg},
                        {"dir.pdf/a", false, OutputFormat::Kind::Svg},
                        {"noextension", false, OutputFormat::Kind::Svg}};
    for (const Row& r : rows) {
        OutputFormat::Kind k = OutputFormat::Kind::Svg;
        EXPECT_EQ(OutputFormat::fromPath(r.path, k), r.known) << r.path;
        EXPECT_EQ(k, r.kind) << r.path;
    }
    OutputFormat::Kind k = OutputFormat::Kind::Svg;
    EXPECT_TRUE(OutputFormat::fromName("GeoJSON", k));
    EXPECT_EQ(k, OutputFormat::Kind::GeoJson);
    EXPECT_FALSE(OutputFormat::fromName("ps2", k));
    EXPECT_EQ(OutputFormat::names(), "svg, json, pdf, eps, dxf, geojson");
}

// The PDF of the nested example: exact colours, the flip, one even-odd path
// per region, and a cross-reference table whose offsets land on the objects.
TEST(PdfWriter, ColoursPathsAndOffsets) {
    EXPECT_EQ(om1::PdfWriter::unit(0), "0");
    EXPECT_EQ(om1::PdfWriter::unit(255), "1");
    EXPECT_EQ(om1::PdfWriter::unit(208), "0.8157");
    for (int v = 0; v < 256; ++v)
        EXPECT_EQ(std::lround(std::stod(om1::PdfWriter::unit(static_cast<unsigned char>(v))) * 255),
                  v);
    ShapeSet set;
    ASSERT_TRUE(shapesOf(nestPicture(), 0, 0, kCutout, true, set));
    std::ostringstream out;
    ASSERT_TRUE(om1::PdfWriter::write(out, set));
    const std::string pdf = out.str();
    EXPECT_NE(pdf.find("/MediaBox [0 0 20 16]"), std::string::npos);
    EXPECT_NE(pdf.find("stream\n1 0 0 -1 0 16 cm\n"), std::string::npos);
    EXPECT_NE(pdf.find("0.1255 0.251 0.7529 rg\n2 2 m\n14 2 l\n14 12 l\n2 12 l\nh\n"
                       "5 8 m\n8 8 l\n8 5 l\n5 5 l\nh\nf*\n"),
              std::string::npos)
        << pdf;
    size_t fills = 0;
    for (size_t at = pdf.find("f*\n"); at != std::string::npos; at = pdf.find("f*\n", at + 1))
        ++fills;
    EXPECT_EQ(fills, 3u);

    const size_t sx = pdf.rfind("startxref\n");
    ASSERT_NE(sx, std::string::npos);
    const size_t xref = std::stoul(pdf.substr(sx + 10));
    ASSERT_EQ(pdf.compare(xref, 9, "xref\n0 6\n"), 0);
    for (int obj = 1; obj <= 5; ++obj) {
        const size_t entry = xref + 9 + 20 * obj;
        const size_t offset = std::stoul(pdf.substr(entry, 10));
        const std::string head = std::to_string(obj) + " 0 obj\n";
        EXPECT_EQ(pdf.compare(offset, head.size(), head), 0) << obj;
    }
    const size_t begin = pdf.find("stream\n") + 7, end = pdf.find("endstream");
    EXPECT_NE(pdf.find("5 0 obj\n" + std::to_string(end - begin) + "\nendobj"), std::string::npos);
}

TEST(EpsWriter, BoundingBoxAndFlip) {
    ShapeSet set;
    ASSERT_TRUE(shapesOf(nestPicture(), 0, 0, kStacked, true, set));
    std::ostringstream out;
    ASSERT_TRUE(om1::EpsWriter::write(out, set));
    const std::string eps = out.str();
    EXPECT_EQ(eps.rfind("%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 20 16\n", 0), 0u);
    EXPECT_NE(eps.find("%%LanguageLevel: 2\n"), std::string::npos);
    EXPECT_NE(eps.find("save\n0 16 translate 1 -1 scale\n"), std::string::npos);
    EXPECT_NE(eps.find("0.9412 0.7529 0 rg\nnewpath\n5 5 m\n8 5 l\n8 8 l\n5 8 l\nh\nf\n"),
              std::string::npos)
        << eps;
}

TEST(DxfWriter, LayersColoursAndFlip) {
    EXPECT_EQ(om1::DxfWriter::layerName(RGBQUAD{0x56, 0x34, 0x12, 0}), "123456");
    struct Row {
        unsigned rgb;
        int index;
    };
    for (const Row& r :
         {Row{0xff0000, 1}, Row{0xffff00, 2}, Row{0x0000ff, 5}, Row{0xffffff, 7}, Row{0x808080, 8},
          Row{0x000000, 250}, Row{0xa50000, 12}, Row{0xff3f00, 20}})
        EXPECT_EQ(om1::DxfWriter::colourIndex(RGBQUAD{static_cast<BYTE>(r.rgb),
                                                      static_cast<BYTE>(r.rgb >> 8),
                                                      static_cast<BYTE>(r.rgb >> 16), 0}),
                  r.index)
            << std::hex << r.rgb;
    ShapeSet set;
    ASSERT_TRUE(shapesOf(nestPicture(), 0, 0, kCutout, true, set));
    std::ostringstream out;
    ASSERT_TRUE(om1::DxfWriter::write(out, set));
    const std::string dxf = out.str();
    EXPECT_NE(dxf.find("$ACADVER\n1\nAC1009\n"), std::string::npos);
    EXPECT_NE(dxf.find("0\nLAYER\n2\nF0C000\n70\n0\n62\n"), std::string::npos);
    // The yellow square (5, 5)-(8, 8) with y up: counter-clockwise from (5, 8) to (8, 8).
    EXPECT_NE(dxf.find("8\nF0C000\n66\n1\n10\n0\n20\n0\n30\n0\n70\n1\n"
                       "0\nVERTEX\n8\nF0C000\n10\n5\n20\n8\n30\n0\n"
                       "0\nVERTEX\n8\nF0C000\n10\n8\n20\n8\n30\n0\n"),
              std::string::npos)
        << dxf;
    size_t polylines = 0;
    for (size_t at = dxf.find("\nPOLYLINE\n"); at != std::string::npos;
         at = dxf.find("\nPOLYLINE\n", at + 1))
        ++polylines;
    EXPECT_EQ(polylines, 5u);  // white and its hole, blue and its hole, yellow
}

// A hand-made shape with two outer squares, the second with a hole: a
// MultiPolygon whose hole goes with the second square; closed rings.
TEST(GeoJsonWriter, PolygonsHolesAndRings) {
    auto square = [](int x, int y, int n, bool hole) {
        om1::CrackLoop l;
        l.x = x;
        l.y = hole ? y + n : y;
        const uint8_t order[2][4] = {{0, 1, 2, 3}, {0, 3, 2, 1}};
        for (uint8_t d : order[hole]) l.codes.insert(l.codes.end(), n, d);
        return l;
    };
    ShapeSet set;
    set.width = 20;
    set.height = 10;
    Shape s;
    s.color = RGBQUAD{0x30, 0x20, 0x10, 0};
    s.pixels = 4 + 64 - 4;
    s.loops = {square(10, 1, 8, false), square(13, 4, 2, true), square(1, 1, 2, false)};
    set.shapes.push_back(s);
    std::ostringstream out;
    ASSERT_TRUE(om1::GeoJsonWriter::write(out, set));
    EXPECT_EQ(out.str(),
              "{\"type\": \"FeatureCollection\", \"bbox\": [0, 0, 20, 10], \"features\": [\n"
              "{\"type\": \"Feature\", \"properties\": {\"color\": \"#102030\", \"role\": "
              "\"outline\", \"pixels\": 64, \"depth\": 0}, \"geometry\": {\"type\": "
              "\"MultiPolygon\", \"coordinates\": [[[[10, 1], [18, 1], [18, 9], [10, 9], [10, "
              "1]], [[13, 6], [15, 6], [15, 4], [13, 4], [13, 6]]], [[[1, 1], [3, 1], [3, 3], [1, "
              "3], [1, 1]]]]}}\n]}\n");
    set.shapes[0].loops.pop_back();
    std::ostringstream one;
    ASSERT_TRUE(om1::GeoJsonWriter::write(one, set));
    EXPECT_NE(one.str().find("\"type\": \"Polygon\", \"coordinates\": [[[10, 1], "),
              std::string::npos);
}

// The readers are Linux programs (poppler-utils, Ghostscript, librsvg, Python
// with ezdxf); the Windows build checks the writers' own worked examples.
class Readers : public ::testing::Test {
protected:
    void SetUp() override {
#ifdef _WIN32
        GTEST_SKIP() << "the readers (pdftoppm, gs, rsvg-convert, ezdxf) are Linux programs";
#endif
    }
};

// PDF through pdftoppm and EPS through Ghostscript against the SVG through
// rsvg-convert (curves, and the bundled example as polygons too), each
// rendered at `kScale` device pixels per picture pixel (twice that for the
// small pictures) and box-averaged back to the picture's size. pdftoppm's
// anti-aliasing leaves about an eighth of a device pixel of what lies below
// along the top edge of every filled path, even on a pixel boundary (on the
// bundled example and the checkerboard, Ghostscript and pdftocairo render
// the same PDF as the SVG, pixel for pixel); rendering finer makes that
// sliver a smaller part of a picture pixel. The bundled example measures
// 38.6 dB at one device pixel per pixel and 50.9 dB at four; the
// checkerboard, all edges, 37.9 dB at eight and 43.9 dB at sixteen.
TEST_F(Readers, PdfAndEpsRenderAsTheSvg) {
    const bool pdf = have("pdftoppm -v"), eps = have("gs --version");
    if (!haveRenderer() || (!pdf && !eps))
        GTEST_SKIP() << "rsvg-convert, pdftoppm (poppler-utils) or gs (ghostscript) is missing";
    for (const Case& c : cases()) {
        // Exact polygons are pixel-aligned everywhere; one picture of them is enough.
        if (!sampled(c) || (c.set.options.polygon && c.name != "shapes-cutout-polygon")) continue;
        const int w = c.set.width, h = c.set.height;
        const int k = w * h <= 20000 ? 2 * kScale : kScale;
        const std::string base = tempDir() + "/" + c.name;
        const std::string svg = writeFile(OutputFormat::Kind::Svg, c.set, c.name);
        std::system(("rsvg-convert -w " + std::to_string(w * k) + " -h " + std::to_string(h * k) +
                     " -b white '" + svg + "' -o '" + base + "-svg.png'")
                        .c_str());
        unlink(svg.c_str());
        const std::vector<double> ref = loadRendering(base + "-svg.png", w, h, k);
        ASSERT_FALSE(ref.empty()) << c.name;
        if (pdf) {
            const std::string file = writeFile(OutputFormat::Kind::Pdf, c.set, c.name);
            std::system(("pdftoppm -r " + std::to_string(72 * k) + " -png -singlefile '" + file +
                         "' '" + base + "-pdf'")
                            .c_str());
            unlink(file.c_str());
            const std::vector<double> back = loadRendering(base + "-pdf.png", w, h, k);
            ASSERT_FALSE(back.empty()) << c.name;
            EXPECT_GE(psnr(ref, back), 43.0) << c.name;  // measured 43.9 (the checkerboard) and up
        }
        if (eps) {
            const std::string file = writeFile(OutputFormat::Kind::Eps, c.set, c.name);
            std::system(("gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=png16m -dEPSCrop "
                         "-dGraphicsAlphaBits=4 -r" +
                         std::to_string(72 * k) + " -sOutputFile='" + base + "-eps.png' '" + file +
                         "'")
                            .c_str());
            unlink(file.c_str());
            const std::vector<double> back = loadRendering(base + "-eps.png", w, h, k);
            ASSERT_FALSE(back.empty()) << c.name;
            EXPECT_GE(psnr(ref, back), 70.0)
                << c.name;  // measured 70.8 (the example's cutout) and up
        }
    }
}

// DXF through ezdxf: one closed polyline per loop, on the layer of its
// colour, every colour a layer, and the signed areas adding up to the
// pixels the shapes cover.
TEST_F(Readers, DxfReadBackWithEzdxf) {
    const std::string py = python(true);
    if (py.empty()) GTEST_SKIP() << "ezdxf (python3-ezdxf) is missing";
    std::string args;
    std::vector<std::string> files;
    for (const Case& c : cases()) {
        if (!sampled(c)) continue;
        size_t loops = 0;
        long long pixels = 0;
        std::set<std::string> layers;
        for (const Shape& s : c.set.shapes)
            if (written(s)) {
                loops += s.loops.size();
                pixels += s.pixels;
                layers.insert(om1::DxfWriter::layerName(s.color));
            }
        std::string list;
        for (const std::string& l : layers) list += (list.empty() ? "" : ",") + l;
        files.push_back(writeFile(OutputFormat::Kind::Dxf, c.set, c.name));
        args += " '" + files.back() + "' " + std::to_string(loops) + " '" + list + "' " +
                std::to_string(pixels);
    }
    std::string text;
    const int rc = run(py + " " OM1_SOURCE_DIR "/tests/writers/check_dxf.py" + args, text);
    EXPECT_EQ(rc, 0) << text;
    for (const std::string& f : files) unlink(f.c_str());
}

// GeoJSON: closed rings wound as RFC 7946 asks, holes inside their outer
// ring, and every feature's area its pixel count (exactly for polygons; for
// curves within half a pixel per unit of boundary, as far as they move the
// edges between the pixel corners where the picture's anti-aliasing puts
// them; stacked, a region drawn before its neighbour also reaches up to 1.5
// px under it).
TEST_F(Readers, GeoJsonValidAndAreasMatch) {
    const std::string py = python(false);
    if (py.empty()) GTEST_SKIP() << "python3 is missing";
    std::string args;
    std::vector<std::string> files;
    for (const Case& c : cases()) {
        files.push_back(writeFile(OutputFormat::Kind::GeoJson, c.set, c.name));
        const bool stacked = c.set.options.layout == OutputOptions::Layout::Stacked;
        args += " '" + files.back() + "' " + (c.set.options.polygon ? "0" : stacked ? "2" : "0.5");
    }
    std::string text;
    const int rc = run(py + " " OM1_SOURCE_DIR "/tests/writers/check_geojson.py" + args, text);
    EXPECT_EQ(rc, 0) << text;
    for (const std::string& f : files) unlink(f.c_str());
}
