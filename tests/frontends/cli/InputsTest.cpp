// Options, inputs the tool cannot read, outputs it cannot write, and the exit
// codes of whole runs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "frontends/cli/CommandLine.h"
#include "frontends/cli/OutputPaths.h"
#include "frontends/cli/TraceJob.h"
#include "pipeline/OptionTable.h"
#include "ToolProcess.h"

TEST(CommandLine, OptionsAndUsageErrors) {
    // (Every table option's values: EveryTableOptionWithItsRange; outputs:
    // OutputPathsAndFormatsOfEachSystem.)
    std::string e;
    for (auto bad : std::vector<std::vector<std::string>>{{},
                                                          {"a.png", "--tolerance", "101"},
                                                          {"a.png", "--tolerance", "x"},
                                                          {"a.png", "--max-outlines"},
                                                          {"a.png", "--preset", "art"},
                                                          {"a.png", "b.png", "-o", "x.svg"},
                                                          {"a.png", "-o", "x.svg", "-d", "d"},
                                                          {"a.png", "--bogus"},
                                                          {"a.png", "--background", "12345"},
                                                          {"a.png", "--background", "-00001"},
                                                          {"a.png", "--background", " fffff"},
                                                          {"a.png", "--background", "+fffff"},
                                                          {"a.png", "--background", "0x1234"}}) {
        CommandLine c;
        EXPECT_FALSE(parseArgs(bad, c, e)) << (bad.empty() ? "" : bad.back());
        EXPECT_FALSE(e.empty());
    }
}

// Outputs beside the input or under -d: '\\' and a drive's ':' separate
// folders on Windows only; elsewhere they are part of a name. The format:
// --format, else the output's extension, else SVG.
TEST(CommandLine, OutputPathsAndFormatsOfEachSystem) {
    struct Row {
        std::vector<std::string> args;  // after the input
        std::string input, onLinux, onWindows, format;
    };
    const Row rows[] = {
        {{}, "C:\\pics\\a.png", "C:\\pics\\a.svg", "C:\\pics\\a.svg", "svg"},
        {{"-d", "D:\\out"}, "C:\\pics\\a.png", "D:\\out/C:\\pics\\a.svg", "D:\\out/a.svg", "svg"},
        {{"-d", "out"}, "C:a.png", "out/C:a.svg", "out/a.svg", "svg"},
        {{"-d", "out"}, "pics/b.v1.jpg", "out/b.v1.svg", "out/b.v1.svg", "svg"},
        {{"--format", "PDF"}, "dir/a.png", "dir/a.pdf", "dir/a.pdf", "pdf"},
        {{"-o", "x.geojson"}, "dir/a.png", "x.geojson", "x.geojson", "geojson"},
        {{"-o", "x.dxf", "--format", "eps"}, "dir/a.png", "x.dxf", "x.dxf", "eps"},
        {{"-o", "-"}, "dir/a.png", "-", "-", "svg"},
        {{"-o", "-", "--format", "json"}, "dir/a.png", "-", "-", "json"},
        {{"-d", "out", "--format", "dxf"}, "dir/a.png", "out/a.dxf", "out/a.dxf", "dxf"},
    };
    for (const Row& r : rows) {
        CommandLine cl;
        std::string e;
        std::vector<std::string> args{r.input};
        args.insert(args.end(), r.args.begin(), r.args.end());
        ASSERT_TRUE(parseArgs(args, cl, e)) << e;
#ifdef _WIN32
        EXPECT_EQ(cl.outputFor(r.input), r.onWindows);
#else
        EXPECT_EQ(cl.outputFor(r.input), r.onLinux);
#endif
        EXPECT_EQ(om1::OutputFormat::name(cl.formatFor(cl.outputFor(r.input))), r.format)
            << r.input;
    }
    // Names that differ only in case are one file on Windows.
    TempDir d;
    CommandLine cl;
    std::string e;
    ASSERT_TRUE(parseArgs({d.file("a/x.png"), d.file("b/X.png"), "-d", d.path}, cl, e)) << e;
    ASSERT_TRUE(cl.expandInputs(e)) << e;
#ifdef _WIN32
    EXPECT_FALSE(OutputPaths::check(cl, e));
    EXPECT_NE(e.find("are both written to"), std::string::npos) << e;
#else
    EXPECT_TRUE(OutputPaths::check(cl, e)) << e;
#endif
}

