// The kernels of kernel_table.h for primes below 2^50, with points of two words, in eight lanes.
//
// Ranges: p < 2^50. "Lazy" is [0, 4p), which fits the 52 bits that the multiplications read; results of products and
// of the inverse transform are in [0, 2p).

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "multiply/ntt64/kernel_table.h"

namespace kvt::multiply::ntt64 {
namespace {

using u64 = std::uint64_t;
__extension__ typedef unsigned __int128 u128;
using V = __m512i;

inline V load(const Point* x) { return _mm512_loadu_si512(x); }
inline void store(Point* x, V v) { _mm512_storeu_si512(x, v); }
inline V every(u64 x) { return _mm512_set1_epi64(static_cast<long long>(x)); }
inline V zero() { return _mm512_setzero_si512(); }

struct Field {
    V p, twice, minus, mask;  // minus: 2^52 - p

    explicit Field(u64 prime)
        : p(every(prime)),
          twice(every(2 * prime)),
          minus(every((u64{1} << 52) - prime)),
          mask(every((u64{1} << 52) - 1)) {}

    // [0, 4p) to [0, 2p), [0, 2p) to [0, p)
    V halve(V x) const { return _mm512_min_epu64(x, _mm512_sub_epi64(x, twice)); }
    V reduce(V x) const { return _mm512_min_epu64(x, _mm512_sub_epi64(x, p)); }

    // x * w mod p in [0, 2p), x below 2^52
    V mul(V x, V w, V quotient) const {
        const V q = _mm512_madd52hi_epu64(zero(), x, quotient);
        return _mm512_and_si512(_mm512_madd52lo_epu64(_mm512_madd52lo_epu64(zero(), x, w), q, minus), mask);
    }
};

struct Factor {
    V w, quotient;
    explicit Factor(const Twiddle& t) : w(every(t.w)), quotient(every(t.quotient)) {}
};

// Sums of up to eight products of values below p, divided by 2^52: in (0, 3p).
struct Sum {
    V low = zero(), high = zero();
    void add(V a, V b) {
        low = _mm512_madd52lo_epu64(low, a, b);
        high = _mm512_madd52hi_epu64(high, a, b);
    }
    V divided(const Field& f, V inverse) const {
        const V m = _mm512_madd52lo_epu64(zero(), low, inverse);
        const V top = _mm512_add_epi64(_mm512_add_epi64(high, f.p), _mm512_srli_epi64(low, 52));
        return _mm512_sub_epi64(top, _mm512_madd52hi_epu64(zero(), m, f.p));
    }
};

void cut(Point* out, const Point* words, std::size_t n, const Modulus& m) noexcept {
    const Field f(m.p);
    const Factor one({1, m.one_quotient}), limb1(m.limb1), limb2(m.limb2);
    const V even = _mm512_setr_epi64(0, 2, 4, 6, 8, 10, 12, 14), odd = _mm512_setr_epi64(1, 3, 5, 7, 9, 11, 13, 15);
    const V four = _mm512_add_epi64(f.twice, f.twice), mask40 = every((u64{1} << 40) - 1);
    for (std::size_t i = 0; i < n; i += 8) {
        const V a = load(words + 2 * i), b = load(words + 2 * i + 8);
        const V low = _mm512_permutex2var_epi64(a, even, b), high = _mm512_permutex2var_epi64(a, odd, b);
        const V x0 = _mm512_and_si512(low, f.mask), x2 = _mm512_srli_epi64(high, 40);
        const V x1 =
            _mm512_or_si512(_mm512_srli_epi64(low, 52), _mm512_slli_epi64(_mm512_and_si512(high, mask40), 12));
        V sum = _mm512_add_epi64(f.mul(x0, one.w, one.quotient), f.mul(x1, limb1.w, limb1.quotient));
        sum = _mm512_add_epi64(sum, f.mul(x2, limb2.w, limb2.quotient));
        sum = _mm512_min_epu64(sum, _mm512_sub_epi64(sum, four));
        store(out + i, f.halve(sum));
    }
}

// Eight twiddles root * scale, the lanes in `negated` with the other sign, interleaved with their quotients.
struct TwiddleMaker {
    Field f;
    Factor scale, shifted;
    V inverse;

    TwiddleMaker(const LevelScale& s, const Modulus& m)
        : f(m.p), scale(s.scale), shifted(s.scale_shifted), inverse(every(m.inverse)) {}

