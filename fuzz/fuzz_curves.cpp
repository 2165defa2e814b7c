// Fuzzes the curve converter on arbitrary closed chains: a walk of up to
// 4000 steps from the bytes, closed by straight runs back to its start, then
// the converter's whole sequence (runs, straight-line editing, primitives,
// the window-filter path and the rasterisers into a small buffer). Every
// segment point must be a finite number.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "FuzzInput.h"
#include "curves/CurveConverter.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzInput in(data, size);
    const int tolerance = in.parameter(8);
    const int window = in.parameter(12);
    POINT start = {static_cast<LONG>(in.byte() % 64), static_cast<LONG>(in.byte() % 64)};
    std::vector<unsigned char> chain;
    long dx = 0, dy = 0;
    while (in.left() > 0 && chain.size() < 4000) {
        uint8_t b = in.byte();
        for (int k = 0; k < 4; ++k, b >>= 2) {  // four codes a byte
            const unsigned char c = b & 3;
            chain.push_back(c);
            dx += c == 0 ? 1 : c == 2 ? -1 : 0;
            dy += c == 1 ? 1 : c == 3 ? -1 : 0;
        }
    }
    for (; dx > 0; --dx) chain.push_back(2);
    for (; dx < 0; ++dx) chain.push_back(0);
    for (; dy > 0; --dy) chain.push_back(3);
    for (; dy < 0; ++dy) chain.push_back(1);
    const int len = static_cast<int>(chain.size());

    CurveConverter cc(tolerance);
    if (cc.getCurveData(chain.data(), len, start)) {
        cc.dropSmartMedian();
        cc.editStraightLines();
        const BezierSegment* s = cc.getSegments();
        const int n = cc.getSegmentCount();
        for (int i = 0; i < n; ++i)
            for (const auto* p : {&s[i].p0, &s[i].p1, &s[i].p2, &s[i].p3})
                if (!std::isfinite(p->x) || !std::isfinite(p->y)) abort();
        cc.markPrimitivesQS(tolerance);
        cc.markPrimitives(tolerance);
        std::vector<unsigned char> raster(64 * 64);
        std::vector<RGBQUAD> raster32(64 * 64);
        const POINT offset = {static_cast<LONG>(window % 8), 0};
        cc.setCurveIntoDIB8(raster.data(), 64 * 64, 64, 64, 1, offset);
        cc.setPoligonIntoDIB8(raster.data(), 64 * 64, 64, 64, 2, offset);
        cc.setCurveIntoDIB8_QS(raster.data(), 64 * 64, 64, 64, 3, offset);
        cc.setCurveIntoDIB32(raster32.data(), 64 * 64, 64, 64, RGBQUAD{1, 2, 3, 0}, offset);
    }
    CurveConverter filtered(tolerance);
    if (filtered.getCurveData(chain.data(), len, start)) {
        CurveCnvrtParam param{window};
        filtered.convertBmCurveToBezier(chain.data(), len, param);
        filtered.smoothFiniteDiff(window / 4.0);
    }
    return 0;
}
