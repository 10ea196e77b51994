// Sixteen 32-bit lanes (eight of 64 bits): AVX-512 without IFMA.

using V = __m512i;
constexpr unsigned lanes = 16;

AI V load(const u32* x) { return _mm512_loadu_si512(x); }
AI void store(u32* x, V v) { _mm512_storeu_si512(x, v); }
AI V set32(u32 x) { return _mm512_set1_epi32(static_cast<int>(x)); }
AI V set64(u64 x) { return _mm512_set1_epi64(static_cast<long long>(x)); }
AI V add32(V x, V y) { return _mm512_add_epi32(x, y); }
AI V sub32(V x, V y) { return _mm512_sub_epi32(x, y); }
AI V add64(V x, V y) { return _mm512_add_epi64(x, y); }
AI V sub64(V x, V y) { return _mm512_sub_epi64(x, y); }
AI V and64(V x, V y) { return _mm512_and_si512(x, y); }
AI V or64(V x, V y) { return _mm512_or_si512(x, y); }
template <int n>
AI V right64(V x) {
    return _mm512_srli_epi64(x, n);
}
template <int n>
AI V left64(V x) {
    return _mm512_slli_epi64(x, n);
}
// Products of the low halves of the 64-bit lanes.
AI V mul64(V x, V y) { return _mm512_mul_epu32(x, y); }
AI V mul_signed64(V x, V y) { return _mm512_mul_epi32(x, y); }
// High halves of two vectors of 64-bit lanes, interleaved.
AI V high_halves(V even, V odd) {
    return _mm512_mask_shuffle_epi32(odd, 0x5555, even, static_cast<_MM_PERM_ENUM>(0xF5));
}
// x + p where x is negative; x in [-p, p)
AI V wrap_up(V x, V p) { return _mm512_min_epu32(x, _mm512_add_epi32(x, p)); }
// x - p where that is not negative; x in [0, 2p)
AI V wrap_down(V x, V p) { return _mm512_min_epu32(x, _mm512_sub_epi32(x, p)); }
// x - p where x > half, signed
AI V centre(V x, V p, V half) { return _mm512_mask_sub_epi32(x, _mm512_cmpgt_epi32_mask(x, half), x, p); }

// The lower and the upper halves of eight vectors, each as a square of 8 x 8.
AI void transpose(V* x) {
    V s[8], t[8];
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        s[2 * i] = _mm512_unpacklo_epi32(x[2 * i], x[2 * i + 1]);
        s[2 * i + 1] = _mm512_unpackhi_epi32(x[2 * i], x[2 * i + 1]);
    }
#pragma GCC unroll 2
    for (int i = 0; i < 8; i += 4) {
        t[i] = _mm512_unpacklo_epi64(s[i], s[i + 2]);
        t[i + 1] = _mm512_unpackhi_epi64(s[i], s[i + 2]);
        t[i + 2] = _mm512_unpacklo_epi64(s[i + 1], s[i + 3]);
        t[i + 3] = _mm512_unpackhi_epi64(s[i + 1], s[i + 3]);
    }
    const V low = _mm512_setr_epi64(0, 1, 8, 9, 4, 5, 12, 13), high = _mm512_setr_epi64(2, 3, 10, 11, 6, 7, 14, 15);
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        x[i] = _mm512_permutex2var_epi64(t[i], low, t[4 + i]);
        x[4 + i] = _mm512_permutex2var_epi64(t[i], high, t[4 + i]);
    }
}

// Two vectors' lower halves, and their upper halves; each undoes itself.
AI V lower_halves(V x, V y) { return _mm512_shuffle_i64x2(x, y, 0x44); }
AI V upper_halves(V x, V y) { return _mm512_shuffle_i64x2(x, y, 0xEE); }
AI V set_halves(u32 x, u32 y) { return _mm512_inserti64x4(set32(x), _mm256_set1_epi32(static_cast<int>(y)), 1); }

// Widens eight consecutive 32-bit words to 64-bit lanes.
AI V widen(const u32* x) { return _mm512_cvtepu32_epi64(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(x))); }
// Low halves of two vectors of 64-bit lanes, in order: the reverse of widen.
AI V narrow(V x, V y) {
    return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtepi64_epi32(x)), _mm512_cvtepi64_epi32(y), 1);
}
AI V four_points(const u8* x, u64 step) {  // 128-bit lanes: points 0, 2, 4, 6
    V v = _mm512_castsi128_si512(_mm_loadu_si128(reinterpret_cast<const __m128i*>(x)));
    v = _mm512_inserti64x2(v, _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + 2 * step)), 1);
    v = _mm512_inserti64x2(v, _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + 4 * step)), 2);
    return _mm512_inserti64x2(v, _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + 6 * step)), 3);
}
// Limbs of eight points that start `step` bytes apart, 16 bytes each, as 64-bit lanes: limb[0] the lowest 32 bits.
AI void load_limbs(const u8* x, u64 step, V* limb) {
    const V even = four_points(x, step), odd = four_points(x + step, step);
    const V low = _mm512_unpacklo_epi64(even, odd), high = _mm512_unpackhi_epi64(even, odd);
    const V mask = set64(0xffffffff);
    limb[0] = and64(low, mask);
    limb[1] = right64<32>(low);
    limb[2] = and64(high, mask);
    limb[3] = right64<32>(high);
}
