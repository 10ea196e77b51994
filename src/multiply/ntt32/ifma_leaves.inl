// Leaves of 64 points: eight polynomials of degree below 8. Between splitting and merging they lie transposed: vector j
// holds coefficient j of all eight.

constexpr unsigned leaf_words = 64;

AI void transpose(V* x) {
    V s[8], t[8];
#pragma GCC unroll 4
    for (unsigned i = 0; i < 8; i += 2) {
        s[i] = _mm512_unpacklo_epi64(x[i], x[i + 1]);
        s[i + 1] = _mm512_unpackhi_epi64(x[i], x[i + 1]);
    }
    const V even = _mm512_setr_epi64(0, 1, 8, 9, 4, 5, 12, 13), odd = _mm512_setr_epi64(2, 3, 10, 11, 6, 7, 14, 15);
#pragma GCC unroll 2
    for (unsigned i = 0; i < 8; i += 4) {
#pragma GCC unroll 2
        for (unsigned j = i; j < i + 2; ++j) {
            t[j] = _mm512_permutex2var_epi64(s[j], even, s[j + 2]);
            t[j + 2] = _mm512_permutex2var_epi64(s[j], odd, s[j + 2]);
        }
    }
#pragma GCC unroll 4
    for (unsigned j = 0; j < 4; ++j) {
        x[j] = _mm512_shuffle_i64x2(t[j], t[j + 4], 0x44);
        x[j + 4] = _mm512_shuffle_i64x2(t[j], t[j + 4], 0xEE);
    }
}

template <class Word>
AI void load_leaf(V* x, const Word* from) {
#pragma GCC unroll 8
    for (unsigned i = 0; i < 8; ++i) x[i] = load(from + lanes * i);
}
template <class Word>
AI void store_leaf(Word* to, const V* x) {
#pragma GCC unroll 8
    for (unsigned i = 0; i < 8; ++i) store(to + lanes * i, x[i]);
}

// The z of the eight polynomials of leaf q: T and -T of the four nodes above them, as factors of splitting.
AI Factor leaf_roots(const Levels& t, unsigned level, u64 q, const Constants& c) {
    const __m256i four = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(t.w + (u64{1} << level) + 4 * q));
    const V w = _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 0, 1, 1, 2, 2, 3, 3), _mm512_castsi256_si512(four));
    return with_quotient(_mm512_mask_sub_epi64(w, 0xAA, c.p, w), c);
}

// x = -x y / R modulo X^8 - z, in (p - 2^26, 2p). Factors below 2^38: eight products' high halves stay below 2^28.
AI void finish_leaf(V* x, const V* l, const V* h, const Constants& c) {
#pragma GCC unroll 8
    for (unsigned k = 0; k < 8; ++k) {
        const V m = low(zero(), l[k], c.inverse);
        x[k] = sub64(high(c.p, m, c.p), add64(h[k], _mm512_srli_epi64(l[k], 52)));
    }
}
AI void multiply_leaf(V* x, const u64* y, const Factor& z, const Constants& c) {
    alignas(64) u64 wrapped[leaf_words];
#pragma GCC unroll 8
    for (unsigned i = 1; i < 8; ++i) store(wrapped + lanes * i, mul_minus(load(y + lanes * i), z, c, c.p));
    V l[8], h[8];
#pragma GCC unroll 8
    for (unsigned j = 0; j < 8; ++j) {
#pragma GCC unroll 8
        for (unsigned i = 0; i < 8; ++i) {
            const unsigned k = (i + j) % 8;
            const V factor = load((i + j < 8 ? y : wrapped) + lanes * j);
            l[k] = low(j == 0 ? zero() : l[k], x[i], factor);
            h[k] = high(j == 0 ? zero() : h[k], x[i], factor);
        }
    }
    finish_leaf(x, l, h, c);
}
AI void square_leaf(V* x, const Factor& z, const Constants& c) {
    alignas(64) u64 plain[leaf_words], wrapped[leaf_words];
    V twice[8], l[8], h[8];
#pragma GCC unroll 8
    for (unsigned i = 0; i < 8; ++i) {
        store(plain + lanes * i, x[i]);
        store(wrapped + lanes * i, mul_minus(x[i], z, c, c.p));
        twice[i] = add64(x[i], x[i]);
        l[i] = h[i] = zero();
    }
#pragma GCC unroll 8
    for (unsigned i = 0; i < 8; ++i) {
#pragma GCC unroll 8
        for (unsigned j = i; j < 8; ++j) {
            const unsigned k = (i + j) % 8;
            const V factor = load((i + j < 8 ? plain : wrapped) + lanes * j), other = i == j ? x[i] : twice[i];
            l[k] = low(l[k], other, factor);
            h[k] = high(h[k], other, factor);
        }
    }
    finish_leaf(x, l, h, c);
}

// The last three levels and the transposition, over n points, two leaves at a time; leaf q of the block comes first.
template <class Target>
[[gnu::noinline]] void split_leaves(const u64* from, Target* to, u64 n, unsigned level, u64 q, const Levels& t,
                                    const Constants& c0) {
    const Constants c = c0;
    for (u64 k = 0; k < n; k += 2 * leaf_words, q += 2) {
        V x[2][8];
        load_leaf(x[0], from + k);
        load_leaf(x[1], from + k + leaf_words);
        split_parts<3, 2, false>(x, t, level, q, c);
#pragma GCC unroll 2
        for (unsigned s = 0; s < 2; ++s) {
            transpose(x[s]);
            if constexpr (sizeof(Target) == 4) {
#pragma GCC unroll 8
                for (unsigned i = 0; i < 8; ++i) x[s][i] = reduce_low(x[s][i], c);
            }
            store_leaf(to + k + s * leaf_words, x[s]);
        }
    }
}
template <class Source>
[[gnu::noinline]] void merge_leaves(const Source* from, u64* to, u64 n, unsigned level, u64 q, const Levels& t,
                                    const Constants& c0) {
    const Constants c = c0;
    for (u64 k = 0; k < n; k += 2 * leaf_words, q += 2) {
        V x[2][8];
#pragma GCC unroll 2
        for (unsigned s = 0; s < 2; ++s) {
            load_leaf(x[s], from + k + s * leaf_words);
            transpose(x[s]);
        }
        merge_parts<3, 2, false>(x, t, level, q, c);
#pragma GCC unroll 2
        for (unsigned s = 0; s < 2; ++s) {
            x[s][0] = reduce(x[s][0], c);
            store_leaf(to + k + s * leaf_words, x[s]);
        }
    }
}
// a, transformed, times b, as split_leaves leaves it; to 64-bit lanes.
template <bool square>
[[gnu::noinline]] void multiply_leaves(const u32* a, u64* b, u64 n, unsigned level, u64 q, const Levels& t,
                                       const Constants& c0) {
    const Constants c = c0;
    for (u64 k = 0; k < n; k += leaf_words, ++q) {
        V x[8];
        load_leaf(x, a + k);
        const Factor z = leaf_roots(t, level + 2, q, c);
        if constexpr (square) {
            square_leaf(x, z, c);
        } else {
            multiply_leaf(x, b + k, z, c);
        }
        store_leaf(b + k, x);
    }
}
