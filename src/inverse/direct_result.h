#pragma once
// From the direct engines' stack values to the caller's number, and the space that a public call must bring.

#include "frame/exceptions.h"
#include "inverse/direct.h"
#include "objects/big_float.h"

namespace kvt::inverse {

// The direct engines need no word scratch; the space is checked all the same, so that a caller's sizes are found
// wrong whatever the precision. p = 0 is the seed alone: two words of output.
inline void check_direct_space(const EngineTexts& texts, u64 p, u64 out_words, u64 out_needed, u64 scratch_words,
                               u64 scratch_needed) {
    if (p == 0) {
        require_capacity(out_words, 2, "BigFloat::set_double()");
        return;
    }
    require_capacity(out_words, out_needed, texts.location);
    if (scratch_words < scratch_needed) fail_space(texts, scratch_words, scratch_needed);
}

template <class W>
void store(const SmallFloat<W>& value, objects::BigFloat<W>& out, bool sign) {
    // Two words hold a seed but for the word that its shift may append.
    require_capacity(out.buffer_size, value.n,
                     out.buffer_size == 2 ? "BigFloat::operator*=()" : "BigFloat::set_double()");
    copy_recent(out.buffer, value.w, value.n);
    out.T = out.buffer;
    out.L = value.n;
    out.exp = value.n == 0 ? 0 : value.exp;
    out.sign = sign || value.n == 0;
}

}  // namespace kvt::inverse
