// Eight 32-bit lanes (four of 64 bits): AVX2.

using V = __m256i;
constexpr unsigned lanes = 8;

AI V load(const u32* x) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(x)); }
AI void store(u32* x, V v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(x), v); }
AI V set32(u32 x) { return _mm256_set1_epi32(static_cast<int>(x)); }
AI V set64(u64 x) { return _mm256_set1_epi64x(static_cast<long long>(x)); }
AI V add32(V x, V y) { return _mm256_add_epi32(x, y); }
AI V sub32(V x, V y) { return _mm256_sub_epi32(x, y); }
AI V add64(V x, V y) { return _mm256_add_epi64(x, y); }
AI V sub64(V x, V y) { return _mm256_sub_epi64(x, y); }
AI V and64(V x, V y) { return _mm256_and_si256(x, y); }
AI V or64(V x, V y) { return _mm256_or_si256(x, y); }
template <int n>
AI V right64(V x) {
    return _mm256_srli_epi64(x, n);
}
template <int n>
AI V left64(V x) {
    return _mm256_slli_epi64(x, n);
}
// Products of the low halves of the 64-bit lanes.
AI V mul64(V x, V y) { return _mm256_mul_epu32(x, y); }
AI V mul_signed64(V x, V y) { return _mm256_mul_epi32(x, y); }
// High halves of two vectors of 64-bit lanes, interleaved.
AI V high_halves(V even, V odd) { return _mm256_blend_epi32(_mm256_shuffle_epi32(even, 0xF5), odd, 0xAA); }
// x + p where x is negative; x in [-p, p)
AI V wrap_up(V x, V p) { return _mm256_min_epu32(x, _mm256_add_epi32(x, p)); }
// x - p where that is not negative; x in [0, 2p)
AI V wrap_down(V x, V p) { return _mm256_min_epu32(x, _mm256_sub_epi32(x, p)); }
// x - p where x > half, signed
AI V centre(V x, V p, V half) { return _mm256_sub_epi32(x, _mm256_and_si256(_mm256_cmpgt_epi32(x, half), p)); }

AI void transpose(V* x) {
    V s[8], t[8];
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        s[2 * i] = _mm256_unpacklo_epi32(x[2 * i], x[2 * i + 1]);
        s[2 * i + 1] = _mm256_unpackhi_epi32(x[2 * i], x[2 * i + 1]);
    }
#pragma GCC unroll 2
    for (int i = 0; i < 8; i += 4) {
        t[i] = _mm256_unpacklo_epi64(s[i], s[i + 2]);
        t[i + 1] = _mm256_unpackhi_epi64(s[i], s[i + 2]);
        t[i + 2] = _mm256_unpacklo_epi64(s[i + 1], s[i + 3]);
        t[i + 3] = _mm256_unpackhi_epi64(s[i + 1], s[i + 3]);
    }
#pragma GCC unroll 4
    for (int i = 0; i < 4; ++i) {
        x[i] = _mm256_permute2x128_si256(t[i], t[4 + i], 0x20);
        x[4 + i] = _mm256_permute2x128_si256(t[i], t[4 + i], 0x31);
    }
}

// Widens four consecutive 32-bit words to 64-bit lanes.
AI V widen(const u32* x) { return _mm256_cvtepu32_epi64(_mm_loadu_si128(reinterpret_cast<const __m128i*>(x))); }
// Low halves of two vectors of 64-bit lanes, in order: the reverse of widen.
AI V narrow(V x, V y) {
    const __m256 t = _mm256_shuffle_ps(_mm256_castsi256_ps(x), _mm256_castsi256_ps(y), 0x88);
    return _mm256_permute4x64_epi64(_mm256_castps_si256(t), 0xD8);
}
// Limbs of four points that start `step` bytes apart, 16 bytes each, as 64-bit lanes: limb[0] the lowest 32 bits.
AI void load_limbs(const u8* x, u64 step, V* limb) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + step));
    const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + 2 * step));
    const __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + 3 * step));
    // 64-bit lanes: point 0, 1 | 2, 3
    const V ac = _mm256_set_m128i(c, a), bd = _mm256_set_m128i(d, b);
    const V low = _mm256_unpacklo_epi64(ac, bd), high = _mm256_unpackhi_epi64(ac, bd);
    const V mask = _mm256_set1_epi64x(0xffffffff);
    limb[0] = _mm256_and_si256(low, mask);
    limb[1] = _mm256_srli_epi64(low, 32);
    limb[2] = _mm256_and_si256(high, mask);
    limb[3] = _mm256_srli_epi64(high, 32);
}

// Halves that are polynomials of their own: only vectors of sixteen lanes have them.
AI V lower_halves(V x, V) { return x; }
AI V upper_halves(V, V y) { return y; }
AI V set_halves(u32 x, u32) { return set32(x); }
