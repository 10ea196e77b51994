// Cutting words into points, joining residues to digits, adding digits up.

// ---- cutting: eight points, of 4 to 16 bytes, in 52-bit limbs by one byte permutation each ----
struct Cutter {
    unsigned limbs;
    u64 step;
    V take[3], top_mask;
    explicit Cutter(u64 point_bytes) : limbs(static_cast<unsigned>((8 * point_bytes + 51) / 52)), step(point_bytes) {
        alignas(64) u8 index[64];
        for (unsigned j = 0; j < limbs; ++j) {
            for (unsigned i = 0; i < 64; ++i) {
                const u64 at = (i / 8) * step + 52 * j / 8 + i % 8;
                index[i] = static_cast<u8>(at < 128 ? at : 127);
            }
            take[j] = _mm512_loadu_si512(index);
        }
        const u64 top = 8 * step - 52 * (limbs - 1);
        top_mask = set64((u64{1} << top) - 1);
    }
};
AI __mmask64 first_bytes(u64 n) { return n >= 64 ? ~u64{0} : (u64{1} << n) - 1; }

// The points at `bytes` divided by R^(limbs - 1), below 2^45, but below 2^33 if the top limb
// has at most 32 bits; of the bytes only the first `present` are read.
template <unsigned limbs>
AI V cut_eight(const u8* bytes, u64 present, const Cutter& cut, const Constants& c) {
    const V a = _mm512_maskz_loadu_epi8(first_bytes(present), bytes);
    const V b = _mm512_maskz_loadu_epi8(first_bytes(present > 64 ? present - 64 : 0), bytes + 64);
    V limb[3];
#pragma GCC unroll 3
    for (unsigned j = 0; j < limbs; ++j) {
        limb[j] = _mm512_permutex2var_epi8(a, cut.take[j], b);
        if (j == 1) limb[j] = _mm512_srli_epi64(limb[j], 4);
        limb[j] = _mm512_and_si512(limb[j], j + 1 == limbs ? cut.top_mask : set64(low52));
    }
    if constexpr (limbs == 1) {
        return limb[0];
    } else {
        // x1 - h(m p), m = l(x0 / p): the quotient of x0 + x1 R by R; for three limbs once more, signed
        V m = low(zero(), limb[0], c.inverse), y = sub64(limb[1], high(zero(), m, c.p));
        if constexpr (limbs == 3) {
            m = low(zero(), y, c.inverse);
            y = sub64(add64(limb[2], _mm512_srai_epi64(y, 52)), high(zero(), m, c.p));
        }
        return add64(y, c.p);
    }
}
template <unsigned limbs, class Word>
void cut_points(const u8* bytes, u64 n_bytes, u64 at, const Cutter& cut, u64 n, Word* out, const Constants& c0) {
    const Constants c = c0;
    const u64 step = 8 * cut.step;
    const bool wide = step - 52 * (limbs - 1) > 32;
    const auto put = [&](V x, u64 k) { store(out + k, wide ? reduce(x, c) : x); };
    u64 k = 0;
    for (const u64 whole = at < n_bytes ? (n_bytes - at) / step * lanes : 0; k < n && k < whole;
         k += lanes, at += step) {
        put(cut_eight<limbs>(bytes + at, step, cut, c), k);
    }
    if (k < n && at < n_bytes) {
        put(cut_eight<limbs>(bytes + at, n_bytes - at, cut, c), k);
        k += lanes;
    }
    for (; k < n; k += lanes) store(out + k, zero());
}
// n points from byte `at` on of a number of n_bytes, zero beyond it.
template <class Word>
void cut(const u8* bytes, u64 n_bytes, u64 at, const Cutter& cut, u64 n, Word* out, const Constants& c) {
    switch (cut.limbs) {
        case 1: return cut_points<1>(bytes, n_bytes, at, cut, n, out, c);
        case 2: return cut_points<2>(bytes, n_bytes, at, cut, n, out, c);
        default: return cut_points<3>(bytes, n_bytes, at, cut, n, out, c);
    }
}

// ---- joining ----
// 64 bits from bit `bit` on of a number in 52-bit limbs.
template <unsigned limbs>
AI V bits_at(const V* limb, unsigned bit) {
    const unsigned i = bit / 52, shift = bit % 52;
    if (i >= limbs) return zero();
    V x = _mm512_srli_epi64(limb[i], shift);
    if (i + 1 < limbs) x = _mm512_or_si512(x, _mm512_slli_epi64(limb[i + 1], 52 - shift));
    if (i + 2 < limbs && shift > 40) x = _mm512_or_si512(x, _mm512_slli_epi64(limb[i + 2], 104 - shift));
    return x;
}

