#pragma once
// Arithmetic modulo 2^M + 1, where powers of two are the roots of unity: 2 has order 2M, so a transform of K points
// (K divides 2M) needs additions and shifts only. An element lies in [0, 2^M] and is a unit: the words of M bits, and one.

#include "frame/parameters.h"
#include "frame/types.h"

namespace kvt::multiply {

template <class W>
class FermatRing {
  public:
    explicit FermatRing(u64 words) : n_(words) {}  // M is their bits

    u64 bits() const { return word_bits<W> * n_; }
    u64 words() const { return n_; }
    u64 unit_words() const { return n_ + 1; }
    u64 unit_bytes() const { return sizeof(W) * unit_words(); }
    u64 spare_words() const { return 3 * n_ + 2; }  // what the operations need at `spare`

    // x := A modulo 2^M + 1, of any length.
    void reduce(W* x, const W* A, u64 L) const;

    // x := a + b, a - b, -x, x / 2; operands may be the result.
    void add(W* x, const W* a, const W* b) const;
    void subtract(W* x, const W* a, const W* b) const;
    void negate(W* x) const;
    void halve(W* x) const;

    // x := x * 2^e, e < 2M.
    void shift(W* x, u64 e, W* spare) const;

    // (u, v) := (u + v, (u - v) 2^e), and what undoes it up to a factor 2; e < 2M.
    void forward(W* u, W* v, u64 e, W* spare) const;
    void inverse(W* u, W* v, u64 e, W* spare) const;

    // x := x * y; y may be x. params must serve a product of 2 words() words.
    void multiply(const BasicParameters& params, W* x, const W* y, W* spare) const;

  private:
    void settle(W* x, i64 top) const;  // the low words of x, plus top * 2^M, to an element

    u64 n_;
};

}  // namespace kvt::multiply
