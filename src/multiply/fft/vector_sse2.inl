// Four lanes from the baseline instruction set, as two halves.

struct Vec {
    static constexpr u64 lanes = 4;
    static constexpr bool double_shift = false;
    struct D {
        __m128d a, b;
    };
    struct I {
        __m128i a, b;
    };

    [[gnu::always_inline]] static D load(const double* p) { return {_mm_loadu_pd(p), _mm_loadu_pd(p + 2)}; }
    [[gnu::always_inline]] static void store(double* p, D x) {
        _mm_storeu_pd(p, x.a);
        _mm_storeu_pd(p + 2, x.b);
    }
    [[gnu::always_inline]] static D broadcast(double x) { return {_mm_set1_pd(x), _mm_set1_pd(x)}; }
    [[gnu::always_inline]] static D zero() { return {_mm_setzero_pd(), _mm_setzero_pd()}; }
    [[gnu::always_inline]] static D add(D x, D y) { return {_mm_add_pd(x.a, y.a), _mm_add_pd(x.b, y.b)}; }
    [[gnu::always_inline]] static D sub(D x, D y) { return {_mm_sub_pd(x.a, y.a), _mm_sub_pd(x.b, y.b)}; }
    [[gnu::always_inline]] static D mul(D x, D y) { return {_mm_mul_pd(x.a, y.a), _mm_mul_pd(x.b, y.b)}; }
    [[gnu::always_inline]] static D fma(D x, D y, D z) { return add(mul(x, y), z); }
    [[gnu::always_inline]] static D fms(D x, D y, D z) { return sub(mul(x, y), z); }
    [[gnu::always_inline]] static D fnma(D x, D y, D z) { return sub(z, mul(x, y)); }
    [[gnu::always_inline]] static void transpose(D* v) {
        const D r0{_mm_unpacklo_pd(v[0].a, v[1].a), _mm_unpacklo_pd(v[2].a, v[3].a)};
        const D r1{_mm_unpackhi_pd(v[0].a, v[1].a), _mm_unpackhi_pd(v[2].a, v[3].a)};
        const D r2{_mm_unpacklo_pd(v[0].b, v[1].b), _mm_unpacklo_pd(v[2].b, v[3].b)};
        const D r3{_mm_unpackhi_pd(v[0].b, v[1].b), _mm_unpackhi_pd(v[2].b, v[3].b)};
        v[0] = r0, v[1] = r1, v[2] = r2, v[3] = r3;
    }

    [[gnu::always_inline]] static I bits(D x) { return {_mm_castpd_si128(x.a), _mm_castpd_si128(x.b)}; }
    [[gnu::always_inline]] static I broadcast_int(u64 x) {
        const __m128i v = _mm_set1_epi64x(static_cast<long long>(x));
        return {v, v};
    }
    [[gnu::always_inline]] static I load_int(const u64* p) {
        return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)),
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 2))};
    }
    [[gnu::always_inline]] static void store_int(u64* p, I x) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), x.a);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 2), x.b);
    }
    [[gnu::always_inline]] static I add_int(I x, I y) { return {_mm_add_epi64(x.a, y.a), _mm_add_epi64(x.b, y.b)}; }
    [[gnu::always_inline]] static I and_int(I x, I y) { return {_mm_and_si128(x.a, y.a), _mm_and_si128(x.b, y.b)}; }
    [[gnu::always_inline]] static I or_int(I x, I y) { return {_mm_or_si128(x.a, y.a), _mm_or_si128(x.b, y.b)}; }
    template <int N>
    [[gnu::always_inline]] static I left(I x) {
        return {_mm_slli_epi64(x.a, N), _mm_slli_epi64(x.b, N)};
    }
    template <int N>
    [[gnu::always_inline]] static I right(I x) {
        return {_mm_srli_epi64(x.a, N), _mm_srli_epi64(x.b, N)};
    }
    // Larger of two magnitudes (patterns without sign); here only the highest 16 bits count.
    [[gnu::always_inline]] static I larger(I x, I y) { return {_mm_max_epi16(x.a, y.a), _mm_max_epi16(x.b, y.b)}; }
};
