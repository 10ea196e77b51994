#pragma once
// What the inverse operations take BigFloats apart with: views of their words, magnitudes, and the windows of a
// difference.

#include <algorithm>

#include "objects/big_float.h"

namespace kvt::objects {

// Position above the top word.
template <class W>
i64 top_of(const BigFloat<W>& x) noexcept {
    return x.exp + static_cast<i64>(x.L);
}

// View of the n top words (of all where there are fewer). A view has no buffer.
template <class W>
BigFloat<W> top_words(const BigFloat<W>& x, u64 n) noexcept {
    const u64 kept = std::min(x.L, n);
    return {x.T + (x.L - kept), kept, x.exp + static_cast<i64>(x.L - kept), x.sign, nullptr, 0};
}

// Word at an absolute position; zero where the number has none.
template <class W>
W word_at(const BigFloat<W>& x, i64 position) noexcept {
    return position >= x.exp && position < top_of(x) ? x.T[position - x.exp] : W{0};
}

// Drops zero words at the top; the sign stays also when nothing is left.
template <class W>
void strip_top_zeros(BigFloat<W>& x) noexcept {
    while (x.L > 0 && x.T[x.L - 1] == 0) --x.L;
}

// Ends the process when a non-zero number has a zero top word.
template <class W>
void check_normalization(const BigFloat<W>& x) noexcept;

// -1, 0 or 1 as |A| is below, equal to or above |B|.
template <class W>
int compare_magnitudes(const BigFloat<W>& A, const BigFloat<W>& B) noexcept;

// |out| = |A| + |B|, at most p + 1 words and a carry; sign as given. Needs one word more than the window.
template <class W>
void set_uadd(BigFloat<W>& out, const BigFloat<W>& A, const BigFloat<W>& B, u64 p, bool sign);

// |out| = |A| - |B| for |A| > |B|, at most p + 1 words; sign as given.
template <class W>
void set_usub(BigFloat<W>& out, const BigFloat<W>& A, const BigFloat<W>& B, u64 p, bool sign);

// out = A - B with signs, of which only the words at positions [bottom, bottom + n) are formed, as n words of two's
// complement: a negative difference has its top word all ones. Nothing is stripped; sign is set to true. Words of A
// and B below bottom are dropped, so the result is exact up to one unit where they have any.
// out [n words] ("BigFloat::set_rsub()"); may be the operand that reaches lower.
template <class W>
void set_rsub(BigFloat<W>& out, const BigFloat<W>& A, const BigFloat<W>& B, i64 bottom, u64 n);

// Replaces the words by their two's complement: W^L - x. Returns whether they were all zero (W^L itself).
template <class W>
bool complement(BigFloat<W>& x) noexcept;

// Adds one to the lowest word; a carry out of the top appends a word ("BigFloat::set_double()").
template <class W>
void add_one_unit(BigFloat<W>& x);

}  // namespace kvt::objects
