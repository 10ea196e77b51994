// With n words that hold p + 1 of the caller's: A, the 2n top words of a, by D, the n top words of b, both with their
// top bit set. 1/2 < A / (D * B^n) < 2, so that the quotient has a bit and n words. Cutting b raises the quotient by
// at most 2 * B^-n of it, rounding it up by as much.

#include "inverse/short_quotient.h"

#include <bit>
#include <cstring>

#include "inverse/residue64.h"
#include "inverse/texts.h"
#include "kernels/division.h"
#include "objects/big_float_parts.h"
#include "objects/words.h"

namespace kvt::inverse {
namespace {

constexpr u64 most_words = short_quotient_limit_words;  // of 64 bits

struct Aligned {
    unsigned shift;  // bits the number was moved up by
    bool whole;      // nothing but zeros was cut
};

// Word k of 64 bits, counted from the top; zero where the number ends.
template <class W>
u64 word_from_top(const objects::BigFloat<W>& x, u64 k) noexcept {
    if constexpr (sizeof(W) == 8) {
        return k < x.L ? x.T[x.L - 1 - k] : 0;
    } else {
        const u64 high = 2 * k < x.L ? x.T[x.L - 1 - 2 * k] : 0;
        return high << 32 | (2 * k + 1 < x.L ? x.T[x.L - 2 - 2 * k] : 0);
    }
}

// The top bits of a number in n words, the highest of them set.
template <class W>
Aligned align_top(u64* out, u64 n, const objects::BigFloat<W>& x) noexcept {
    u64 word = word_from_top(x, 0);
    const auto shift = static_cast<unsigned>(std::countl_zero(word));
    for (u64 i = n; i-- > 0;) {
        const u64 below = word_from_top(x, n - i);
        out[i] = word << shift | below >> 1 >> (63 - shift);
        word = below;
    }
    bool whole = word << shift == 0;
    u64 taken = (n + 1) * (8 / sizeof(W));
    while (whole && taken < x.L) whole = x.T[x.L - ++taken] == 0;
    return {shift, whole};
}

// The quotient's words, n of them and `unit` above, moved up by less than a word: n + 2 words.
void shift_up(u64* out, const u64* q, u64 n, u64 unit, unsigned shift) noexcept {
    u64 low = 0;
    for (u64 i = 0; i < n; ++i) {
        out[i] = q[i] << shift | low >> 1 >> (63 - shift);
        low = q[i];
    }
    out[n] = unit << shift | low >> 1 >> (63 - shift);
    out[n + 1] = unit >> 1 >> (63 - shift);
}

// Adds one to the lowest word; a power of the word base is left as one word.
template <class W>
void round_up(SmallFloat<W>& x) noexcept {
    if (kernels::add1_ir(x.w, x.n, 1) == 0) return;
    x.exp += static_cast<i64>(x.n);
    x.n = 1;
    x.w[0] = 1;
}

}  // namespace

template <class W>
SmallFloat<W> short_quotient(const objects::BigFloat<W>& a, const objects::BigFloat<W>& b, u64 p) {
    constexpr u64 per_word = 8 / sizeof(W);
    const u64 n = std::max<u64>(2, (p + per_word) / per_word);
    u64 A[2 * most_words], D[most_words], complement[most_words], q[most_words];
    const Aligned in_a = align_top(A, 2 * n, a);
    const Aligned in_b = align_top(D, n, b);
    for (u64 i = 0; i < n; ++i) complement[i] = ~D[i];
    const u64 residue_a = residue64(A, 2 * n), residue_d = residue64(D, n);

    u64 unit = objects::compare_words(A + n, D, n) >= 0;
    if (unit != 0) kernels::sub_nr(A + n, A + n, D, n, 0);
    kernels::divide_words(q, A, D, complement, n);

    const u64 residue_q = add_residues(residue64(q, n), unit);
    const u64 found = add_residues(multiply_residues(residue_q, residue_d), residue64(A, n));
    if (found != residue_a) [[unlikely]] {
        const u64 difference = residue_difference(found, residue_a);
        if (difference != 0) fail_guard(reciprocal_direct_texts, difference);
    }

    const bool exact = in_a.whole && in_b.whole && objects::trimmed_length(A, n) == 0;
    if (!exact) unit += kernels::add1_ir(q, n, 1);

    SmallFloat<W> out;
    constexpr unsigned bits = word_bits<W>;
    const unsigned shift = in_b.shift - in_a.shift;  // below zero: one word down
    const unsigned up = shift % bits;
    u64 words[most_words + 2];
    shift_up(words, q, n, unit, up);
    std::memcpy(out.w, words, 8 * (n + 2));
    out.n = per_word * (n + 2);
    out.exp = objects::top_of(a) - objects::top_of(b) - static_cast<i64>(per_word * n) - (in_b.shift < in_a.shift);
    out.trim_top();
    if (out.n > p + 2) {
        const u64 excess = out.n - (p + 2);
        const bool zeros = objects::low_zero_words(out.w, excess) == excess;
        out.drop_low(excess);
        if (!zeros) round_up(out);
    }
    return out;
}

template SmallFloat<u32> short_quotient(const objects::BigFloat<u32>&, const objects::BigFloat<u32>&, u64);
template SmallFloat<u64> short_quotient(const objects::BigFloat<u64>&, const objects::BigFloat<u64>&, u64);

}  // namespace kvt::inverse
