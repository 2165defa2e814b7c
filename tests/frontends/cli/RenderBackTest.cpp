// Traces synthetic flat-colour pictures, renders the SVG back with a real SVG
// renderer at the input size and compares it with the input.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "decode/TestPictures.h"
#include "frontends/cli/CommandLine.h"
#include "decode/ImageLoader.h"
#include "frontends/cli/TraceJob.h"

namespace {

struct Compare {
    double badShare;  // pixels whose largest channel difference exceeds 32
    double psnr;
};

bool haveRenderer() {
    return std::system("command -v rsvg-convert >/dev/null 2>&1") == 0;
}

Compare traceAndCompare(const TestPicture& p, const std::string& name) {
    std::string dir =
        (std::filesystem::temp_directory_path() / ("om1-renderback-" + std::to_string(getpid())))
            .string();
    std::filesystem::create_directories(dir);
    std::string png = dir + "/" + name + ".png", svg = dir + "/" + name + ".svg",
                back = dir + "/" + name + "-back.png";
    EXPECT_TRUE(p.png(png));
    CommandLine cl;
    TraceJob::Stats st;
    std::string msg;
    EXPECT_EQ(TraceJob::run(cl, png, svg, st, msg), 0) << msg;
    std::string cmd = "rsvg-convert -w " + std::to_string(p.w) + " -h " + std::to_string(p.h) +
                      " -b white " + svg + " -o " + back;
    EXPECT_EQ(std::system(cmd.c_str()), 0);
    RasterImage a, b;
    std::string e;
    EXPECT_TRUE(ImageLoader::load(png, 100000000, {}, a, e)) << e;
    EXPECT_TRUE(ImageLoader::load(back, 100000000, {}, b, e)) << e;
    Compare c = {1.0, 0.0};
    if (a.pixels.size() != b.pixels.size() || a.pixels.empty()) return c;
    double se = 0;
    size_t bad = 0;
    for (size_t i = 0; i < a.pixels.size(); ++i) {
        int d[3] = {a.pixels[i].rgbRed - b.pixels[i].rgbRed,
                    a.pixels[i].rgbGreen - b.pixels[i].rgbGreen,
                    a.pixels[i].rgbBlue - b.pixels[i].rgbBlue};
        int m = 0;
        for (int k : d) {
            se += k * k;
            m = std::max(m, std::abs(k));
        }
        if (m > 32) ++bad;
    }
    double mse = se / (3.0 * a.pixels.size());
    c.badShare = static_cast<double>(bad) / a.pixels.size();
    c.psnr = mse > 0 ? 10 * std::log10(255.0 * 255.0 / mse) : 99.0;
    printf("%-14s bad %.4f  PSNR %.1f dB\n", name.c_str(), c.badShare, c.psnr);
    std::filesystem::remove_all(dir);
    return c;
}

}  // namespace

class RenderBack : public ::testing::Test {
protected:
    void SetUp() override {
        if (!haveRenderer()) GTEST_SKIP() << "rsvg-convert is not installed";
    }
};

// Flat-colour shapes, one-pixel lines and shapes on the border come back
// exactly with the default preset; a gradient within its measured bound.
TEST_F(RenderBack, FlatShapesExactlyAndAGradientClosely) {
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
    TestPicture border(90, 70, 250, 250, 250);
    border.fill(0, 0, 30, 20, 180, 40, 40);
    border.fill(60, 50, 30, 20, 40, 40, 180);
    border.fill(0, 60, 90, 10, 40, 140, 40);
    TestPicture gradient(120, 60, 0, 0, 0);
    for (int x = 0; x < 120; ++x)
        gradient.fill(x, 0, 1, 60, static_cast<unsigned>(x * 2), 100, 255 - x * 2);
    struct Case {
        const TestPicture& picture;
        const char* name;
        double maxBad, minPsnr;  // 99 dB: identical
    };
    const Case cases[] = {{rings, "rings", 0, 99},
                          {touching, "touching", 0, 99},
                          {lines, "lines", 0, 99},
                          {border, "border", 0, 99},
                          {gradient, "gradient", 0.01, 29.0}};  // measured 0.0000, 31.2 dB
    for (const Case& c : cases) {
        const Compare got = traceAndCompare(c.picture, c.name);
        EXPECT_LE(got.badShare, c.maxBad) << c.name;
        EXPECT_GE(got.psnr, c.minPsnr) << c.name;
    }
}
