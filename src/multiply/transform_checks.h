#pragma once
// What every user of a transform engine does before the first write: counts, sizes, checks.

#include <algorithm>
#include <cstdint>

#include "frame/parameters.h"
#include "multiply/engine.h"

namespace kvt::multiply {

// An array as the engines see it.
template <class W>
Operand operand_of(const W* A, u64 L) {
    return {reinterpret_cast<const u8*>(A), L * (sizeof(W) / 4)};
}
template <class W>
Window window_of(W* C, u64 first, u64 count) {
    return {reinterpret_cast<u8*>(C), first * (sizeof(W) / 4), count * (sizeof(W) / 4)};
}

// The first address from `memory` on that is a multiple of `alignment`, a power of two.
inline void* aligned(void* memory, u64 alignment) noexcept {
    return static_cast<u8*>(memory) + (0 - reinterpret_cast<std::uintptr_t>(memory)) % alignment;
}

// Whether the arrays have no word in common.
template <class W>
bool disjoint(const W* X, u64 LX, const W* Y, u64 LY) {
    return X >= Y + LY || Y >= X + LX;
}

// Tasks that a product of so many bits can use; at least 1.
constexpr u64 bits_per_task = 64 * 4096;
inline u64 useful_tasks(u64 tasks, u64 bits) noexcept {
    return std::max<u64>(1, std::min(tasks, bits / bits_per_task));
}

// Scratch of a one-shot product, and of two kept operands with the working bytes. Sizes saturate.
u64 product_scratch_bytes(const TransformPlan& plan, u64 useful_tasks) noexcept;
u64 kept_scratch_bytes(const TransformPlan& plan, u64 useful_tasks) noexcept;

// The parameters' table; raises "Lookup table is too small." when it does not cover the plan.
const GlobalTwiddleTable& require_table(const BasicParameters& params, const TransformPlan& plan,
                                        const char* location);

// Warns once, on the console, when the scratch memory is badly aligned.
void warn_if_misaligned(const BasicParameters& params);

}  // namespace kvt::multiply
