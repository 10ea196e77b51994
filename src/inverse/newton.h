#pragma once
// What the transform engines' steps share: the residual read from a window of the product, and the corrected result.

#include "frame/exceptions.h"
#include "frame/fatal.h"
#include "inverse/texts.h"
#include "kernels/linear.h"
#include "objects/big_float_parts.h"
#include "objects/unchanged.h"
#include "objects/words.h"

namespace kvt::inverse {

constexpr u64 half_precision(u64 p) noexcept { return (p + 1) / 2; }

// Precisions beyond any memory mean "all of it"; clamped before arithmetic on them.
constexpr u64 clamp_precision(u64 p) noexcept { return std::min(p, u64{1} << 62); }

// View of words that somebody else owns.
template <class W>
objects::BigFloat<W> view(W* words, u64 n, i64 exp) noexcept {
    return {words, n, exp, true, words, n};
}

// How far a product P, known to be 1.000.. or 0.FFF.., is from 1.
template <class W>
struct Residual {
    bool over_estimate;      // P >= 1
    objects::BigFloat<W> e;  // |P - 1|, top word non-zero; L = 0: exact
};

// The distance of a good approximation is below 8 * B^-(h+1), truncations included: the word on its top, at position
// -(h+1), is small.
template <class W>
inline constexpr W largest_residual_word = 63;

// words [n] hold P at positions [exp, exp + n), the top one being the guard; an under-estimate is complemented in
// place.
template <class W>
Residual<W> residual_of_window(const EngineTexts& texts, W* words, u64 n, i64 exp, u64 h) {
    const W guard = words[n - 1];
    if (guard != 0 && guard != static_cast<W>(~W{0})) fail_guard(texts, guard);
    Residual<W> residual{guard == 0, view(words, n, exp)};
    if (!residual.over_estimate) objects::complement(residual.e);
    objects::strip_top_zeros(residual.e);
    if (!residual.over_estimate && residual.e.L == 0) fatal_exit(texts.strip_zero);
    const i64 top = objects::top_of(residual.e);
    const i64 limit = -static_cast<i64>(h);
    if (residual.e.L != 0 &&
        (top > limit || (top == limit && residual.e.T[residual.e.L - 1] > largest_residual_word<W>)))
        fail_residual(texts, residual.over_estimate, top, h);
    return residual;
}

// Moves C, whose words may lie in words [n], to its positions there: words[0] is position base. Words below are
// dropped, the others are zero.
template <class W>
void place(const objects::BigFloat<W>& C, W* words, i64 base, u64 n) noexcept {
    const u64 dropped = C.L != 0 && C.exp < base ? std::min(C.L, static_cast<u64>(base - C.exp)) : 0;
    const u64 L = C.L - dropped;
    const u64 below = L != 0 ? static_cast<u64>(C.exp + static_cast<i64>(dropped) - base) : 0;
    objects::copy_words(words + below, C.T + dropped, L);
    objects::zero_words(words, below);
    objects::zero_words(words + below + L, n - below - L);
}

// C[0..n) holds a correction; replaces it by R +- C, where R's top word lies at C[n - 1]. C has room for one word
// more. Returns the new length, top word non-zero.
template <class W>
u64 combine(W* C, u64 n, const objects::BigFloat<W>& R, bool subtract) noexcept {
    const u64 offset = n - R.L;
    if (!subtract) {
        C[n] = kernels::add_ir(C + offset, R.T, R.L, 0);
        return n + (C[n] != 0);
    }
    objects::BigFloat<W> low = view(C, offset, 0);  // R has zeros there
    const u32 borrow = objects::complement(low) ? 0 : 1;
    kernels::sub_nr(C + offset, R.T, C + offset, R.L, borrow);  // C < R: the correction is the smaller
    return objects::trimmed_length(C, n);
}

// Makes out the value of L words at out.buffer, lowest position exp.
template <class W>
void set_result(objects::BigFloat<W>& out, u64 L, i64 exp, bool sign) noexcept {
    out.T = out.buffer;
    out.L = L;
    out.exp = exp;
    out.sign = sign;
}

// The same for a corrected result, which ends p + 2 words below its top: one unit in its lowest word is added. Exact
// quotients then come out at or above their value, so that their digits print right.
template <class W>
void set_nudged(objects::BigFloat<W>& out, u64 L, i64 exp, bool sign) {
    set_result(out, L, exp, sign);
    objects::add_one_unit(out);
}

// Drops low words beyond the top `words`, in place.
template <class W>
void keep_top(objects::BigFloat<W>& x, u64 words) noexcept {
    const objects::BigFloat<W> kept = objects::top_words(x, words);
    x.T = kept.T;
    x.L = kept.L;
    x.exp = kept.exp;
}

}  // namespace kvt::inverse
