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

}  // namespace kvt::kernels
