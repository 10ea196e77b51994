#pragma once
// Times the two sides of a comparison alternately, so that both see the same machine.

#include "comparison.h"

namespace peers {

// Time of the calling thread leaves out what other processes take; with several threads only the wall clock tells.
enum class Clock { thread, wall };

struct Limits {
    double sample_seconds;  // each timing is at least about this long; shorter than a time slice of the system
    double row_seconds;     // a row takes about this long
    unsigned least_samples, most_samples;
};

struct Side {
    double min_ns, median_ns;
};

struct Measurement {
    Side ours, theirs;
    double ratio;         // median over pairs of the peer's time by ours: above 1, ours is faster
    double ratio_of_min;  // the same of the minima
    unsigned samples;
};

// Both sides run once before (and their results are compared by the caller); this warms up further.
Measurement measure(const Comparison& comparison, const Limits& limits, Clock clock);

}  // namespace peers
