// Golden results: whole traces of fixed pictures, hashed at three points of
// the pipeline. Any change to what the tracer stores (outline tree with its
// parts and children), to the containment tree, or to the output contour tree
// (chains, starts, colours, roles, Bezier points) changes a hash.
//
// A change that is meant to alter results updates the table below; run the
// program with OM1_GOLDEN_PRINT=1 to print the table as it is now.
#include <gtest/gtest.h>
#if defined(_WIN32)
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_PNG
#include <stb_image.h>
#else
#include <png.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "GoldenPictures.h"
#include "ResultHash.h"
#include "containment/CntmTreeCreator.h"
#include "containment/ExportOutLinesStruct.h"
#include "interface/om1.h"
#include "raster/OutLineManipulator.h"
#include "tracer/AllOutLines.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"

#ifndef OM1_SOURCE_DIR
#define OM1_SOURCE_DIR "."
#endif

namespace {

using golden::Picture;

using golden::Hash;

std::string hashOutlines(int result, const ListOfOutLines* root) {
    Hash hs;
    golden::hashOutlines(hs, result, root);
    return hs.hex();
}

std::string hashExport(const ExportOutLineTree* root) {
    Hash hs;
    golden::hashTree(hs, root,
                     [&](const ExportOutLineTree* n, std::vector<const ExportOutLineTree*>& stack) {
                         hs.i64(n->type);
                         hs.i64(n->valid);
                         for (int b : n->bounds) hs.i64(b);
                         hs.bytes(n->data, n->len);
                         hs.i64(n->startPos);
                         hs.colour(n->color);
                         int holes = 0;
                         for (const HoleNode* h = n->holes; h; h = h->next) ++holes;
                         hs.i64(holes);
                         std::vector<const ExportOutLineTree*> list;
                         for (const HoleNode* h = n->holes; h; h = h->next) list.push_back(h->tree);
                         for (auto it = list.rbegin(); it != list.rend(); ++it)
                             stack.push_back(*it);
                     });
    return hs.hex();
}

std::string hashKvCtree(int result, const KvCtree* root) {
    Hash hs;
    golden::hashKvCtree(hs, result, root);
    return hs.hex();
}

#if defined(_WIN32)
Picture loadPng(const std::string& path) {
    Picture p;
    int w = 0, h = 0, comp = 0;
    unsigned char* buf = stbi_load(path.c_str(), &w, &h, &comp, 4);
    if (!buf) return p;
    p = Picture(w, h);
    for (size_t i = 0; i < p.px.size(); ++i)
        p.px[i] = RGBQUAD{buf[4 * i + 2], buf[4 * i + 1], buf[4 * i], 0};
    stbi_image_free(buf);
    return p;
}
#else
Picture loadPng(const std::string& path) {
    Picture p;
    png_image img{};
    img.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&img, path.c_str())) return p;
    img.format = PNG_FORMAT_BGRA;
    std::vector<uint8_t> buf(PNG_IMAGE_SIZE(img));
    if (!png_image_finish_read(&img, nullptr, buf.data(), 0, nullptr)) return p;
    p = Picture(static_cast<int>(img.width), static_cast<int>(img.height));
    for (size_t i = 0; i < p.px.size(); ++i)
        p.px[i] = RGBQUAD{buf[4 * i], buf[4 * i + 1], buf[4 * i + 2], 0};
    return p;
}
#endif

const Picture& picture(const std::string& name) {
    static std::vector<std::pair<std::string, Picture>> cache;
    for (auto& e : cache)
        if (e.first == name) return e.second;
    Picture p;
    if (name == "photo")
        p = golden::photoLike(96, 72, 7);
    else if (name == "photo-wide")
        p = golden::photoLike(131, 37, 99);
    else if (name == "antialiased")
        p = golden::antiAliased(90, 64);
    else if (name == "mosaic")
        p = golden::mosaic(golden::photoLike(48, 36, 3), 2);
    else if (name == "lines")
        p = golden::thinLines(41, 30);
    else if (name == "noise4")
        p = golden::fourColourNoise(33, 25, 5);
    else if (name == "example")
        p = loadPng(OM1_SOURCE_DIR "/examples/shapes.png");
    cache.emplace_back(name, std::move(p));
    return cache.back().second;
}

struct Case {
    const char* picture;
    int tolerancePercent;
    int minOutlineLen;
    int curveTolerance;
    int maxOutlines;
    const char* outlines;  // hash of the tracer's outline tree
    const char* exported;  // hash of the containment tree
    const char* ctree;     // hash of the entry point's result
};

