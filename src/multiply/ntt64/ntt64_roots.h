#pragma once
// The 64-bit transform's fixed inner roots: the part of the twiddle table's section 2 that serves products above
// 3 * 2^30 bits.

#include "frame/types.h"
#include "multiply/twiddle_component.h"
#include "multiply/twiddle_table.h"

namespace kvt::multiply::ntt64 {

inline constexpr unsigned inner_levels = 12;

// The roots of one prime, as plain residues. With o(k) of order 2^k, o(k + 1)^2 = o(k):
//   inner[0] = 1, inner[2^k + i] = inner[i] * o(k + 2) for i < 2^k
//   ladder[k] = o(k), inverse_ladder[k] = 1 / o(k)
//   radix[j] = a root of order 3, 5, 7; 1 where the set has none
// Twiddles of long transforms are products of an inner root and a few steps of the ladder.
struct PrimeRoots {
    u64 inner[u64{1} << (inner_levels - 1)];
    u64 ladder[64];
    u64 inverse_ladder[64];
    u64 radix[3];
    u64 unused[5];
};

struct Roots {
    PrimeRoots wide[3], longest[3], narrow[6];

    const PrimeRoots& of(unsigned set, unsigned i) const {
        return (set == 0 ? wide : set == 1 ? longest : narrow)[i];
    }
};
inline constexpr u64 roots_bytes = sizeof(Roots);
static_assert(roots_bytes % 64 == 0);

// The table component holds the roots once a length above this was configured.
inline constexpr u64 shorter_max_bits = u64{3} << 30;

// Fills roots_bytes bytes at `at` (8-byte aligned).
void build_roots(void* at) noexcept;

// The word, among those of component 2, that holds the roots' address in a built table; 0: the table has none.
inline constexpr unsigned roots_word = component_words[2] - 1;

// Null when the table was built without them.
const Roots* roots_of(const GlobalTwiddleTable& table) noexcept;

// For tests and benchmarks of short transforms: makes a table of at[0 .. roots_bytes) alone.
GlobalTwiddleTable table_of_roots(void* at) noexcept;

}  // namespace kvt::multiply::ntt64
