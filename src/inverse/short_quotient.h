#pragma once
// Quotients of few words by the schoolbook method: the whole remainder is formed, and checked.

#include "inverse/small_float.h"
#include "objects/big_float.h"

namespace kvt::inverse {

inline constexpr u64 short_quotient_limit_words = 16;

// |a| / |b| to p < short_quotient_limit_words words, in at most p + 2. Both normalised and not zero; signs and buffers
// are not looked at. |result * b / a - 1| < 3 * B^-(p+1); an inexact result is rounded up. Raises the reciprocal's
// failure when the quotient, the remainder and the operands do not belong together.
template <class W>
SmallFloat<W> short_quotient(const objects::BigFloat<W>& a, const objects::BigFloat<W>& b, u64 p);

}  // namespace kvt::inverse
