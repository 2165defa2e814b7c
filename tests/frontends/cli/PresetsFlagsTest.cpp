// --preset and the stage options of om1trace: parsing, and the messages of
// whole runs on many exact colours. (Every flag gives the table's record:
// CommandLine.EveryTableOptionWithItsRange; what the records do: the presets'
// and the pipeline's tests.)
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ToolProcess.h"

TEST(PresetFlags, ParsedInOrderAndCheckedEarly) {
    CommandLine cl;
    std::string e;
    EXPECT_EQ(cl.preset, om1::Presets::Graphic);
    ASSERT_TRUE(parseArgs({"a.png", "--preset", "photo", "--speckle", "10", "--max-paths", "5",
                           "--palette", "#000000,#ffffff"},
                          cl, e))
        << e;
    EXPECT_EQ(cl.preset, om1::Presets::Photo);
    EXPECT_EQ(cl.options.merge_drop, 3);  // the preset's record, then the flags
    ASSERT_EQ(cl.given.size(), 3u);
    EXPECT_EQ(cl.options.speckle, 10);
    EXPECT_EQ(cl.options.speckle_share, 0);
    EXPECT_EQ(cl.options.max_paths, 5);
    ASSERT_EQ(cl.options.palette_count, 2);
    EXPECT_EQ(cl.options.palette[1], 0xffffffu);
    EXPECT_EQ(cl.options.merge_means, 0);
}

// Exact colours on a picture of many colours: the pixel preset labels them
// (no refusal, no warning; here it stops at the outline limit, exit 2);
// --max-colors still refuses (exit 3); plain, which traces them with the
// library's tracer, warns before the long trace.
TEST(PresetFlags, ManyExactColoursAreRefusedOrAnnounced) {
    TestPicture noise(110, 100, 0, 0, 0);
    unsigned v = 12345;
    for (int y = 0; y < noise.h; ++y)
        for (int x = 0; x < noise.w; ++x) {
            v = v * 1103515245u + 12345u;
            noise.fill(x, y, 1, 1, v >> 24, (v >> 16) & 255, (v >> 8) & 255);
        }
    TempDir d;
    const std::string png = d.file("noise.png");
    ASSERT_TRUE(noise.png(png));
    int code = 0;
    auto stderrOf = [&](const std::string& flags) {
        std::string err;
        code = runTool(png + " -o " + d.file("out.svg") + " " + flags + " --max-outlines 1", &err);
        return err;
    };
    const std::string pixel = stderrOf("--preset pixel");
    EXPECT_EQ(code, 2);
    EXPECT_EQ(pixel.find("colours"), std::string::npos) << pixel;
    const std::string refused = stderrOf("--preset pixel --max-colors 128");
    EXPECT_EQ(code, 3);
    EXPECT_NE(refused.find("more than 128 colours, too many for pixel art"), std::string::npos);
    const std::string announced = stderrOf("--preset plain --tolerance 0");
    EXPECT_NE(announced.find("regions of exact colours; tracing them all can take long"),
              std::string::npos)
        << announced;
    EXPECT_EQ(stderrOf("--preset pixel --colors 8").find("colours"), std::string::npos);
    EXPECT_EQ(stderrOf("--preset graphic").find("exact colours"), std::string::npos);
}
