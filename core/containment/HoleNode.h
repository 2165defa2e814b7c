// HoleNode: one entry of an export node's hole list. Owns its tree and the
// rest of the list behind it; the list is released in a loop.
#pragma once

class ExportOutLineTree;

struct HoleNode {
    ExportOutLineTree* tree = nullptr;  // owned
    HoleNode* next = nullptr;           // owned

    HoleNode() = default;
    explicit HoleNode(ExportOutLineTree* t) : tree(t) {}
    HoleNode(const HoleNode&) = delete;
    HoleNode& operator=(const HoleNode&) = delete;
    ~HoleNode();
};
