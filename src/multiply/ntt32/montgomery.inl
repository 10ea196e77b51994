// The transform on 32-bit lanes with Montgomery products, R = 2^32; V and its operations come from the file that
// includes this. Values are in [0, p) unless said otherwise; a factor may be in [0, 2p).

constexpr unsigned r_bits = 32;

// Inverse of odd p modulo 2^32.
constexpr u32 inverse32(u32 p) {
    u32 x = p;
    for (int i = 0; i < 4; ++i) x *= 2 - p * x;
    return x;
}

struct Constants {
    V p, half, inverse;
    explicit Constants(u32 prime) : p(set32(prime)), half(set32(prime / 2)), inverse(set32(inverse32(prime))) {}
};

// A constant factor w: w R mod p, and that times 1/p modulo R.
struct Factor {
    V w, w1;
};
AI Factor factor(u32 w, u32 w1) { return {set32(w), set32(w1)}; }
inline u32 to_form(u32 x, u32 p) { return static_cast<u32>((u64{x} << 32) % p); }
inline Factor make_factor(u32 x, u32 p) {
    const u32 w = to_form(x, p);
    return factor(w, w * inverse32(p));
}

// x * f / R in (-p, p): the low halves of both products agree, so their high halves subtract exactly.
AI V mul_open(V x, const Factor& f, const Constants& c) {
    const V odd = right64<32>(x);
    const V he = mul64(x, f.w), ho = mul64(odd, f.w);
    const V me = mul64(mul64(x, f.w1), c.p), mo = mul64(mul64(odd, f.w1), c.p);
    return high_halves(sub64(he, me), sub64(ho, mo));
}
AI V mul(V x, const Factor& f, const Constants& c) { return wrap_up(mul_open(x, f, c), c.p); }
// The same for a factor that differs by lane.
AI V mul_lanes(V x, const Factor& f, const Constants& c) {
    const V odd = right64<32>(x);
    const V he = mul64(x, f.w), ho = mul64(odd, right64<32>(f.w));
    const V me = mul64(mul64(x, f.w1), c.p), mo = mul64(mul64(odd, right64<32>(f.w1)), c.p);
    return wrap_up(high_halves(sub64(he, me), sub64(ho, mo)), c.p);
}
AI V add(V x, V y, const Constants& c) { return wrap_down(add32(x, y), c.p); }
AI V sub(V x, V y, const Constants& c) { return wrap_up(sub32(x, y), c.p); }
// In [0, 2p): for factors only.
AI V sub_open(V x, V y, const Constants& c) { return add32(sub32(x, y), c.p); }

// ---- tables of roots ----
// For the levels of a splitting, all counted from its own top: w[(1 << l) + q] belongs to node q of level l.
struct Levels {
    const u32 *w, *w1;
};

Levels build_levels(const Prime& prime, const Splitting& s, unsigned count, bool inverse, u32*& memory) {
    const Constants c(prime.p);
    const u32 p = prime.p, pi = inverse32(p);
    u32 *const w = memory, *const w1 = memory + (u64{1} << count) + 16;
    memory += 2 * ((u64{1} << count) + 16);
    Factor step[24];  // T[2^k + i] = T[i] * T[2^k]
    for (unsigned k = 0; k + 1 < count; ++k) step[k] = make_factor(root_at(prime, u64{1} << k, inverse), p);
    const u64 node = s.negacyclic ? (u64{1} << s.depth) + s.node : s.node;
    for (unsigned l = 0; l < count; ++l) {
        const unsigned j = branch_at(s.radix, s.branch, s.depth + l);
        const unsigned branch = inverse && j != 0 ? s.radix - j : j;
        u32 *const wl = w + (u64{1} << l), *const w1l = w1 + (u64{1} << l);
        wl[0] = to_form(mul_mod(root_at(prime, node << l, inverse), prime.inner[512 * branch], p), p);
        w1l[0] = wl[0] * pi;
        unsigned k = 0;
        for (; k < l && (1u << k) < lanes; ++k) {
            const u32 t = root_at(prime, u64{1} << k, inverse);
            for (u64 i = 0; i < u64{1} << k; ++i) {
                wl[(u64{1} << k) + i] = mul_mod(wl[i], t, p);
                w1l[(u64{1} << k) + i] = wl[(u64{1} << k) + i] * pi;
            }
        }
        for (; k < l; ++k) {
            for (u64 i = 0; i < u64{1} << k; i += lanes) {
                const V x = mul(load(wl + i), step[k], c);
                store(wl + (u64{1} << k) + i, x);
                const V e = mul64(x, c.inverse), o = mul64(right64<32>(x), c.inverse);
                store(w1l + (u64{1} << k) + i, high_halves(left64<32>(e), left64<32>(o)));
            }
        }
    }
    return {w, w1};
}

