#pragma once
// The two sets of three primes, and arithmetic modulo a prime below 2^63 for set-up work (not for inner loops).

#include "frame/types.h"

namespace kvt::multiply::ntt64 {

constexpr u64 add_mod(u64 a, u64 b, u64 p) { return a >= p - b ? a - (p - b) : a + b; }
constexpr u64 mul_mod(u64 a, u64 b, u64 p) { return static_cast<u64>(static_cast<u128>(a) * b % p); }
constexpr u64 pow_mod(u64 a, u64 exponent, u64 p) {
    u64 r = 1;
    for (; exponent != 0; exponent >>= 1, a = mul_mod(a, a, p)) {
        if (exponent % 2 != 0) r = mul_mod(r, a, p);
    }
    return r;
}
constexpr u64 invert_mod(u64 a, u64 p) { return pow_mod(a, p - 2, p); }

// Modulo 2^64; p odd.
constexpr u64 inverse_of_odd(u64 p) {
    u64 x = p;  // right to 3 bits
    for (int i = 0; i < 5; ++i) x *= 2 - p * x;
    return x;
}

inline constexpr unsigned most_primes = 6;

struct PrimeSet {
    unsigned count;
    unsigned point_words;
    unsigned exponent;  // 2^exponent divides every p - 1
    bool odd_radices;   // so do 3, 5 and 7
    u64 primes[most_primes];
    // Smallest non-residues: of squares, and of cubes, fifth and seventh powers.
    u64 not_square[most_primes];
    u64 not_power[most_primes][3];
};

// Points of one word modulo three primes below 2^63: the first set's product exceeds 2^128 * 7 * 2^48 by 10 bits; the
// second, which serves the longest lengths alone and as powers of two, exceeds 2^128 * 2^56 by 1 bit. Points of two
// words modulo six primes below 2^50, for vector kernels: the product exceeds 2^256 * 7 * 2^36 by 4.7 bits.
inline constexpr unsigned wide_set = 0, longest_set = 1, narrow_set = 2;
inline constexpr PrimeSet prime_sets[3] = {
    {3,
     1,
     48,
     true,
     {0x7deb000000000001, 0x7bde000000000001, 0x79d1000000000001},
     {19, 17, 19},
     {{2, 2, 2}, {2, 2, 2}, {7, 2, 2}}},
    {3, 1, 56, false, {0x5700000000000001, 0x3a00000000000001, 0x1b00000000000001}, {5, 3, 5}, {}},
    {6,
     2,
     36,
     true,
     {0x3ffc000000001, 0x3f2a000000001, 0x3e58000000001, 0x3b79000000001, 0x3aa7000000001, 0x396c000000001},
     {11, 19, 31, 11, 17, 13},
     {{5, 2, 2}, {2, 5, 2}, {2, 3, 2}, {2, 2, 2}, {2, 3, 2}, {2, 2, 2}}},
};

constexpr unsigned odd_radix(unsigned i) { return 3 + 2 * i; }  // 3, 5, 7

}  // namespace kvt::multiply::ntt64
