// Batches: directories as inputs (--recursive, relative paths kept under
// -d), --jobs, the progress bar under a pseudo-terminal (script), and the
// worst exit code when some pictures are bad.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ToolProcess.h"
#include "stb_image_write.h"

namespace {

using Folder = TempDir;

void makeDir(const std::string& path) {
    std::filesystem::create_directory(path);
}

// A 12 x 10 picture: a block of colour `k` on white.
bool smallPng(const std::string& file, int k) {
    std::vector<unsigned char> rgba(12 * 10 * 4, 255);
    for (int y = 2; y < 7; ++y)
        for (int x = 2 + k % 4; x < 9; ++x) {
            unsigned char* p = &rgba[(y * 12 + x) * 4];
            p[0] = static_cast<unsigned char>(40 * k);
            p[1] = 0;
            p[2] = static_cast<unsigned char>(255 - 40 * k);
        }
    return stbi_write_png(file.c_str(), 12, 10, 4, rgba.data(), 12 * 4) != 0;
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
    CommandLine cl;
    std::string error;
    makeDir(f.path + "/none");
    ASSERT_TRUE(parseArgs({f.path + "/none"}, cl, error));
    EXPECT_FALSE(cl.expandInputs(error));
    EXPECT_NE(error.find("no pictures"), std::string::npos) << error;
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