AI Factor level_factor(const Levels& t, unsigned l, u64 q) {
    const u64 at = (u64{1} << l) + q;
    return factor(t.w[at], t.w1[at]);
}

// ---- passes over one node of a splitting, in place ----
// half_empty: the upper half is zero and is not read.
void split2(u32* d, u64 n, bool half_empty, unsigned level, u64 q, const Levels& t, const Constants& c0) {
    const Constants c = c0;
    const Factor f = level_factor(t, level, q);
    if (half_empty) {
        __builtin_memcpy(d + n / 2, d, 2 * n);
        return;
    }
    for (u64 k = 0; k < n / 2; k += lanes) {
        const V a = load(d + k), b = mul(load(d + k + n / 2), f, c);
        store(d + k, add(a, b, c));
        store(d + k + n / 2, sub(a, b, c));
    }
}
void merge2(u32* d, u64 n, unsigned level, u64 q, const Levels& t, const Constants& c0) {
    const Constants c = c0;
    const Factor f = level_factor(t, level, q);
    for (u64 k = 0; k < n / 2; k += lanes) {
        const V a = load(d + k), b = load(d + k + n / 2);
        store(d + k, add(a, b, c));
        store(d + k + n / 2, mul(sub_open(a, b, c), f, c));
    }
}
// Two levels at once, over `nodes` consecutive nodes.
template <bool half_empty = false>
void split4(u32* d, u64 n, u64 nodes, unsigned level, u64 q, const Levels& t, const Constants& c0) {
    const Constants c = c0;
    const u64 quarter = n / 4;
    for (u64 i = 0; i < nodes; ++i, ++q, d += n) {
        const Factor f = level_factor(t, level, q), f0 = level_factor(t, level + 1, 2 * q),
                     f1 = level_factor(t, level + 1, 2 * q + 1);
        for (u64 k = 0; k < quarter; k += lanes) {
            u32* const x = d + k;
            const V a = load(x), b = load(x + quarter);
            V a0 = a, a1 = a, b0 = b, b1 = b;
            if constexpr (!half_empty) {
                const V u = mul(load(x + 2 * quarter), f, c), v = mul(load(x + 3 * quarter), f, c);
                a0 = add(a, u, c);
                a1 = sub(a, u, c);
                b0 = add32(b, v);
                b1 = sub_open(b, v, c);
            }
            b0 = mul(b0, f0, c);
            b1 = mul(b1, f1, c);
            store(x, add(a0, b0, c));
            store(x + quarter, sub(a0, b0, c));
            store(x + 2 * quarter, add(a1, b1, c));
            store(x + 3 * quarter, sub(a1, b1, c));
        }
    }
}
void merge4(u32* d, u64 n, u64 nodes, unsigned level, u64 q, const Levels& t, const Constants& c0) {
    const Constants c = c0;
    const u64 quarter = n / 4;
    for (u64 i = 0; i < nodes; ++i, ++q, d += n) {
        const Factor f = level_factor(t, level, q), f0 = level_factor(t, level + 1, 2 * q),
                     f1 = level_factor(t, level + 1, 2 * q + 1);
        for (u64 k = 0; k < quarter; k += lanes) {
            u32* const x = d + k;
            const V x0 = load(x), x1 = load(x + quarter), x2 = load(x + 2 * quarter), x3 = load(x + 3 * quarter);
            const V a0 = add(x0, x1, c), b0 = mul(sub_open(x0, x1, c), f0, c);
            const V a1 = add(x2, x3, c), b1 = mul(sub_open(x2, x3, c), f1, c);
            store(x, add(a0, a1, c));
            store(x + quarter, add(b0, b1, c));
            store(x + 2 * quarter, mul(sub_open(a0, a1, c), f, c));
            store(x + 3 * quarter, mul(sub_open(b0, b1, c), f, c));
        }
    }
}

