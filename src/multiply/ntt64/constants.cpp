#include "multiply/ntt64/constants.h"

namespace kvt::multiply::ntt64 {
namespace {

// Inverses of the odd radices, and of what the joining divides by; compiled, so that a transform takes no powers.
struct SetInverses {
    u64 odd[most_primes][4];    // of radix 1, 3, 5, 7, modulo each prime
    u64 p1_2, p1_3, p2_3;       // of a prime modulo a later one
    u64 cofactor[most_primes];  // of the product of the other primes
};
constexpr SetInverses set_inverses(const PrimeSet& set) {
    const u64* const p = set.primes;
    SetInverses s{};
    s.p1_2 = invert_mod(p[0] % p[1], p[1]);
    s.p1_3 = invert_mod(p[0] % p[2], p[2]);
    s.p2_3 = invert_mod(p[1] % p[2], p[2]);
    for (unsigned i = 0; i < set.count; ++i) {
        for (unsigned j = 0; j < 4; ++j) s.odd[i][j] = invert_mod(2 * j + 1, p[i]);
        u64 cofactor = 1;
        for (unsigned j = 0; j < set.count; ++j) {
            if (j != i) cofactor = mul_mod(cofactor, p[j] % p[i], p[i]);
        }
        s.cofactor[i] = invert_mod(cofactor, p[i]);
    }
    return s;
}
constexpr SetInverses inverses[3] = {set_inverses(prime_sets[0]), set_inverses(prime_sets[1]),
                                     set_inverses(prime_sets[2])};

// The inverse transform leaves radix * 2^(exponent - leaf_exponent) times the product of the small polynomials, and
// these are divided by 2^b.
u64 scale_of(const Shape& shape, unsigned i, const Kernels& k) {
    const u64 p = prime_sets[shape.set].primes[i];
    u64 scale = shift_mod(inverses[shape.set].odd[i][shape.radix / 2], p, k.factor_bits);
    for (unsigned l = k.leaf_exponent; l < shape.exponent; ++l) scale = half_mod(scale, p);
    return scale;
}

WideJoin wide_join(const Shape& shape, const Kernels& k) {
    const u64* const p = prime_sets[shape.set].primes;
    const SetInverses& inv = inverses[shape.set];
    WideJoin c{};
    c.p1 = p[0];
    c.p2 = p[1];
    c.p3 = p[2];
    const u128 p12 = static_cast<u128>(p[0]) * p[1];
    c.p12_low = static_cast<u64>(p12);
    c.p12_high = static_cast<u64>(p12 >> 64);
    const u64 p12_3 = mul_mod(inv.p1_3, inv.p2_3, p[2]);
    c.s1 = twiddle_of(scale_of(shape, 0, k), p[0], 64);
    c.s2 = twiddle_of(mul_mod(scale_of(shape, 1, k), inv.p1_2, p[1]), p[1], 64);
    c.v1_2 = twiddle_of(inv.p1_2, p[1], 64);
    c.s3 = twiddle_of(mul_mod(scale_of(shape, 2, k), p12_3, p[2]), p[2], 64);
    c.v1_3 = twiddle_of(p12_3, p[2], 64);
    c.v2_3 = twiddle_of(inv.p2_3, p[2], 64);
    return c;
}

// Multiplies a number of 52-bit limbs.
void multiply_limbs(u64* limbs, unsigned n, u64 factor) {
    u128 carry = 0;
    for (unsigned j = 0; j < n; ++j) {
        carry += static_cast<u128>(limbs[j]) * factor;
        limbs[j] = static_cast<u64>(carry) & ((u64{1} << 52) - 1);
        carry >>= 52;
    }
}

NarrowJoin narrow_join(const Shape& shape, const Kernels& k) {
    const u64* const p = prime_sets[shape.set].primes;
    NarrowJoin c{};
    u64 product[6] = {1};
    for (unsigned i = 0; i < 6; ++i) {
        c.p[i] = p[i];
        c.scale[i] = twiddle_of(mul_mod(scale_of(shape, i, k), inverses[shape.set].cofactor[i], p[i]), p[i], 52);
        c.reciprocal[i] = 1 / static_cast<double>(p[i]);
        c.cofactor[i][0] = 1;
        for (unsigned j = 0; j < 6; ++j) {
            if (j != i) multiply_limbs(c.cofactor[i], 5, p[j]);
        }
        multiply_limbs(product, 6, p[i]);
    }
    u64 borrow = 0;
    for (unsigned j = 0; j < 6; ++j) {
        const u64 difference = 0 - product[j] - borrow;
        c.minus_product[j] = difference & ((u64{1} << 52) - 1);
        borrow = difference >> 63;
    }
    return c;
}

}  // namespace

Modulus modulus_of(u64 p, unsigned bits) {
    const u64 limb1 = shift_mod(1, p, bits), limb2 = shift_mod(limb1, p, bits);
    return {p, inverse_of_odd(p), quotient_of(1, p, bits), twiddle_of(limb1, p, bits), twiddle_of(limb2, p, bits)};
}

u64 radix_power(const PrimeRoots& roots, unsigned radix, unsigned t, u64 p) {
    u64 power = 1;
    for (unsigned i = 0; i < t; ++i) power = mul_mod(power, roots.radix[radix / 2 - 1], p);
    return power;
}

RadixConstants radix_constants(const PrimeRoots& roots, unsigned radix, bool back, u64 p, unsigned bits) {
    RadixConstants c{};
    for (unsigned t = 0; t < radix; ++t) {
        const u64 a = radix_power(roots, radix, t, p), b = radix_power(roots, radix, (radix - t) % radix, p);
        c.even[t] = shift_mod(half_mod(add_mod(a, b, p), p), p, bits);
        c.odd[t] = shift_mod(half_mod(back ? add_mod(b, p - a, p) : add_mod(a, p - b, p), p), p, bits);
    }
    return c;
}

JoinConstants join_constants(const Shape& shape, const Kernels& k) {
    JoinConstants c{};
    if (shape.set == narrow_set) {
        c.narrow = narrow_join(shape, k);
    } else {
        c.wide = wide_join(shape, k);
    }
    return c;
}

}  // namespace kvt::multiply::ntt64
