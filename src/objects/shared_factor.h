#pragma once
// Two products A*B and B*C that share B's transform.

#include <algorithm>

#include "multiply/transform_helper.h"
#include "multiply/twiddle_table.h"

namespace kvt::objects {

// Shorter operands are multiplied faster on their own (measured; below, direct products are used).
inline constexpr u64 shortest_shared_bits = 400 * 64;

// Sharing makes five transforms of the longer product's length, two products make three each of their own.
template <class W>
constexpr bool sharing_pays(u64 LA, u64 LB, u64 LC) noexcept {
    const u64 shortest = std::min({LA, LB, LC}), longest = std::max({LA, LB, LC});
    return shortest >= shortest_shared_bits / word_bits<W> && longest <= 2 * shortest &&
           5 * std::max(LA + LB, LB + LC) <= 3 * (LA + LB + LB + LC);
}

// Whether to share, with parameters that were sized for the two products.
template <class W>
bool shares_factor(const BasicParameters& params, u64 LA, u64 LB, u64 LC) {
    if (!sharing_pays<W>(LA, LB, LC) || params.table == nullptr) return false;
    const auto needs = multiply::TransformHelper<W>::needs(LB + std::max(LA, LC), params.tasks);
    return needs.scratch_bytes <= params.memory_bytes && needs.table_bits <= params.table->covered;
}

}  // namespace kvt::objects
