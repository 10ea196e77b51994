#include <windows.h>

#include "platform/clock.h"
#include "platform/faults.h"

namespace kvt::platform {

bool read_performance_counter(double& seconds) noexcept {
    LARGE_INTEGER count, frequency;
    if (fails(Fault::performance_counter) || !QueryPerformanceFrequency(&frequency) ||
        !QueryPerformanceCounter(&count))
        return false;
    seconds = static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
    return true;
}

}  // namespace kvt::platform
