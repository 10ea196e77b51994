#pragma once
// What the kernels are given for a prime, a radix, or the joining of a set's residues; computed for every transform,
// from the roots of the table and from compiled inverses.

#include "multiply/ntt64/kernel_table.h"
#include "multiply/ntt64/ntt64_roots.h"
#include "multiply/ntt64/primes.h"
#include "multiply/ntt64/shape.h"

namespace kvt::multiply::ntt64 {

constexpr u64 quotient_of(u64 w, u64 p, unsigned bits) {
    return static_cast<u64>((static_cast<u128>(w) << bits) / p);
}
constexpr Twiddle twiddle_of(u64 w, u64 p, unsigned bits) { return {w, quotient_of(w, p, bits)}; }
constexpr u64 shift_mod(u64 w, u64 p, unsigned bits) { return static_cast<u64>((static_cast<u128>(w) << bits) % p); }
constexpr u64 half_mod(u64 w, u64 p) { return w / 2 + (w % 2 != 0 ? p / 2 + 1 : 0); }

// bits: the kernels' factor_bits.
Modulus modulus_of(u64 p, unsigned bits);

// z^t for t < r, z of order r; z = 1 for r = 1.
u64 radix_power(const PrimeRoots& roots, unsigned radix, unsigned t, u64 p);
RadixConstants radix_constants(const PrimeRoots& roots, unsigned radix, bool back, u64 p, unsigned bits);

JoinConstants join_constants(const Shape& shape, const Kernels& k);

}  // namespace kvt::multiply::ntt64
