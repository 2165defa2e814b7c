// The option table: names, ranges and kinds of every option, the order in
// which implied settings give way to explicit ones, presets, and the help.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "pipeline/OptionTable.h"
#include "pipeline/OptionsRecord.h"

using om1::OptionTable;

namespace {

int setByName(om1_options& o, const char* name, const std::string& value) {
    std::string e;
    const OptionTable::Row* r = OptionTable::find(name);
    return r ? OptionTable::set(o, *r, value, e) : OM1_UNKNOWN_OPTION;
}

}  // namespace

// Every row: its bounds are accepted, one step outside them refused, and the
// record is left unchanged by a refusal.
TEST(OptionTable, EveryRowTakesItsRangeAndNothingBeyond) {
    for (int i = 0; OptionTable::row(i); ++i) {
        const OptionTable::Row& r = *OptionTable::row(i);
        om1_options o;
        OptionTable::defaults(o);
        const om1_options before = o;
        std::string e;
        SCOPED_TRACE(r.name);
        switch (r.kind) {
            case OptionTable::Kind::Int:
            case OptionTable::Kind::LongLong:
            case OptionTable::Kind::Double: {
                const double step =
                    r.kind == OptionTable::Kind::Double ? 1e-6 * (r.max - r.min) : 1;
                auto text = [&](double v) {
                    char b[64];
                    std::snprintf(b, sizeof b,
                                  r.kind == OptionTable::Kind::Double ? "%.9g" : "%.0f", v);
                    return std::string(b);
                };
                EXPECT_EQ(OptionTable::set(o, r, text(r.max), e), OM1_OK) << e;
                EXPECT_EQ(OptionTable::set(o, r, text(r.min), e), OM1_OK) << e;
                om1_options refused = before;
                EXPECT_EQ(OptionTable::set(refused, r, text(r.max + step), e), OM1_BAD_OPTION);
                EXPECT_NE(e.find(r.name), std::string::npos) << e;
                EXPECT_EQ(OptionTable::set(refused, r, text(r.min - step), e), OM1_BAD_OPTION);
                for (const char* bad : {"x", "5x", ""})
                    EXPECT_EQ(OptionTable::set(refused, r, bad, e), OM1_BAD_OPTION) << bad;
                EXPECT_EQ(std::memcmp(&refused, &before, sizeof before), 0);
                break;
            }
            case OptionTable::Kind::Flag:
            case OptionTable::Kind::Switch:
                for (const char* on : {"on", "true", "yes", "1", "ON"})
                    EXPECT_EQ(OptionTable::set(o, r, on, e), OM1_OK) << on;
                EXPECT_EQ(OptionTable::valueText(o, r), "on");
                EXPECT_EQ(OptionTable::set(o, r, "off", e), OM1_OK);
                EXPECT_EQ(OptionTable::valueText(o, r), "off");
                EXPECT_EQ(OptionTable::set(o, r, "2", e), OM1_BAD_OPTION);
                break;
            case OptionTable::Kind::Colour:
                EXPECT_EQ(OptionTable::set(o, r, "#A0b0c0", e), OM1_OK);
                EXPECT_EQ(OptionTable::valueText(o, r), "a0b0c0");
                for (const char* bad : {"12345", "#1234567", "gg0000", ""})
                    EXPECT_EQ(OptionTable::set(o, r, bad, e), OM1_BAD_OPTION) << bad;
                break;
            case OptionTable::Kind::Choice:
                EXPECT_EQ(OptionTable::set(o, r, "adaptive", e), OM1_OK);
                EXPECT_EQ(OptionTable::valueText(o, r), "adaptive");
                EXPECT_EQ(OptionTable::set(o, r, "median", e), OM1_BAD_OPTION);
                break;
            case OptionTable::Kind::Palette:
                EXPECT_EQ(OptionTable::set(o, r, "#ff0000,#00ff00; #0000ff", e), OM1_OK);
                EXPECT_EQ(OptionTable::valueText(o, r), "#ff0000,#00ff00,#0000ff");
                break;
        }
        EXPECT_EQ(OptionTable::check(o), OM1_OK);
        EXPECT_EQ(
            OptionTable::find(OptionTable::shown(r.name, OptionTable::Names::Flags).substr(2)), &r);
    }
    EXPECT_EQ(OptionTable::row(OptionTable::rowCount()), nullptr);
}

TEST(OptionTable, SpecialValuesAndPalettes) {
    om1_options o;
    OptionTable::defaults(o);
    EXPECT_EQ(setByName(o, "colors", "1"), OM1_BAD_OPTION);  // 0 or 2..256
    EXPECT_EQ(setByName(o, "colors", "0"), OM1_OK);
    EXPECT_EQ(setByName(o, "threshold", "auto"), OM1_OK);
    EXPECT_EQ(o.threshold, 256);
    EXPECT_EQ(setByName(o, "threshold", "off"), OM1_OK);
    EXPECT_EQ(o.threshold, -1);
    for (const char* bad : {"nan", "30dB", "inf", " 1"})
        EXPECT_EQ(setByName(o, "merge_psnr", bad), OM1_BAD_OPTION) << bad;
    for (const char* bad : {"#12345", "", "/nonexistent/palette.txt"})
        EXPECT_EQ(setByName(o, "palette", bad), OM1_BAD_OPTION) << bad;
    EXPECT_EQ(o.palette_count, 0);  // failed palettes left nothing behind
    std::string many;
    for (int i = 0; i < 257; ++i) many += "#000000,";
    EXPECT_EQ(setByName(o, "palette", many), OM1_BAD_OPTION);
    const std::string file = testing::TempDir() + "om1-palette.txt";
    std::ofstream(file) << "#102030\n#405060 #708090\n";
    ASSERT_EQ(setByName(o, "palette", file), OM1_OK);
    EXPECT_EQ(o.palette_count, 3);
    EXPECT_EQ(o.palette[2], 0x708090u);
    EXPECT_EQ(o.merge_means, 0);  // merged regions keep the palette's colours
    std::remove(file.c_str());
}

