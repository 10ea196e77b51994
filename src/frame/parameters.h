#pragma once
// The per-call parameter record, and the records that cross the C boundary with it.

#include <cstddef>

#include "frame/types.h"

namespace kvt {

struct GlobalTwiddleTable;  // multiply/twiddle_table.h

struct BasicParameters {
    const GlobalTwiddleTable* table;
    void* memory;  // the caller's scratch memory; any alignment is accepted, GetAlignment() is fastest
    u64 memory_bytes;
    u64 tasks;  // parallel tasks that the call may use; 0 counts as 1
};
static_assert(sizeof(BasicParameters) == 32 && offsetof(BasicParameters, tasks) == 24);

// Data alignment of the library, in bytes.
inline constexpr u64 data_alignment_bytes = 32;

// Divides a record for the two sides of a fork: same table, half the memory each (rounded down to 32 bytes), the
// larger half of the tasks first. first may be whole itself.
void split_parameters(const BasicParameters& whole, BasicParameters& first, BasicParameters& second) noexcept;

}  // namespace kvt