// All levels of a node of 2^log_n words down to nodes of 2^bottom_log: breadth first in cache, else depth first.
constexpr unsigned breadth_log = 12;
void split_tree(u32* d, unsigned log_n, unsigned bottom_log, bool half_empty, unsigned level, u64 q, const Levels& t,
                const Constants& c) {
    const u64 n = u64{1} << log_n;
    unsigned left = log_n - bottom_log;
    if (left == 0) return;
    if (left % 2 == 1) {
        split2(d, n, half_empty, level, q, t, c);
        split_tree(d, log_n - 1, bottom_log, false, level + 1, 2 * q, t, c);
        split_tree(d + n / 2, log_n - 1, bottom_log, false, level + 1, 2 * q + 1, t, c);
        return;
    }
    if (half_empty) {
        split4<true>(d, n, 1, level, q, t, c);
    } else {
        split4(d, n, 1, level, q, t, c);
    }
    if (log_n > breadth_log) {
        for (u64 i = 0; i < 4; ++i) {
            split_tree(d + i * (n / 4), log_n - 2, bottom_log, false, level + 2, 4 * q + i, t, c);
        }
        return;
    }
    for (u64 nodes = 4; left > 2; left -= 2, nodes *= 4) {
        level += 2;
        q *= 4;
        split4(d, n / nodes, nodes, level, q, t, c);
    }
}
void merge_tree(u32* d, unsigned log_n, unsigned bottom_log, unsigned level, u64 q, const Levels& t,
                const Constants& c) {
    const u64 n = u64{1} << log_n;
    const unsigned left = log_n - bottom_log;
    if (left == 0) return;
    if (left % 2 == 1) {
        merge_tree(d, log_n - 1, bottom_log, level + 1, 2 * q, t, c);
        merge_tree(d + n / 2, log_n - 1, bottom_log, level + 1, 2 * q + 1, t, c);
        merge2(d, n, level, q, t, c);
    } else if (log_n <= breadth_log) {
        for (unsigned l = left; l > 0; l -= 2) {
            merge4(d, n >> (l - 2), u64{1} << (l - 2), level + l - 2, q << (l - 2), t, c);
        }
    } else {
        for (u64 i = 0; i < 4; ++i) merge_tree(d + i * (n / 4), log_n - 2, bottom_log, level + 2, 4 * q + i, t, c);
        merge4(d, n, 1, level, q, t, c);
    }
}

// A whole row, down to polynomials of degree below 8. A vector of sixteen lanes holds two of them: there the last level
// works on two nodes at a time, and the halves of two vectors are polynomials 0, 2 and 1, 3.
constexpr bool wide = lanes == 16;
constexpr unsigned bottom_log = wide ? 4 : 3;

inline void split_last(u32* d, unsigned block_log, const Levels& t, const Constants& c0) {
    const Constants c = c0;
    const u64 nodes = u64{1} << (block_log - 4);
    for (u64 q = 0; q < nodes; q += 2, d += 2 * lanes) {
        const u64 at = nodes + q;
        const V x = load(d), y = load(d + lanes);
        const Factor f{set_halves(t.w[at], t.w[at + 1]), set_halves(t.w1[at], t.w1[at + 1])};
        const V a = lower_halves(x, y), b = mul_lanes(upper_halves(x, y), f, c);
        store(d, add(a, b, c));
        store(d + lanes, sub(a, b, c));
    }
}
inline void merge_last(u32* d, unsigned block_log, const Levels& t, const Constants& c0) {
    const Constants c = c0;
    const u64 nodes = u64{1} << (block_log - 4);
    for (u64 q = 0; q < nodes; q += 2, d += 2 * lanes) {
        const u64 at = nodes + q;
        const V a = load(d), b = load(d + lanes);
        const Factor f{set_halves(t.w[at], t.w[at + 1]), set_halves(t.w1[at], t.w1[at + 1])};
        const V x = add(a, b, c), y = mul_lanes(sub_open(a, b, c), f, c);
        store(d, lower_halves(x, y));
        store(d + lanes, upper_halves(x, y));
    }
}

