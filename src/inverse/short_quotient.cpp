// With n words that hold p + 1 of the caller's: A, the 2n top words of a, by D, the n top words of b, both with their
// top bit set. 1/2 < A / (D * B^n) < 2, so that the quotient has a bit and n words. Cutting b raises the quotient by
// at most 2 * B^-n of it, rounding it up by as much.

#include "inverse/short_quotient.h"

#include <bit>
#include <cstring>

#include "kernels/division.h"
#include "kernels/residue64.h"
#include "objects/big_float_parts.h"
#include "objects/words.h"

namespace kvt::inverse {
namespace {

constexpr u64 most_words = longest_short_quotient_words;

struct Aligned {
    u64 taken;       // words at the top with bits of the number; those below are zero
    unsigned shift;  // bits the number was moved up by
    bool whole;      // nothing but zeros was cut
};

// Word k of 64 bits, counted from the top, of a number that has some of its bits.
template <class W>
u64 word_from_top(const objects::BigFloat<W>& x, u64 k) noexcept {
    if constexpr (sizeof(W) == 8) {
        return x.T[x.L - 1 - k];
    } else {
        const u64 high = x.T[x.L - 1 - 2 * k];
        return high << 32 | (2 * k + 1 < x.L ? x.T[x.L - 2 - 2 * k] : 0);
    }
}

// low's bits above those of high, which is moved up.
u64 shifted(u64 high, u64 low, unsigned shift) noexcept { return high << shift | low >> 1 >> (63 - shift); }

// The top bits of a number in n words, the highest of them set; inverted where `inverted` is all ones instead of 0.
template <class W>
Aligned align_top(u64* out, u64 n, const objects::BigFloat<W>& x, u64 inverted) noexcept {
    constexpr u64 per_word = 8 / sizeof(W);
    const u64 taken = std::min((x.L + per_word - 1) / per_word, n + 1);
    u64 word = word_from_top(x, 0);
    const auto shift = static_cast<unsigned>(std::countl_zero(word));
    u64* top = out + n;
    for (u64 k = 1; k < taken; ++k) {
        const u64 below = word_from_top(x, k);
        *--top = shifted(word, below, shift) ^ inverted;
        word = below;
    }
    if (taken <= n) {
        *--top = (word << shift) ^ inverted;
        while (top > out) *--top = inverted;
        return {taken, shift, true};
    }
    bool whole = word << shift == 0;
    u64 below = x.L - std::min(x.L, taken * per_word);
    while (whole && below > 0) whole = x.T[--below] == 0;
    return {n, shift, whole};
}

// A - D in A where A is not below D, which is given inverted; returns whether it was not.
bool subtract_if_not_below(u64* A, const u64* complement, u64 n) noexcept {
    for (u64 i = n; i-- > 0;) {
        const u64 d = ~complement[i];
        if (A[i] < d) return false;
        if (A[i] > d) break;
    }
    kernels::add_nr(A, A, complement, n, 1);
    return true;
}

template <class W>
void put_word(SmallFloat<W>& out, u64 i, u64 word) noexcept {
    std::memcpy(out.w + i * (8 / sizeof(W)), &word, 8);
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
u64 short_quotient(SmallFloat<W>& out, const objects::BigFloat<W>& a, const objects::BigFloat<W>& b, u64 p) noexcept {
    constexpr u64 per_word = 8 / sizeof(W);
    const u64 n = std::max<u64>(2, (p + per_word) / per_word);
    u64 A[2 * most_words], complement[most_words], q[most_words + 1];
    const Aligned in_a = align_top(A, 2 * n, a, 0);
    const Aligned in_b = align_top(complement, n, b, ~u64{0});
    const u64 residue_a = kernels::residue64(A + (2 * n - in_a.taken), in_a.taken),
              residue_d = ~kernels::residue64(complement, n);

    q[n] = subtract_if_not_below(A + n, complement, n);
    kernels::divide_words(q, A, complement, n);

    const u64 found = kernels::add_residues(kernels::multiply_residues(kernels::residue64(q, n + 1), residue_d),
                                            kernels::residue64(A, n));

    const bool exact = in_a.whole && in_b.whole && objects::trimmed_length(A, n) == 0;
    if (!exact) kernels::add1_ir(q, n + 1, 1);
    const unsigned shift = (in_b.shift - in_a.shift) % word_bits<W>;
    u64 below = 0;
    for (u64 i = 0; i <= n; ++i) {
        put_word(out, i, shifted(q[i], below, shift));
        below = q[i];
    }
    put_word(out, n + 1, shifted(0, below, shift));
    out.n = per_word * (n + 2);
    out.exp = objects::top_of(a) - objects::top_of(b) - static_cast<i64>(per_word * n);
    if (in_b.shift < in_a.shift) --out.exp;  // moved down: up within the next lower word
    out.trim_top();
    if (out.n > p + 2) {
        const u64 excess = out.n - (p + 2);
        const bool zeros = objects::low_zero_words(out.w, excess) == excess;
        out.drop_low(excess);
        if (!zeros) round_up(out);
    }
    return kernels::residue_difference(found, residue_a);
}

template u64 short_quotient(SmallFloat<u32>&, const objects::BigFloat<u32>&, const objects::BigFloat<u32>&,
                            u64) noexcept;
template u64 short_quotient(SmallFloat<u64>&, const objects::BigFloat<u64>&, const objects::BigFloat<u64>&,
                            u64) noexcept;

}  // namespace kvt::inverse
