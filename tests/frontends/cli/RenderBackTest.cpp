// Synthetic pictures traced through the tool's job (flags parsed as on its
// command line), the SVG rendered back with a real SVG renderer at the input
// size and compared with the input, in every output mode.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "ToolProcess.h"
#include "decode/ImageLoader.h"
#include "frontends/cli/TraceJob.h"

namespace {

struct Compare {
    double badShare;  // pixels whose largest channel difference exceeds 32
    double psnr;      // 99 dB: identical
};

// Traces p with the flags, renders the SVG back at its size on magenta (a
// gap shows) and compares the rendering with p.
Compare traceAndCompare(const TestPicture& p, std::vector<std::string> flags,
                        const std::string& name) {
    TempDir d;
    const std::string png = d.file("in.png"), svg = d.file("out.svg"), back = d.file("back.png");
    EXPECT_TRUE(p.png(png));
    flags.push_back(png);
    CommandLine cl;
    std::string msg;
    EXPECT_TRUE(parseArgs(flags, cl, msg)) << msg;
    TraceJob::Stats st;
    EXPECT_EQ(TraceJob::run(cl, png, svg, st, msg), 0) << msg;
    EXPECT_EQ(readText(svg).find("stroke"), std::string::npos) << name;
    EXPECT_EQ(runShell("rsvg-convert -w " + std::to_string(p.w) + " -h " + std::to_string(p.h) +
                       " -b '#ff00ff' " + svg + " -o " + back),
              0);
    RasterImage b;
    EXPECT_TRUE(ImageLoader::load(back, 100000000, {}, b, msg)) << msg;
    Compare c = {1.0, 0.0};
    if (b.pixels.size() != static_cast<size_t>(p.w) * p.h) return c;
    double se = 0;
    size_t bad = 0;
    for (size_t i = 0; i < b.pixels.size(); ++i) {
        const unsigned char* o = &p.rgba[i * 4];
        const int diff[3] = {o[0] - b.pixels[i].rgbRed, o[1] - b.pixels[i].rgbGreen,
                             o[2] - b.pixels[i].rgbBlue};
        int m = 0;
        for (int k : diff) {
            se += k * k;
            m = std::max(m, std::abs(k));
        }
        bad += m > 32;
    }
    const double mse = se / (3.0 * b.pixels.size());
    c.badShare = static_cast<double>(bad) / b.pixels.size();
    c.psnr = mse > 0 ? 10 * std::log10(255.0 * 255.0 / mse) : 99.0;
    return c;
}

}  // namespace

// One-pixel lines, nested rings and touching shapes come back exactly in
// every mode (default preset, --polygon, --cutout, both); a gradient within
// its measured bound. (The red block of the report and shapes on the border:
// ShapeBuilder.RedBlockIsExactInEveryMode, RenderBack.HardEdgesComeBackExactly.)
TEST(RenderBack, FlatShapesExactlyInEveryModeAndAGradientClosely) {
    if (runShell("command -v rsvg-convert >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "rsvg-convert is not installed";
    TestPicture rings(120, 100, 255, 255, 255);
    for (int r = 45; r > 0; r -= 9) {
        unsigned c = static_cast<unsigned>(r * 5);
        for (int y = 0; y < 100; ++y)
            for (int x = 0; x < 120; ++x)
                if ((x - 60) * (x - 60) + (y - 50) * (y - 50) < r * r)
                    rings.fill(x, y, 1, 1, c, 255 - c, 100);
    }
    TestPicture touching(100, 80, 240, 240, 240);
    touching.fill(10, 10, 30, 30, 200, 30, 30);
    touching.fill(40, 10, 30, 30, 30, 160, 30);
    touching.fill(25, 40, 40, 25, 30, 30, 200);
    TestPicture lines(100, 80, 255, 255, 255);
    for (int x = 10; x < 90; x += 10) lines.fill(x, 10, 2, 60, 20, 20, 20);
    lines.fill(5, 40, 90, 1, 20, 20, 20);
    lines.fill(50, 2, 1, 6, 20, 150, 20);
    for (const auto& mode : std::vector<std::vector<std::string>>{
             {"--preset", "graphic"}, {"--polygon"}, {"--cutout"}, {"--polygon", "--cutout"}})
        for (const auto& [picture, name] :
             {std::pair<const TestPicture&, const char*>{rings, "rings"},
              {touching, "touching"},
              {lines, "lines"}}) {
            const Compare got = traceAndCompare(picture, mode, name);
            EXPECT_EQ(got.badShare, 0) << name << " " << mode[0];
            EXPECT_EQ(got.psnr, 99.0) << name << " " << mode[0];
        }
    TestPicture gradient(120, 60, 0, 0, 0);
    for (int x = 0; x < 120; ++x)
        gradient.fill(x, 0, 1, 60, static_cast<unsigned>(x * 2), 100, 255 - x * 2);
    const Compare got = traceAndCompare(gradient, {"--preset", "graphic"}, "gradient");
    EXPECT_EQ(got.badShare, 0);  // measured 0.0000, 31.2 dB
    EXPECT_GE(got.psnr, 30.5);
}