// An implied setting gives way to an explicit one in whatever order they come.
TEST(OptionTable, ExplicitSettingsWinOverImpliedOnes) {
    struct Case {
        std::vector<std::pair<std::string, std::string>> given;
        int tolerance, minLength, mergeMeans;
        double speckleShare;
    } cases[] = {
        {{{"polygon", "on"}}, 0, 0, 1, 0},
        {{{"tolerance", "7"}, {"polygon", "on"}, {"min-length", "9"}}, 7, 9, 1, 0},
        {{{"merge_means", "on"}, {"colors", "8"}}, 0, 4, 1, 0},
        {{{"colors", "8"}}, 0, 4, 0, 0},
        {{{"speckle_share", "0.01"}, {"speckle", "5"}}, 0, 4, 1, 0.01},
    };
    for (const Case& c : cases) {
        om1_options o;
        OptionTable::defaults(o);
        std::string e;
        ASSERT_EQ(OptionTable::apply(o, c.given, e), OM1_OK) << e;
        EXPECT_EQ(o.tolerance, c.tolerance) << c.given[0].first;
        EXPECT_EQ(o.min_length, c.minLength) << c.given[0].first;
        EXPECT_EQ(o.merge_means, c.mergeMeans) << c.given[0].first;
        EXPECT_EQ(o.speckle_share, c.speckleShare) << c.given[0].first;
    }
}

TEST(OptionTable, UnknownNamesGetTheNearestOne) {
    om1_options o;
    OptionTable::defaults(o);
    std::string e;
    EXPECT_EQ(OptionTable::apply(o, {{"colours", "5"}}, e, OptionTable::Names::Flags),
              OM1_UNKNOWN_OPTION);
    EXPECT_EQ(e, "unknown option --colours; did you mean --colors?");
    EXPECT_EQ(OptionTable::apply(o, {{"min_lenght", "5"}}, e), OM1_UNKNOWN_OPTION);
    EXPECT_EQ(e, "unknown option min_lenght; did you mean min_length?");
    EXPECT_EQ(OptionTable::nearest("zzzzzzzz"), "");
    EXPECT_EQ(OptionTable::nearest("jbos", {"jobs"}), "jobs");
    EXPECT_EQ(OptionTable::apply(o, {{"tolerance", "101"}}, e, OptionTable::Names::Flags),
              OM1_BAD_OPTION);
    EXPECT_EQ(e, "--tolerance takes a whole number from 0 to 100, not '101'");
}

TEST(OptionTable, PresetsAndTheirDefaults) {
    om1_options o;
    EXPECT_FALSE(OptionTable::preset(o, "Graphic"));
    int n = 0;
    for (; OptionTable::presetName(n); ++n) {
        ASSERT_TRUE(OptionTable::preset(o, OptionTable::presetName(n)));
        EXPECT_EQ(OptionTable::check(o), OM1_OK) << OptionTable::presetName(n);
        EXPECT_NE(OptionTable::presetHelp(n), nullptr);
    }
    EXPECT_EQ(n, 5);
    EXPECT_STREQ(OptionTable::presetName(0), "graphic");  // the default
    // Each preset's values are pinned by the README's table (ReadmeShowsTheTable);
    // here the records made of them.
    OptionTable::preset(o, "photo");
    EXPECT_EQ(om1::OptionsRecord::toTrace(o).mergeDrop, 3);
    EXPECT_EQ(om1::OptionsRecord::toOutput(o).curveTolerance, 2);
    // The help names every option once, with its default and the presets that differ.
    const std::string help = OptionTable::commandLineHelp();
    for (int i = 0; OptionTable::row(i); ++i) {
        const std::string flag =
            OptionTable::shown(OptionTable::row(i)->name, OptionTable::Names::Flags) + " ";
        EXPECT_EQ(help.find("  " + flag), help.rfind("  " + flag)) << flag;
    }
    EXPECT_NE(help.find("default 0 (plain 10)"), std::string::npos);
}

// The README's option table is the table's own.
TEST(OptionTable, ReadmeShowsTheTable) {
    std::ifstream in(OM1_SOURCE_DIR "/README.md");
    const std::string readme((std::istreambuf_iterator<char>(in)),
                             std::istreambuf_iterator<char>());
    EXPECT_NE(readme.find(OptionTable::markdown()), std::string::npos)
        << "update the README's option table from OptionTable::markdown():\n"
        << OptionTable::markdown();
}
