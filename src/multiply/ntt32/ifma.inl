// The transform on 64-bit lanes with 52-bit products, R = 2^52. Inside a pass nothing is reduced: values grow by a few p
// a level and stay far below 2^52, the range of a factor, which must not be negative.
//
// With h, l the high and low 52 bits of a product, m = l(x W'), b = h(m p): b is in [0, p), and since l(x W) = l(m p),
// h(x W) - b = x W / R exactly modulo p. W' = W / p modulo R.

constexpr unsigned r_bits = 52;
constexpr u64 low52 = (u64{1} << 52) - 1;
constexpr unsigned lanes = 8;

using V = __m512i;

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

Levels build_levels(const Prime& prime, const Splitting& s, unsigned count, bool inverse, u64*& memory) {
    const Constants c(prime.p);
    const u32 p = prime.p;
    const u64 pi = inverse52(p);
    u64 *const w = memory, *const w1 = memory + (u64{1} << count) + 8;
    memory += 2 * ((u64{1} << count) + 8);
    Factor step[24];  // T[2^k + i] = T[i] * T[2^k]
    u32 plain[24];
    for (unsigned k = 0; k + 1 < count; ++k) {
        plain[k] = root_at(prime, u64{1} << k, inverse);
        step[k] = make_factor(p - plain[k], p);
    }
    const u64 node = s.negacyclic ? (u64{1} << s.depth) + s.node : s.node;
    const bool shared = s.radix == 1 && node == 0;  // every level is the start of the deepest one
    for (unsigned l = shared && count > 0 ? count - 1 : 0; l < count; ++l) {
        const unsigned j = branch_at(s.radix, s.branch, s.depth + l);
        const unsigned branch = inverse && j != 0 ? s.radix - j : j;
        u64 *const wl = w + (u64{1} << l), *const w1l = w1 + (u64{1} << l);
        const u32 first = mul_mod(root_at(prime, node << l, inverse), prime.inner[512 * branch], p);
        wl[0] = to_form(inverse ? first : p - first, p);
        unsigned k = 0;
        for (; k < l && (1u << k) < lanes; ++k) {
            for (u64 i = 0; i < u64{1} << k; ++i) wl[(u64{1} << k) + i] = wl[i] * plain[k] % p;
        }
        for (u64 i = 0; i < u64{1} << k; ++i) w1l[i] = wl[i] * pi & low52;
        for (; k < l; ++k) {
            for (u64 i = 0; i < u64{1} << k; i += lanes) {
                V x = mul_minus(load(wl + i), step[k], c, c.p);
                x = _mm512_min_epu64(x, sub64(x, c.p));
                store(wl + (u64{1} << k) + i, x);
                store(w1l + (u64{1} << k) + i, low(zero(), x, c.inverse));
            }
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
// x[0 .. 2^log) are the parts of node q of a level. Splitting: with 5p added to the upper half of the inputs, four levels
// lower a value by less than 4p + 2^25, so factors are positive; a pass raises it by less than 10p.
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

// Sets of vectors that a pass holds in registers, if its parts are long enough.
constexpr unsigned pass_sets(unsigned log) { return log <= 3 ? 2 : 1; }

// `nodes` consecutive nodes of n words each, 2^log parts a node.
template <unsigned log, bool half_empty, class Source>
[[gnu::noinline]] void split_pass(const Source* from, u64* to, u64 n, u64 nodes, const Levels& t, unsigned level,
                                  u64 q, const Constants& c0) {
    constexpr unsigned parts = 1u << log, sets = pass_sets(log);
    const Constants c = c0;
    const u64 part = n >> log;
    for (u64 node = 0; node < nodes; ++node, ++q, from += n, to += n) {
        for (u64 k = 0; k < part; k += sets * lanes) {
            V x[sets][parts];
#pragma GCC unroll 2
            for (unsigned s = 0; s < sets; ++s)
#pragma GCC unroll 16
                for (unsigned i = 0; i < (half_empty ? parts / 2 : parts); ++i) {
                    x[s][i] = load(from + i * part + k + s * lanes);
                }
            split_parts<log, sets, true, half_empty>(x, t, level, q, c);
#pragma GCC unroll 2
            for (unsigned s = 0; s < sets; ++s)
#pragma GCC unroll 16
                for (unsigned i = 0; i < parts; ++i) store(to + i * part + k + s * lanes, x[s][i]);
        }
    }
}
// To 64-bit lanes the first part, the only one that is all sums, is reduced; to 32-bit words all are.
template <unsigned log, class Target>
[[gnu::noinline]] void merge_pass(const u64* from, Target* to, u64 n, u64 nodes, const Levels& t, unsigned level,
                                  u64 q, const Constants& c0) {
    constexpr unsigned parts = 1u << log, sets = pass_sets(log);
    const Constants c = c0;
    const u64 part = n >> log;
    for (u64 node = 0; node < nodes; ++node, ++q, from += n, to += n) {
        for (u64 k = 0; k < part; k += sets * lanes) {
            V x[sets][parts];
#pragma GCC unroll 2
            for (unsigned s = 0; s < sets; ++s)
#pragma GCC unroll 16
                for (unsigned i = 0; i < parts; ++i) x[s][i] = load(from + i * part + k + s * lanes);
            merge_parts<log, sets, true>(x, t, level, q, c);
#pragma GCC unroll 2
            for (unsigned s = 0; s < sets; ++s) {
                if constexpr (sizeof(Target) == 4) {
                    // products of the last level lie in (0, p + 2^23]
#pragma GCC unroll 16
                    for (unsigned i = 0; i < parts / 2; ++i) x[s][i] = reduce_low(x[s][i], c);
                } else {
                    x[s][0] = reduce(x[s][0], c);
                }
#pragma GCC unroll 16
                for (unsigned i = 0; i < parts; ++i) store(to + i * part + k + s * lanes, x[s][i]);
            }
        }
    }
}

template <bool half_empty = false, class Source>
void split_any(unsigned log, const Source* from, u64* to, u64 n, u64 nodes, const Levels& t, unsigned level, u64 q,
               const Constants& c) {
    switch (log) {
        case 1: return split_pass<1, half_empty>(from, to, n, nodes, t, level, q, c);
        case 2: return split_pass<2, half_empty>(from, to, n, nodes, t, level, q, c);
        case 3: return split_pass<3, half_empty>(from, to, n, nodes, t, level, q, c);
        default: return split_pass<4, half_empty>(from, to, n, nodes, t, level, q, c);
    }
}
template <class Target>
void merge_any(unsigned log, const u64* from, Target* to, u64 n, u64 nodes, const Levels& t, unsigned level, u64 q,
               const Constants& c) {
    switch (log) {
        case 1: return merge_pass<1>(from, to, n, nodes, t, level, q, c);
        case 2: return merge_pass<2>(from, to, n, nodes, t, level, q, c);
        case 3: return merge_pass<3>(from, to, n, nodes, t, level, q, c);
        default: return merge_pass<4>(from, to, n, nodes, t, level, q, c);
    }
}

// Levels that one pass takes of those that are left. Wide passes only where their parts lie close together.
constexpr unsigned pass_levels(unsigned left) { return left <= 4 ? left : left == 5 ? 2 : 3; }

// ---- the pass of the radix ----
struct LaneOps {
    using Value = V;
    using Constant = Factor;
    const Constants c;
    const V lift, lift_far;  // values stay below 2^47
    explicit LaneOps(u64 p) : c(p), lift(set64(multiple_above(p, 40))), lift_far(set64(multiple_above(p, 45))) {}
    AI V plus(V x, V y) const { return add64(x, y); }
    AI V minus(V x, V y) const { return sub64(add64(x, lift), y); }          // y < 2^40
    AI V minus_far(V x, V y) const { return sub64(add64(x, lift_far), y); }  // y < 2^45
    AI V negated(V x) const { return sub64(c.p3, reduce(x, c)); }
    AI V times(V x, const Factor& f) const { return mul_minus(x, f, c, c.p); }  // in (p - 2^26, 2p)
};

// n columns; the parts of the source and of the target lie `from_step` and `to_step` apart.
template <unsigned radix, bool inverse, class Source, class Target>
void radix_pass(const Source* from, u64 from_step, Target* to, u64 to_step, u64 n, const Prime& prime,
                bool negacyclic) {
    const LaneOps ops(prime.p);
    Factor f[8];
    u32 plain[8];
    radix_constants<radix>(prime, inverse, plain);
    for (unsigned i = 0; i < 8; ++i) f[i] = make_factor(plain[i] == 0 ? 0 : prime.p - plain[i], prime.p);
    for (u64 k = 0; k < n; k += lanes) {
        V x[radix];
#pragma GCC unroll 8
        for (unsigned y = 0; y < radix; ++y) x[y] = load(from + y * from_step + k);
        if (negacyclic && !inverse) negate_odd<radix>(ops, x);
        radix_butterfly<radix>(ops, f, x);
        if (negacyclic && inverse) negate_odd<radix>(ops, x);
#pragma GCC unroll 8
        for (unsigned y = 0; y < radix; ++y) store(to + y * to_step + k, reduce(x[y], ops.c));
    }
}
template <bool inverse, class Source, class Target>
void any_radix_pass(const Source* from, u64 from_step, Target* to, u64 to_step, u64 n, const Prime& prime,
                    const Shape& shape) {
    switch (shape.radix) {
        case 3: return radix_pass<3, inverse>(from, from_step, to, to_step, n, prime, shape.negacyclic);
        case 5: return radix_pass<5, inverse>(from, from_step, to, to_step, n, prime, shape.negacyclic);
        case 7: return radix_pass<7, inverse>(from, from_step, to, to_step, n, prime, shape.negacyclic);
        default: return;
    }
}
