#pragma once
// Quotients of few words by the schoolbook method: the whole remainder is formed, and checked.

#include "inverse/small_float.h"
#include "kernels/cpu.h"
#include "objects/big_float.h"

namespace kvt::inverse {

// Precisions below these, in words, are worked by the schoolbook method: as far as it is faster than Newton's steps,
// measured on Zen 4, where those have the products in radix 2^52 and where they don't.
inline constexpr u64 longest_short_quotient_words = 104;  // of 64 bits
template <class W>
u64 reciprocal_quotient_limit() noexcept {
    return (kernels::active_levels().vector == kernels::VectorLevel::avx512ifma ? 27 : 56) * (8 / sizeof(W));
}
template <class W>
u64 division_quotient_limit() noexcept {
    return (kernels::active_levels().vector == kernels::VectorLevel::avx512ifma ? 44 : longest_short_quotient_words) *
           (8 / sizeof(W));
}

// out = |a| / |b| to p words, which fit in longest_short_quotient_words - 1, in at most p + 2. Both normalised and
// not zero; signs and buffers are not looked at. |out * b / a - 1| < 3 * B^-(p+1); an inexact quotient is rounded up.
// The answer is 0 unless quotient, remainder and operands do not belong together.
template <class W>
u64 short_quotient(SmallFloat<W>& out, const objects::BigFloat<W>& a, const objects::BigFloat<W>& b, u64 p) noexcept;

}  // namespace kvt::inverse
