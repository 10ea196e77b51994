#pragma once
// Numbers modulo 2^L - 1 and 2^L + 1 as N words of 32 bits, L = 32 N. Modulo 2^L - 1 both 0 and all ones stand for 0.
// Modulo 2^L + 1 the value 2^L = -1 is N zero words and a flag, which the functions return.

#include "frame/types.h"

namespace kvt::multiply {

bool all_equal(const u32* A, u64 n, u32 value) noexcept;

// out = A[0..n) modulo 2^L - 1, or 2^L + 1; N < n <= 2N, or n <= N: a copy. out may not overlap A.
void reduce_cyclic(u32* out, const u32* A, u64 n, u64 N) noexcept;
bool reduce_negacyclic(u32* out, const u32* A, u64 n, u64 N) noexcept;

// out = -A[0..n) modulo 2^L + 1; n <= N.
bool negate_negacyclic(u32* out, const u32* A, u64 n, u64 N) noexcept;

// All ones become 0.
void normalise_cyclic(u32* A, u64 N) noexcept;

// The number below 2^(2L) - 1 that is Cc modulo 2^L - 1 and Cn (2^L if top) modulo 2^L + 1: low half in Cn, high half
// in Cc. Cc is normalised; words of Cn are 0 if top.
void join_halves(u32* Cc, u32* Cn, bool top, u64 N) noexcept;

}  // namespace kvt::multiply
