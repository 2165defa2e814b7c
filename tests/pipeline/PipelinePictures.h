// RGBA pictures for the pipeline tests, the options of a preset, and what
// the pipeline writes of a picture.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "pipeline/OptionTable.h"
#include "pipeline/Vectorize.h"

struct Rgba {
    int w, h;
    std::vector<uint8_t> px;  // top-down, red, green, blue, alpha
    Rgba(int width, int height, uint8_t fill = 0)
        : w(width), h(height), px(4 * static_cast<size_t>(width) * height, fill) {}
    uint8_t* at(int x, int y) { return &px[4 * (static_cast<size_t>(y) * w + x)]; }
    void set(int x, int y, uint32_t rgb, int a) {
        uint8_t* p = at(x, y);
        p[0] = rgb >> 16 & 0xFF, p[1] = rgb >> 8 & 0xFF, p[2] = rgb & 0xFF, p[3] = a;
    }
    void rect(int x0, int y0, int x1, int y1, uint32_t rgb, int a) {
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x) set(x, y, rgb, a);
    }
    int alpha(int x, int y) const { return px[4 * (static_cast<size_t>(y) * w + x) + 3]; }
    om1::Picture picture() const { return om1::Picture{px.data(), w, h, 0}; }
    // The colours as the stages read them.
    std::vector<RGBQUAD> pixels() const {
        std::vector<RGBQUAD> out(static_cast<size_t>(w) * h);
        for (size_t i = 0; i < out.size(); ++i)
            out[i] = RGBQUAD{px[4 * i + 2], px[4 * i + 1], px[4 * i], 0};
        return out;
    }
};

// A preset's options, with one option set on top when given.
inline om1_options preset(const char* name, const char* extra = nullptr,
                          const char* value = nullptr) {
    om1_options o;
    EXPECT_TRUE(om1::OptionTable::preset(o, name));
    if (extra) {
        std::string e;
        EXPECT_EQ(om1::OptionTable::set(o, *om1::OptionTable::find(extra), value, e), OM1_OK) << e;
    }
    return o;
}

// What `r` writes as `kind`; its status in `code`, else expected to be OK.
inline std::string written(const om1::Result& r,
                           om1::OutputFormat::Kind kind = om1::OutputFormat::Kind::Svg,
                           const om1::Hooks* hooks = nullptr, int* code = nullptr) {
    std::ostringstream out;
    const int status = r.write(out, kind, hooks);
    if (code)
        *code = status;
    else
        EXPECT_EQ(status, OM1_OK);
    return out.str();
}
