// The outline limit and the minimum length of whole traces in mode 3. (What
// every trace stores is checked by ResultInvariants, closed chains inside the
// raster at every minimum length, and pinned by the golden results.)
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TracerFixtures.h"
#include "tracer/AllOutLines.h"
#include "tracer/ListOfOutLines.h"

namespace {

const DWORD kWhite = 0xFFFFFF;
const DWORD kBlack = 0x000000;

// Traces like the entry points do: seeds 0 to 8 until a region node with parts.
struct Trace {
    AllOutLines all;
    int result = 1;
    int outlineCount = 0;
    Trace(Image& img, int tol, int minLen, int maxOutlines) {
        for (int i = 0; i < 9; ++i) {
            OutLineManipulator olm(img.px.data(), img.w, img.h, tol, minLen, 3, 0);
            TestOmbrel t(&olm);
            if (!t.isValid()) continue;
            delete all.outLines;
            all.outLines = nullptr;
            result = t.DoOmbrel_(all, t.generateInitPoint(i, img.w, img.h), maxOutlines);
            outlineCount = t.outlineCount;
            if (all.outLines && all.outLines->parts) break;
        }
    }
    ~Trace() { delete all.outLines; }
};

// A signature of the outlines (child, next) and their parts: lengths and
// starts, to compare two traces.
void collect(const ListOfOutLines* n, std::string& s, bool isRoot) {
    for (; n; n = n->next) {
        for (const ListOfOutLines* p = n->parts; p; p = p->next)
            s += "p" + std::to_string(p->len) + "@" + std::to_string(p->start.x) + "," +
                 std::to_string(p->start.y);
        if (!isRoot) s += "o" + std::to_string(n->len);
        s += "(";
        collect(n->child, s, false);
        s += ")";
    }
}

std::string traceRows(const std::vector<std::string>& rows, int minLen) {
    const int h = static_cast<int>(rows.size()), w = static_cast<int>(rows[0].size());
    Image img(w, h, 0);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            if (rows[y][x] == 'o') img.set(x, y, 0x808080);
    OutLineManipulator olm(img.px.data(), w, h, 20, minLen, 3, 0);
    TestOmbrel t(&olm);
    std::string s;
    if (!t.isValid()) return s;
    AllOutLines all{};
    EXPECT_EQ(t.DoOmbrel_(all, t.generateInitPoint(0, w, h), 100000), 0);
    collect(all.outLines, s, true);
    delete all.outLines;
    return s;
}

}  // namespace

// The limit holds exactly: the number of outlines a trace stores passes, one
// fewer fails with nothing kept.
TEST(WholeTrace, OutlineLimit) {
    Image img(40, 40, kWhite);
    for (int i = 0; i < 5; ++i) img.fill(2 + 7 * i, 5, 4, 4, kBlack);
    Trace many(img, 10, 4, 1000);
    ASSERT_EQ(many.result, 0);
    int n = many.outlineCount;
    ASSERT_GT(n, 2);
    Trace exact(img, 10, 4, n);
    EXPECT_EQ(exact.result, 0);
    Trace fewer(img, 10, 4, n - 1);
    EXPECT_EQ(fewer.result, 2);
    EXPECT_EQ(fewer.all.outLines, nullptr);
}

// A negative minimum length behaves as 0. The short loops that enclose no
// pixel are not stored at 0 either, so 0 to 3 agree wherever no 2 x 2 block
// is traced as a region of its own.
TEST(WholeTrace, NegativeMinimumLengthActsAsZero) {
    const std::vector<std::string> rows = {"..........", ".oo...o...", ".oo..o.o..", "......o...",
                                           "...o......", "..........", "....oo..o."};
    const std::string zero = traceRows(rows, 0);
    EXPECT_FALSE(zero.empty());
    for (int minLen : {-1, -2, -5, -1000000}) EXPECT_EQ(traceRows(rows, minLen), zero) << minLen;
}
