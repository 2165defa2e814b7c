// CurveNode: one node of a curve's node list (positions in pixel coordinates).
#pragma once

struct CurvePoint {
    double x;
    double y;
};

struct CurveNode {
    CurvePoint pos;       // node position
    int span;             // entries of the node list this node covers
    bool absorbed;        // merged into an earlier node; removed by compaction
    bool corner;          // a tangent break lies here
    int origIndex;        // index before compaction
    double bulge;         // signed mean deviation of the replaced polyline from the chord
    double arcAngle;      // half-angle of the arc over the chord to the next node
    bool visited;         // stops segment emission
    double chordLen;      // length of the chord to the next node
    CurvePoint chordDir;  // unit vector from the next node back to this one
};
