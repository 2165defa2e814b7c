// CurveConverter: turns the chain code of one closed outline into straight
// chords and then into closed cubic Bezier segments.
//
// Choices of this implementation:
// - Converters are not copyable (copying would share the curve record and
//   delete it twice).
// - The default constructor's straight-line tolerance is 1.0 pixel: a
//   staircase of single steps lies within it of its chord, so pixel noise
//   merges while shapes larger than a pixel keep their nodes.
// - A chord whose ends coincide gives length 0 to the pair error.
// - A null chain with a positive length is refused without a read (false,
//   an earlier curve stays).
#pragma once

#include "curves/BezierSegment.h"
#include "curves/BmCurve.h"
#include "curves/CurveCnvrtParam.h"
#include "interface/Om1Export.h"
#include "platform/WinTypes.h"

class OM1_API CurveConverter {
public:
    BmCurve* curve;    // owned; null when none
    double tolerance;  // straight-line tolerance in pixels

    CurveConverter();
    explicit CurveConverter(double tolerance);
    ~CurveConverter();
    CurveConverter(const CurveConverter&) = delete;
    CurveConverter& operator=(const CurveConverter&) = delete;

    // 1 when |x| < 1e-8, else 0.
    static int IS_ZERO(double x);

    // Builds a new curve record from len codes starting at pixel start.
    // len < 1: true, nothing changes.
    bool getCurveData(unsigned char* chain, int len, POINT start);
    bool AverFilter(int k);
    bool cornerProtectiveFilter(int k);
    bool smoothFiniteDiff(double lambda);
    // The result of cornerProtectiveFilter(param.window); chain and len unused.
    bool convertBmCurveToBezier(unsigned char* chain, int len, const CurveCnvrtParam& param);

    // One node per run of equal codes.
    bool dropSmartMedian();
    // Merging, boundary moves, compaction, bulges, arc angles, corners and
    // emission of the segment list.
    void editStraightLines();

    // Primitive marking: 5 candidate, 4 inside a primitive, 1 its end, 0 none.
    // Per step; needs the node measures of markPrimitivesQS (false before).
    bool markPrimitives(double tol);
    // Per node: computes the six node measures, then marks the nodes.
    bool markPrimitivesQS(double tol);

    // Rasterisers, for inspection. Pixel (x, y) is entry x + y * width;
    // positions are clamped into the raster. Nothing is ever written outside
    // 0 .. min(size, width * height) - 1 (setCurveIntoDIB32 honours size too),
    // and a null buffer or a non-positive size draws nothing. False (nothing
    // for the void one) without a curve. Two consecutive node points less than
    // a pixel apart are plotted as the single point.
    bool setCurveIntoDIB32(RGBQUAD* bits, int size, int width, int height, RGBQUAD color,
                           POINT offset);
    bool setCurveIntoDIB8(unsigned char* bits, int size, int width, int height, unsigned char value,
                          POINT offset);
    bool setPoligonIntoDIB8(unsigned char* bits, int size, int width, int height,
                            unsigned char value, POINT offset);
    void setCurveIntoDIB8_QS(unsigned char* bits, int size, int width, int height,
                             unsigned char value, POINT offset);

    // The finished segments (emission order); 0 and null without a curve.
    int getSegmentCount() const;
    const BezierSegment* getSegments() const;

protected:
    // Sliding window sums of k differences (first pass of the window filters).
    void windowSums(int k);
    // Subtracts the means so that the differences sum to zero again.
    void subtractMeans();
    // Solves the pentadiagonal system for one coordinate; false on a zero pivot.
    bool solvePentadiagonal(double lambda, const double* y, double* z, int m);
    bool smoothOne(double lambda, const int* steps, double* diff, double* y, double* z);
    void mergePass();
    void compact();
    void measureBulges();
    void chordDataAndArcAngles();
    void markCorners();
    void emit();
    bool computeNodeMeasures();
    bool markNodes(double tol);
};
