#pragma once
// The process-wide table of precomputed roots of unity. See docs/twiddle-table.md.

#include "frame/types.h"

namespace kvt {

// Public layout: covered and section are documented, the rest is opaque to clients. A caller's own object starts
// zeroed and is released with multiply::free_table().
struct GlobalTwiddleTable {
    u64 covered;         // convolution length in bits that the table was built for; 0 while empty
    void* section[3];    // start of each component's part: FFT, number-theoretic 1 and 2; null where absent
    u64 descriptor[64];  // the components' configuration
    void* block;         // the guarded block that holds all sections
};
static_assert(sizeof(GlobalTwiddleTable) == 8 * (1 + 3 + 64 + 1));

namespace multiply {

GlobalTwiddleTable* global_table() noexcept;

// Grows the global table so that it covers min(bits, 2^64 - 1026) + 1024; does nothing if it already does. To be
// called from one thread, and not while any transform reads the table.
void ensure_global_table(u64 bits);

// Builds afresh into a caller's object (zeroed or built before).
void make_table(GlobalTwiddleTable& table, u64 bits);
void free_table(GlobalTwiddleTable& table);

}  // namespace multiply
}  // namespace kvt
