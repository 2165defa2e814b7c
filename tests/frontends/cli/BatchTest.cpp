// Batches: directories as inputs (--recursive, relative paths kept under
// -d), --jobs, the progress bar under a pseudo-terminal (script), the worst
// exit code when some pictures are bad, and pictures traced on several
// threads at once written as each alone (run under ThreadSanitizer by the
// tsan preset: the tool's data-race check).
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ToolProcess.h"

namespace {

using Folder = TempDir;

void makeDir(const std::string& path) {
    std::filesystem::create_directory(path);
}

// A 12 x 10 picture: a block of colour `k` on white.
bool smallPng(const std::string& file, int k) {
    TestPicture p(12, 10, 255, 255, 255);
    p.fill(2 + k % 4, 2, 7 - k % 4, 5, 40 * k, 0, 255 - 40 * k);
    return p.png(file);
}

bool exists(const std::string& path) {
    return std::filesystem::exists(path);
}

}  // namespace

TEST(Batch, DirectoriesExpandWithRelativePaths) {
    Folder f;
    makeDir(f.path + "/in");
    makeDir(f.path + "/in/sub");
    ASSERT_TRUE(smallPng(f.path + "/in/b.png", 1));
    ASSERT_TRUE(smallPng(f.path + "/in/a.PNG", 2));
    ASSERT_TRUE(smallPng(f.path + "/in/sub/c.png", 3));
    std::ofstream(f.path + "/in/notes.txt") << "not a picture";
    for (bool recursive : {false, true}) {
        CommandLine cl;
        std::string error;
        std::vector<std::string> args{f.path + "/in/", "-d", f.path + "/out"};
        if (recursive) args.push_back("--recursive");
        ASSERT_TRUE(parseArgs(args, cl, error)) << error;
        ASSERT_TRUE(cl.expandInputs(error)) << error;
        std::vector<std::string> got;
        for (size_t i = 0; i < cl.inputs.size(); ++i)
            got.push_back(cl.inputs[i].substr(f.path.size()) + " " +
                          cl.outputAt(i).substr(f.path.size()));
        std::vector<std::string> want = {"/in/a.PNG /out/a.svg", "/in/b.png /out/b.svg"};
        if (recursive) want.push_back("/in/sub/c.png /out/sub/c.svg");
        EXPECT_EQ(got, want);
    }
}

// 200 small pictures and 3 broken ones in two folders, traced with two jobs
// under a pseudo-terminal: the bar reaches 203/203, the outputs keep their
// folders, and the batch exits 65 (unreadable input) as its worst picture.
TEST(Batch, ProgressBarUnderATerminal) {
#ifdef _WIN32
    GTEST_SKIP() << "needs a pseudo-terminal made by script (util-linux), which Windows has not";
#endif
    if (runShell("command -v script >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "script (bsdutils) is missing";
    Folder f;
    makeDir(f.path + "/in");
    makeDir(f.path + "/in/deep");
    for (int i = 0; i < 200; ++i)
        ASSERT_TRUE(smallPng(f.path + (i % 2 ? "/in/deep/p" : "/in/p") + std::to_string(i) + ".png",
                             i % 6));
    for (int i = 0; i < 3; ++i)
        std::ofstream(f.path + "/in/bad" + std::to_string(i) + ".png") << "x";
    const std::string log = f.path + "/tty.log";
    const std::string cmd = "script -qec '" + toolPath() + " " + f.path +
                            "/in --recursive --jobs 2 -d " + f.path + "/out' /dev/null > " + log;
    EXPECT_EQ(runShell(cmd), 65);
    const std::string text = readText(log);
    EXPECT_NE(text.find("] 203/203"), std::string::npos) << text.substr(0, 2000);
    EXPECT_NE(text.find("bad1.png"), std::string::npos);
    EXPECT_TRUE(exists(f.path + "/out/p0.svg"));
    EXPECT_TRUE(exists(f.path + "/out/deep/p199.svg"));
    // Without a terminal there is no bar.
    const std::string piped = f.path + "/pipe.log";
    runTrace(f.path + "/in/deep --jobs 2 -d " + f.path + "/out2 2> " + piped);
    const std::string quiet = readText(piped);
    EXPECT_EQ(quiet.find("100/100"), std::string::npos);
    EXPECT_NE(quiet.find("p199.png -> "), std::string::npos);
}

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
    ASSERT_EQ(runTool(inputs + " -d " + d.file("batch") + " --quiet"), 0);
    for (int k = 0; k < 8; ++k) {
        const std::string in = d.file(names[k] + (k % 2 ? ".png" : ".gif"));
        ASSERT_EQ(runTool(in + " -d " + d.file("alone") + " --quiet"), 0);
        const std::string alone = readText(d.file("alone/" + names[k] + ".svg"));
        EXPECT_NE(alone.find("</svg>"), std::string::npos);
        EXPECT_EQ(readText(d.file("batch/" + names[k] + ".svg")), alone) << names[k];
    }
}
