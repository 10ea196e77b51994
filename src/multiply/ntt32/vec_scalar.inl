// Eight 32-bit lanes (four of 64 bits) on the baseline instruction set: two SSE2 registers.

struct V {
    __m128i a, b;
};
constexpr unsigned lanes = 8;

AI V load(const u32* x) {
    return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(x)),
            _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + 4))};
}
AI void store(u32* x, V v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(x), v.a);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(x + 4), v.b);
}
AI V set32(u32 x) {
    const __m128i v = _mm_set1_epi32(static_cast<int>(x));
    return {v, v};
}
AI V set64(u64 x) {
    const __m128i v = _mm_set1_epi64x(static_cast<long long>(x));
    return {v, v};
}
AI V add32(V x, V y) { return {_mm_add_epi32(x.a, y.a), _mm_add_epi32(x.b, y.b)}; }
AI V sub32(V x, V y) { return {_mm_sub_epi32(x.a, y.a), _mm_sub_epi32(x.b, y.b)}; }
AI V add64(V x, V y) { return {_mm_add_epi64(x.a, y.a), _mm_add_epi64(x.b, y.b)}; }
AI V sub64(V x, V y) { return {_mm_sub_epi64(x.a, y.a), _mm_sub_epi64(x.b, y.b)}; }
AI V and64(V x, V y) { return {_mm_and_si128(x.a, y.a), _mm_and_si128(x.b, y.b)}; }
AI V or64(V x, V y) { return {_mm_or_si128(x.a, y.a), _mm_or_si128(x.b, y.b)}; }
template <int n>
AI V right64(V x) {
    return {_mm_srli_epi64(x.a, n), _mm_srli_epi64(x.b, n)};
}
template <int n>
AI V left64(V x) {
    return {_mm_slli_epi64(x.a, n), _mm_slli_epi64(x.b, n)};
}
// Products of the low halves of the 64-bit lanes.
AI V mul64(V x, V y) { return {_mm_mul_epu32(x.a, y.a), _mm_mul_epu32(x.b, y.b)}; }
AI __m128i mul_signed(__m128i x, __m128i y) {
    const __m128i fix =
        _mm_add_epi32(_mm_and_si128(_mm_srai_epi32(x, 31), y), _mm_and_si128(_mm_srai_epi32(y, 31), x));
    return _mm_sub_epi64(_mm_mul_epu32(x, y), _mm_slli_epi64(fix, 32));
}
AI V mul_signed64(V x, V y) { return {mul_signed(x.a, y.a), mul_signed(x.b, y.b)}; }
// High halves of two vectors of 64-bit lanes, interleaved.
AI __m128i high_halves(__m128i even, __m128i odd) {
    return _mm_or_si128(_mm_srli_epi64(even, 32), _mm_and_si128(odd, _mm_set1_epi64x(-0x100000000)));
}
AI V high_halves(V even, V odd) { return {high_halves(even.a, odd.a), high_halves(even.b, odd.b)}; }
// x + p where x is negative; x in [-p, p)
AI __m128i wrap_up(__m128i x, __m128i p) { return _mm_add_epi32(x, _mm_and_si128(_mm_srai_epi32(x, 31), p)); }
AI V wrap_up(V x, V p) { return {wrap_up(x.a, p.a), wrap_up(x.b, p.b)}; }
// x - p where that is not negative; x in [0, 2p)
AI V wrap_down(V x, V p) { return wrap_up(sub32(x, p), p); }
// x - p where x > half, signed
AI V centre(V x, V p, V half) {
    return {_mm_sub_epi32(x.a, _mm_and_si128(_mm_cmpgt_epi32(x.a, half.a), p.a)),
            _mm_sub_epi32(x.b, _mm_and_si128(_mm_cmpgt_epi32(x.b, half.b), p.b))};
}

AI void transpose4(__m128i& a, __m128i& b, __m128i& c, __m128i& d) {
    const __m128i ab0 = _mm_unpacklo_epi32(a, b), ab1 = _mm_unpackhi_epi32(a, b);
    const __m128i cd0 = _mm_unpacklo_epi32(c, d), cd1 = _mm_unpackhi_epi32(c, d);
    a = _mm_unpacklo_epi64(ab0, cd0);
    b = _mm_unpackhi_epi64(ab0, cd0);
    c = _mm_unpacklo_epi64(ab1, cd1);
    d = _mm_unpackhi_epi64(ab1, cd1);
}
AI void transpose(V* x) {
    transpose4(x[0].a, x[1].a, x[2].a, x[3].a);
    transpose4(x[4].a, x[5].a, x[6].a, x[7].a);
    transpose4(x[0].b, x[1].b, x[2].b, x[3].b);
    transpose4(x[4].b, x[5].b, x[6].b, x[7].b);
    for (int i = 0; i < 4; ++i) {
        const __m128i t = x[i].b;
        x[i].b = x[4 + i].a;
        x[4 + i].a = t;
    }
}

// Widens four consecutive 32-bit words to 64-bit lanes.
AI V widen(const u32* x) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x)), zero = _mm_setzero_si128();
    return {_mm_unpacklo_epi32(v, zero), _mm_unpackhi_epi32(v, zero)};
}
// Low halves of two vectors of 64-bit lanes, in order: the reverse of widen.
AI V narrow(V x, V y) {
    const __m128i a = _mm_shuffle_epi32(x.a, 0x08), b = _mm_shuffle_epi32(x.b, 0x08);
    const __m128i c = _mm_shuffle_epi32(y.a, 0x08), d = _mm_shuffle_epi32(y.b, 0x08);
    return {_mm_unpacklo_epi64(a, b), _mm_unpacklo_epi64(c, d)};
}
// Limbs of four points that start `step` bytes apart, 16 bytes each, as 64-bit lanes: limb[0] the lowest 32 bits.
AI void load_limbs(const u8* x, u64 step, V* limb) {
    __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x));
    __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + step));
    __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + 2 * step));
    __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x + 3 * step));
    transpose4(a, b, c, d);
    const __m128i zero = _mm_setzero_si128(), rows[4] = {a, b, c, d};
    for (int i = 0; i < 4; ++i) limb[i] = {_mm_unpacklo_epi32(rows[i], zero), _mm_unpackhi_epi32(rows[i], zero)};
}

// Halves that are polynomials of their own: only vectors of sixteen lanes have them.
AI V lower_halves(V x, V) { return x; }
AI V upper_halves(V, V y) { return y; }
AI V set_halves(u32 x, u32) { return set32(x); }
