#pragma once
// The working type of the direct engines: a magnitude of a few words with a word exponent, on the stack.

#include <algorithm>

#include "frame/types.h"
#include "kernels/schoolbook.h"

namespace kvt::inverse {

// Value: sum of w[i] * B^(exp + i), i < n. Zero is n = 0; a non-zero value has a non-zero top word unless said.
template <class W>
struct SmallFloat {
    static constexpr u64 capacity_words = 68 * (8 / sizeof(W));

    W w[capacity_words];
    u64 n = 0;
    i64 exp = 0;

    SmallFloat() noexcept {}
    SmallFloat(const SmallFloat& other) noexcept { *this = other; }
    SmallFloat& operator=(const SmallFloat& other) noexcept {
        n = other.n;
        exp = other.exp;
        std::copy(other.w, other.w + n, w);
        return *this;
    }

    i64 top() const noexcept { return exp + static_cast<i64>(n); }

    // Word at an absolute position; zero where none lies.
    W at(i64 position) const noexcept { return position >= exp && position < top() ? w[position - exp] : W{0}; }

    void drop_low(u64 words) noexcept {
        std::copy(w + words, w + n, w);
        n -= words;
        exp += static_cast<i64>(words);
    }

    void keep_top(u64 words) noexcept {
        if (n > words) drop_low(n - words);
    }

    void trim_top() noexcept {
        while (n > 0 && w[n - 1] == 0) --n;
    }

    void trim_low() noexcept {
        u64 zeros = 0;
        while (zeros < n && w[zeros] == 0) ++zeros;
        if (zeros > 0) drop_low(zeros);
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

// The exact product of the operands' top p + 2 words, cut to its top p + 2 significant words, of which there
// is room for twice as many.
template <class W>
SmallFloat<W> multiply(const SmallFloat<W>& a, const SmallFloat<W>& b, u64 p) noexcept {
    SmallFloat<W> out;
    if (a.n == 0 || b.n == 0) return out;
    const SmallFloat<W> x = top_words(a.w, a.n, a.exp, p + 2);
    const SmallFloat<W> y = top_words(b.w, b.n, b.exp, p + 2);
    kernels::mulB(out.w, x.w, x.n, y.w, y.n);
    out.n = x.n + y.n;
    out.exp = x.exp + y.exp;
    out.trim_top();
    out.keep_top(p + 2);
    return out;
}

// a + b; words below the top `words` of the larger operand's range are dropped before adding.
template <class W>
SmallFloat<W> add(const SmallFloat<W>& a, const SmallFloat<W>& b, u64 words) noexcept {
    if (a.n == 0) return b;
    if (b.n == 0) return a;
    const i64 top = std::max(a.top(), b.top());
    SmallFloat<W> out;
    out.exp = std::max(std::min(a.exp, b.exp), top - static_cast<i64>(words));
    DoubleWord<W> carry = 0;
    for (i64 k = out.exp; k < top; ++k) {
        carry += static_cast<DoubleWord<W>>(a.at(k)) + b.at(k);
        out.w[out.n++] = static_cast<W>(carry);
        carry >>= word_bits<W>;
    }
    if (carry != 0) out.w[out.n++] = static_cast<W>(carry);
    return out;
}

// a - b for a >= b, with the same rule for dropped words.
template <class W>
SmallFloat<W> subtract(const SmallFloat<W>& a, const SmallFloat<W>& b, u64 words) noexcept {
    if (b.n == 0) return a;
    SmallFloat<W> out;
    out.exp = std::max(std::min(a.exp, b.exp), a.top() - static_cast<i64>(words));
    W borrow = 0;
    for (i64 k = out.exp; k < a.top(); ++k) {
        const W x = a.at(k), y = b.at(k);
        out.w[out.n++] = static_cast<W>(x - y - borrow);
        borrow = x < y || (x == y && borrow != 0);
    }
    out.trim_top();
    if (out.n == 0) out.exp = 0;
    return out;
}

// 1 - x for 0 <= x < 1 (no word at position 0 or above): the two's complement of the whole fraction, one word wider
// than the fraction so that nothing is lost, then trimmed.
template <class W>
SmallFloat<W> one_minus(const SmallFloat<W>& x) noexcept {
    SmallFloat<W> out;
    if (x.n == 0) {
        out.w[0] = 1;
        out.n = 1;
        return out;
    }
    out.exp = x.exp;
    W carry = 1;
    for (i64 k = x.exp; k < 0; ++k) {
        const W word = static_cast<W>(~x.at(k) + carry);
        carry = carry != 0 && word == 0;
        out.w[out.n++] = word;
    }
    if (carry != 0) out.w[out.n++] = 1;
    out.trim_top();
    return out;
}

}  // namespace kvt::inverse
