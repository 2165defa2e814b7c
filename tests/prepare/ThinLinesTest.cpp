// ThinLines: an anti-aliased thin line on one colour becomes one 4-connected
// region of its colour; what is not such a line is left as it is.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <set>
#include <vector>

#include "prepare/RegionLabels.h"
#include "prepare/ThinLines.h"

using om1::ThinLines;

namespace {

RGBQUAD rgb(unsigned c) {
    return {static_cast<BYTE>(c & 255), static_cast<BYTE>((c >> 8) & 255),
            static_cast<BYTE>(c >> 16), 0};
}

unsigned packed(const RGBQUAD& q) {
    return static_cast<unsigned>(q.rgbRed) << 16 | q.rgbGreen << 8 | q.rgbBlue;
}

// A picture of `back` with `ink` mixed in by each pixel's share of the
// area where `inside` holds (8 x 8 samples a pixel); `shares` gets them.
std::vector<RGBQUAD> mixed(int w, int h, unsigned back, unsigned ink,
                           const std::function<bool(double, double)>& inside,
                           std::vector<double>* shares = nullptr) {
    std::vector<RGBQUAD> px(static_cast<size_t>(w) * h);
    if (shares) shares->assign(px.size(), 0);
    const RGBQUAD b = rgb(back), k = rgb(ink);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            int hits = 0;
            for (int j = 0; j < 8; ++j)
                for (int i = 0; i < 8; ++i) hits += inside(x + (i + 0.5) / 8, y + (j + 0.5) / 8);
            const double s = hits / 64.0;
            auto mix = [&](BYTE a, BYTE c) {
                return static_cast<BYTE>(std::lround(a + s * (c - a)));
            };
            RGBQUAD& q = px[static_cast<size_t>(y) * w + x];
            q = {mix(b.rgbBlue, k.rgbBlue), mix(b.rgbGreen, k.rgbGreen), mix(b.rgbRed, k.rgbRed),
                 0};
            if (shares) (*shares)[static_cast<size_t>(y) * w + x] = s;
        }
    return px;
}

const unsigned kWhite = 0xffffff, kNavy = 0x203080, kRed = 0xd02020, kGreen = 0x20a040,
               kYellow = 0xf0d040;

// A line `width` pixels wide from (2, 5) rising 0.2 a pixel.
bool onLine(double x, double y, double width) {
    const double d = std::fabs((y - 5 - 0.2 * (x - 2)) / std::sqrt(1.04));
    return x >= 2 && x <= 46 && d <= width / 2;
}

}  // namespace

// Lines 0.9 to 2 pixels wide, on white and across the edge between white
// and yellow: every pixel ends as one of the two backgrounds or the line's
// colour (its darkest pixel) but for a few holding little of the line, the pixels holding at least
// half of the line take the line's, and the line is one 4-connected region.
TEST(ThinLines, AntialiasedLinesBecomeOneRegion) {
    struct Case {
        double width;
        unsigned right;  // the background right of x = 24
    };
    for (const Case& c : {Case{0.9, kWhite}, Case{1.2, kWhite}, Case{1.6, kWhite},
                          Case{2.0, kWhite}, Case{1.2, kYellow}, Case{1.6, kYellow}}) {
        SCOPED_TRACE(c.width);
        const int w = 48, h = 20;
        std::vector<double> share;
        std::vector<RGBQUAD> px = mixed(
            w, h, kWhite, kNavy, [&](double x, double y) { return onLine(x, y, c.width); }, &share);
        const std::vector<RGBQUAD> right =
            mixed(w, h, c.right, kNavy, [&](double x, double y) { return onLine(x, y, c.width); });
        for (int y = 0; y < h; ++y)
            for (int x = 24; x < w; ++x) px[y * w + x] = right[y * w + x];
        // The line's colour: its pixel farthest from the backgrounds.
        unsigned ink = kWhite;
        double most = 0;
        for (size_t i = 0; i < px.size(); ++i)
            if (share[i] > most) most = share[i], ink = packed(px[i]);
        EXPECT_GT(ThinLines::restore(px.data(), w, h, 3, 40), 0);
        size_t inked = 0;
        for (size_t i = 0; i < px.size(); ++i) {
            const unsigned p = packed(px[i]);
            // (a pixel holding little of the line beside the edge between
            // the backgrounds reads as their mix, and stays)
            ASSERT_TRUE(p == kWhite || p == c.right || p == ink || share[i] < 0.25) << i;
            if (share[i] >= 0.5 * most) {
                EXPECT_EQ(p, ink) << i;
            }
            inked += p == ink;
        }
        std::vector<int32_t> labels;
        om1::labelRegions(px.data(), nullptr, w, h, labels);
        std::set<int32_t> lines;
        for (size_t i = 0; i < px.size(); ++i)
            if (packed(px[i]) == ink) lines.insert(labels[i]);
        EXPECT_EQ(lines.size(), 1u);
        EXPECT_GT(inked, 44u);
    }
}

