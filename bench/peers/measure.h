#pragma once
// Times the two sides of a comparison alternately, so that both see the same machine.

#include "comparison.h"

namespace peers {

struct Limits {
    double sample_seconds;  // each timing is at least about this long
    double row_seconds;     // a row takes about this long
    unsigned least_samples, most_samples;
};

struct Side {
    double min_ns, median_ns;
};

struct Measurement {
    Side ours, theirs;
    double ratio;  // median over pairs of the peer's time by ours: above 1, ours is faster
    unsigned samples;
};

// Both sides run once before (and their results are compared by the caller); this warms up further.
Measurement measure(const Comparison& comparison, const Limits& limits);

}  // namespace peers