template <unsigned primes>
void join_points(const Joiner& joiner, const u32* const* residues, u64 n, u8* low_out, u8* middle_out, u8* high_out) {
    constexpr unsigned cofactor_limbs = (31 * (primes - 1) + 51) / 52, limbs = (31 * primes + 51) / 52;
    constexpr unsigned point_bytes = 2 * (primes - 1), point_bits = 8 * point_bytes;
    constexpr bool two_words = point_bits > 64, two_vectors = point_bytes > 8;
    Factor scale[primes];
    for (unsigned i = 0; i < primes; ++i) scale[i] = make_factor(joiner.scale[i], joiner.p[i]);
    // Byte o of eight packed digits is byte o % point_bytes of point o / point_bytes.
    alignas(64) u8 index[128];
    for (unsigned o = 0; o < 128; ++o) {
        const unsigned point = o / point_bytes, byte = o % point_bytes;
        index[o] = static_cast<u8>((byte < 8 ? 0 : 64) + 8 * (point % 8) + byte % 8);
    }
    const V pack[2] = {_mm512_loadu_si512(index), _mm512_loadu_si512(index + 64)};
    constexpr unsigned bias_limb = (31 * primes - 1) / 52;
    const V bias = set64(joiner.centred ? u64{1} << ((31 * primes - 1) % 52) : 0);
    const V mask = set64(low52), offset = set64(u64{1} << (joiner.centred ? 29 : 25));
    for (u64 k = 0; k < n; k += lanes) {
        V sum[limbs + 1], quotient = offset;
#pragma GCC unroll 8
        for (unsigned j = 0; j <= limbs; ++j) sum[j] = j == bias_limb ? bias : zero();
#pragma GCC unroll 9
        for (unsigned i = 0; i < primes; ++i) {
            const V p = set64(joiner.p[i]);
            const V m = low(zero(), load(residues[i] + k), scale[i].w1);
            V x = sub64(high(zero(), m, p), high(zero(), load(residues[i] + k), scale[i].w));
            x = _mm512_min_epu64(x, add64(x, p));  // [0, p)
            quotient = high(quotient, x, set64(joiner.quotient52[i]));
#pragma GCC unroll 6
            for (unsigned j = 0; j < cofactor_limbs; ++j) {
                const V cofactor = set64(joiner.cofactor52[i][j]);
                sum[j] = low(sum[j], x, cofactor);
                sum[j + 1] = high(sum[j + 1], x, cofactor);
            }
        }
        quotient = _mm512_srli_epi64(quotient, 30);
#pragma GCC unroll 6
        for (unsigned j = 0; j < limbs; ++j) {
            const V minus = set64(joiner.minus_product52[j]);
            sum[j] = low(sum[j], quotient, minus);
            if (j + 1 < limbs) sum[j + 1] = high(sum[j + 1], quotient, minus);
        }
#pragma GCC unroll 6
        for (unsigned j = 0; j < limbs; ++j) {
            if (j + 1 < limbs) sum[j + 1] = add64(sum[j + 1], _mm512_srli_epi64(sum[j], 52));
            sum[j] = _mm512_and_si512(sum[j], mask);
        }
        u8* const out[3] = {low_out, middle_out, high_out};
#pragma GCC unroll 3
        for (unsigned digit = 0; digit < 3; ++digit) {
            const V a = bits_at<limbs>(sum, digit * point_bits);
            const V b = two_words && digit < 2 ? bits_at<limbs>(sum, digit * point_bits + 64) : zero();
            _mm512_storeu_si512(out[digit] + k * point_bytes, _mm512_permutex2var_epi8(a, pack[0], b));
            if (two_vectors)
                _mm512_storeu_si512(out[digit] + k * point_bytes + 64, _mm512_permutex2var_epi8(a, pack[1], b));
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

// ---- adding ----
// A carry enters lane i + 1 from lane i where the sum wrapped, and runs on through lanes that are all ones.
AI V add_with_carry(V x, V y, unsigned& carry) {
    const V sum = add64(x, y);
    const unsigned wrapped = _mm512_cmplt_epu64_mask(sum, y);
    const unsigned ones = _mm512_cmpeq_epi64_mask(sum, _mm512_set1_epi64(-1));
    const unsigned enters = 2 * wrapped + carry, run = enters + ones;
    carry = run >> 8 & 1;
    return _mm512_mask_sub_epi64(sum, static_cast<__mmask8>(run ^ ones), sum, _mm512_set1_epi64(-1));
}
u64 add_streams(const u8* low, const u8* middle, const u8* high, u64 n, u8* out, u64 carry) noexcept {
    unsigned carry1 = carry > 0 ? 1 : 0, carry2 = carry > 1 ? 1 : 0;
    for (u64 i = 0; i < n; i += lanes) {
        const V sum = add_with_carry(_mm512_loadu_si512(low + 8 * i), _mm512_loadu_si512(middle + 8 * i), carry1);
        _mm512_storeu_si512(out + 8 * i, add_with_carry(sum, _mm512_loadu_si512(high + 8 * i), carry2));
    }
    return carry1 + carry2;
}
