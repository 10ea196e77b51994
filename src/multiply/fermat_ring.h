#pragma once
// Arithmetic modulo 2^M + 1, where powers of two are the roots of unity: 2 has order 2M, so a transform of K points
// (K divides 2M) needs additions and shifts only. An element is a unit of M/64 + 1 words and lies in [0, 2^M].

#include "frame/parameters.h"
#include "frame/types.h"

namespace kvt::multiply {

class FermatRing {
  public:
    explicit FermatRing(u64 words) : n_(words) {}  // M = 64 * words

    u64 bits() const { return 64 * n_; }
    u64 words() const { return n_; }
    u64 unit_words() const { return n_ + 1; }
    u64 unit_bytes() const { return 8 * unit_words(); }
    u64 spare_words() const { return 3 * n_ + 2; }  // what the operations need at `spare`

    // x := x * 2^e, e < 2M.
    void shift(u64* x, u64 e, u64* spare) const;

    // (u, v) := (u + v, (u - v) 2^e), and what undoes it up to a factor 2; e < 2M.
    void forward(u64* u, u64* v, u64 e, u64* spare) const;
    void inverse(u64* u, u64* v, u64 e, u64* spare) const;

    // x := x * y; y may be x. params must serve a product of 2 words() words.
    void multiply(const BasicParameters& params, u64* x, const u64* y, u64* spare) const;

  private:
    void settle(u64* x, i64 top) const;        // the low words of x, plus top * 2^M, to an element
    void fold(u64* x, const u64* wide) const;  // 2n words to an element
    void add(u64* x, const u64* a, const u64* b) const;
    void subtract(u64* x, const u64* a, const u64* b) const;
    void negate(u64* x) const;

    u64 n_;
};

}  // namespace kvt::multiply
