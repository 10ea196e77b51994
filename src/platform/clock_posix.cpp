#include <time.h>

#include "platform/clock.h"
#include "platform/faults.h"

namespace kvt::platform {

bool read_performance_counter(double& seconds) noexcept {
    timespec now;
    if (fails(Fault::performance_counter) || clock_gettime(CLOCK_MONOTONIC, &now) != 0) return false;
    seconds = static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
    return true;
}

}  // namespace kvt::platform
