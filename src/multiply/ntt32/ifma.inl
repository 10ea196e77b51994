// The transform on 64-bit lanes with 52-bit products, R = 2^52. Inside a pass nothing is reduced: values grow by a few p
// a level and stay far below 2^52, the range of a factor, which must not be negative.
//
// With h, l the high and low 52 bits of a product, m = l(x W'), b = h(m p): b is in [0, p), and since l(x W) = l(m p),
// h(x W) - b = x W / R exactly modulo p. W' = W / p modulo R.

constexpr unsigned r_bits = 52;
constexpr u64 low52 = (u64{1} << 52) - 1;
constexpr unsigned lanes = 8;

using V = __m512i;

// Whether two types are the same.
template <class A, class B>
constexpr bool same = false;
template <class A>
constexpr bool same<A, A> = true;

AI V zero() { return _mm512_setzero_si512(); }
AI V set64(u64 x) { return _mm512_set1_epi64(static_cast<long long>(x)); }
AI V load(const u64* x) { return _mm512_loadu_si512(x); }
AI V load(const u32* x) { return _mm512_cvtepu32_epi64(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(x))); }
AI void store(u64* x, V v) { _mm512_storeu_si512(x, v); }
AI void store(u32* x, V v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(x), _mm512_cvtepi64_epi32(v)); }
AI V add64(V x, V y) { return _mm512_add_epi64(x, y); }
AI V sub64(V x, V y) { return _mm512_sub_epi64(x, y); }
AI V low(V sum, V x, V y) { return _mm512_madd52lo_epu64(sum, x, y); }
AI V high(V sum, V x, V y) { return _mm512_madd52hi_epu64(sum, x, y); }

// Inverse of odd p modulo 2^52.
constexpr u64 inverse52(u64 p) {
    u64 x = p;
    for (int i = 0; i < 5; ++i) x *= 2 - p * x;
    return x & low52;
}
constexpr u64 multiple_above(u64 p, unsigned bits) { return ((u64{1} << bits) / p + 1) * p; }

struct Constants {
    V p, inverse;         // 1 / p modulo R
    V bias;               // 5 p
    V lift;               // a multiple of p above every subtrahend
    V p3;                 // 3 p
    V quotient, minus_p;  // floor(R / p), R - p
    explicit Constants(u64 prime)
        : p(set64(prime)),
          inverse(set64(inverse52(prime))),
          bias(set64(5 * prime)),
          lift(set64(multiple_above(prime, 41))),
          p3(set64(3 * prime)),
          quotient(set64((u64{1} << 52) / prime)),
          minus_p(set64((u64{1} << 52) - prime)) {}
};

// x modulo p below p (1 + x / R), which fits 32 bits; bits from 52 on are garbage.
AI V reduce_low(V x, const Constants& c) { return low(x, high(zero(), x, c.quotient), c.minus_p); }
AI V reduce(V x, const Constants& c) { return _mm512_and_si512(reduce_low(x, c), set64(low52)); }

// A constant factor. Splitting uses W = -w R mod p, merging W = w R mod p.
struct Factor {
    V w, w1;
};
inline u64 to_form(u64 x, u64 p) { return ((x % p) << 26) % p * (u64{1} << 26) % p; }
inline Factor make_factor(u64 x, u64 p) {
    const u64 w = to_form(x, p);
    return {set64(w), set64(w * inverse52(p) & low52)};
}
AI Factor with_quotient(V w, const Constants& c) { return {w, low(zero(), w, c.inverse)}; }

// offset - x W / R; below offset + p, above offset - 2^31.
AI V mul_minus(V x, const Factor& f, const Constants& c, V offset) {
    const V m = low(zero(), x, f.w1);
    return sub64(high(offset, m, c.p), high(zero(), x, f.w));
}
// offset + x W / R; above offset - p.
AI V mul_plus(V x, const Factor& f, const Constants& c, V offset) {
    const V m = low(zero(), x, f.w1);
    return high(sub64(offset, high(zero(), m, c.p)), x, f.w);
}

// ---- tables of roots ----
// For the levels of a splitting, all counted from its own top: w[(1 << l) + q] belongs to node q of level l.
struct Levels {
    const u64 *w, *w1;
};

// T[i .. i + 8) or their inverses, i a multiple of 8 of one step of T; the inverses negated:
// 1 / T[m] is -T[m], all bits of m below its top one flipped.
template <bool inverse>
AI V eight_roots(const Prime& prime, u64 i) {
    constexpr u64 inner = 512;
    if constexpr (!inverse) return load(prime.inner + i % inner);
    if (i == 0) {
        const V t = _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 1, 3, 2, 7, 6, 5, 4), load(prime.inner));
        return _mm512_mask_sub_epi64(t, 1, set64(prime.p), t);  // but T[0] = 1 is its own inverse
    }
    const u64 last = i + 7, at = last ^ ((u64{1} << (63 - __builtin_clzll(last))) - 1);
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(7, 6, 5, 4, 3, 2, 1, 0), load(prime.inner + at % inner));
}

// One level: first * T[i], i < 2^l, in the form of a factor. Writes whole vectors.
template <bool inverse>
void build_level(const Prime& prime, u64 first, u64 square, u64* w, u64* w1, u64 count, const Constants& c) {
    const u64 p = prime.p;
    for (u64 chunk = 0; 512 * chunk < count; ++chunk) {
        u64 h = chunk;
        if (inverse && h != 0) h ^= (u64{1} << (63 - __builtin_clzll(h))) - 1;
        u64 x = h == 0 ? first : first * prime.steps[h] % p;
        x = (p - x) * square % p;  // times -R^2: the sign of splitting's factors, or that of the inverses
        const Factor f{set64(x), set64(x * inverse52(p) & low52)};
        const u64 end = 512 * (chunk + 1) < count ? 512 * (chunk + 1) : count;
        for (u64 i = 512 * chunk; i < end; i += lanes) {
            V t = mul_plus(eight_roots<inverse>(prime, i), f, c, c.p);
            t = _mm512_min_epu64(t, sub64(t, c.p));
            store(w + i, t);
            store(w1 + i, low(zero(), t, c.inverse));
        }
    }
}

