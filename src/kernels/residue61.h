#pragma once
// Arithmetic modulo the Mersenne prime M = 2^61 - 1, the library's checksum: 2^61 = 1, so a factor 2^k is a rotation
// by k mod 61 of the 61-bit value.

#include "frame/types.h"

namespace kvt::kernels {

inline constexpr u64 residue_modulus = (u64{1} << 61) - 1;

// All arguments and results below are reduced: 0 .. M - 1.
constexpr u64 residue_reduce(u64 x) noexcept {
    x = (x & residue_modulus) + (x >> 61);
    return x >= residue_modulus ? x - residue_modulus : x;
}

constexpr u64 residue_add(u64 a, u64 b) noexcept {
    const u64 s = a + b;
    return s >= residue_modulus ? s - residue_modulus : s;
}

constexpr u64 residue_sub(u64 a, u64 b) noexcept { return a >= b ? a - b : a + residue_modulus - b; }

constexpr u64 residue_mul(u64 a, u64 b) noexcept {
    const u128 p = static_cast<u128>(a) * b;
    return residue_reduce((static_cast<u64>(p) & residue_modulus) + static_cast<u64>(p >> 61));
}

// a * 2^bits; bits may be negative.
constexpr u64 residue_shift(u64 a, i64 bits) noexcept {
    const unsigned k = static_cast<unsigned>(((bits % 61) + 61) % 61);
    if (k == 0) return a;
    return residue_reduce(((a << k) & residue_modulus) | (a >> (61 - k)));
}

// Value modulo M of the n 32-bit words at bytes (little-endian, any alignment).
u64 residue_of(const void* bytes, u64 n) noexcept;

// The same of n words of either width.
template <class W>
u64 residue_of_words(const W* words, u64 n) noexcept {
    return residue_of(words, n * (sizeof(W) / 4));
}

}  // namespace kvt::kernels
