#include "curves/BmCurve.h"

#include <cstdlib>

BmCurve::~BmCurve() {
    free(diffX);
    free(diffY);
    free(accelX);
    free(accelY);
    free(nodeTurnX);
    free(nodeTurnY);
    free(fwdCurvX);
    free(bwdCurvX);
    free(fwdCurvY);
    free(bwdCurvY);
    free(runs);
    free(stepDx);
    free(stepDy);
    free(chain);
    free(marks);
    free(nodes);
    free(savedNodes);
    free(segments);
}

void BmCurve::allocate(int n) {
    size_t m = static_cast<size_t>(n);
    diffX = static_cast<double*>(calloc(m, sizeof(double)));
    diffY = static_cast<double*>(calloc(m, sizeof(double)));
    accelX = static_cast<double*>(calloc(m, sizeof(double)));
    accelY = static_cast<double*>(calloc(m, sizeof(double)));
    runs = static_cast<StepRun*>(calloc(m, sizeof(StepRun)));
    stepDx = static_cast<int*>(calloc(m, sizeof(int)));
    stepDy = static_cast<int*>(calloc(m, sizeof(int)));
    chain = static_cast<unsigned char*>(calloc(m, 1));
    marks = static_cast<unsigned char*>(calloc(m, 1));
    nodes = static_cast<CurveNode*>(calloc(m, sizeof(CurveNode)));
    valid = diffX && diffY && stepDx && stepDy && chain && marks && runs;
}

int BmCurve::wrapIndex(int i, int m) {
    if (m <= 0) return 0;
    if (i >= 0 && i < m) return i;
    if (i >= m) return i % m;
    int r = i % m;
    return r < 0 ? r + m : r;
}
