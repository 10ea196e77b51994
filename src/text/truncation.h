#pragma once
// Digits are truncated, and scaling and conversion lose some units of a number's lowest words. So that 0.1 is not written
// as 0.0999, a float is raised a little: one that was read above what was written, and one that is written where
// something was cut off.

#include <algorithm>

#include "kernels/linear.h"
#include "objects/big_float.h"

namespace kvt::text {

// Guard words of the scaling by a power of ten: 10^k is formed with a relative error below k * B^-(q+1), k < 2^60.
template <class W>
constexpr u64 guard_words = 64 / word_bits<W> + 1;

// Adds the square root of the word base to word `at` of x. A carry out of the words becomes a word of x's buffer; where
// that ends, x stays as it is.
template <class W>
void raise_word(objects::BigFloat<W>& x, u64 at) noexcept {
    const W raised = static_cast<W>(x.T[at] + (W{1} << word_bits<W> / 2));
    if (raised < x.T[at]) {
        const bool full = std::all_of(x.T + at + 1, x.T + x.L, [](W word) { return word == static_cast<W>(~W{0}); });
        if (full && x.T + x.L == x.buffer + x.buffer_size) return;
        if (full) x.T[x.L++] = 0;
        kernels::add1_ip(x.T + at + 1, 1);
    }
    x.T[at] = raised;
}

}  // namespace kvt::text