    void make(V roots, __mmask8 negated, V& first, V& second) const {
        V w = f.reduce(f.mul(roots, scale.w, scale.quotient));
        const V remainder = f.reduce(f.mul(roots, shifted.w, shifted.quotient));
        V q = _mm512_madd52lo_epu64(zero(), _mm512_sub_epi64(zero(), remainder), inverse);
        w = _mm512_mask_sub_epi64(w, negated, f.p, w);
        q = _mm512_mask_sub_epi64(q, negated, f.mask, q);
        first = _mm512_permutex2var_epi64(w, _mm512_setr_epi64(0, 8, 1, 9, 2, 10, 3, 11), q);
        second = _mm512_permutex2var_epi64(w, _mm512_setr_epi64(4, 12, 5, 13, 6, 14, 7, 15), q);
    }
    void store8(Twiddle* out, V first, V second, std::size_t n) const {
        const unsigned words = n < 8 ? (1u << 2 * n) - 1 : 0xffff;
        _mm512_mask_storeu_epi64(out, static_cast<__mmask8>(words), first);
        _mm512_mask_storeu_epi64(out + 4, static_cast<__mmask8>(words >> 8), second);
    }
};

void twiddles(Twiddle* out, const u64* roots, const LevelScale* scales, unsigned levels, const Modulus& m) noexcept {
    for (unsigned l = 0; l < levels; ++l) {
        const TwiddleMaker maker(scales[l], m);
        const std::size_t n = std::size_t{1} << l;
        for (std::size_t i = 0; i < n; i += 8) {
            V first, second;
            maker.make(_mm512_loadu_si512(roots + i), 0, first, second);
            maker.store8(out + n + i, first, second, n);
        }
    }
}

void inverse_twiddles(Twiddle* out, const u64* roots, const LevelScale* scales, unsigned levels,
                      const Modulus& m) noexcept {
    const V mirror8 = _mm512_setr_epi64(0, 1, 3, 2, 7, 6, 5, 4), reverse = _mm512_setr_epi64(7, 6, 5, 4, 3, 2, 1, 0);
    for (unsigned l = 0; l < levels; ++l) {
        const TwiddleMaker maker(scales[l], m);
        const std::size_t n = std::size_t{1} << l;
        V first, second;
        maker.make(_mm512_permutexvar_epi64(mirror8, _mm512_loadu_si512(roots)), 0xfe, first, second);
        maker.store8(out + n, first, second, n);
        for (std::size_t octave = 8; octave < n; octave *= 2) {
            for (std::size_t i = 0; i < octave; i += 8) {
                const V mirrored = _mm512_permutexvar_epi64(reverse, _mm512_loadu_si512(roots + 2 * octave - 8 - i));
                maker.make(mirrored, 0xff, first, second);
                maker.store8(out + n + octave + i, first, second, 8);
            }
        }
    }
}

inline void split(V& u, V& v, const Factor& t, const Field& f) {
    const V a = f.halve(u), b = f.mul(v, t.w, t.quotient);
    u = _mm512_add_epi64(a, b);
    v = _mm512_sub_epi64(_mm512_add_epi64(a, f.twice), b);
}

inline void unite(V& u, V& v, const Factor& t, const Field& f) {
    const V d = _mm512_add_epi64(_mm512_sub_epi64(u, v), f.twice);
    u = f.halve(_mm512_add_epi64(u, v));
    v = f.mul(d, t.w, t.quotient);
}

template <bool back>
void pass2(Point* x, std::size_t half, const Twiddle* w, const Field& f) {
    const Factor t(*w);
    for (std::size_t j = 0; j < half; j += 8) {
        V u = load(x + j), v = load(x + half + j);
        if constexpr (back) {
            unite(u, v, t, f);
        } else {
            split(u, v, t, f);
        }
        store(x + j, u);
        store(x + half + j, v);
    }
}

// Two levels in one pass.
template <bool back>
void pass4(Point* x, std::size_t nodes, std::size_t quarter, const Twiddle* w, const Twiddle* below, const Field& f) {
    for (std::size_t i = 0; i < nodes; ++i, x += 4 * quarter) {
        const Factor t(w[i]), t0(below[2 * i]), t1(below[2 * i + 1]);
        for (std::size_t j = 0; j < quarter; j += 8) {
            Point* const y = x + j;
            V a = load(y), b = load(y + quarter), c = load(y + 2 * quarter), d = load(y + 3 * quarter);
            if constexpr (back) {
                unite(a, b, t0, f);
                unite(c, d, t1, f);
                unite(a, c, t, f);
                unite(b, d, t, f);
            } else {
                split(a, c, t, f);
                split(b, d, t, f);
                split(a, b, t0, f);
                split(c, d, t1, f);
            }
            store(y, a);
            store(y + quarter, b);
            store(y + 2 * quarter, c);
            store(y + 3 * quarter, d);
        }
    }
}

void forward(Point* x, std::size_t n, unsigned levels, const Twiddle* w, u64 p) noexcept {
    const Field f(p);
    unsigned l = levels % 2;
    if (l != 0) pass2<false>(x, n / 2, w + 1, f);
    for (; l < levels; l += 2) {
        const std::size_t nodes = std::size_t{1} << l;
        pass4<false>(x, nodes, n / nodes / 4, w + nodes, w + 2 * nodes, f);
    }
}

void inverse(Point* x, std::size_t n, unsigned levels, const Twiddle* w, u64 p) noexcept {
    const Field f(p);
    for (unsigned l = levels; l >= 2; l -= 2) {
        const std::size_t nodes = std::size_t{1} << (l - 2);
        pass4<true>(x, nodes, n / nodes / 4, w + nodes, w + 2 * nodes, f);
    }
    if (levels % 2 != 0) pass2<true>(x, n / 2, w + 1, f);
}

template <unsigned r>
void radix(Point* x, std::size_t m, const RadixConstants& constants, const Modulus& modulus) noexcept {
    constexpr unsigned h = (r - 1) / 2;
    const Field f(modulus.p);
    const V inverse = every(modulus.inverse);
    const auto add = [&](V a, V b) { return f.reduce(_mm512_add_epi64(a, b)); };
    const auto sub = [&](V a, V b) { return f.reduce(_mm512_add_epi64(_mm512_sub_epi64(a, b), f.p)); };
    for (std::size_t i = 0; i < m; i += 8, x += 8) {
        const V first = f.reduce(load(x));
        V sums[h], differences[h], total = first;
#pragma GCC unroll 3
        for (unsigned j = 1; j <= h; ++j) {
            const V a = f.reduce(load(x + j * m)), b = f.reduce(load(x + (r - j) * m));
            sums[j - 1] = add(a, b);
            differences[j - 1] = sub(a, b);
            total = add(total, sums[j - 1]);
        }
        store(x, total);
#pragma GCC unroll 3
        for (unsigned k = 1; k <= h; ++k) {
            Sum even, odd;
#pragma GCC unroll 3
            for (unsigned j = 1; j <= h; ++j) {
                even.add(sums[j - 1], every(constants.even[j * k % r]));
                odd.add(differences[j - 1], every(constants.odd[j * k % r]));
            }
            const V e = add(first, f.reduce(even.divided(f, inverse))), o = f.reduce(odd.divided(f, inverse));
            store(x + k * m, add(e, o));
            store(x + (r - k) * m, sub(e, o));
        }
    }
}

inline void transpose(V (&r)[8]) {
    V t[8];
#pragma GCC unroll 4
    for (unsigned i = 0; i < 4; ++i) {
        t[i] = _mm512_unpacklo_epi64(r[2 * i], r[2 * i + 1]);
        t[4 + i] = _mm512_unpackhi_epi64(r[2 * i], r[2 * i + 1]);
    }
#pragma GCC unroll 2
    for (unsigned i = 0; i < 2; ++i) {
        const V a = _mm512_shuffle_i64x2(t[4 * i], t[4 * i + 1], 0x44),
                b = _mm512_shuffle_i64x2(t[4 * i], t[4 * i + 1], 0xee);
        const V c = _mm512_shuffle_i64x2(t[4 * i + 2], t[4 * i + 3], 0x44),
                d = _mm512_shuffle_i64x2(t[4 * i + 2], t[4 * i + 3], 0xee);
        r[i] = _mm512_shuffle_i64x2(a, c, 0x88);
        r[2 + i] = _mm512_shuffle_i64x2(a, c, 0xdd);
        r[4 + i] = _mm512_shuffle_i64x2(b, d, 0x88);
        r[6 + i] = _mm512_shuffle_i64x2(b, d, 0xdd);
    }
}

// Eight polynomials of degree below 8 at a time, one in each lane.
void multiply(Point* a, const Point* b, std::size_t pairs, const Twiddle* twiddles, const Modulus& m) noexcept {
    const Field f(m.p);
    const V inverse = every(m.inverse);
    const V of_w = _mm512_setr_epi64(0, 0, 2, 2, 4, 4, 6, 6), of_q = _mm512_setr_epi64(1, 1, 3, 3, 5, 5, 7, 7);
    for (std::size_t i = 0; i < pairs; i += 4, a += 64, b += 64) {
        V x[8], y[8], z[8];
#pragma GCC unroll 8
        for (unsigned k = 0; k < 8; ++k) {
            x[k] = load(a + 8 * k);
            y[k] = load(b + 8 * k);
        }
        transpose(x);
        transpose(y);
        const V t = _mm512_loadu_si512(twiddles + i);
        V w = _mm512_permutexvar_epi64(of_w, t), q = _mm512_permutexvar_epi64(of_q, t);
        w = _mm512_mask_sub_epi64(w, 0xaa, f.p, w);
        q = _mm512_mask_sub_epi64(q, 0xaa, f.mask, q);
#pragma GCC unroll 8
        for (unsigned k = 0; k < 8; ++k) {
            x[k] = f.reduce(f.halve(x[k]));
            y[k] = f.reduce(f.halve(y[k]));
            z[k] = f.reduce(f.mul(y[k], w, q));
        }
        V c[8];
#pragma GCC unroll 8
        for (unsigned k = 0; k < 8; ++k) {
            Sum sum;
#pragma GCC unroll 8
            for (unsigned j = 0; j < 8; ++j) sum.add(x[j], j <= k ? y[k - j] : z[8 + k - j]);
            c[k] = f.halve(sum.divided(f, inverse));
        }
        transpose(c);
#pragma GCC unroll 8
        for (unsigned k = 0; k < 8; ++k) store(a + 8 * k, c[k]);
    }
}

void square(Point* a, std::size_t pairs, const Twiddle* twiddles, const Modulus& m) noexcept {
    multiply(a, a, pairs, twiddles, m);
}

// With c[i] = r[i] s[i] mod p[i], the coefficient is the sum of c[i] (P / p[i]) less k P; k is the sum of c[i] / p[i]
// rounded, for a coefficient is below P / 16. Eight are joined at a time in 52-bit limbs, then carried one by one.
// The 16 words go to the first two arrays, 8 to each.
void join(Point* x, std::size_t stride, std::size_t n, const JoinConstants& constants, u64* carry) noexcept {
    const NarrowJoin& c = constants.narrow;
    const V mask = every((u64{1} << 52) - 1);
    u64 c0 = carry[0], c1 = carry[1], c2 = carry[2];
    for (std::size_t i = 0; i < n; i += 8) {
        V limbs[7] = {};
        __m512d sum = _mm512_setzero_pd();
        for (unsigned k = 0; k < 6; ++k) {
            const Field f(c.p[k]);
            const V r = f.reduce(f.mul(load(x + k * stride + i), every(c.scale[k].w), every(c.scale[k].quotient)));
            sum = _mm512_fmadd_pd(_mm512_cvtepu64_pd(r), _mm512_set1_pd(c.reciprocal[k]), sum);
#pragma GCC unroll 5
            for (unsigned j = 0; j < 5; ++j) {
                limbs[j] = _mm512_madd52lo_epu64(limbs[j], r, every(c.cofactor[k][j]));
                limbs[j + 1] = _mm512_madd52hi_epu64(limbs[j + 1], r, every(c.cofactor[k][j]));
            }
        }
        const V times = _mm512_cvt_roundpd_epu64(sum, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
#pragma GCC unroll 6
        for (unsigned j = 0; j < 6; ++j) {
            limbs[j] = _mm512_madd52lo_epu64(limbs[j], times, every(c.minus_product[j]));
            limbs[j + 1] = _mm512_madd52hi_epu64(limbs[j + 1], times, every(c.minus_product[j]));
            limbs[j + 1] = _mm512_add_epi64(limbs[j + 1], _mm512_srli_epi64(limbs[j], 52));
            limbs[j] = _mm512_and_si512(limbs[j], mask);
        }
        u64 w[5][8];
        const auto word = [&](unsigned j, unsigned right) {
            return _mm512_or_si512(_mm512_srli_epi64(limbs[j], right), _mm512_slli_epi64(limbs[j + 1], 52 - right));
        };
        _mm512_storeu_si512(w[0], word(0, 0));
        _mm512_storeu_si512(w[1], word(1, 12));
        _mm512_storeu_si512(w[2], word(2, 24));
        _mm512_storeu_si512(w[3], word(3, 36));
        _mm512_storeu_si512(w[4], word(4, 48));
        for (unsigned k = 0; k < 8; ++k) {
            u128 s = static_cast<u128>(w[0][k]) + c0;
            Point* const out = x + (k < 4 ? 0 : stride) + i + 2 * (k % 4);
            out[0] = static_cast<u64>(s);
            s = (s >> 64) + w[1][k] + c1;
            out[1] = static_cast<u64>(s);
            s = (s >> 64) + w[2][k] + c2;
            c0 = static_cast<u64>(s);
            s = (s >> 64) + w[3][k];
            c1 = static_cast<u64>(s);
            c2 = static_cast<u64>(s >> 64) + w[4][k];
        }
    }
    carry[0] = c0;
    carry[1] = c1;
    carry[2] = c2;
}

}  // namespace

constinit const Kernels kernels_avx512ifma{
    "avx512ifma", 52,     3,   cut, twiddles, inverse_twiddles, forward, inverse, {radix<3>, radix<5>, radix<7>},
    multiply,     square, join};

}  // namespace kvt::multiply::ntt64
