#pragma once
// Residues modulo 2^64 - 1 of short numbers: every bit counts, and a word takes an addition. 2^64 - 1
// itself may stand for 0.

#include "frame/types.h"

namespace kvt::kernels {

inline u64 fold(u128 x) noexcept {
    const u64 low = static_cast<u64>(x), sum = low + static_cast<u64>(x >> 64);
    return sum + (sum < low);
}

template <class W>
u64 residue64(const W* words, u64 n) noexcept {
    u128 sum = 0;
#pragma GCC unroll 4
    for (u64 i = 0; i < n; ++i) sum += static_cast<u64>(words[i]) << (sizeof(W) == 8 ? 0 : i % 2 * 32);
    return fold(sum);
}

inline u64 add_residues(u64 a, u64 b) noexcept { return fold(static_cast<u128>(a) + b); }
inline u64 multiply_residues(u64 a, u64 b) noexcept { return fold(static_cast<u128>(a) * b); }

// a - b; 0 when they are the same.
inline u64 residue_difference(u64 a, u64 b) noexcept {
    const u64 difference = a - b - (a < b);
    return difference == ~u64{0} ? 0 : difference;
}

}  // namespace kvt::kernels
