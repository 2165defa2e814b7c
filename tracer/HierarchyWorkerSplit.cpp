// Cutting an outline into parts where its children run on it.
#include "tracer/HierarchyWorker.h"
#include "tracer/ListOfOutLines.h"

void HierarchyWorker::splitIntoParts(ListOfOutLines* outline) {
    if (!outline) return;
    ListOfOutLines* c = copyOutline(outline);
    if (c) {
        c->next = outline->parts;
        outline->parts = c;
    }
}