void split_block(u32* d, const Shape& shape, const Levels& t, const Constants& c) {
    split_tree(d, shape.block_log, bottom_log, shape.half_empty && shape.rows() == 1, 0, 0, t, c);
    if constexpr (wide) split_last(d, shape.block_log, t, c);
}
void merge_block(u32* d, unsigned block_log, const Levels& t, const Constants& c) {
    if constexpr (wide) merge_last(d, block_log, t, c);
    merge_tree(d, block_log, bottom_log, 0, 0, t, c);
}

// ---- the pass of the radix: radix * n words, one branch after the other ----
struct LaneOps {
    using Value = V;
    using Constant = Factor;
    const Constants c;
    AI V plus(V x, V y) const { return add(x, y, c); }
    AI V minus(V x, V y) const { return sub(x, y, c); }
    AI V minus_far(V x, V y) const { return sub(x, y, c); }
    AI V negated(V x) const { return sub(set32(0), x, c); }
    AI V times(V x, const Factor& f) const { return mul(x, f, c); }
};

// n columns; the parts of the source and of the target lie `from_step` and `to_step` apart.
template <unsigned radix, bool inverse>
void radix_pass(const u32* from, u64 from_step, u32* to, u64 to_step, u64 n, const Prime& prime, bool negacyclic) {
    const LaneOps ops{Constants(prime.p)};
    Factor f[8];
    u32 plain[8];
    radix_constants<radix>(prime, inverse, plain);
    for (unsigned i = 0; i < 8; ++i) f[i] = make_factor(plain[i], prime.p);
    for (u64 k = 0; k < n; k += lanes) {
        V x[radix];
#pragma GCC unroll 8
        for (unsigned y = 0; y < radix; ++y) x[y] = load(from + y * from_step + k);
        if (negacyclic && !inverse) negate_odd<radix>(ops, x);
        radix_butterfly<radix>(ops, f, x);
        if (negacyclic && inverse) negate_odd<radix>(ops, x);
#pragma GCC unroll 8
        for (unsigned y = 0; y < radix; ++y) store(to + y * to_step + k, x[y]);
    }
}
template <bool inverse>
void any_radix_pass(const u32* from, u64 from_step, u32* to, u64 to_step, u64 n, const Prime& prime,
                    const Shape& shape) {
    switch (shape.radix) {
        case 3: return radix_pass<3, inverse>(from, from_step, to, to_step, n, prime, shape.negacyclic);
        case 5: return radix_pass<5, inverse>(from, from_step, to, to_step, n, prime, shape.negacyclic);
        case 7: return radix_pass<7, inverse>(from, from_step, to, to_step, n, prime, shape.negacyclic);
        default: return;
    }
}

// ---- the leaves: products of polynomials of degree below 8 modulo x^8 - z ----
// `lanes` polynomials at a time; lane i of x[j] is coefficient j of polynomial i. z in Montgomery form.
constexpr unsigned leaf_words = 8 * lanes;

AI V reduce_signed(V even, V odd, const Constants& c) {  // |sums| <= 2 p^2; their quotient by R
    const V me = mul64(mul64(even, c.inverse), c.p), mo = mul64(mul64(odd, c.inverse), c.p);
    const V high = wrap_up(high_halves(even, odd), c.p);
    return wrap_up(sub32(high, high_halves(me, mo)), c.p);
}

