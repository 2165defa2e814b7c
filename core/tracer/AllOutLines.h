// AllOutLines: the record in which one trace is returned. Whoever holds the
// record owns `outLines` (the region node with everything below it).
#pragma once

class ListOfOutLines;

struct AllOutLines {
    ListOfOutLines* outLines = nullptr;
    int width = 0;
    int height = 0;
    int size = 0;
};
