#pragma once
// What the phases of a long conversion take.

#include "frame/fatal.h"
#include "platform/clock.h"

namespace kvt::text {

// Seconds of wall time.
struct PhaseSeconds {
    double scaling = 0, squaring = 0, converting = 0;
};

// Adds the time from its construction to the end of its scope. A counter that cannot be read ends the process.
// Null: nothing is timed.
class PhaseTimer {
  public:
    explicit PhaseTimer(double* seconds) noexcept : seconds_(seconds), start_(seconds != nullptr ? now() : 0) {}
    ~PhaseTimer() {
        if (seconds_ != nullptr) *seconds_ += now() - start_;
    }
    PhaseTimer(const PhaseTimer&) = delete;
    PhaseTimer& operator=(const PhaseTimer&) = delete;

  private:
    static double now() noexcept {
        double seconds;
        if (!platform::read_performance_counter(seconds)) fatal_exit("Unable to access performance counter.");
        return seconds;
    }

    double* seconds_;
    double start_;
};

}  // namespace kvt::text
