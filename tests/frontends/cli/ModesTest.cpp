// The output modes of om1trace: --polygon and --cutout, their defaults, and
// the worked shapes rendered back through the tool in every mode.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "decode/TestPictures.h"
#include "frontends/cli/CommandLine.h"
#include "decode/ImageLoader.h"
#include "frontends/cli/TraceJob.h"

namespace {

// A scratch folder of this process, created when missing.
std::string dir() {
    const std::string d =
        (std::filesystem::temp_directory_path() / ("om1-modes-" + std::to_string(getpid())))
            .string();
    std::filesystem::create_directories(d);
    return d;
}

bool parse(std::vector<std::string> args, CommandLine& cl) {
    std::vector<char*> argv;
    static char name[] = "om1trace";
    argv.push_back(name);
    for (std::string& a : args) argv.push_back(&a[0]);
    std::string error;
    return cl.parse(static_cast<int>(argv.size()), argv.data(), error);
}

// Traces p with the given flags and renders the SVG back at its size on
// magenta; the pixels of the rendering, top-down.
RasterImage traceAndRender(const TestPicture& p, const std::vector<std::string>& flags,
                           const std::string& name) {
    const std::string png = dir() + "/" + name + ".png", svg = dir() + "/" + name + ".svg",
                      back = dir() + "/" + name + "-back.png";
    EXPECT_TRUE(p.png(png));
    CommandLine cl;
    std::vector<std::string> args = flags;
    args.push_back(png);
    EXPECT_TRUE(parse(args, cl));
    TraceJob::Stats st;
    std::string msg;
    EXPECT_EQ(TraceJob::run(cl, png, svg, st, msg), 0) << msg;
    std::ifstream f(svg);
    const std::string text((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text.find("stroke"), std::string::npos);
    const std::string cmd = "rsvg-convert -w " + std::to_string(p.w) + " -h " +
                            std::to_string(p.h) + " -b '#ff00ff' " + svg + " -o " + back;
    EXPECT_EQ(std::system(cmd.c_str()), 0);
    RasterImage img;
    std::string e;
    EXPECT_TRUE(ImageLoader::load(back, 100000000, {}, img, e)) << e;
    return img;
}

const std::vector<std::vector<std::string>> kModes = {
    {}, {"--polygon"}, {"--cutout"}, {"--polygon", "--cutout"}};

std::string modeName(const std::vector<std::string>& m) {
    std::string s;
    for (const std::string& f : m) s += f + " ";
    return s.empty() ? "default" : s;
}

}  // namespace

TEST(Modes, PolygonDefaultsToExactColoursAndEveryRegion) {
    CommandLine cl;
    ASSERT_TRUE(parse({"--polygon", "a.png"}, cl));
    EXPECT_TRUE(cl.options.polygon);
    EXPECT_EQ(cl.options.tolerance, 0);
    EXPECT_EQ(cl.options.min_length, 0);
    CommandLine given;
    ASSERT_TRUE(parse({"--tolerance", "7", "--polygon", "--min-length", "9", "a.png"}, given));
    EXPECT_EQ(given.options.tolerance, 7);
    EXPECT_EQ(given.options.min_length, 9);
    CommandLine plain;
    ASSERT_TRUE(parse({"--cutout", "a.png"}, plain));
    EXPECT_TRUE(plain.options.cutout);
    const CommandLine defaults;  // cutout implies nothing else
    EXPECT_EQ(plain.options.tolerance, defaults.options.tolerance);
    EXPECT_EQ(plain.options.min_length, 4);
}

// The red block of the report comes back covering exactly [2, 12) x [3, 10)
// and a one-pixel line one pixel wide, in every mode.
TEST(Modes, WorkedShapesRenderBackExactly) {
    if (std::system("command -v rsvg-convert >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "rsvg-convert is not installed";
    TestPicture block(40, 30, 255, 255, 255);
    block.fill(2, 3, 10, 7, 255, 0, 0);
    TestPicture line(40, 30, 255, 255, 255);
    line.fill(5, 12, 30, 1, 20, 20, 200);
    line.fill(20, 2, 1, 8, 20, 150, 20);
    for (const auto& mode : kModes) {
        RasterImage a = traceAndRender(block, mode, "block");
        ASSERT_EQ(a.pixels.size(), 1200u);
        int wrong = 0;
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 40; ++x) {
                const RGBQUAD& q = a.pixels[y * 40 + x];
                const bool red = x >= 2 && x < 12 && y >= 3 && y < 10;
                wrong += q.rgbRed != 255 || q.rgbGreen != (red ? 0 : 255) ||
                         q.rgbBlue != (red ? 0 : 255);
            }
        EXPECT_EQ(wrong, 0) << "block, " << modeName(mode);
        RasterImage b = traceAndRender(line, mode, "line");
        ASSERT_EQ(b.pixels.size(), 1200u);
        wrong = 0;
        for (int i = 0; i < 1200; ++i) {
            const unsigned char* o = &line.rgba[static_cast<size_t>(i) * 4];
            const RGBQUAD& q = b.pixels[i];
            wrong += q.rgbRed != o[0] || q.rgbGreen != o[1] || q.rgbBlue != o[2];
        }
        EXPECT_EQ(wrong, 0) << "lines, " << modeName(mode);
    }
    std::filesystem::remove_all(dir());
}

TEST(Modes, JsonCarriesExactBoundaries) {
    TestPicture block(40, 30, 255, 255, 255);
    block.fill(2, 3, 10, 7, 255, 0, 0);
    const std::string png = dir() + "/j.png", json = dir() + "/j.json";
    ASSERT_TRUE(block.png(png));
    CommandLine cl;
    ASSERT_TRUE(parse({"--cutout", "--polygon", png}, cl));
    TraceJob::Stats st;
    std::string msg;
    ASSERT_EQ(TraceJob::run(cl, png, json, st, msg), 0) << msg;
    std::ifstream f(json);
    const std::string text((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text.rfind("{\"width\": 40, \"height\": 30, \"layout\": \"cutout\"", 0), 0u);
    EXPECT_NE(text.find("\"boundary\": [[[0, 0], [40, 0], [40, 30], [0, 30]], [[2, 10], [12, 10], "
                        "[12, 3], [2, 3]]]"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("{\"role\": \"hole\", \"color\": \"#ff0000\", \"pixels\": 70, "
                        "\"boundary\": [[[2, 3], [12, 3], [12, 10], [2, 10]]]"),
              std::string::npos)
        << text;
    EXPECT_EQ(st.paths, 2);
    f.close();  // Windows removes no open file
    std::filesystem::remove_all(dir());
}
