// kvMngr: turns a finished containment tree of export nodes into the output
// contour tree (KvCtree) and converts every outline into cubic Bezier curves.
//
// The pipeline runs delSmallOutLn, then createKvCTree, then
// convBmToBezierRecurs on the new root, passing the raster width as the width
// argument (the manager's own fields are not used by these operations).
//
// The results of createKvCTree and convBmToBezierRecurs tell a host whether
// the tree is complete: false means it was filled only up to the node at
// which an allocation failed. The pipeline itself does not consult them.
#pragma once

#include "companion/KvCtree.h"
#include "interface/Om1Export.h"

class ExportOutLineTree;

class OM1_API kvMngr {
public:
    int width;
    int height;

    kvMngr(int width, int height);
    kvMngr(const kvMngr&) = default;
    kvMngr& operator=(const kvMngr&) = default;
    virtual ~kvMngr();

    // Removes, below root, every hole whose chain is strictly shorter than
    // minLen (with its whole subtree). The root itself is always kept.
    void delSmallOutLn(int minLen, ExportOutLineTree* root);
    void delSmallOutLnRec(int minLen, ExportOutLineTree* node);

    // out = a new KvCtree filled from root; false (out null) when the tree
    // cannot be created, false (out partly filled) when a hole cannot be added.
    bool createKvCTree(KvCtree*& out, ExportOutLineTree* root, int width);
    bool createKvCTreeRecurs(KvCtree* target, ExportOutLineTree* node, int width);

    // Converts node and then its holes, depth first; stops at the first
    // failure (a point array that cannot be allocated).
    bool convBmToBezierRecurs(KvCtree* node, int tolerance, int width);
    // One node: 3n + 1 points for n Bezier segments; a node with an empty
    // chain or no segment keeps no points. A null node or a width below 1
    // gives true and changes nothing.
    bool convBmToBezier(KvCtree* node, int tolerance, int width);
};