// clang-format off
const Case kCases[] = {
    {"photo",        10,  4, 1, 100000, "50d3a3abb6f93184", "db6cef2fadf444dc", "ce0c1a4db38c91ad"},
    {"photo",         0,  4, 1, 100000, "143191bbe7183e07", "d710d1b468109748", "f1bb2ff7d89eb765"},
    {"photo",        25, 12, 2, 100000, "e30cb359a979a683", "fc256121ca26048d", "9b3bafa41722dfb5"},
    {"photo-wide",   15,  8, 1, 100000, "58067600cf88d1c1", "443a933f1e0695b0", "984c0db01968016c"},
    {"antialiased",   5,  4, 1, 100000, "b5577ea364d01ff8", "9974ad5fa02d91c3", "75856e546bfe783c"},
    {"antialiased",  20,  4, 3, 100000, "29afdbdfa1ab8bd2", "388e41b4bf6b6cc8", "db55ae1fb13f4c6e"},
    {"mosaic",       10,  4, 1, 100000, "74bb1e7c4b2f9374", "04664204c49532d8", "0a0df6d9776caacf"},
    {"mosaic",       10, 30, 1, 100000, "7f2cc7f77fc586e2", "ac443558756f2d03", "97839ba100dcdb99"},
    {"lines",         0,  4, 1, 100000, "4d9547dd15fcf7b8", "6c413b1c2104ae6d", "335b265162f8b7f6"},
    {"lines",        10,  1, 1, 100000, "c76dc1107d3a0f5a", "5cb401b3a6740fc4", "de646b01478ca833"},
    {"noise4",        0,  4, 1, 100000, "df9c7deb79a2a7eb", "10f26345c44ce2c1", "8cd9cb590fa6c484"},
    {"noise4",       30,  2, 1, 100000, "0a6201a94326ded8", "88871bbc797a2aee", "2ab767c3846b406d"},
    {"noise4",        0,  4, 1,     50, "5eb6206a76aba3d9", "7bd79659501149a5", "497c1ed27cc05c9a"},
    {"example",      10,  4, 1, 100000, "59773c7f0d2b9120", "ea987d5d088a6847", "26b58c8f36edbf50"},
    {"example",       0,  8, 1, 100000, "57bbebadf32dc344", "c8bd077597d20f5e", "bf7941ba0b2a317f"},
};
// clang-format on

struct Hashes {
    std::string outlines, exported, ctree;
};

// The tracer's and the containment builder's results, as the entry point
// produces them on its way (seeds 0 to 8 until a region node with parts).
Hashes run(const Case& c) {
    Hashes out;
    Picture pic = picture(c.picture);
    int tol = static_cast<int>(c.tolerancePercent * 2.55);
    AllOutLines all;
    int result = 1;
    for (int i = 0; i < 9; ++i) {
        OutLineManipulator olm(pic.px.data(), pic.w, pic.h, tol, c.minOutlineLen, 3, 0);
        Ombrel tracer(&olm);
        if (!tracer.isValid()) continue;
        delete all.outLines;
        all.outLines = nullptr;
        result = tracer.DoOmbrel_(all, tracer.generateInitPoint(i, pic.w, pic.h), c.maxOutlines);
        if (all.outLines && all.outLines->parts) break;
    }
    out.outlines = hashOutlines(result, all.outLines);
    if (result == 0 && all.outLines && all.outLines->parts) {
        ExportOutLinesStruct exported(nullptr, pic.w);
        CntmTreeCreator creator(pic.w, pic.h);
        bool built = creator.createCntmTree(exported, all);
        out.exported = built ? hashExport(exported.exportTree) : "failed";
    } else {
        out.exported = "none";
    }
    delete all.outLines;

    KvCtree* tree = nullptr;
    int r = om1_kvTrace1Bmp(tree, pic.px.data(), pic.w, pic.h, c.tolerancePercent, c.minOutlineLen,
                            c.maxOutlines, c.curveTolerance, 0.0);
    out.ctree = hashKvCtree(r, tree);
    om1_delKvCTree(tree);
    return out;
}

TEST(Golden, WholeTracesAreUnchanged) {
    bool print = std::getenv("OM1_GOLDEN_PRINT") != nullptr;
    for (const Case& c : kCases) {
        ASSERT_FALSE(picture(c.picture).px.empty()) << c.picture;
        Hashes h = run(c);
        if (print)
            std::printf("    {%-14s %3d, %2d, %d, %6d, \"%s\", \"%s\", \"%s\"},\n",
                        ("\"" + std::string(c.picture) + "\",").c_str(), c.tolerancePercent,
                        c.minOutlineLen, c.curveTolerance, c.maxOutlines, h.outlines.c_str(),
                        h.exported.c_str(), h.ctree.c_str());
        SCOPED_TRACE(std::string(c.picture) + " tolerance " + std::to_string(c.tolerancePercent) +
                     " min length " + std::to_string(c.minOutlineLen));
        EXPECT_EQ(h.outlines, c.outlines);
        EXPECT_EQ(h.exported, c.exported);
        EXPECT_EQ(h.ctree, c.ctree);
    }
}

}  // namespace
