// One picture on several threads: the stages run by bands of rows and the
// output is byte for byte that of one thread, with and without transparency,
// large or small.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "PipelinePictures.h"
#include "prepare/Bands.h"

namespace {

// Just above the size where bands start: soft-edged discs over cells of
// noisy colours (tens of thousands of regions after the colour stages);
// with `alpha`, the cells fade out to the right and one disc is half
// transparent.
Rgba makePicture(int w, int h, bool alpha) {
    Rgba rgba(w, h);
    uint32_t seed = 12345;
    auto noise = [&seed]() {
        seed = seed * 1103515245u + 12345u;
        return static_cast<int>(seed >> 16 & 31);
    };
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t* p = rgba.at(x, y);
            const int cx = x / 24, cy = y / 24;
            int r = (cx * 53 + cy * 31) % 256, g = (cx * 17 + cy * 97) % 256, b = (cx * cy) % 256;
            r = std::min(255, r + noise());
            int a = alpha ? std::max(0, 255 - x * 255 / w) : 255;
            for (int d = 0; d < 3; ++d) {
                const double dx = x - w * (d + 1) / 4.0, dy = y - h / 2.0;
                const double edge = std::sqrt(dx * dx + dy * dy) - h / 6.0;
                const double cover = std::min(1.0, std::max(0.0, 0.5 - edge / 2));
                if (cover <= 0) continue;
                r = static_cast<int>(r * (1 - cover) + 40 * d * cover);
                g = static_cast<int>(g * (1 - cover) + 200 * cover);
                b = static_cast<int>(b * (1 - cover) + 90 * cover);
                if (alpha) a = d == 1 ? 128 : static_cast<int>(a * (1 - cover) + 255 * cover);
            }
            p[0] = static_cast<uint8_t>(r);
            p[1] = static_cast<uint8_t>(g);
            p[2] = static_cast<uint8_t>(b);
            p[3] = static_cast<uint8_t>(a);
        }
    return rgba;
}

const int kWidth = 1100, kHeight = 1000;  // above Bands::kMinPixels

std::string svgWith(const Rgba& rgba, const char* name, int threads, int& status) {
    om1_options o = preset(name);
    o.threads = threads;
    o.max_outlines = 2000000000;
    const om1::Result r = om1::vectorize(rgba.picture(), &o);
    status = r.status();
    return status == OM1_OK ? written(r, om1::OutputFormat::Kind::Svg, nullptr, &status) : "";
}

}  // namespace

TEST(Threads, BandsGiveTheOutputOfOneThread) {
    static_assert(static_cast<long long>(kWidth) * kHeight >= om1::Bands::kMinPixels, "bands");
    struct Case {
        const char* preset;
        bool alpha;
        int threads;
        int w, h;
    };
    // Two and three bands (rows not divisible), opaque and transparent; a
    // large picture (every stage by bands), a middling one (the colour
    // painting and rounds, the speckle filter, the merging's passes, the
    // anti-alias cleanup and the fits by bands) and an icon's size (the anti-alias cleanup and the
    // fits by bands, on the threads kept from the larger ones' runs).
    const Case cases[] = {
        {"graphic", false, 2, kWidth, kHeight}, {"graphic", false, 3, kWidth, kHeight},
        {"photo", true, 2, kWidth, kHeight},    {"graphic", false, 2, 331, 251},
        {"photo", true, 3, 331, 251},           {"graphic", false, 2, 161, 131},
        {"graphic", false, 3, 161, 131},        {"photo", true, 2, 161, 131}};
    std::map<std::pair<int, bool>, std::string> one;
    for (const Case& c : cases) {
        const Rgba rgba = makePicture(c.w, c.h, c.alpha);
        int status = 0;
        std::string& reference = one[{c.w, c.alpha}];
        if (reference.empty()) {
            reference = svgWith(rgba, c.preset, 1, status);
            ASSERT_EQ(status, OM1_OK);
            ASSERT_GT(reference.size(), 1000u);
        }
        const std::string banded = svgWith(rgba, c.preset, c.threads, status);
        ASSERT_EQ(status, OM1_OK);
        EXPECT_TRUE(banded == reference) << c.preset << " threads " << c.threads << " " << c.w;
    }
}
