// Passes over nodes of a splitting: where their values come from and go to, 2 to 16 parts at a time, and the pass of
// the radix.

// ---- sources and targets: vectors by the place of their first value ----
// 64-bit lanes.
struct Lanes {
    u64* at;
    AI V get(u64 i, const Constants&) const { return load(at + i); }
    template <bool reduced>
    AI void put(u64 i, V x, const Constants&) const {
        store(at + i, x);
    }
    template <bool reduced>
    AI void put_two(u64 i, V x, V y, const Constants&) const {
        store(at + i, x);
        store(at + i + lanes, y);
    }
};

AI __m512i narrow(V x, V y) {
    const V index = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
    return _mm512_permutex2var_epi32(x, index, y);
}

// Residues: 32-bit words, reduced when they are stored if they are not yet.
struct Residues {
    u32* at;
    AI V get(u64 i, const Constants&) const { return load(at + i); }
    template <bool reduced>
    AI void put(u64 i, V x, const Constants& c) const {
        store(at + i, reduced ? x : reduce_low(x, c));
    }
    template <bool reduced>
    AI void put_two(u64 i, V x, V y, const Constants& c) const {
        if constexpr (!reduced) x = reduce_low(x, c), y = reduce_low(y, c);
        _mm512_storeu_si512(at + i, narrow(x, y));
    }
};

// A group of columns, row by row: value i is in row i >> log.
AI void prefetch(const void* at) { _mm_prefetch(static_cast<const char*>(at), _MM_HINT_T1); }  // never faults
struct Columns {
    u32* rows;  // at the group's first column
    u64 pitch;
    unsigned log;
    bool stream;  // the rows are read again only when no cache holds them any more
    AI u32* place(u64 i) const { return rows + (i >> log) * pitch + (i & ((u64{1} << log) - 1)); }
    AI V get(u64 i, const Constants&) const {
        const u32* const from = place(i);
        prefetch(from + (u64{1} << log));  // for the next group
        return load(from);
    }
    template <bool reduced>
    AI void put(u64 i, V x, const Constants& c) const {
        store(place(i), reduced ? x : reduce_low(x, c));
    }
    template <bool reduced>
    AI void put_two(u64 i, V x, V y, const Constants& c) const {
        if constexpr (!reduced) x = reduce_low(x, c), y = reduce_low(y, c);
        u32* const to = place(i);
        if (stream) {
            _mm512_stream_si512(reinterpret_cast<__m512i*>(to), narrow(x, y));
        } else {
            _mm512_storeu_si512(to, narrow(x, y));
            prefetch(to + (u64{1} << log));
        }
    }
};

// ---- passes ----
// Sets of vectors that a pass holds in registers, if its parts are long enough.
constexpr unsigned pass_sets(unsigned log) { return log <= 3 ? 2 : 1; }

// `nodes` consecutive nodes of n words each, 2^log parts a node.
template <unsigned log, bool half_empty, class Source, class Target>
[[gnu::noinline]] void split_pass(const Source& from0, const Target& to0, u64 n, u64 nodes, const Levels& t,
                                  unsigned level, u64 q, const Constants& c0) {
    constexpr unsigned parts = 1u << log, sets = pass_sets(log);
    const Constants c = c0;
    const Source from = from0;
    const Target to = to0;
    const u64 part = n >> log;
    // Columns are written in whole cache lines: what does not fit the registers waits for its other half.
    constexpr bool pairs = sets == 2 || same<Target, Columns>;
    alignas(64) u32 first_half[parts][lanes];
    for (u64 node = 0, at = 0; node < nodes; ++node, ++q, at += n) {
        for (u64 k = at; k < at + part; k += sets * lanes) {
            V x[sets][parts];
#pragma GCC unroll 2
            for (unsigned s = 0; s < sets; ++s)
#pragma GCC unroll 16
                for (unsigned i = 0; i < (half_empty ? parts / 2 : parts); ++i) {
                    x[s][i] = from.get(i * part + k + s * lanes, c);
                }
            split_parts<log, sets, true, half_empty>(x, t, level, q, c);
#pragma GCC unroll 16
            for (unsigned i = 0; i < parts; ++i) {
                if constexpr (sets == 2) {
                    to.template put_two<false>(i * part + k, x[0][i], x[1][i], c);
                } else if constexpr (!pairs) {
                    to.template put<false>(i * part + k, x[0][i], c);
                } else if (k % (2 * lanes) == 0) {
                    store(first_half[i], reduce_low(x[0][i], c));
                } else {
                    to.template put_two<true>(i * part + k - lanes, load(first_half[i]), reduce_low(x[0][i], c), c);
                }
            }
        }
    }
}
// To 64-bit lanes the first part, the only one that is all sums, is reduced; to residues all are, but the products of
// the last level, in (0, p + 2^23], need not be.
template <unsigned log, class Source, class Target>
[[gnu::noinline]] void merge_pass(const Source& from0, const Target& to0, u64 n, u64 nodes, const Levels& t,
                                  unsigned level, u64 q, const Constants& c0) {
    constexpr unsigned parts = 1u << log, sets = pass_sets(log);
    const Constants c = c0;
    const Source from = from0;
    const Target to = to0;
    const u64 part = n >> log;
    for (u64 node = 0, at = 0; node < nodes; ++node, ++q, at += n) {
        for (u64 k = at; k < at + part; k += sets * lanes) {
            V x[sets][parts];
#pragma GCC unroll 2
            for (unsigned s = 0; s < sets; ++s)
#pragma GCC unroll 16
                for (unsigned i = 0; i < parts; ++i) x[s][i] = from.get(i * part + k + s * lanes, c);
            merge_parts<log, sets, true>(x, t, level, q, c);
            if constexpr (same<Target, Lanes>) {
#pragma GCC unroll 2
                for (unsigned s = 0; s < sets; ++s) x[s][0] = reduce(x[s][0], c);
            }
#pragma GCC unroll 8
            for (unsigned i = 0; i < parts / 2; ++i) {
                if constexpr (sets == 2) {
                    to.template put_two<false>(i * part + k, x[0][i], x[1][i], c);
                    to.template put_two<true>((i + parts / 2) * part + k, x[0][i + parts / 2], x[1][i + parts / 2],
                                              c);
                } else {
                    to.template put<false>(i * part + k, x[0][i], c);
                    to.template put<true>((i + parts / 2) * part + k, x[0][i + parts / 2], c);
                }
            }
        }
    }
}

