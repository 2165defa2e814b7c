// Result of comparing the bounding boxes of a first and a second outline.
// A box contains another when its max x and max y are >= and its min x and
// min y are <= those of the other; equal boxes contain each other.
#pragma once

enum Compare {
    FirstInsideSecond = 0,    // the second box contains the first and they differ
    FirstContainsSecond = 1,  // the first box contains the second (also when equal)
    NoContainment = 2
};