Levels build_levels(const Prime& prime, const Splitting& s, unsigned count, bool inverse, u64*& memory) {
    const Constants c(prime.p);
    const u64 p = prime.p, r = (u64{1} << 52) % p, square = r * r % p;
    u64 *const w = memory, *const w1 = memory + (u64{1} << count) + 8;
    memory += 2 * ((u64{1} << count) + 8);
    const u64 node = s.negacyclic ? (u64{1} << s.depth) + s.node : s.node;
    const bool shared = s.radix == 1 && node == 0;  // every level is the start of the deepest one
    for (unsigned l = shared && count > 0 ? count - 1 : 0; l < count; ++l) {
        const unsigned j = branch_at(s.radix, s.branch, s.depth + l);
        const unsigned branch = inverse && j != 0 ? s.radix - j : j;
        const u64 first = mul_mod(root_at(prime, node << l, inverse), prime.inner[512 * branch], prime.p);
        const u64 at = u64{1} << l;
        if (inverse) {
            build_level<true>(prime, first, square, w + at, w1 + at, at, c);
        } else {
            build_level<false>(prime, first, square, w + at, w1 + at, at, c);
        }
    }
    for (unsigned l = 0; shared && l + 1 < count; ++l) {
        __builtin_memcpy(w + (u64{1} << l), w + (u64{1} << (count - 1)), u64{8} << l);
        __builtin_memcpy(w1 + (u64{1} << l), w1 + (u64{1} << (count - 1)), u64{8} << l);
    }
    return {w, w1};
}

AI Factor level_factor(const Levels& t, u64 at) { return {set64(t.w[at]), set64(t.w1[at])}; }

// ---- butterflies of 2^log words a node ----
// x[0 .. 2^log) are the parts of node q of a level. Splitting: with 5p added to the upper half of the inputs, four
// levels lower a value by less than 4p + 2^25, so factors are positive; a pass raises it by less than 10p.
// half_empty: the upper half is zero and is not read. `sets` nodes' worth at a time, to fill the latencies: of the same
// node, or of consecutive nodes.
template <unsigned log, unsigned sets, bool same_node, bool half_empty = false>
AI void split_parts(V (*x)[1u << log], const Levels& t, unsigned level, u64 q, const Constants& c) {
    constexpr unsigned n = 1u << log;
#pragma GCC unroll 2
    for (unsigned s = 0; s < sets; ++s) {
#pragma GCC unroll 16
        for (unsigned i = 0; i < n / 2; ++i) x[s][i] = add64(x[s][i], c.bias);
        if constexpr (half_empty) {
#pragma GCC unroll 16
            for (unsigned i = 0; i < n / 2; ++i) x[s][n / 2 + i] = x[s][i];
        }
    }
#pragma GCC unroll 4
    for (unsigned l = half_empty ? 1 : 0; l < log; ++l) {
        const unsigned half = n >> (l + 1);
#pragma GCC unroll 16
        for (unsigned g = 0; g < 1u << l; ++g) {
            const u64 at = (u64{1} << (level + l)) + (q << l) + g;
            Factor f = level_factor(t, at);
#pragma GCC unroll 2
            for (unsigned s = 0; s < sets; ++s) {
                if (!same_node && s > 0) f = level_factor(t, at + (u64{s} << l));
#pragma GCC unroll 16
                for (unsigned i = 0; i < half; ++i) {
                    V &u = x[s][2 * half * g + i], &v = x[s][2 * half * g + i + half];
                    const V difference = mul_plus(v, f, c, u);  // u - w v
                    u = sub64(add64(u, u), difference);
                    v = difference;
                }
            }
        }
    }
}

// Merging: products come out in (offset - p, offset + 2^23), with 3p where the next level subtracts from them, else p;
// so their differences need no lift. Other values are sums of inputs, below 2^log times the largest.
template <unsigned log, unsigned sets, bool same_node>
AI void merge_parts(V (*x)[1u << log], const Levels& t, unsigned level, u64 q, const Constants& c) {
    constexpr unsigned n = 1u << log;
#pragma GCC unroll 4
    for (unsigned down = 0; down < log; ++down) {
        const unsigned l = log - 1 - down, half = n >> (l + 1);
#pragma GCC unroll 16
        for (unsigned g = 0; g < 1u << l; ++g) {
            const u64 at = (u64{1} << (level + l)) + (q << l) + g;
            Factor f = level_factor(t, at);
#pragma GCC unroll 2
            for (unsigned s = 0; s < sets; ++s) {
                if (!same_node && s > 0) f = level_factor(t, at + (u64{s} << l));
#pragma GCC unroll 16
                for (unsigned i = 0; i < half; ++i) {
                    V &u = x[s][2 * half * g + i], &v = x[s][2 * half * g + i + half];
                    const bool products = half > 1 && (i & (half / 2)) != 0, minuend = l > 0 && g % 2 == 0;
                    const V difference = sub64(products ? u : add64(u, c.lift), v);
                    u = add64(u, v);
                    v = mul_plus(difference, f, c, minuend ? c.p3 : c.p);
                }
            }
        }
    }
}
