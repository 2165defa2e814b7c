// Writing a result of many regions: the file reaches its stream in large
// blocks, whole and the same with and without a progress watched; a stream
// that fails part way gives OM1_WRITE_FAILED, however much was accepted.
#include <gtest/gtest.h>

#include <cstdint>
#include <sstream>
#include <streambuf>
#include <string>

#include "PipelinePictures.h"

namespace {

// Accepts `limit` bytes and fails after them; counts the writes it took.
class LimitedBuffer : public std::streambuf {
public:
    explicit LimitedBuffer(size_t limit) : limit_(limit) {}
    std::string text;
    int writes = 0;

protected:
    std::streamsize xsputn(const char* s, std::streamsize n) override {
        ++writes;
        const size_t room = limit_ - text.size();
        const size_t put = std::min(room, static_cast<size_t>(n));
        text.append(s, put);
        return static_cast<std::streamsize>(put);
    }
    int_type overflow(int_type c) override {
        if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
        const char ch = traits_type::to_char_type(c);
        return xsputn(&ch, 1) == 1 ? c : traits_type::eof();
    }

private:
    size_t limit_;
};

// 300 x 300 pixels of scattered colours: about 50 000 exact regions, an SVG
// of several megabytes in the pixel preset.
om1::Result noiseResult() {
    static Rgba rgba(300, 300, 255);
    uint32_t s = 12345;
    for (size_t i = 0; i < rgba.px.size(); ++i) {
        s = s * 1103515245u + 12345u;
        if (i % 4 != 3) rgba.px[i] = static_cast<uint8_t>((s >> 16) & 0xC0);
    }
    om1_options o = preset("pixel");
    o.max_colors = 0;
    o.max_outlines = 2000000000;
    return om1::vectorize(rgba.picture(), &o, nullptr);
}

TEST(ResultWrite, ManyRegionsInLargeBlocksTheSameWithAProgress) {
    const om1::Result r = noiseResult();
    ASSERT_EQ(r.status(), OM1_OK);
    LimitedBuffer all(size_t(1) << 40);
    std::ostream out(&all);
    ASSERT_EQ(r.write(out, om1::OutputFormat::Kind::Svg), OM1_OK);
    ASSERT_GT(all.text.size(), size_t(3) << 20);
    // Blocks of 1 MB: a handful of writes, not one per shape or per 8 KB.
    EXPECT_LE(all.writes, static_cast<int>(all.text.size() >> 20) + 2);
    EXPECT_EQ(all.text.compare(all.text.size() - 7, 7, "</svg>\n"), 0);

    om1::Hooks hooks;
    hooks.progress = [](double) { return true; };
    EXPECT_TRUE(written(r, om1::OutputFormat::Kind::Svg, &hooks) == all.text);
}

TEST(ResultWrite, AStreamThatFailsPartWayIsAFailedWrite) {
    const om1::Result r = noiseResult();
    ASSERT_EQ(r.status(), OM1_OK);
    for (size_t limit :
         {size_t(0), size_t(100), (size_t(1) << 20) - 1, size_t(1) << 20, (size_t(1) << 21) + 5}) {
        for (om1::OutputFormat::Kind kind :
             {om1::OutputFormat::Kind::Svg, om1::OutputFormat::Kind::Json}) {
            LimitedBuffer some(limit);
            std::ostream out(&some);
            EXPECT_EQ(r.write(out, kind), OM1_WRITE_FAILED) << limit;
            EXPECT_EQ(some.text.size(), limit);
        }
    }
}

}  // namespace
