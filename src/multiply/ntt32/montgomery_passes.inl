// Passes over one node of a splitting, in place, and the pass of the radix.

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

// Constants of the radix, made once for all groups of columns.
struct Radix {
    LaneOps ops;
    Factor f[8];
    bool negacyclic;
    Radix(const Prime& prime, const Shape& shape, bool inverse)
        : ops{Constants(prime.p)}, negacyclic(shape.negacyclic) {
        u32 plain[8] = {};
        if (shape.radix == 3) radix_constants<3>(prime, inverse, plain);
        if (shape.radix == 5) radix_constants<5>(prime, inverse, plain);
        if (shape.radix == 7) radix_constants<7>(prime, inverse, plain);
        for (unsigned i = 0; i < 8; ++i) f[i] = make_factor(plain[i], prime.p);
    }
};

// n columns; the branches of the source and of the target lie `from_step` and `to_step` apart.
template <unsigned radix, bool inverse>
void radix_pass(const u32* from, u64 from_step, u32* to, u64 to_step, u64 n, const Radix& r0) {
    const Radix r = r0;
    for (u64 k = 0; k < n; k += lanes) {
        V x[radix];
#pragma GCC unroll 8
        for (unsigned y = 0; y < radix; ++y) x[y] = load(from + y * from_step + k);
        if (r.negacyclic && !inverse) negate_odd<radix>(r.ops, x);
        radix_butterfly<radix>(r.ops, r.f, x);
        if (r.negacyclic && inverse) negate_odd<radix>(r.ops, x);
#pragma GCC unroll 8
        for (unsigned y = 0; y < radix; ++y) store(to + y * to_step + k, x[y]);
    }
}
template <bool inverse>
void any_radix_pass(const u32* from, u64 from_step, u32* to, u64 to_step, u64 n, unsigned radix, const Radix& r) {
    switch (radix) {
        case 3: return radix_pass<3, inverse>(from, from_step, to, to_step, n, r);
        case 5: return radix_pass<5, inverse>(from, from_step, to, to_step, n, r);
        case 7: return radix_pass<7, inverse>(from, from_step, to, to_step, n, r);
        default: return;
    }
}
