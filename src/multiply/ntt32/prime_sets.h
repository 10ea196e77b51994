#pragma once
// The 28 sets of primes that the 31-bit transforms compute modulo.

#include "frame/types.h"

namespace kvt::multiply::ntt32 {

inline constexpr unsigned max_primes = 9;
inline constexpr unsigned set_count = 28;

// One set for every prime count 3..9 and radix 1, 3, 5, 7. Transforms have radix * 2^e points, e <= max_exponent.
struct NttPrimeSet {
    u8 count, radix, max_exponent;
    u32 primes[max_primes];            // below 2^31, k * 2^m + 1, m >= max_exponent
    u32 roots[max_primes];             // of exact order radix * 2^max_exponent
    u32 scale[max_primes];             // inverse of 2 * radix
    u32 cofactor_inverse[max_primes];  // inverse of (product of the other primes) modulo this prime
    u64 reciprocal[max_primes];        // floor(2^82 / prime), below 2^52
    double log2_product;
};

extern const NttPrimeSet prime_sets[set_count];

constexpr unsigned set_index(unsigned count, unsigned radix) { return (count - 3) * 4 + radix / 2; }

constexpr u32 mul_mod(u32 a, u32 b, u32 p) { return static_cast<u32>(u64{a} * b % p); }
constexpr u32 pow_mod(u32 base, u64 exponent, u32 p) {
    u32 result = 1;
    for (; exponent != 0; exponent >>= 1, base = mul_mod(base, base, p)) {
        if (exponent & 1) result = mul_mod(result, base, p);
    }
    return result;
}

}  // namespace kvt::multiply::ntt32
