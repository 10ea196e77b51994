#pragma once
// The inner loops of the 64-bit transform, compiled once per word level. See docs/ntt64.md for the splitting.
//
// There are two forms. Wide: three primes below 2^63, points of one word, plain C++. Narrow: six primes below 2^50,
// points of two words, eight lanes. "Reduced" is [0, p); "lazy" is what fits the factors of a product and is told by
// each form: [0, 2p) when wide, [0, 4p) when narrow.

#include <cstddef>
#include <cstdint>

namespace kvt::multiply::ntt64 {

// A word of the caller's memory or of scratch, at any alignment.
typedef std::uint64_t Point __attribute__((aligned(1), may_alias));

// A reduced constant with its quotient, floor(w * 2^b / p): x * w mod p costs three multiplications for any x < 2^b.
// b is 64 when wide, 52 when narrow.
struct Twiddle {
    std::uint64_t w, quotient;
};

struct Modulus {
    std::uint64_t p;
    std::uint64_t inverse;       // of p modulo 2^64
    std::uint64_t one_quotient;  // floor(2^b / p)
    Twiddle limb1, limb2;        // 2^b and 2^(2b)
};

// Scale of one level of a splitting: every twiddle of the level is a fixed root times this.
struct LevelScale {
    Twiddle scale;          // s
    Twiddle scale_shifted;  // s * 2^b mod p
};

// The r-point transform, r odd: with z a root of order r, even[t] = (z^t + z^-t) / 2 and odd[t] = (z^t - z^-t) / 2,
// both times 2^b.
struct RadixConstants {
    std::uint64_t even[7], odd[7];
};

// Three residues with their scales to 192 bits: v1 = r1 s1 mod p1, v2 = (r2 s2 - v1) / p1 mod p2,
// v3 = (r3 s3 - v1 - v2 p1) / (p1 p2) mod p3, value = v1 + p1 v2 + p1 p2 v3.
struct WideJoin {
    std::uint64_t p1, p2, p3;
    std::uint64_t p12_low, p12_high;
    Twiddle s1;        // mod p1
    Twiddle s2, v1_2;  // mod p2: s2 / p1, 1 / p1
    Twiddle s3, v1_3;  // mod p3: s3 / (p1 p2), 1 / (p1 p2)
    Twiddle v2_3;      // mod p3: 1 / p2
};

// Six residues, with P the product of the primes, in limbs of 52 bits.
struct NarrowJoin {
    std::uint64_t p[6];
    Twiddle scale[6];                // s / (P / p)
    std::uint64_t cofactor[6][5];    // P / p
    std::uint64_t minus_product[6];  // 2^312 - P
    double reciprocal[6];            // 1 / p
};

struct JoinConstants {
    WideJoin wide;
    NarrowJoin narrow;
};

struct Kernels {
    const char* isa;
    unsigned factor_bits;    // b
    unsigned leaf_exponent;  // polynomials of 2^leaf_exponent points are multiplied directly

    // out[i] = point i of words mod p. n is a multiple of 8.
    void (*cut)(Point* out, const Point* words, std::size_t n, const Modulus& m) noexcept;

    // Twiddles of the levels below a node: out[2^l + i] = roots[i] * scale[l] for i < 2^l, l < levels. The inverse
    // form takes scales of inverses, and roots[i]^-1 = -roots[mirror of i within its octave]. 8 roots are readable.
    void (*twiddles)(Twiddle* out, const std::uint64_t* roots, const LevelScale* scales, unsigned levels,
                     const Modulus& m) noexcept;
    void (*inverse_twiddles)(Twiddle* out, const std::uint64_t* roots, const LevelScale* scales, unsigned levels,
                             const Modulus& m) noexcept;

    // Splits n points `levels` times, in place; n is a multiple of 8 * 2^levels (narrow), 2^levels (wide). Lazy in and
    // out.
    void (*forward)(Point* x, std::size_t n, unsigned levels, const Twiddle* twiddles, std::uint64_t p) noexcept;
    // Undoes forward() up to the factor 2^levels. Reduced in and out (wide), below 2p (narrow).
    void (*inverse)(Point* x, std::size_t n, unsigned levels, const Twiddle* twiddles, std::uint64_t p) noexcept;

    // The r-point transform of r arrays of m points that lie one after the other: index 0, 1, 2 for r = 3, 5, 7; m is a
    // multiple of 8. Below 2p in, reduced out.
    void (*radix[3])(Point* x, std::size_t m, const RadixConstants& constants, const Modulus& modulus) noexcept;

    // Products of polynomials, a leaf each, modulo x^k - z: leaf 2i has z = twiddles[i], leaf 2i + 1 has
    // z = -twiddles[i]. a = a * b / 2^b. Lazy in, out as inverse() takes it. pairs is a multiple of 4 when narrow.
    void (*multiply)(Point* a, const Point* b, std::size_t pairs, const Twiddle* twiddles, const Modulus& m) noexcept;
    void (*square)(Point* a, std::size_t pairs, const Twiddle* twiddles, const Modulus& m) noexcept;

    // Joins n coefficients (a multiple of 8 when narrow) whose residues lie `stride` points apart, and carries. The
    // words replace residues: of the first prime when wide; when narrow each 8 points give 8 words to the first
    // prime's place and then 8 to the second's. carry[3] goes in and out.
    void (*join)(Point* x, std::size_t stride, std::size_t n, const JoinConstants& constants,
                 std::uint64_t* carry) noexcept;
};

extern const Kernels kernels_scalar, kernels_adx, kernels_avx512ifma;

}  // namespace kvt::multiply::ntt64
