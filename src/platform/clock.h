#pragma once
// The monotonic clock of the platform.

namespace kvt::platform {

// Seconds since some fixed moment, by the performance counter; false where it cannot be read.
bool read_performance_counter(double& seconds) noexcept;

}  // namespace kvt::platform
