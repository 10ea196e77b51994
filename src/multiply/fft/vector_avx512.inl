// Eight lanes.

struct Vec {
    static constexpr u64 lanes = 8;
#ifdef __AVX512VBMI2__
    static constexpr bool double_shift = true;
#else
    static constexpr bool double_shift = false;
#endif
    using D = __m512d;
    using I = __m512i;

    [[gnu::always_inline]] static D load(const double* p) { return _mm512_loadu_pd(p); }
    [[gnu::always_inline]] static void store(double* p, D x) { _mm512_storeu_pd(p, x); }
    [[gnu::always_inline]] static D broadcast(double x) { return _mm512_set1_pd(x); }
    [[gnu::always_inline]] static D zero() { return _mm512_setzero_pd(); }
    [[gnu::always_inline]] static D add(D x, D y) { return _mm512_add_pd(x, y); }
    [[gnu::always_inline]] static D sub(D x, D y) { return _mm512_sub_pd(x, y); }
    [[gnu::always_inline]] static D mul(D x, D y) { return _mm512_mul_pd(x, y); }
    [[gnu::always_inline]] static D fma(D x, D y, D z) { return _mm512_fmadd_pd(x, y, z); }
    [[gnu::always_inline]] static D fms(D x, D y, D z) { return _mm512_fmsub_pd(x, y, z); }
    [[gnu::always_inline]] static D fnma(D x, D y, D z) { return _mm512_fnmadd_pd(x, y, z); }
    [[gnu::always_inline]] static void transpose(D* v) {
        D t[8], u[8];
        for (int k = 0; k < 8; k += 2) {
            t[k] = _mm512_unpacklo_pd(v[k], v[k + 1]);
            t[k + 1] = _mm512_unpackhi_pd(v[k], v[k + 1]);
        }
        for (int k = 0; k < 8; k += 4) {
            for (int i = 0; i < 2; ++i) {
                u[k + i] = _mm512_shuffle_f64x2(t[k + i], t[k + i + 2], 0x88);
                u[k + i + 2] = _mm512_shuffle_f64x2(t[k + i], t[k + i + 2], 0xdd);
            }
        }
        for (int i = 0; i < 4; ++i) {
            v[i] = _mm512_shuffle_f64x2(u[i], u[i + 4], 0x88);
            v[i + 4] = _mm512_shuffle_f64x2(u[i], u[i + 4], 0xdd);
        }
    }

    [[gnu::always_inline]] static I bits(D x) { return _mm512_castpd_si512(x); }
    [[gnu::always_inline]] static I broadcast_int(u64 x) { return _mm512_set1_epi64(static_cast<long long>(x)); }
    [[gnu::always_inline]] static I load_int(const u64* p) { return _mm512_loadu_si512(p); }
    [[gnu::always_inline]] static void store_int(u64* p, I x) { _mm512_storeu_si512(p, x); }
    [[gnu::always_inline]] static I add_int(I x, I y) { return _mm512_add_epi64(x, y); }
    [[gnu::always_inline]] static I and_int(I x, I y) { return _mm512_and_si512(x, y); }
    [[gnu::always_inline]] static I or_int(I x, I y) { return _mm512_or_si512(x, y); }
    template <int N>
    [[gnu::always_inline]] static I left(I x) {
        return _mm512_slli_epi64(x, N);
    }
    template <int N>
    [[gnu::always_inline]] static I right(I x) {
        return _mm512_srli_epi64(x, N);
    }
#ifdef __AVX512VBMI2__
    // Low 64 bits of (high : low) >> N, lane by lane.
    template <int N>
    [[gnu::always_inline]] static I right_double(I low, I high) {
        return _mm512_shrdi_epi64(low, high, N);
    }
#endif
    // Larger of two magnitudes (patterns without sign); only the high halves count.
    [[gnu::always_inline]] static I larger(I x, I y) { return _mm512_max_epu32(x, y); }
};