template <bool half_empty = false, class Source, class Target>
void split_any(unsigned log, const Source& from, const Target& to, u64 n, u64 nodes, const Levels& t, unsigned level,
               u64 q, const Constants& c) {
    switch (log) {
        case 1: return split_pass<1, half_empty>(from, to, n, nodes, t, level, q, c);
        case 2: return split_pass<2, half_empty>(from, to, n, nodes, t, level, q, c);
        case 3: return split_pass<3, half_empty>(from, to, n, nodes, t, level, q, c);
        default: return split_pass<4, half_empty>(from, to, n, nodes, t, level, q, c);
    }
}
template <class Source, class Target>
void merge_any(unsigned log, const Source& from, const Target& to, u64 n, u64 nodes, const Levels& t, unsigned level,
               u64 q, const Constants& c) {
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

// Constants of the radix, made once for all groups of columns.
struct Radix {
    LaneOps ops;
    Factor f[8];
    bool negacyclic;
    Radix(const Prime& prime, const Shape& shape, bool inverse) : ops(prime.p), negacyclic(shape.negacyclic) {
        u32 plain[8] = {};
        if (shape.radix == 3) radix_constants<3>(prime, inverse, plain);
        if (shape.radix == 5) radix_constants<5>(prime, inverse, plain);
        if (shape.radix == 7) radix_constants<7>(prime, inverse, plain);
        for (unsigned i = 0; i < 8; ++i) f[i] = make_factor(plain[i] == 0 ? 0 : prime.p - plain[i], prime.p);
    }
};

// n columns; the branches of the source and of the target lie `from_step` and `to_step` apart. half_empty: the points of
// the upper half are zero and are not read where a whole branch of them is.
template <unsigned radix, bool inverse, bool half_empty, class Source, class Target>
[[gnu::noinline]] void radix_pass(const Source& from0, u64 from_step, const Target& to0, u64 to_step, u64 n,
                                  const Radix& r0) {
    const Radix r = r0;
    const Source from = from0;
    const Target to = to0;
    const Constants& c = r.ops.c;
    for (u64 k = 0; k < n; k += 2 * lanes) {
        V x[2][radix];
#pragma GCC unroll 2
        for (unsigned s = 0; s < 2; ++s) {
#pragma GCC unroll 8
            for (unsigned y = 0; y < radix; ++y) {
                const bool empty = half_empty && y > radix / 2;
                x[s][y] = empty ? zero() : from.get(y * from_step + k + s * lanes, c);
            }
            if (r.negacyclic && !inverse) negate_odd<radix>(r.ops, x[s]);
            radix_butterfly<radix>(r.ops, r.f, x[s]);
            if (r.negacyclic && inverse) negate_odd<radix>(r.ops, x[s]);
        }
#pragma GCC unroll 8
        for (unsigned y = 0; y < radix; ++y) {
            if constexpr (same<Target, Lanes>) x[0][y] = reduce(x[0][y], c), x[1][y] = reduce(x[1][y], c);
            to.template put_two<false>(y * to_step + k, x[0][y], x[1][y], c);
        }
    }
}
template <bool inverse, bool half_empty = false, class Source, class Target>
void any_radix_pass(const Source& from, u64 from_step, const Target& to, u64 to_step, u64 n, unsigned radix,
                    const Radix& r) {
    switch (radix) {
        case 3: return radix_pass<3, inverse, half_empty>(from, from_step, to, to_step, n, r);
        case 5: return radix_pass<5, inverse, half_empty>(from, from_step, to, to_step, n, r);
        case 7: return radix_pass<7, inverse, half_empty>(from, from_step, to, to_step, n, r);
        default: return;
    }
}
