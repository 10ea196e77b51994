#pragma once
// The direct engines, entirely on the stack: reciprocals by the schoolbook method, inverse square roots by Newton
// steps with ordinary products, below inverse_sqrt_direct_limit words.
//
// A step takes R, good to h words, to a result good to p words: the residual e of P = x * R * R from 1 is formed
// exactly from the kept words, and the result is R + R * e / 2, cut to p + 2 words.
// Measured over 20,000 operands a row: |x * result^2 - 1| < 2^-(W-2) * B^-p for p >= 2 (W bits a word), 2^-52 for p =
// 0.

#include "frame/progress.h"
#include "inverse/short_quotient.h"
#include "inverse/texts.h"

namespace kvt::inverse {

inline constexpr u64 direct_limit_words = 10;

// Half precision of a direct step.
constexpr u64 direct_half(u64 p) noexcept { return p == 1 ? 0 : p == 2 ? 1 : (p + 1) / 2; }

// 1/|x| to p words (as short_quotient) for a normalised x that is not zero. |x * result - 1| < 3 * B^-(p+1), at p =
// 0, which is the reciprocal of a double, 2^-52. Raises the engine's failure where the quotient proves wrong.
template <class W>
SmallFloat<W> reciprocal_direct(const EngineTexts& texts, const objects::BigFloat<W>& x, u64 p);

// Says what is wrong with R, found not to be the reciprocal of x: how far from 1 their product is.
template <class W>
[[noreturn]] void fail_reciprocal(const EngineTexts& texts, const SmallFloat<W>& x, const SmallFloat<W>& R, u64 p,
                                  u64 difference);

// Precisions of the root below this are worked here, in words, measured on Zen 4.
template <class W>
inline constexpr u64 inverse_sqrt_direct_limit = 24 * (8 / sizeof(W));

// 1/sqrt(x) to p < inverse_sqrt_direct_limit words, x >= 1. Steps from 10 words on are shown.
template <class W>
SmallFloat<W> inverse_sqrt_direct(W x, u64 p, const ProgressSink* sink);

// One step from R at precision h; raises the engine's failure when R is not a root to h words.
template <class W>
SmallFloat<W> inverse_sqrt_direct_step(const EngineTexts& texts, W x, SmallFloat<W>& R, u64 p, u64 h,
                                       const ProgressSink* sink);

}  // namespace kvt::inverse
