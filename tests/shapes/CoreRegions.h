// The regions the library's tracer finds at colour tolerance 0, as the
// output layer sees them (its contour tree painted into a LabelRaster and
// reconciled with the picture), compared with a RegionTree of the same
// picture. Shared by the region tests and bench/RegionReport.
//
// The tracer's chains can run through a neighbouring region's pixels, it
// cuts regions that touch themselves, their parent or the border into parts
// under a frame, and regions of at most 4 pixels get no outline (the
// correction adds them back). So:
// - every painted node must lie in one labelled region of its colour;
// - a labelled region covered by more than one node was cut into parts
//   (counted, not a difference of regions);
// - containment: the labelled parent of the region of a traced node should
//   be the region of its nearest ancestor that lies in another region
//   (frames skipped), or none; the nodes where it is not are counted (the
//   tracer hangs holes below the frame or another part of a region it cut).
//   Nodes added by the correction only say where the painting put a missing
//   speck, and are not compared.
#pragma once

#include <string>
#include <vector>

#include "companion/KvCtree.h"
#include "prepare/RegionTree.h"
#include "prepare/TraceOptions.h"
#include "prepare/Tracer.h"
#include "shapes/LabelRaster.h"

namespace coreregions {

struct Comparison {
    bool same = false;
    std::string why;      // the first difference found
    int labelled = 0;     // regions of the RegionTree
    int nodes = 0;        // painted nodes of the tracer's tree (frames left out)
    int cut = 0;          // labelled regions the tracer cut into several nodes
    int corrected = 0;    // nodes the correction added (specks without an outline)
    long long moved = 0;  // pixels the correction moved
    // Traced nodes whose nearest ancestor in another region (frames
    // skipped) is not the region's labelled parent: where the tracer hangs a
    // region below a frame of the region around it (that region cut into
    // parts) rather than below that region, or below another part.
    int otherParent = 0;
    std::string firstOtherParent;
};

// `pixels` must have a block of 3 x 3 pixels of one colour: the tracer's
// first region is its seed's 3 x 3 ring whatever the colours there.
inline Comparison compare(const RGBQUAD* pixels, int w, int h, const om1::RegionTree& tree) {
    Comparison r;
    r.labelled = tree.regions();
    om1::TraceOptions o;
    o.tolerancePercent = 0;
    o.minOutlineLen = 0;
    o.treeCurves = false;
    KvCtree* kv = nullptr;
    if (om1::Tracer::trace(pixels, w, h, o, kv) != om1::Tracer::Done) {
        r.why = "the tracer failed";
        return r;
    }
    om1::LabelRaster lr;
    const bool painted = lr.build(kv, w, h, pixels);
    r.moved = painted ? lr.reconcile(pixels, 0) : -1;
    kvctr_deleteKvCtree(kv);
    if (!painted || r.moved < 0) {
        r.why = "cannot paint the tracer's tree";
        return r;
    }
    const size_t n = static_cast<size_t>(w) * h;
    const int nodes = static_cast<int>(lr.nodes.size());
    // The region of every node: that of its first pixel; a traced node must
    // lie in that one region (a corrected speck may join a node of its
    // colour across a corner).
    std::vector<int> region(static_cast<size_t>(nodes), -1);
    for (size_t p = 0; p < n; ++p) {
        const int a = lr.labels[p], l = tree.labels[p];
        if (region[a] < 0) region[a] = l;
        if (region[a] != l && lr.nodes[a].tree) {
            r.why = "node " + std::to_string(a) + " lies in regions " + std::to_string(region[a]) +
                    " and " + std::to_string(l);
            return r;
        }
    }
    std::vector<int> covering(tree.parents.size(), 0);
    for (int a = 0; a < nodes; ++a) {
        if (lr.nodes[a].frame || region[a] < 0) continue;
        ++r.nodes;
        if (++covering[region[a]] == 2) ++r.cut;
        if (!lr.nodes[a].tree) {
            ++r.corrected;
            continue;
        }
        int b = lr.nodes[a].parent;
        while (b >= 0 && (lr.nodes[b].frame || region[b] < 0 || region[b] == region[a]))
            b = lr.nodes[b].parent;
        const int traced = b < 0 ? -1 : region[b];
        int labelled = tree.parents[region[a]];
        if (tree.rootFrame && labelled == 0) labelled = -1;
        if (traced != labelled) {
            if (r.otherParent == 0)
                r.firstOtherParent = "region " + std::to_string(region[a]) + " lies in " +
                                     std::to_string(labelled) + ", traced in " +
                                     std::to_string(traced);
            ++r.otherParent;
        }
    }
    for (size_t l = tree.rootFrame ? 1 : 0; l < tree.parents.size(); ++l)
        if (covering[l] == 0) {
            r.why = "region " + std::to_string(l) + " has no node";
            return r;
        }
    r.same = true;
    return r;
}

}  // namespace coreregions
