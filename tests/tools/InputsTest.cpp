// Options, inputs the tool cannot read, outputs it cannot write, and the exit
// codes of whole runs.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "input/TestPictures.h"
#include "tools/CommandLine.h"
#include "tools/TraceJob.h"

namespace {

bool parse(std::vector<std::string> args, CommandLine& cl, std::string& error) {
    std::vector<char*> argv;
    static std::string prog = "om1trace";
    argv.push_back(&prog[0]);
    for (std::string& a : args) argv.push_back(&a[0]);
    return cl.parse(static_cast<int>(argv.size()), argv.data(), error);
}

int runTool(const std::string& args) {
    int status =
        std::system((std::string(OM1TRACE_PATH) + " " + args + " >/dev/null 2>&1").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TestPicture shapes() {
    TestPicture p(40, 30, 255, 255, 255);
    p.fill(5, 5, 12, 10, 200, 30, 30);
    p.fill(22, 8, 10, 15, 30, 30, 200);
    return p;
}

}  // namespace

TEST(CommandLine, OptionsAndUsageErrors) {
    CommandLine cl;
    std::string e;
    ASSERT_TRUE(parse({"a.png", "--tolerance", "20", "--min-length", "6", "--background", "#102030",
                       "--stats", "-d", "out"},
                      cl, e))
        << e;
    EXPECT_EQ(cl.tolerance, 20);
    EXPECT_EQ(cl.minLength, 6);
    EXPECT_EQ(cl.background.red, 0x10);
    EXPECT_EQ(cl.background.blue, 0x30);
    EXPECT_EQ(cl.outputFor("pics/a.png"), "out/a.svg");
    CommandLine beside;
    ASSERT_TRUE(parse({"pics/b.jpg"}, beside, e));
    EXPECT_EQ(beside.outputFor("pics/b.jpg"), "pics/b.svg");
    for (auto bad : std::vector<std::vector<std::string>>{{},
                                                          {"a.png", "--tolerance", "101"},
                                                          {"a.png", "--tolerance", "x"},
                                                          {"a.png", "--max-outlines"},
                                                          {"a.png", "b.png", "-o", "x.svg"},
                                                          {"a.png", "-o", "x.svg", "-d", "d"},
                                                          {"a.png", "--bogus"},
                                                          {"a.png", "--background", "12345"}}) {
        CommandLine c;
        EXPECT_FALSE(parse(bad, c, e)) << (bad.empty() ? "" : bad.back());
        EXPECT_FALSE(e.empty());
    }
}

TEST(TraceJob, WritesWholeOutputsOrNone) {
    TempDir d;
    TestPicture p = shapes();
    ASSERT_TRUE(p.png(d.file("s.png")));
    CommandLine cl;
    TraceJob::Stats st;
    std::string msg;
    EXPECT_EQ(TraceJob::run(cl, d.file("s.png"), d.file("s.svg"), st, msg), 0) << msg;
    EXPECT_GE(st.regions, 3);
    std::ifstream svg(d.file("s.svg"));
    std::string text((std::istreambuf_iterator<char>(svg)), std::istreambuf_iterator<char>());
    EXPECT_NE(text.find("</svg>"), std::string::npos);
    EXPECT_EQ(TraceJob::run(cl, d.file("s.png"), d.file("s.json"), st, msg), 0) << msg;
    EXPECT_EQ(TraceJob::run(cl, d.file("s.png"), d.file("no/such/dir/s.svg"), st, msg), 74);
    EXPECT_NE(msg.find("cannot write"), std::string::npos);
    EXPECT_EQ(TraceJob::run(cl, d.file("nothing.png"), d.file("n.svg"), st, msg), 65);
    EXPECT_NE(msg.find("nothing.png"), std::string::npos);
}

TEST(Om1trace, ExitCodes) {
    TempDir d;
    TestPicture p = shapes();
    ASSERT_TRUE(p.png(d.file("s.png")));
    EXPECT_EQ(runTool(d.file("s.png") + " -o " + d.file("s.svg")), 0);
    EXPECT_EQ(runTool("--help"), 0);
    EXPECT_EQ(runTool(""), 64);
    EXPECT_EQ(runTool(d.file("s.png") + " --tolerance 200"), 64);
    EXPECT_EQ(runTool(d.file("missing.png") + " -o " + d.file("m.svg")), 65);
    EXPECT_EQ(runTool(d.file("s.png") + " -o /proc/om1-cannot-write.svg"), 74);
    EXPECT_EQ(runTool(d.file("s.png") + " -o " + d.file("few.svg") + " --max-outlines 1"), 2);
    // A batch into a folder exits with its worst code.
    EXPECT_EQ(runTool(d.file("s.png") + " " + d.file("missing.png") + " -d " + d.path), 65);
}

TEST(TraceJob, TransparentRegionsCanBeLeftOut) {
    TempDir d;
    TestPicture p(40, 30, 255, 255, 255);
    p.fill(8, 8, 12, 10, 10, 200, 10);      // opaque green
    p.fill(24, 8, 10, 12, 200, 10, 10, 0);  // fully transparent red
    ASSERT_TRUE(p.png(d.file("t.png")));
    CommandLine cl;
    cl.background.red = 0;
    cl.background.green = 0;
    cl.background.blue = 255;  // transparent pixels become blue
    TraceJob::Stats st;
    std::string msg;
    ASSERT_EQ(TraceJob::run(cl, d.file("t.png"), d.file("all.svg"), st, msg), 0) << msg;
    cl.transparent = true;
    ASSERT_EQ(TraceJob::run(cl, d.file("t.png"), d.file("opaque.svg"), st, msg), 0) << msg;
    auto read = [](const std::string& path) {
        std::ifstream in(path);
        return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    };
    std::string all = read(d.file("all.svg")), opaque = read(d.file("opaque.svg"));
    EXPECT_NE(all.find("#0000ff"), std::string::npos);
    EXPECT_EQ(opaque.find("#0000ff"), std::string::npos);
    EXPECT_NE(opaque.find("#0ac80a"), std::string::npos);
}
