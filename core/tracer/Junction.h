// Junction: a position of the working outline at which one segment ends and
// another starts. `state` keeps the walk state of each side (254 when built).
#pragma once

struct Segment;

struct Junction {
    Segment* ending = nullptr;  // the segment whose endIndex is this position (not owned)
    unsigned char state[2] = {254, 254};
    Segment* starting = nullptr;  // the segment whose startIndex is this position (not owned)
    bool sideFlag = true;
    int index = 0;             // position on the working outline
    Junction* next = nullptr;  // owned: deleting a junction deletes the rest of its list

    Junction() = default;
    Junction(const Junction&) = delete;
    Junction& operator=(const Junction&) = delete;
    ~Junction() {
        Junction* n = next;
        next = nullptr;
        while (n) {
            Junction* following = n->next;
            n->next = nullptr;
            delete n;
            n = following;
        }
    }
};
