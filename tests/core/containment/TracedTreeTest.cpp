// Containment trees built from traces of synthetic pictures, checked for
// structure.
#include <gtest/gtest.h>

#include <vector>

#include "golden/GoldenPictures.h"
#include "containment/CntmTreeCreator.h"
#include "containment/GeneralFuncs.h"
#include "raster/OutLineManipulator.h"
#include "tracer/ChainCode.h"
#include "tracer/Ombrel.h"

namespace {

using golden::Picture;

ExportOutLineTree* build(Picture& p, ExportOutLinesStruct& out) {
    AllOutLines all;
    for (int i = 0; i < 9 && !(all.outLines && all.outLines->parts); ++i) {
        OutLineManipulator olm(p.px.data(), p.w, p.h, 25, 4, 3, 0);
        Ombrel t(&olm);
        delete all.outLines;
        all.outLines = nullptr;
        t.DoOmbrel_(all, t.generateInitPoint(i, p.w, p.h), 100000);
    }
    CntmTreeCreator c(p.w, p.h);
    bool ok = c.createCntmTree(out, all);
    delete all.outLines;
    return ok ? out.exportTree : nullptr;
}

int checkNode(const ExportOutLineTree* n, int width, const int* parentBox, RGBQUAD parentColour,
              bool hasParent) {
    int nodes = 1;
    int box[4];
    if (n->len > 0) {
        POINT s;
        GeneralFuncs::cnvPosToPoint(s, n->startPos, width);
        EXPECT_TRUE(chaincode::isClosed(n->data, n->len, s)) << "node at " << s.x << "," << s.y;
        GeneralFuncs::set4Bounds(box, n->startPos, n->data, n->len, width);
        if (hasParent && parentBox) {
            EXPECT_TRUE(GeneralFuncs::isLeftInRight(box, const_cast<int*>(parentBox)))
                << "hole at " << s.x << "," << s.y << " leaves its parent's box";
        }
    }
    if (n->type == 1 && hasParent) {
        EXPECT_EQ(n->color.rgbRed, parentColour.rgbRed);
        EXPECT_EQ(n->color.rgbGreen, parentColour.rgbGreen);
        EXPECT_EQ(n->color.rgbBlue, parentColour.rgbBlue);
    }
    for (HoleNode* h = n->holes; h; h = h->next)
        if (h->tree)
            nodes += checkNode(h->tree, width, n->len > 0 ? box : parentBox, n->color, true);
    return nodes;
}

const RGBQUAD kWhite = {255, 255, 255, 0};

}  // namespace

TEST(TracedTree, HolesStayInTheirParentsAndFramesTakeTheirColour) {
    const RGBQUAD kRed = {0, 0, 200, 0}, kGreen = {0, 200, 0, 0}, kBlue = {200, 0, 0, 0};
    struct Shape {
        int x, y, w, h;
        RGBQUAD colour;
    };
    auto check = [](const char* name, int w, int h, int minNodes, std::vector<Shape> shapes) {
        SCOPED_TRACE(name);
        Picture p(w, h, kWhite);
        for (const Shape& s : shapes) p.fill(s.x, s.y, s.w, s.h, s.colour);
        ExportOutLinesStruct out(nullptr, w);
        ExportOutLineTree* t = build(p, out);
        ASSERT_NE(t, nullptr);
        EXPECT_GE(checkNode(t, w, nullptr, kWhite, false), minNodes);
    };
    check("nested rings", 60, 60, 4,
          {{5, 5, 50, 50, kRed},
           {12, 12, 36, 36, kGreen},
           {20, 20, 20, 20, kBlue},
           {26, 26, 8, 8, kWhite}});
    check("touching shapes", 60, 40, 3,
          {{5, 5, 20, 20, kRed}, {25, 5, 20, 20, kGreen}, {15, 25, 20, 10, kBlue}});
    check("shapes touching the border", 50, 40, 3,
          {{0, 0, 15, 15, kRed}, {35, 25, 15, 15, kGreen}, {20, 10, 10, 10, kBlue}});
}
