// The trace driver: one whole trace from a seed.
#include "platform/Gdi.h"
#include "raster/OutLineManipulator.h"
#include "tracer/BoundChain.h"
#include "tracer/HierarchyWorker.h"
#include "tracer/ListOfOutLines.h"
#include "tracer/Ombrel.h"

#include <new>

Ombrel::RetVal Ombrel::DoOmbrel_(AllOutLines& all, CPoint seed, int maxOutlines_) {
    outlineCount = 0;
    maxOutlines = maxOutlines_;
    int r = DoOmbrel(all, seed);
    if (outlineCount > maxOutlines) return LimitExceeded;
    return r == 1 ? Traced : NotTraced;
}

int Ombrel::DoOmbrel(AllOutLines& all, CPoint seed) {
    if (!valid) return -1;
    if (!IsPointValid(seed)) return -7;
    seedPoint = seed;
    POINT s = seed;
    Initialization(s);

    if (mode == 1) {
        DoOneOutline();
    } else {
        while (DoOneOutline()) {
        }
    }

    delete root;
    root = new (std::nothrow) ListOfOutLines(0);
    if (!root) return 1;
    HierarchyWorker local(0, width);  // only reverses copies

    for (ListOfOutLines* n = resultHead; n; n = n->next) {
        ListOfOutLines* copy = HierarchyWorker::copyOutline(n);
        if (!copy) continue;
        local.reverseOutline(copy);
        copy->next = root->parts;
        root->parts = copy;
    }
    root->child = resultHead;
    resultHead = resultTail = nullptr;
    root->pixelCount = sampleCount;
    root->paletteIndex = GetNearestColor(regionColor, palette, palette ? paletteSize : 0);
    root->color = regionColor;

    if (mode == 3) generateAllOutlines(root->child);
    if (outlineCount > maxOutlines) return 1;

    if (mode == 1 || mode == 2) {
        RePaintRegion();
        OutLineManipulator::WriteIndexRaster(hdc, hBitmap, bitmapInfo, indexRaster, width, height);
    }
    if (hierarchyWorker) hierarchyWorker->simplifyAllParts(root);

    delete all.outLines;
    all.outLines = root;
    root = nullptr;
    all.width = width;
    all.height = height;
    all.size = size;
    return 1;
}

ExportOutLineTree* Ombrel::createOutLineOutPutTree(AllOutLines&) {
    return nullptr;
}
