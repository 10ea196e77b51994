#pragma once
// The working type of the direct engines: a magnitude of a few words with a word exponent, on the stack.

#include <algorithm>

#include "frame/types.h"
#include "kernels/direct.h"
#include "kernels/schoolbook.h"

namespace kvt::inverse {

// Upwards, a word at a time: wider loads would wait until words that were just written one by one have left the store
// buffer.
template <class W>
void copy_recent(W* out, const W* in, u64 n) noexcept {
    for (u64 i = 0; i < n; ++i) {
        W word = in[i];
        __asm__("" : "+r"(word));  // keeps the compiler from making it a call of memmove
        out[i] = word;
    }
}

// Value: sum of w[i] * B^(exp + i), i < n. Zero is n = 0; a non-zero value has a non-zero top word unless said.
template <class W>
struct SmallFloat {
    static constexpr u64 capacity_words = 108 * (8 / sizeof(W));

    W w[capacity_words];
    u64 n = 0;
    i64 exp = 0;

    SmallFloat() noexcept {}
    SmallFloat(const SmallFloat& other) noexcept { *this = other; }
    SmallFloat& operator=(const SmallFloat& other) noexcept {
        n = other.n;
        exp = other.exp;
        copy_recent(w, other.w, n);
        return *this;
    }

    i64 top() const noexcept { return exp + static_cast<i64>(n); }

    // Word at an absolute position; zero where none lies.
    W at(i64 position) const noexcept { return position >= exp && position < top() ? w[position - exp] : W{0}; }

    void drop_low(u64 words) noexcept {
        n -= words;
        copy_recent(w, w + words, n);
        exp += static_cast<i64>(words);
    }

    void keep_top(u64 words) noexcept {
        if (n > words) drop_low(n - words);
    }

    void trim_top() noexcept {
        while (n > 0 && w[n - 1] == 0) --n;
    }
};

// The top words of a magnitude of n words, at most `words` of them.
template <class W>
SmallFloat<W> top_words(const W* T, u64 n, i64 exp, u64 words) noexcept {
    SmallFloat<W> out;
    out.n = std::min(n, words);
    out.exp = exp + static_cast<i64>(n - out.n);
    std::copy(T + (n - out.n), T + n, out.w);
    return out;
}

// a * m; the product has one word more when the last carry is not zero. n < capacity_words.
template <class W>
void scale(SmallFloat<W>& a, W m) noexcept {
    const W carry = kernels::mul_ir(a.w, a.n, m, W{0});
    if (carry != 0) a.w[a.n++] = carry;
}

// The exact product of the operands' top p + 2 words, cut to its top p + 2 significant words, of which there is room
// for twice as many. a may be b: the square.
template <class W>
SmallFloat<W> multiply(const SmallFloat<W>& a, const SmallFloat<W>& b, u64 p) noexcept {
    SmallFloat<W> out;
    if (a.n == 0 || b.n == 0) return out;
    const u64 drop_a = a.n - std::min(a.n, p + 2), drop_b = b.n - std::min(b.n, p + 2);
    const W *const A = a.w + drop_a, *const B = b.w + drop_b;
    const u64 LA = a.n - drop_a, LB = b.n - drop_b;
    // From here on other methods are faster, where they need no scratch.
    constexpr u64 longer_words = 10 * (8 / sizeof(W));
    const bool schoolbook = std::min(LA, LB) < longer_words;
    if (&a == &b) {
        if (schoolbook)
            kernels::sqrB(out.w, A, LA);
        else
            kernels::direct_square_within(out.w, A, LA, nullptr, 0);
    } else if (schoolbook) {
        kernels::mulB(out.w, A, LA, B, LB);
    } else {
        kernels::direct_multiply_within(out.w, A, LA, B, LB, nullptr, 0);
    }
    out.n = LA + LB;
    out.exp = a.exp + b.exp + static_cast<i64>(drop_a + drop_b);
    out.trim_top();
    out.keep_top(p + 2);
    return out;
}

}  // namespace kvt::inverse
