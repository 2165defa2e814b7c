// StepRun: a maximal run of equal chain codes.
#pragma once

struct StepRun {
    int start;   // index of the run's first step in the chain
    int length;  // number of steps
    int dir;     // the code of all its steps
};