// Left alone: the band along an edge between two flat colours (the
// anti-alias cleanup's), a picture without flat pixels, a spot of two
// colours, and a line too near its background's colour.
TEST(ThinLines, LeavesWhatIsNoThinLine) {
    const int w = 32, h = 16;
    struct Case {
        const char* name;
        std::vector<RGBQUAD> px;
    };
    std::vector<RGBQUAD> noise(static_cast<size_t>(w) * h);
    for (size_t i = 0; i < noise.size(); ++i)
        noise[i] = rgb(static_cast<unsigned>((i * 2654435761u) >> 8) & 0xffffff);
    std::vector<RGBQUAD> spot = mixed(
        w, h, kWhite, kRed, [](double x, double y) { return std::hypot(x - 10, y - 8) < 1.2; });
    for (int x = 11; x < 14; ++x) spot[8 * w + x] = rgb(kGreen);
    const std::vector<Case> cases = {
        {"edge", mixed(w, h, kRed, kNavy, [](double x, double y) { return y > 4 + 0.2 * x; })},
        {"noise", noise},
        {"two colours", spot},
        {"faint",
         mixed(w, h, kWhite, 0xe8e8f0, [](double x, double y) { return onLine(x, y, 1.2); })},
    };
    for (const Case& c : cases) {
        std::vector<RGBQUAD> px = c.px;
        EXPECT_EQ(ThinLines::restore(px.data(), w, h, 3, 40), 0) << c.name;
        for (size_t i = 0; i < px.size(); ++i)
            ASSERT_EQ(packed(px[i]), packed(c.px[i])) << c.name << " " << i;
    }
}

// From 128 x 128 pixels on the search runs by bands of rows: lines of several
// widths and slopes, on white and across an edge to yellow, crossing every
// band's first and last rows (and a radius past them), end the same for any
// number of threads, and with the count of pixels changed.
TEST(ThinLines, SameForAnyNumberOfBands) {
    const int w = 160, h = 150;
    std::vector<RGBQUAD> px = mixed(w, h, kWhite, kNavy, [](double x, double y) {
        for (int k = 0; k < 6; ++k) {
            const double slope = 0.3 + 0.7 * k, width = 0.8 + 0.25 * k;
            const double d = std::fabs(y - 4 - slope * (x - 10 - 24 * k)) / std::hypot(1, slope);
            if (d <= width / 2 && y < h - 4) return true;
        }
        return false;
    });
    for (int y = 0; y < h; ++y)
        for (int x = w - 40; x < w; ++x)
            if (packed(px[y * w + x]) == kWhite) px[y * w + x] = rgb(kYellow);
    std::vector<RGBQUAD> one = px;
    const long long changed = ThinLines::restore(one.data(), w, h, 3, 40, 1);
    EXPECT_GT(changed, 30);
    for (int threads : {2, 3, 7}) {
        std::vector<RGBQUAD> banded = px;
        EXPECT_EQ(ThinLines::restore(banded.data(), w, h, 3, 40, threads), changed) << threads;
        for (size_t i = 0; i < px.size(); ++i)
            ASSERT_EQ(packed(banded[i]), packed(one[i])) << threads << " " << i;
    }
}
