#pragma once
// Limits and scratch of the radix-2^52 products, for their callers. (Not in the table's header: functions there would
// be compiled for the instruction set too.)

#include "frame/types.h"
#include "kernels/ifma52_table.h"

namespace kvt::kernels {

// A column adds up to two 52-bit halves a limb of the shorter operand, doubled in a square: 4 * limbs * 2^52 <= 2^64.
inline constexpr u64 ifma52_longest_limbs = 1024;
inline constexpr u64 ifma52_longest_bytes = ifma52_longest_limbs * 52 / 8;

constexpr u64 ifma52_limbs(u64 bytes) noexcept { return (8 * bytes + 51) / 52; }

// Limbs of each operand in vectors of eight; the longer one between two vectors of zeros; 63 bytes for alignment.
constexpr u64 ifma52_scratch_bytes(u64 a_bytes, u64 b_bytes) noexcept {
    return 64 * ((ifma52_limbs(a_bytes) + 7) / 8 + (ifma52_limbs(b_bytes) + 7) / 8 + 2) + 63;
}

// Limbs of the lower half, in whole vectors, when an operand of so many bytes is the longer one of a product.
constexpr u64 ifma52_half(u64 bytes) noexcept { return (ifma52_limbs(bytes) + 15) / 16 * 8; }

// Limbs of both halves and their difference, each between vectors of zeros, of one operand (a square) or two, and the
// column sums of the halves' products.
constexpr u64 ifma52_split_scratch_bytes(u64 longer_bytes, u64 operands) noexcept {
    const u64 h = ifma52_half(longer_bytes);
    return 8 * (operands * (3 * h + 32) + 4 * h) + 63;
}

// Whether splitting saves more than its passes take: as long as so many products of limbs for each limb of the longer
// operand. Measured on Zen 4.
inline constexpr u64 ifma52_multiply_passes = 14, ifma52_square_passes = 24, ifma52_shortest_split_bytes = 480;

constexpr bool ifma52_splits(u64 shorter_bytes, u64 longer_bytes, u64 passes) noexcept {
    if (shorter_bytes < ifma52_shortest_split_bytes) return false;
    const u64 a = ifma52_limbs(shorter_bytes), b = ifma52_limbs(longer_bytes), h = ifma52_half(longer_bytes);
    return a > h && b <= ifma52_longest_limbs && 2 * h * h + (a - h) * (b - h) + passes * b < a * b;
}

}  // namespace kvt::kernels
