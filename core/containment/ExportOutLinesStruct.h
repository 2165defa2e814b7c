// ExportOutLinesStruct: the record in which the containment builder returns
// its tree. Owns exportTree; width turns start positions back into pixels.
#pragma once

#include "containment/ExportOutLineTree.h"
#include "interface/Om1Export.h"

struct OM1_API ExportOutLinesStruct {
    ExportOutLineTree* exportTree;
    int width;

    ExportOutLinesStruct(ExportOutLineTree* tree, int width_) : exportTree(tree), width(width_) {}
    ~ExportOutLinesStruct() { delete exportTree; }
    ExportOutLinesStruct(const ExportOutLinesStruct&) = delete;
    ExportOutLinesStruct& operator=(const ExportOutLinesStruct&) = delete;
};
