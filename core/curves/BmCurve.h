// BmCurve: every intermediate form of one outline: per-step arrays, runs,
// nodes and the finished segment list. Arrays are calloc'd once at their
// final size and freed with the record.
#pragma once

#include "curves/BezierSegment.h"
#include "curves/CurveNode.h"
#include "curves/StepRun.h"
#include "platform/WinTypes.h"

struct BmCurve {
    double* diffX = nullptr;
    double* diffY = nullptr;
    double* accelX = nullptr;
    double* accelY = nullptr;
    double* nodeTurnX = nullptr;
    double* nodeTurnY = nullptr;
    double* fwdCurvX = nullptr;
    double* bwdCurvX = nullptr;
    double* fwdCurvY = nullptr;
    double* bwdCurvY = nullptr;
    StepRun* runs = nullptr;
    int* stepDx = nullptr;
    int* stepDy = nullptr;
    unsigned char* chain = nullptr;
    unsigned char* marks = nullptr;
    int count = 0;
    int window = 0;
    bool valid = false;
    POINT runShift = {0, 0};  // offset from start to the first pixel of run 0
    POINT start = {0, 0};
    CurveNode* nodes = nullptr;
    CurveNode* savedNodes = nullptr;
    int savedNodeCount = 0;
    int nodeCount = 0;
    double tolerance = 0;
    BezierSegment* segments = nullptr;  // in emission order
    int segmentCount = 0;

    BmCurve() = default;
    BmCurve(const BmCurve&) = delete;
    BmCurve& operator=(const BmCurve&) = delete;
    ~BmCurve();

    // Allocates every per-step array for n steps; sets valid.
    void allocate(int n);

    // i wrapped into 0..m-1 (truncating remainder, plus m when negative).
    static int wrapIndex(int i, int m);

    // Straight-line editing.
    static double pointChordDistance(CurvePoint p, CurvePoint a, CurvePoint b);
    bool mergeNext(int i);
    double chordFit(int i, int s, double& length);
    double pairError(int i, int s1, int j, int s2);
    bool adjustBoundary(int a, int& b);

    // Bezier fitting.
    static double solveHalfAngle(double r);
    bool emitSegment(BezierSegment& out, int& index);
};
