// Standard streams of om1trace: -o - writes only the output to standard
// output (through a pipe), messages go to standard error, - reads the picture
// from standard input. (The writer chosen by --format and the output's
// extension: CommandLine.OutputPathsAndFormatsOfEachSystem.)
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "ToolProcess.h"

namespace {

const std::string kExample = [] {
    const std::string f = __FILE__;  // .../tests/tools/StreamsTest.cpp
    std::filesystem::path p = f.substr(0, f.rfind("/tests/")) + "/examples/shapes.png";
    return p.make_preferred().string();  // the shells' own separators
}();

#ifdef _WIN32
FILE* openPipe(const std::string& command) {
    return _popen(command.c_str(), "rb");
}
int closePipe(FILE* p) {
    return _pclose(p);
}
#else
FILE* openPipe(const std::string& command) {
    return popen(command.c_str(), "r");
}
int closePipe(FILE* p) {
    const int status = pclose(p);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
#endif

struct Result {
    int code = -1;
    std::string out, err;
};

// Runs `feed | om1trace args` (just om1trace without a feed), reading its
// standard output through a pipe; standard error goes to a file.
Result tool(const std::string& args, const std::string& feed = "") {
    Result r;
    TempDir d;
    const std::string errFile = d.file("err");
    FILE* p =
        openPipe(feed + (feed.empty() ? "" : " | ") + toolPath() + " " + args + " 2>" + errFile);
    if (!p) return r;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof(buf), p)) > 0) r.out.append(buf, n);
    r.code = closePipe(p);
    std::ifstream e(errFile);
    r.err.assign(std::istreambuf_iterator<char>(e), std::istreambuf_iterator<char>());
    return r;
}

bool endsWith(const std::string& s, const std::string& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

}  // namespace

// Through a pipe: standard output carries the file and nothing else; the
// summary goes to standard error; a failing standard output exits 74.
TEST(Streams, DashWritesStandardOutput) {
    const Result svg = tool(kExample + " -o -");
    EXPECT_EQ(svg.code, 0) << svg.err;
    EXPECT_EQ(svg.out.rfind("<?xml", 0), 0u);
    EXPECT_TRUE(endsWith(svg.out, "</svg>\n"));
    EXPECT_NE(svg.err.find("-> standard output"), std::string::npos) << svg.err;

    const Result pdf = tool(kExample + " -o - --format pdf --polygon --stats");
    EXPECT_EQ(pdf.code, 0) << pdf.err;
    EXPECT_EQ(pdf.out.rfind("%PDF-1.4\n", 0), 0u);
    EXPECT_TRUE(endsWith(pdf.out, "%%EOF\n"));
    EXPECT_NE(pdf.err.find("regions"), std::string::npos) << pdf.err;

    const Result geo = tool(kExample + " --format geojson -o - --cutout");
    EXPECT_EQ(geo.code, 0);
    EXPECT_EQ(geo.out.rfind("{\"type\": \"FeatureCollection\"", 0), 0u);

    EXPECT_EQ(tool(kExample + " -o - --format nope").code, 64);
#ifdef _WIN32
    GTEST_SKIP() << "a full standard output needs /dev/full, which Windows has not";
#endif
    const Result full = tool(kExample + " -o - >/dev/full");
    EXPECT_EQ(full.code, 74);
    EXPECT_NE(full.err.find("standard output: cannot write"), std::string::npos) << full.err;
}

// Standard input: the picture through a pipe, its format from its first
// bytes; without -o the output goes to standard output.
TEST(Streams, DashReadsStandardInput) {
    const Result svg = tool("- < " + kExample);
    EXPECT_EQ(svg.code, 0) << svg.err;
    EXPECT_EQ(svg.out, tool(kExample + " -o -").out);  // whole: DashWritesStandardOutput

    const Result eps = tool("- --format eps < " + kExample);
    EXPECT_EQ(eps.code, 0) << eps.err;
    EXPECT_EQ(eps.out.rfind("%!PS-Adobe-3.0 EPSF-3.0\n", 0), 0u);

    EXPECT_EQ(tool("- < " + nullDevice()).code, 65);
    const Result bad = tool("- -o -", "echo not a picture");
    EXPECT_EQ(bad.code, 65);
    EXPECT_NE(bad.err.find("standard input: "), std::string::npos) << bad.err;
    EXPECT_TRUE(bad.out.empty());
    EXPECT_EQ(tool("- -").code, 64);

#ifdef _WIN32
    GTEST_SKIP() << "cmd has no binary-safe cat: type stops at the PNG signature's byte 0x1A";
#endif
    const Result piped = tool("- --format dxf --polygon", "cat " + kExample);
    EXPECT_EQ(piped.code, 0) << piped.err;
    EXPECT_EQ(piped.out.rfind("999\nom1trace\n0\nSECTION\n", 0), 0u);
    EXPECT_TRUE(endsWith(piped.out, "0\nEOF\n"));
}
