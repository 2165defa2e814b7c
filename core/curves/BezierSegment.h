// BezierSegment: one cubic segment; p0 and p3 are its end points.
#pragma once

#include "curves/CurveNode.h"

struct BezierSegment {
    CurvePoint p0;
    CurvePoint p1;
    CurvePoint p2;
    CurvePoint p3;
};
