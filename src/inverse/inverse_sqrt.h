#pragma once
// Inverse square root of one word: r := r + r * (1 - x * r^2) / 2 at doubling precision.

#include "inverse/reciprocal.h"

namespace kvt::inverse {

// out := 1/sqrt(x). out needs p + 4 words, scratch p + 7.
template <class W>
void inverse_sqrt(const BasicParameters& params, objects::BigFloat<W>& out, W x, u64 p, WordScratch<W> scratch,
                  const ProgressSink* sink);

// One step from R, good to about h = ceil(p/2) words; R.L <= h + 2; T [h + 2 words] is scratch. p >= 10.
template <class W>
void inverse_sqrt_step(const BasicParameters& params, objects::BigFloat<W>& out, W x, const objects::BigFloat<W>& R,
                       u64 p, W* T, const ProgressSink* sink);

}  // namespace kvt::inverse
