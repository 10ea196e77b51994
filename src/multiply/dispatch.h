#pragma once
// All large products and squares of the library. Each picks the first algorithm of the threshold table whose limit
// covers the product's length, and fails with a generic error, nothing written, when there is none.

#include "multiply/algorithm.h"

namespace kvt::multiply {

// C[0..2L) = A * A. C must not overlap A.
template <class W>
void sqr_p(const BasicParameters& params, W* C, const W* A, u64 L);

// C[0..LA+LB) = A * B. C must not overlap the operands.
template <class W>
void mul_p(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B, u64 LB);

// Sizes of a product or square of L words.
template <class W>
void mul_Psize(MulSizeRecord& record, u64 L, u64 tasks);

// Scratch bytes that cover products of L words and of every smaller length, transform helpers included.
// Writes 0 before it raises.
template <class W>
void mul_iPsize(u64& bytes, u64 L, u64 tasks);

// C[0..count) = words first.. of the exact product; zeros beyond it. C may overlap the operands. The algorithm is
// chosen by the length of the product of what the operands have below word first + count.
template <class W>
void sqrp_p(const BasicParameters& params, W* C, u64 first, u64 count, const W* A, u64 L);
template <class W>
void mulp_p(const BasicParameters& params, W* C, u64 first, u64 count, const W* A, u64 LA, const W* B, u64 LB);

// Sizes of a partial product; L = min(LA, first + count) + min(LB, first + count).
template <class W>
void mulp_Psize(MulSizeRecord& record, u64 L, u64 tasks);

}  // namespace kvt::multiply
