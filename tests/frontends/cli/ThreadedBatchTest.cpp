// A batch of different pictures traced on several threads at once writes,
// for every input, exactly what a run of that input alone writes. Run under
// ThreadSanitizer (tsan preset) this is the tool's data-race check.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "decode/TestPictures.h"
#include "ToolProcess.h"

namespace {

int runQuiet(const std::string& args) {
    return runTool(args + " --quiet");
}

}  // namespace

TEST(Om1trace, BatchOnThreadsMatchesSingleRuns) {
    TempDir d;
    std::vector<std::string> names;
    std::string inputs;
    for (int k = 0; k < 8; ++k) {
        TestPicture p(48 + 4 * k, 36, 255, 255, 255);
        for (int j = 0; j <= k; ++j)
            p.fill(3 + 5 * j, 4 + (j * 7) % 20, 4 + k, 6, 40 * j % 256, 200 - 20 * j, 30 + 25 * k);
        const std::string name = "p" + std::to_string(k);
        ASSERT_TRUE(k % 2 ? p.png(d.file(name + ".png")) : p.gif(d.file(name + ".gif")));
        names.push_back(name);
        inputs += " " + d.file(name + (k % 2 ? ".png" : ".gif"));
    }
    ASSERT_TRUE(std::filesystem::create_directory(d.file("batch")));
    ASSERT_TRUE(std::filesystem::create_directory(d.file("alone")));
    ASSERT_EQ(runQuiet(inputs + " -d " + d.file("batch")), 0);
    for (int k = 0; k < 8; ++k) {
        const std::string in = d.file(names[k] + (k % 2 ? ".png" : ".gif"));
        ASSERT_EQ(runQuiet(in + " -d " + d.file("alone")), 0);
        const std::string alone = readText(d.file("alone/" + names[k] + ".svg"));
        EXPECT_NE(alone.find("</svg>"), std::string::npos);
        EXPECT_EQ(readText(d.file("batch/" + names[k] + ".svg")), alone) << names[k];
    }
}