// Factors centred around zero: |x y| <= p^2 / 4, so eight of them fit a signed lane.
AI void multiply_leaf(V* x, V* y, const Factor& z, const Constants& c) {
    alignas(64) u32 xs[2][leaf_words], ys[2][leaf_words], zs[2][leaf_words];
#pragma GCC unroll 8
    for (unsigned j = 0; j < 8; ++j) {
        const V wrapped = centre(mul_lanes(y[j], z, c), c.p, c.half);
        const V xj = centre(x[j], c.p, c.half), yj = centre(y[j], c.p, c.half);
        store(xs[0] + lanes * j, xj);
        store(ys[0] + lanes * j, yj);
        store(zs[0] + lanes * j, wrapped);
        store(xs[1] + lanes * j, right64<32>(xj));
        store(ys[1] + lanes * j, right64<32>(yj));
        store(zs[1] + lanes * j, right64<32>(wrapped));
    }
    V sums[2][8];
#pragma GCC unroll 2
    for (unsigned odd = 0; odd < 2; ++odd) {
        V s[8];
#pragma GCC unroll 8
        for (unsigned j = 0; j < 8; ++j) {
            const V yj = load(ys[odd] + lanes * j), zj = load(zs[odd] + lanes * j);
#pragma GCC unroll 8
            for (unsigned i = 0; i < 8; ++i) {
                const V product = mul_signed64(load(xs[odd] + lanes * i), i + j < 8 ? yj : zj);
                V& sum = s[(i + j) % 8];
                sum = j == 0 ? product : add64(sum, product);
            }
        }
#pragma GCC unroll 8
        for (unsigned i = 0; i < 8; ++i) sums[odd][i] = s[i];
    }
#pragma GCC unroll 8
    for (unsigned i = 0; i < 8; ++i) x[i] = reduce_signed(sums[0][i], sums[1][i], c);
}

// The z of `lanes` consecutive leaves: T and -T of the nodes above them, node by node.
AI Factor leaf_roots(const Levels& t, unsigned level, u64 q, const Constants& c) {
    const u64 at = (u64{1} << level) + q;
    const V even_mask = set64(0xffffffff);
    alignas(64) u32 w[lanes], w1[lanes];
    for (unsigned i = 0; i < lanes; ++i) {
        const unsigned node = wide ? i % 8 / 2 * 2 + i / 8 : i / 2;
        w[i] = t.w[at + node];
        w1[i] = t.w1[at + node];
    }
    const V x = load(w), x1 = load(w1);
    const V odd = sub32(c.p, x), odd1 = sub32(set32(1), x1);  // p / p = 1
    const V odd_mask = set64(u64{0xffffffff} << 32);
    return {or64(and64(x, even_mask), and64(odd, odd_mask)), or64(and64(x1, even_mask), and64(odd1, odd_mask))};
}

void multiply_leaves(u32* a, const u32* b, unsigned block_log, const Levels& t, const Constants& c0) {
    const Constants c = c0;
    const unsigned level = block_log - 4;
    for (u64 k = 0, q = 0; k < u64{1} << block_log; k += leaf_words, q += lanes / 2) {
        V x[8], y[8];
#pragma GCC unroll 8
        for (unsigned j = 0; j < 8; ++j) x[j] = load(a + k + lanes * j);
        transpose(x);
#pragma GCC unroll 8
        for (unsigned j = 0; j < 8; ++j) y[j] = load(b + k + lanes * j);
        transpose(y);
        multiply_leaf(x, y, leaf_roots(t, level, q, c), c);
        transpose(x);
#pragma GCC unroll 8
        for (unsigned j = 0; j < 8; ++j) store(a + k + lanes * j, x[j]);
    }
}

// ---- cutting ----
// One Montgomery reduction for every 32 bits of a point: the point divided by R^limbs. Points are in pairs of
// lanes / 2; reads 16 bytes from the start of each.
template <unsigned limbs>
AI V cut_lanes(const u8* bytes, u64 step, V top_mask, const Constants& c) {
    V limb[4];
    load_limbs(bytes, step, limb);
    limb[limbs - 1] = and64(limb[limbs - 1], top_mask);
    V sum = limb[0];  // below 2^33 throughout
#pragma GCC unroll 4
    for (unsigned i = 1; i <= limbs; ++i) {
        const V multiple = mul64(mul64(sum, c.inverse), c.p);
        sum = sub64(add64(right64<32>(sum), and64(c.p, set64(0xffffffff))), right64<32>(multiple));
        if (i < limbs) sum = add64(sum, limb[i]);
    }
    return sum;
}
template <unsigned limbs>
void cut_points(const u8* bytes, u64 step, u64 n, u32* out, const Constants& c0) {
    const Constants c = c0;
    const V top_mask = set64(step % 4 == 0 ? 0xffffffff : 0xffff);
    for (u64 k = 0; k < n; k += lanes, bytes += lanes * step) {
        const V low = cut_lanes<limbs>(bytes, step, top_mask, c);
        const V high = cut_lanes<limbs>(bytes + lanes / 2 * step, step, top_mask, c);
        store(out + k, wrap_down(narrow(low, high), c.p));
    }
}
// n points, a multiple of 16; may read 16 bytes beyond them.
void cut(const u8* bytes, u64 step, u64 n, u32* out, const Constants& c) {
    switch ((step + 3) / 4) {
        case 1: return cut_points<1>(bytes, step, n, out, c);
        case 2: return cut_points<2>(bytes, step, n, out, c);
        case 3: return cut_points<3>(bytes, step, n, out, c);
        default: return cut_points<4>(bytes, step, n, out, c);
    }
}

