#pragma once
// Quotients of few words by the schoolbook method: the whole remainder is formed, and checked.

#include "inverse/small_float.h"
#include "objects/big_float.h"

namespace kvt::inverse {

// Precisions below this one, in words, are worked by the schoolbook method; measured on Zen 4.
template <class W>
inline constexpr u64 short_quotient_limit = 25 * (8 / sizeof(W));

// out = |a| / |b| to p < short_quotient_limit words, in at most p + 2. Both normalised and not zero; signs and buffers
// are not looked at. |out * b / a - 1| < 3 * B^-(p+1); an inexact quotient is rounded up. The answer is 0 unless
// quotient, remainder and operands do not belong together.
template <class W>
u64 short_quotient(SmallFloat<W>& out, const objects::BigFloat<W>& a, const objects::BigFloat<W>& b, u64 p) noexcept;

}  // namespace kvt::inverse
