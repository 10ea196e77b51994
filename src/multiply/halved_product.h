#pragma once
// Products that no longer fold over the longest transform of a shorter rung, by Karatsuba's step and three products that
// do, or fit it: it spreads the step up to the next rung's transforms.

#include "multiply/engine_algorithm.h"

namespace kvt::multiply {

// The longest product in bits that the rung above one which reaches `bits` halves.
constexpr u64 longest_halved_bits(u64 bits) { return 2 * bits + bits / 16; }

// Of the factors the shorter one lacks at most a sixteenth. Scratch for the product of their halves' differences:
constexpr u64 difference_bytes(u64 bits) { return bits / 8 / 15 * 8 + 64; }

// Cost of a product of LA by LB <= LA words, or the square of LA, by halves; the largest number where it is none.
template <class W>
u64 halved_cost(const EngineRung& rung, u64 LA, u64 LB, bool square, u64 scratch_bytes, u64 tasks) noexcept;

}  // namespace kvt::multiply