// ---- joining ----
constexpr unsigned half_lanes = lanes / 2;

// 64 bits from a bit on of numbers in 28-bit limbs.
template <unsigned limbs, unsigned bit, unsigned part = 0>
AI V bits_at(const V* limb) {
    constexpr unsigned i = bit / 28 + part;
    if constexpr (i >= limbs || 28 * part >= 64 + bit % 28) {
        return set64(0);
    } else if constexpr (part == 0) {
        return or64(right64<bit % 28>(limb[i]), bits_at<limbs, bit, 1>(limb));
    } else {
        return or64(left64<28 * part - bit % 28>(limb[i]), bits_at<limbs, bit, part + 1>(limb));
    }
}
// One 64-bit word for every point, `step` bytes apart.
template <unsigned step>
AI void put_words(u8* to, V x) {
    alignas(64) u32 words[lanes];
    store(words, x);
#pragma GCC unroll 8
    for (unsigned i = 0; i < half_lanes; ++i) __builtin_memcpy(to + i * step, words + 2 * i, 8);
}

template <unsigned primes>
void join_points(const Joiner& joiner, const u32* const* residues, u64 n, u8* low, u8* middle, u8* high) {
    constexpr unsigned limbs = (31 * primes + 27) / 28, point_bytes = 2 * (primes - 1);
    constexpr unsigned bias_bits = 31 * primes - 1;
    const V mask = set64((1u << 28) - 1);
    Factor scale[primes];
    for (unsigned i = 0; i < primes; ++i) {
        scale[i] = make_factor(joiner.scale[i], joiner.p[i]);
    }
    for (u64 k = 0; k < n; k += lanes) {
        alignas(64) u32 scaled[primes][lanes];
#pragma GCC unroll 9
        for (unsigned i = 0; i < primes; ++i) {
            Constants c(joiner.p[i]);
            store(scaled[i], mul(load(residues[i] + k), scale[i], c));
        }
        for (unsigned half = 0; half < lanes; half += half_lanes) {
            V sum[limbs + 1];
            V quotient = set64(u64{1} << (joiner.centred ? 57 : 53));
#pragma GCC unroll 11
            for (unsigned j = 0; j < limbs; ++j) sum[j] = set64(0);
            if (joiner.centred) sum[bias_bits / 28] = set64(u64{1} << bias_bits % 28);
            for (unsigned i = 0; i < primes; ++i) {
                const V x = widen(scaled[i] + half);
                quotient = add64(quotient, mul64(x, set64(joiner.quotient28[i])));
#pragma GCC unroll 11
                for (unsigned j = 0; j < limbs; ++j) {
                    sum[j] = add64(sum[j], mul64(x, set64(joiner.cofactor28[i][j])));
                }
            }
            quotient = right64<58>(quotient);
            V carry = set64(0);
#pragma GCC unroll 11
            for (unsigned j = 0; j < limbs; ++j) {
                carry = add64(carry, add64(sum[j], mul64(quotient, set64(joiner.minus_product28[j]))));
                sum[j] = and64(carry, mask);
                carry = right64<28>(carry);
            }
            // A word's surplus lies where a later store comes: upper words first, then lower ones point by point.
            constexpr unsigned bits = 8 * point_bytes;
            const u64 at = (k + half) * point_bytes;
            if constexpr (point_bytes > 8) {
                put_words<point_bytes>(low + at + 8, bits_at<limbs, 64>(sum));
                put_words<point_bytes>(middle + at + 8, bits_at<limbs, bits + 64>(sum));
                put_words<point_bytes>(high + at + 8, set64(0));
            }
            put_words<point_bytes>(low + at, bits_at<limbs, 0>(sum));
            put_words<point_bytes>(middle + at, bits_at<limbs, bits>(sum));
            put_words<point_bytes>(high + at, bits_at<limbs, 2 * bits>(sum));
        }
    }
}

