#include "frame/parameters.h"

namespace kvt {

void split_parameters(const BasicParameters& whole, BasicParameters& first, BasicParameters& second) noexcept {
    const BasicParameters w = whole;
    const u64 half_bytes = w.memory_bytes / (2 * data_alignment_bytes) * data_alignment_bytes;
    const u64 half_tasks = w.tasks / 2;
    first = {w.table, w.memory, half_bytes, w.tasks - half_tasks};
    second = {w.table, static_cast<unsigned char*>(w.memory) + half_bytes, half_bytes, half_tasks};
}

}  // namespace kvt
