#pragma once
// Karatsuba product and square, in the form that subtracts the halves: |A0 - A1| needs no carry word.
//
// A is split at l = ceil(L/2) words: A0 low (l words), A1 high (h = L - l words). With DA = |A0 - A1|, DB = |B0 -
// B1|,
//   A * B = A0 B0 + (A0 B0 + A1 B1 -+ DA DB) X^l + A1 B1 X^2l,
// minus when A0 - A1 and B0 - B1 have the same sign. The differences stand in C until the low product overwrites
// them; DA DB stands in the first 2l words of the scratch, and the rest of it serves the next level.

#include <algorithm>

#include "kernels/ifma52.h"
#include "kernels/schoolbook.h"

namespace kvt::kernels {

// Lengths from which a product or square is split. Those of the 64-bit routines may be tuned; read on every call;
// at least 4.
extern u64 karatsuba_mul_threshold, karatsuba_sqr_threshold;

// Where the word kernels have mulx, schoolbook products reach further. Scratch is counted by the thresholds above.
extern u64 karatsuba_adx_mul_threshold, karatsuba_adx_sqr_threshold;

template <class W>
u64 mul_threshold() noexcept {
    return sizeof(W) == 8 ? karatsuba_mul_threshold : 12;
}
template <class W>
u64 sqr_threshold() noexcept {
    return sizeof(W) == 8 ? karatsuba_sqr_threshold : 22;
}

// Lengths that are split at the active level.
template <class W>
u64 mul_split_words() noexcept {
    const bool adx = sizeof(W) == 8 && active_levels().word == WordLevel::adx;
    return std::max(mul_threshold<W>(), adx ? karatsuba_adx_mul_threshold : 0);
}
template <class W>
u64 sqr_split_words() noexcept {
    const bool adx = sizeof(W) == 8 && active_levels().word == WordLevel::adx;
    return std::max(sqr_threshold<W>(), adx ? karatsuba_adx_sqr_threshold : 0);
}

// Words of scratch of a Karatsuba recursion from length L on: each level that is split takes its length rounded up to
// even and passes the rest on.
constexpr u64 karatsuba_scratch_words(u64 L, u64 threshold) noexcept {
    u64 sum = 0;
    for (; L >= threshold; L = (L + 1) / 2) sum += (L + 1) & ~u64{1};
    return sum;
}

// What mulK() and sqrK() need at S.
template <class W>
u64 mulK_scratch_words(u64 LA, u64 LB) noexcept {
    const u64 n = LA < LB ? LA : LB;
    if (n < mul_threshold<W>()) return 0;
    return karatsuba_scratch_words(n, mul_threshold<W>()) + (LA == LB ? 0 : 2 * n);
}

template <class W>
u64 sqrK_scratch_words(u64 L) noexcept {
    return karatsuba_scratch_words(L, sqr_threshold<W>());
}

// Scratch that the entry "BKT" of the dispatcher answers for a product of L words: two operand buffers, 24 bytes a
// 64-bit word of working space, and the Karatsuba term by the 64-bit thresholds in both widths; for lengths beyond the
// default thresholds no less than radix-2^52 products of two operands of L words take beside their 16 L bytes.
template <class W>
u64 karatsuba_entry_bytes(u64 L) noexcept {
    const u64 n = sizeof(W) == 8 ? L : (L + 1) / 2;
    const u64 square = 8 * karatsuba_scratch_words(n, karatsuba_sqr_threshold);
    const u64 product =
        n >= karatsuba_mul_threshold ? 16 * n + 8 * karatsuba_scratch_words(n, karatsuba_mul_threshold) : 0;
    const u64 split = 8 * n >= ifma52_shortest_split_bytes ? ifma52_split_scratch_bytes(8 * n, 2) - 8 * n : 0;
    return (8 * n + 39) / 32 * 64 + 24 * n + std::max({product, square, split}) + 8;
}

// A step by itself: D[0..l) = |A0 - A1|, where A0 = A[0..l) and A1 = A[l..l+h), h <= l; whether A0 is the smaller.
template <class W>
bool half_difference(W* D, const W* A, u64 l, u64 h) noexcept;

// C holds A0 B0 in 2l words and A1 B1 in `high` words, l < high <= 2l, S the product of the differences in 2l words:
// adds the middle term at word l. S is lost.
template <class W>
void combine_halves(W* C, W* S, u64 l, u64 high, bool same_sign) noexcept;

// C[0..2L) = A * A.   S [sqrK_scratch_words(L)]
template <class W>
void sqrK(W* C, const W* A, u64 L, W* S) noexcept;

// C[0..2L) = A * B, both of L words.   S [mulK_scratch_words(L, L)]
template <class W>
void mulK_balanced(W* C, const W* A, const W* B, u64 L, W* S) noexcept;

// C[0..LA+LB) = A * B, any lengths >= 1.   S [mulK_scratch_words(LA, LB)]
template <class W>
void mulK(W* C, const W* A, u64 LA, const W* B, u64 LB, W* S) noexcept;

}  // namespace kvt::kernels