void join(const Joiner& joiner, const u32* const* residues, u64 n, u8* low, u8* middle, u8* high) noexcept {
    switch (joiner.primes) {
        case 3: return join_points<3>(joiner, residues, n, low, middle, high);
        case 4: return join_points<4>(joiner, residues, n, low, middle, high);
        case 5: return join_points<5>(joiner, residues, n, low, middle, high);
        case 6: return join_points<6>(joiner, residues, n, low, middle, high);
        case 7: return join_points<7>(joiner, residues, n, low, middle, high);
        case 8: return join_points<8>(joiner, residues, n, low, middle, high);
        default: return join_points<9>(joiner, residues, n, low, middle, high);
    }
}

u64 add_streams(const u8* low, const u8* middle, const u8* high, u64 n, u8* out, u64 carry) noexcept {
    for (u64 i = 0; i < n; ++i) {
        u64 x, y, z;
        __builtin_memcpy(&x, low + 8 * i, 8);
        __builtin_memcpy(&y, middle + 8 * i, 8);
        __builtin_memcpy(&z, high + 8 * i, 8);
        u64 sum, more;
        u64 next = __builtin_add_overflow(x, y, &sum);
        next += __builtin_add_overflow(z, carry, &more);
        next += __builtin_add_overflow(sum, more, &sum);
        __builtin_memcpy(out + 8 * i, &sum, 8);
        carry = next;
    }
    return carry;
}

// ---- the stages ----
// n points from byte `at` on of a number, zero beyond it.
void cut_some(Words words, u64 at, u64 step, u64 n, u32* out, const Constants& c) {
    const auto [bytes, n_bytes] = words;
    u64 inside = 0;
    if (at + 16 < n_bytes) {
        inside = (n_bytes - at - 16) / step / 16 * 16;
        if (inside > n) inside = n;
        cut(bytes + at, step, inside, out, c);
    }
    for (u64 k = inside; k < n; k += 16) {
        const u64 from = at + k * step;
        if (from >= n_bytes) {
            __builtin_memset(out + k, 0, 4 * (n - k));
            return;
        }
        u8 padded[16 * 16 + 16] = {};
        const u64 present = n_bytes - from < 16 * step ? n_bytes - from : 16 * step;
        __builtin_memcpy(padded, bytes + from, present);
        cut(padded, step, 16, out + k, c);
    }
}

Levels block_levels(const Prime& prime, const Shape& shape, u64 row, bool inverse, u32*& memory) {
    const unsigned depth = shape.depth();
    const Splitting place{shape.radix, static_cast<unsigned>(row >> depth), depth, row & ((u64{1} << depth) - 1),
                          shape.negacyclic};
    return build_levels(prime, place, shape.block_log - 3, inverse, memory);
}

// One table for every branch of the radix.
void top_levels(const Prime& prime, const Shape& shape, bool inverse, u32*& memory, Levels* t) {
    for (unsigned i = 0; i < shape.radix; ++i) {
        t[i] = build_levels(prime, {shape.radix, i, 0, 0, shape.negacyclic}, shape.depth(), inverse, memory);
    }
}

