#pragma once
// The scaling conversion behind the decimal text of both number classes.

#include "frame/parameters.h"
#include "objects/big_float.h"
#include "text/float_string.h"
#include "text/phase_timer.h"

namespace kvt::text {

// The scratch of a conversion at precision p to n digit words. Three stages share the same memory:
//   scaling   y [p + 4], 10^k [p + 3], the division's words [2p + 15], products; or 10^-k [p + 3], one product
//   digits    y [p + 4], digit words [n], the radix conversion
template <class W>
u64 decimal_core_bytes(u64 p, u64 n, u64 tasks);

// Writes the digits of x (not zero) into buffer [capacity bytes] behind the head room: those of the integer part of
// y = x / 10^k, 0.5 <= y < 10 (or of x itself where it has no more than one word above the point), then n digit words
// of its fraction. p is the precision in words of the scaling. An integer's digits are followed by a run of 0 or 9; a
// float, whose digits are cut behind p - 2 words, is raised a little where it is not exact. Conversions by levels are
// timed: what their phases took is added to times, which may be null.
template <class W>
FloatString write_decimal_digits(const BasicParameters& params, char* buffer, u64 capacity,
                                 const objects::BigFloat<W>& x, u64 p, u64 n, bool is_float, PhaseSeconds* times);

}  // namespace kvt::text