// Exit codes of whole runs; the others with the failures that give them: 64
// (RefusesOutputsThatCollideOrOverwriteAnInput), 65 (RefusesCutShortInputs-
// WithPrefixedMessages; a batch's worst: Batch.ProgressBarUnderATerminal), 2
// and 3 (PresetFlags.ManyExactColoursAreRefusedOrAnnounced).
TEST(Om1trace, ExitCodes) {
    TempDir d;
    ASSERT_TRUE(shapesPicture().png(d.file("s.png")));
    EXPECT_EQ(runTool(d.file("s.png") + " -o " + d.file("s.svg")), 0);
    EXPECT_EQ(runTool("--help"), 0);
    EXPECT_EQ(runTool(""), 64);
#ifndef _WIN32
    EXPECT_EQ(runTool(d.file("s.png") + " -o /proc/om1-cannot-write.svg"), 74);
#endif
}

// Runs that would lose a result or destroy an input are refused before
// anything is traced or written, and every file stays as it was.
TEST(Om1trace, RefusesOutputsThatCollideOrOverwriteAnInput) {
    TempDir d;
    TestPicture p = shapesPicture();
    for (const char* folder : {"d1", "d2", "out"})
        std::filesystem::create_directory(d.file(folder));
    ASSERT_TRUE(p.png(d.file("d1/x.png")));
    ASSERT_TRUE(p.jpeg(d.file("d2/x.jpg")));
    ASSERT_TRUE(p.png(d.file("same.png")));
    ASSERT_TRUE(p.png(d.file("pic.svg")));  // a PNG whose name ends in .svg
    ASSERT_TRUE(p.png(d.file("x.png")));
    const std::string same = readText(d.file("same.png")), pic = readText(d.file("pic.svg"));
    struct Case {
        std::string args, says;
    };
    for (const Case& c : std::vector<Case>{
             {d.file("d1/x.png") + " " + d.file("d2/x.jpg") + " -d " + d.file("out"),
              "are both written to"},
             {d.file("x.png") + " " + d.path + "/./x.png -d " + d.file("out"),
              "are both written to"},
             {d.file("same.png") + " -o " + d.file("same.png"), "would overwrite the input"},
             {d.file("same.png") + " -o " + d.path + "/../" +
                  std::filesystem::path(d.path).filename().string() + "/same.png",
              "would overwrite the input"},
             {d.file("pic.svg"), "would overwrite the input"},
             {d.file("x.png") + " " + d.file("pic.svg") + " -d " + d.path,
              "would overwrite the input"}}) {
        std::string err;
        EXPECT_EQ(runTool(c.args, &err), 64) << c.args;
        EXPECT_EQ(err.rfind("om1trace: ", 0), 0u) << err;
        EXPECT_NE(err.find(c.says), std::string::npos) << c.args << ": " << err;
    }
    EXPECT_EQ(readText(d.file("same.png")), same);
    EXPECT_EQ(readText(d.file("pic.svg")), pic);
    EXPECT_FALSE(std::filesystem::exists(d.file("out/x.svg")));  // nothing written
}

// Unreadable inputs of every kind: exit 65, one prefixed message naming the
// file, nothing else on the terminal (libjpeg's own warnings included).
TEST(Om1trace, RefusesCutShortInputsWithPrefixedMessages) {
    TempDir d;
    TestPicture p = shapesPicture();
    ASSERT_TRUE(p.jpeg(d.file("a.jpg")));
    ASSERT_TRUE(p.gif(d.file("a.gif")));
    ASSERT_TRUE(p.bmp24(d.file("a.bmp"), false));
    for (const char* name : {"a.jpg", "a.gif", "a.bmp"}) {
        std::vector<unsigned char> bytes = readBytes(d.file(name));
        bytes.resize(bytes.size() * 2 / 3);
        const std::string cut = d.file(std::string("cut-") + name);
        ASSERT_TRUE(TestPicture::save(cut, bytes));
        std::string err;
        EXPECT_EQ(runTool(cut + " -o " + d.file("o.svg"), &err), 65) << name;
        EXPECT_EQ(err.rfind("om1trace: " + cut + ": not a readable ", 0), 0u) << err;
        EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
    }
    // A directory is traced picture by picture; one without pictures is
    // refused by name.
    std::string err;
    const std::string empty = d.file("empty");
    ASSERT_TRUE(std::filesystem::create_directory(empty));
    EXPECT_EQ(runTool(empty + " -o " + d.file("o.svg"), &err), 65);
    EXPECT_EQ(err.rfind("om1trace: " + empty + ": no pictures in this directory", 0), 0u) << err;
}

