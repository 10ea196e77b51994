#pragma once
// Integer powers of one word by left-to-right binary exponentiation (Knuth, The Art of Computer Programming, volume
// 2, 4.6.3): square, then multiply by the word in place.

#include "inverse/reciprocal.h"

namespace kvt::inverse {

// out := x^n. out needs p + 3 words. 0^0 is 1.
template <class W>
void power(const BasicParameters& params, objects::BigFloat<W>& out, W x, u64 n, u64 p, const ProgressSink* sink);

// out := x^n, a negative n by the reciprocal of x^|n|. out needs p + 3 words, scratch 2p + 9 when n is negative.
template <class W>
void power_signed(const BasicParameters& params, objects::BigFloat<W>& out, W x, i64 n, u64 p, WordScratch<W> scratch,
                  const ProgressSink* sink);

}  // namespace kvt::inverse
