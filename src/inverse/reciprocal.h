#pragma once
// Reciprocal and division over kept transforms. A step from R (good to h = ceil(p/2) words) to p words transforms R
// once and uses it for both products; x * R is formed with a transform too short to hold it, because its top is
// known to be 1.000.. or 0.FFF.. (Newton iteration with a wrapped product; see docs/inverse.md).

#include "frame/exceptions.h"
#include "frame/parameters.h"
#include "frame/progress.h"
#include "inverse/texts.h"
#include "objects/big_float.h"

namespace kvt::inverse {

// Words of scratch memory for temporaries.
template <class W>
struct WordScratch {
    W* words;
    u64 n;
};

// out := 1/x. out needs p + 3 words, scratch p + 6. |x * out - 1| < 2^-(W-2) * B^-p for p >= 2 (W bits a word).
template <class W>
void reciprocal(const BasicParameters& params, objects::BigFloat<W>& out, const objects::BigFloat<W>& x, u64 p,
                WordScratch<W> scratch, const ProgressSink* sink);

// What the reciprocal's output must hold, checked as the reciprocal itself would.
template <class W>
void require_reciprocal_capacity(const objects::BigFloat<W>& out, u64 p) {
    const EngineTexts& texts = p < 10 ? reciprocal_direct_texts : reciprocal_texts;
    require_capacity(out.buffer_size, p == 0 ? 2 : p + 3, p == 0 ? "BigFloat::set_double()" : texts.location);
}

// One step: out := R corrected by R * (1 - x * R). Raises the engine's failure when R is not a reciprocal of x to
// about h = ceil(p/2) words. R.L <= h + 2; T [h + 2 words] is scratch. p >= 10.
template <class W>
void reciprocal_step(const BasicParameters& params, objects::BigFloat<W>& out, const objects::BigFloat<W>& x,
                     const objects::BigFloat<W>& R, u64 p, W* T, const ProgressSink* sink);

// out := a/b. out needs p + 2 words, scratch 2p + 9 below p = 10, else p + 2 * ceil(p/2) + 10.
// |out * b / a - 1| < 2 * B^-p.
template <class W>
void divide(const BasicParameters& params, objects::BigFloat<W>& out, const objects::BigFloat<W>& a,
            const objects::BigFloat<W>& b, u64 p, WordScratch<W> scratch, const ProgressSink* sink);

// The quotient from a reciprocal R of b that is good to h = ceil(p/2) words, R.L <= h + 2. Raises the division's
// failure when a - b * Q is not as small as that says. Q [h + 2 words] and D [h + 4 words] are scratch. p >= 10.
template <class W>
void divide_by_reciprocal(const BasicParameters& params, objects::BigFloat<W>& out, const objects::BigFloat<W>& a,
                          const objects::BigFloat<W>& b, const objects::BigFloat<W>& R, u64 p, W* Q, W* D,
                          const ProgressSink* sink);

}  // namespace kvt::inverse
