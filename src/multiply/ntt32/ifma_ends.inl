// Joining residues to digits, adding digits up.

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

// p - x f / R, in (0, 2p). It need not be smaller: the quotient takes a product of the primes more out of the sum.
AI V scaled_residue(V x, const Factor& f, V p) {
    const V m = low(zero(), x, f.w1);
    return sub64(high(p, m, p), high(zero(), x, f.w));
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
    u8* const out[3] = {low_out, middle_out, high_out};
    // Two vectors at a time, which share what is loaded for a prime.
    for (u64 k = 0; k < n; k += 2 * lanes) {
        V sum[2][limbs + 1], quotient[2] = {offset, offset};
#pragma GCC unroll 8
        for (unsigned j = 0; j <= limbs; ++j) sum[0][j] = sum[1][j] = j == bias_limb ? bias : zero();
#pragma GCC unroll 9
        for (unsigned i = 0; i < primes; ++i) {
            V x[2];
#pragma GCC unroll 2
            for (unsigned s = 0; s < 2; ++s) {
                x[s] = scaled_residue(load(residues[i] + k + s * lanes), scale[i], set64(joiner.p[i]));
                quotient[s] = high(quotient[s], x[s], set64(joiner.quotient52[i]));
            }
#pragma GCC unroll 6
            for (unsigned j = 0; j < cofactor_limbs; ++j) {
                const V cofactor = set64(joiner.cofactor52[i][j]);
#pragma GCC unroll 2
                for (unsigned s = 0; s < 2; ++s) {
                    sum[s][j] = low(sum[s][j], x[s], cofactor);
                    sum[s][j + 1] = high(sum[s][j + 1], x[s], cofactor);
                }
            }
        }
#pragma GCC unroll 2
        for (unsigned s = 0; s < 2; ++s) {
            const V times = _mm512_srli_epi64(quotient[s], 30);
#pragma GCC unroll 6
            for (unsigned j = 0; j < limbs; ++j) {
                const V minus = set64(joiner.minus_product52[j]);
                sum[s][j] = low(sum[s][j], times, minus);
                if (j + 1 < limbs) sum[s][j + 1] = high(sum[s][j + 1], times, minus);
            }
#pragma GCC unroll 6
            for (unsigned j = 0; j < limbs; ++j) {
                if (j + 1 < limbs) sum[s][j + 1] = add64(sum[s][j + 1], _mm512_srli_epi64(sum[s][j], 52));
                sum[s][j] = _mm512_and_si512(sum[s][j], mask);
            }
#pragma GCC unroll 3
            for (unsigned digit = 0; digit < 3; ++digit) {
                const V a = bits_at<limbs>(sum[s], digit * point_bits);
                const V b = two_words && digit < 2 ? bits_at<limbs>(sum[s], digit * point_bits + 64) : zero();
                u8* const to = out[digit] + (k + s * lanes) * point_bytes;
                _mm512_storeu_si512(to, _mm512_permutex2var_epi8(a, pack[0], b));
                if (two_vectors) _mm512_storeu_si512(to + 64, _mm512_permutex2var_epi8(a, pack[1], b));
            }
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
