// The output modes of om1trace, --polygon and --cutout: the worked shapes
// rendered back through the tool (default preset) in every mode.
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
