#pragma once
// The inner loops of the 64-bit transform, compiled once per word level. See docs/ntt64.md for the splitting.
//
// Ranges: p is an odd prime below 2^63. "reduced" is [0, p), "lazy" is [0, 2p); a lazy value fits one word.

#include <cstddef>
#include <cstdint>

namespace kvt::multiply::ntt64 {

// A word of the caller's memory or of scratch, at any alignment.
typedef std::uint64_t Point __attribute__((aligned(1), may_alias));

// A reduced constant with its quotient, floor(w * 2^64 / p): x * w mod p costs three multiplications for any x.
struct Twiddle {
    std::uint64_t w, quotient;
};

struct Modulus {
    std::uint64_t p;
    std::uint64_t inverse;       // of p modulo 2^64
    std::uint64_t one_quotient;  // floor(2^64 / p)
};

// Scale of one level of a splitting: every twiddle of the level is a fixed root times this.
struct LevelScale {
    Twiddle scale;          // s
    Twiddle scale_shifted;  // s * 2^64 mod p
};

// The r-point transform, r odd: with z a root of order r, even[t] = (z^t + z^-t) / 2 and odd[t] = (z^t - z^-t) / 2,
// both times 2^64.
struct RadixConstants {
    std::uint64_t even[7], odd[7];
};

// Three residues with their scales to 192 bits: v1 = r1 s1 mod p1, v2 = (r2 s2 - v1) / p1 mod p2,
// v3 = (r3 s3 - v1 - v2 p1) / (p1 p2) mod p3, value = v1 + p1 v2 + p1 p2 v3.
struct JoinConstants {
    std::uint64_t p1, p2, p3;
    std::uint64_t p12_low, p12_high;
    Twiddle s1;        // mod p1
    Twiddle s2, v1_2;  // mod p2: s2 / p1, 1 / p1
    Twiddle s3, v1_3;  // mod p3: s3 / (p1 p2), 1 / (p1 p2)
    Twiddle v2_3;      // mod p3: 1 / p2
};

struct Kernels {
    const char* isa;

    // out[i] = words[i] mod p, reduced. Any u64 words.
    void (*cut)(Point* out, const Point* words, std::size_t n, Modulus m) noexcept;

    // Twiddles of the levels below a node: out[2^l + i] = roots[i] * scale[l] for i < 2^l, l < levels. The inverse
    // form takes scales of inverses, and roots[i]^-1 = -roots[mirror of i within its octave].
    void (*twiddles)(Twiddle* out, const std::uint64_t* roots, const LevelScale* scales, unsigned levels,
                     Modulus m) noexcept;
    void (*inverse_twiddles)(Twiddle* out, const std::uint64_t* roots, const LevelScale* scales, unsigned levels,
                             Modulus m) noexcept;

    // Splits n points `levels` times, in place; n is a multiple of 2^levels. Lazy in, lazy out.
    void (*forward)(Point* x, std::size_t n, unsigned levels, const Twiddle* twiddles, std::uint64_t p) noexcept;
    // Undoes forward() up to the factor 2^levels. Reduced in, reduced out.
    void (*inverse)(Point* x, std::size_t n, unsigned levels, const Twiddle* twiddles, std::uint64_t p) noexcept;

    // The r-point transform of r arrays of m points that lie one after the other: index 0, 1, 2 for r = 3, 5, 7.
    // Lazy in, reduced out.
    void (*radix[3])(Point* x, std::size_t m, const RadixConstants& constants, Modulus modulus) noexcept;

    // Products of polynomials of degree below 4, modulo x^4 - z: polynomial 2i has z = twiddles[i], polynomial 2i + 1
    // has z = -twiddles[i]. a = a * b / 2^64, lazy in, reduced out.
    void (*multiply)(Point* a, const Point* b, std::size_t pairs, const Twiddle* twiddles, Modulus m) noexcept;
    void (*square)(Point* a, std::size_t pairs, const Twiddle* twiddles, Modulus m) noexcept;

    // Joins n coefficients and carries; the words replace x1. carry[2] goes in and out.
    void (*join)(Point* x1, const Point* x2, const Point* x3, std::size_t n, const JoinConstants& constants,
                 std::uint64_t* carry) noexcept;
};

extern const Kernels kernels_scalar, kernels_adx;

}  // namespace kvt::multiply::ntt64