// A job writes the whole output or none: the destination is checked before
// the input is decoded and traced, and a failed job leaves no temporary file.
TEST(TraceJob, WritesWholeOutputsOrNone) {
    TempDir d;
    TestPicture p = shapesPicture();
    ASSERT_TRUE(p.png(d.file("s.png")));
    CommandLine cl;
    std::string msg;
    TraceJob::Stats st;
    EXPECT_EQ(TraceJob::run(cl, d.file("s.png"), d.file("s.svg"), st, msg), 0) << msg;
    EXPECT_GE(st.regions, 3);
    EXPECT_NE(readText(d.file("s.svg")).find("</svg>"), std::string::npos);
    for (const std::string& to : {d.file("no/dir/s.svg"), d.path}) {  // a directory
        TraceJob::Stats none;
        EXPECT_EQ(TraceJob::run(cl, d.file("s.png"), to, none, msg), 74) << to;
        EXPECT_EQ(none.width, 0);  // not decoded
        EXPECT_NE(msg.find("cannot write"), std::string::npos) << msg;
    }
    EXPECT_EQ(TraceJob::run(cl, d.file("missing.png"), d.file("m.svg"), st, msg), 65);
    EXPECT_NE(msg.find("missing.png"), std::string::npos);
    const auto files = std::filesystem::directory_iterator(d.path);
    EXPECT_EQ(std::distance(begin(files), end(files)), 2);  // s.png and s.svg
}

// Every option of the table is a flag of the tool with the table's range: its
// largest value is taken, one step beyond it refused with one line naming the
// flag, and a misspelt flag is answered with the nearest one.
TEST(CommandLine, EveryTableOptionWithItsRange) {
    for (int i = 0; om1::OptionTable::row(i); ++i) {
        const om1::OptionTable::Row& r = *om1::OptionTable::row(i);
        const std::string flag = om1::OptionTable::shown(r.name, om1::OptionTable::Names::Flags);
        std::string good = "on", bad = "2";
        if (r.kind == om1::OptionTable::Kind::Int || r.kind == om1::OptionTable::Kind::LongLong) {
            good = std::to_string(static_cast<long long>(r.max));
            bad = std::to_string(static_cast<long long>(r.max) + 1);
        } else if (r.kind == om1::OptionTable::Kind::Double) {
            good = std::to_string(r.max);
            bad = std::to_string(r.max * 1.01 + 1);
        } else if (r.kind == om1::OptionTable::Kind::Colour) {
            good = "ffffff";
            bad = "fffffff";
        } else if (r.kind == om1::OptionTable::Kind::Choice) {
            good = "adaptive";
            bad = "median";
        } else if (r.kind == om1::OptionTable::Kind::Palette) {
            good = "#000000";
            bad = "#00000";
        }
        CommandLine ok, refused;
        std::string e;
        std::vector<std::string> args{"a.png", flag};
        if (r.kind != om1::OptionTable::Kind::Flag) args.push_back(good);
        EXPECT_TRUE(parseArgs(args, ok, e)) << flag << ": " << e;
        // The same record as the table makes of that value.
        om1_options expected = CommandLine().options;
        ASSERT_EQ(om1::OptionTable::set(expected, r, good, e), OM1_OK) << e;
        EXPECT_EQ(std::memcmp(&ok.options, &expected, sizeof expected), 0) << flag;
        EXPECT_FALSE(parseArgs({"a.png", flag + "=" + bad}, refused, e)) << flag;
        EXPECT_EQ(e.find(flag + " takes"), 0u) << e;
        EXPECT_EQ(e.find('\n'), std::string::npos) << e;
    }
    CommandLine cl;
    std::string e;
    EXPECT_FALSE(parseArgs({"a.png", "--jbos", "2"}, cl, e));
    EXPECT_EQ(e, "unknown option --jbos; did you mean --jobs?");
    std::string err;
    EXPECT_EQ(runTool("a.png --min-lenght 3", &err), 64);
    EXPECT_EQ(err,
              "om1trace: unknown option --min-lenght; did you mean --min-length?\n"
              "om1trace --help for the options\n");
}