void top_forward(const Prime& prime, const Shape& shape, Words words, u32* rows, u64 begin, u64 end,
                 void* scratch) noexcept {
    const Constants c(prime.p);
    const u64 step = shape.point_bytes();
    u32* memory = static_cast<u32*>(scratch);
    u32* const group = memory;
    const u64 columns = u64{1} << shape.column_log, branch = columns << shape.depth();
    memory += branch * shape.radix;
    const bool half_empty = shape.half_empty && shape.radix == 1;
    Levels t[7];
    top_levels(prime, shape, false, memory, t);
    for (u64 column = begin; column < end; column += columns) {
        for (u64 row = 0; row < (half_empty ? shape.rows() / 2 : shape.rows()); ++row) {
            cut_some(words, ((row << shape.block_log) + column) * step, step, columns, group + row * columns, c);
        }
        if (shape.depth() == 0) {
            any_radix_pass<false>(group, branch, rows + column, shape.pitch, columns, prime, shape);
            continue;
        }
        any_radix_pass<false>(group, branch, group, branch, branch, prime, shape);
        for (unsigned i = 0; i < shape.radix; ++i) {
            split_tree(group + i * branch, shape.depth() + shape.column_log, shape.column_log, half_empty, 0, 0, t[i],
                       c);
        }
        for (u64 row = 0; row < shape.rows(); ++row) {
            __builtin_memcpy(rows + row * shape.pitch + column, group + row * columns, 4 * columns);
        }
    }
}

void top_inverse(const Prime& prime, const Shape& shape, u32* rows, u64 begin, u64 end, void* scratch) noexcept {
    if (shape.depth() == 0) {
        any_radix_pass<true>(rows + begin, shape.pitch, rows + begin, shape.pitch, end - begin, prime, shape);
        return;
    }
    const Constants c(prime.p);
    u32* memory = static_cast<u32*>(scratch);
    u32* const group = memory;
    const u64 columns = u64{1} << shape.column_log, branch = columns << shape.depth();
    memory += branch * shape.radix;
    Levels t[7];
    top_levels(prime, shape, true, memory, t);
    for (u64 column = begin; column < end; column += columns) {
        for (u64 row = 0; row < shape.rows(); ++row) {
            __builtin_memcpy(group + row * columns, rows + row * shape.pitch + column, 4 * columns);
        }
        for (unsigned i = 0; i < shape.radix; ++i) {
            merge_tree(group + i * branch, shape.depth() + shape.column_log, shape.column_log, 0, 0, t[i], c);
        }
        any_radix_pass<true>(group, branch, group, branch, branch, prime, shape);
        for (u64 row = 0; row < shape.rows(); ++row) {
            __builtin_memcpy(rows + row * shape.pitch + column, group + row * columns, 4 * columns);
        }
    }
}

// The points of a row that is the whole transform.
void cut_row(const Shape& shape, Words words, u32* to, const Constants& c) {
    cut_some(words, 0, shape.point_bytes(), shape.points() >> (shape.half_empty ? 1 : 0), to, c);
}

void block_forward(const Prime& prime, const Shape& shape, Words words, u32* a, u64 row, void* scratch) noexcept {
    const Constants c(prime.p);
    u32* memory = static_cast<u32*>(scratch);
    const Levels t = block_levels(prime, shape, row, false, memory);
    if (words.bytes != nullptr) cut_row(shape, words, a, c);
    split_block(a, shape, t, c);
}

void block_inverse(const Prime& prime, const Shape& shape, u32* a, u64 row, void* scratch) noexcept {
    u32* memory = static_cast<u32*>(scratch);
    const Levels t = block_levels(prime, shape, row, true, memory);
    merge_block(a, shape.block_log, t, Constants(prime.p));
}

void block_multiply(const Prime& prime, const Shape& shape, u32* a, const u32* b, u64 row, void* scratch) noexcept {
    u32* memory = static_cast<u32*>(scratch);
    const Levels t = block_levels(prime, shape, row, false, memory);
    multiply_leaves(a, b, shape.block_log, t, Constants(prime.p));
}

void block_product(const Prime& prime, const Shape& shape, Words words, u32* a, u32* b, u64 row,
                   void* scratch) noexcept {
    const Constants c(prime.p);
    u32* memory = static_cast<u32*>(scratch);
    if (words.bytes != nullptr) {
        b = memory;
        memory += u64{1} << shape.block_log;
        cut_row(shape, words, b, c);
    }
    const Levels t = block_levels(prime, shape, row, false, memory);
    const Levels back = block_levels(prime, shape, row, true, memory);
    if (b != nullptr) split_block(b, shape, t, c);
    multiply_leaves(a, b == nullptr ? a : b, shape.block_log, t, c);
    merge_block(a, shape.block_log, back, c);
}
