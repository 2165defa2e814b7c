// Options, inputs the tool cannot read, outputs it cannot write, and the exit
// codes of whole runs.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "ToolTestImages.h"
#include "tools/CommandLine.h"
#include "tools/ImageLoader.h"
#include "tools/TraceJob.h"

namespace {

struct TempDir {
    std::string path;
    TempDir() {
        char tmpl[] = "/tmp/om1trace-test-XXXXXX";
        path = mkdtemp(tmpl);
    }
    ~TempDir() { std::system(("rm -rf " + path).c_str()); }
    std::string file(const std::string& name) const { return path + "/" + name; }
};

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

TEST(ImageLoader, ReadsEveryFormat) {
    TempDir d;
    TestPicture p = shapes();
    ASSERT_TRUE(p.png(d.file("a.png")));
    ASSERT_TRUE(p.bmp(d.file("a.bmp")));
    ASSERT_TRUE(p.jpeg(d.file("a.jpg")));
    for (const char* name : {"a.png", "a.bmp", "a.jpg"}) {
        RasterImage img;
        std::string e;
        ASSERT_TRUE(ImageLoader::load(d.file(name), 1000000, {}, img, e)) << name << ": " << e;
        EXPECT_EQ(img.width, 40);
        EXPECT_EQ(img.height, 30);
        const RGBQUAD& q = img.pixels[7 * 40 + 7];  // inside the red square
        EXPECT_NEAR(q.rgbRed, 200, 8) << name;
        EXPECT_NEAR(q.rgbBlue, 30, 8) << name;
    }
    // A GIF of one pixel: decoded, then refused as too small.
    const unsigned char gif[] = {0x47, 0x49, 0x46, 0x38, 0x39, 0x61, 0x01, 0x00, 0x01, 0x00, 0x80,
                                 0x00, 0x00, 0xff, 0xff, 0xff, 0x00, 0x00, 0x00, 0x21, 0xf9, 0x04,
                                 0x01, 0x00, 0x00, 0x00, 0x00, 0x2c, 0x00, 0x00, 0x00, 0x00, 0x01,
                                 0x00, 0x01, 0x00, 0x00, 0x02, 0x02, 0x44, 0x01, 0x00, 0x3b};
    std::ofstream(d.file("a.gif"), std::ios::binary)
        .write(reinterpret_cast<const char*>(gif), sizeof(gif));
    RasterImage img;
    std::string e;
    EXPECT_FALSE(ImageLoader::load(d.file("a.gif"), 1000000, {}, img, e));
    EXPECT_NE(e.find("smaller than 3 x 3"), std::string::npos) << e;
}

TEST(ImageLoader, CompositesAlphaOverTheBackground) {
    TempDir d;
    TestPicture p(4, 4, 0, 0, 0);
    p.fill(0, 0, 4, 4, 0, 0, 0, 0);      // fully transparent
    p.fill(0, 0, 2, 4, 255, 0, 0, 128);  // half red
    ASSERT_TRUE(p.png(d.file("t.png")));
    RasterImage img;
    std::string e;
    ImageLoader::Background bg;
    bg.red = 0;
    bg.green = 0;
    bg.blue = 255;
    ASSERT_TRUE(ImageLoader::load(d.file("t.png"), 100, bg, img, e)) << e;
    EXPECT_EQ(img.pixels[3].rgbBlue, 255);  // transparent: the background
    EXPECT_EQ(img.alpha[3], 0);
    EXPECT_NEAR(img.pixels[0].rgbRed, 128, 1);
    EXPECT_NEAR(img.pixels[0].rgbBlue, 127, 1);
}

TEST(ImageLoader, ClearErrors) {
    TempDir d;
    RasterImage img;
    std::string e;
    EXPECT_FALSE(ImageLoader::load(d.file("missing.png"), 100, {}, img, e));
    EXPECT_NE(e.find("cannot open"), std::string::npos);
    std::ofstream(d.file("empty.png")).close();
    EXPECT_FALSE(ImageLoader::load(d.file("empty.png"), 100, {}, img, e));
    EXPECT_NE(e.find("empty"), std::string::npos);
    std::ofstream(d.file("text.png")) << "hello, this is not a picture";
    EXPECT_FALSE(ImageLoader::load(d.file("text.png"), 100, {}, img, e));
    EXPECT_NE(e.find("unsupported format"), std::string::npos);
    // A PNG cut in the middle of its data.
    TestPicture p = shapes();
    ASSERT_TRUE(p.png(d.file("full.png")));
    std::ifstream in(d.file("full.png"), std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::ofstream(d.file("cut.png"), std::ios::binary)
        .write(bytes.data(), static_cast<long>(bytes.size() / 2));
    EXPECT_FALSE(ImageLoader::load(d.file("cut.png"), 1000000, {}, img, e));
    EXPECT_NE(e.find("PNG"), std::string::npos) << e;
    // Over the pixel limit: refused from the header.
    EXPECT_FALSE(ImageLoader::load(d.file("full.png"), 1000, {}, img, e));
    EXPECT_NE(e.find("more than the limit"), std::string::npos) << e;
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
