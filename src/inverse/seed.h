#pragma once
// Double-precision seeds of the Newton iterations: good to about 2^-52, the precision p = 0.

#include "inverse/small_float.h"

namespace kvt::inverse {

// 1/x for a non-zero magnitude of n words with a non-zero top word.
template <class W>
SmallFloat<W> reciprocal_seed(const W* T, u64 n, i64 exp) noexcept;

// 1/sqrt(x), x >= 1.
template <class W>
SmallFloat<W> inverse_sqrt_seed(W x) noexcept;

}  // namespace kvt::inverse
