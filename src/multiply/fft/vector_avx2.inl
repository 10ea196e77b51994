// Four lanes.

struct Vec {
    static constexpr u64 lanes = 4;
    static constexpr bool double_shift = false;
    using D = __m256d;
    using I = __m256i;

    [[gnu::always_inline]] static D load(const double* p) { return _mm256_loadu_pd(p); }
    [[gnu::always_inline]] static void store(double* p, D x) { _mm256_storeu_pd(p, x); }
    [[gnu::always_inline]] static D broadcast(double x) { return _mm256_set1_pd(x); }
    [[gnu::always_inline]] static D zero() { return _mm256_setzero_pd(); }
    [[gnu::always_inline]] static D add(D x, D y) { return _mm256_add_pd(x, y); }
    [[gnu::always_inline]] static D sub(D x, D y) { return _mm256_sub_pd(x, y); }
    [[gnu::always_inline]] static D mul(D x, D y) { return _mm256_mul_pd(x, y); }
    [[gnu::always_inline]] static D fma(D x, D y, D z) { return _mm256_fmadd_pd(x, y, z); }
    [[gnu::always_inline]] static D fms(D x, D y, D z) { return _mm256_fmsub_pd(x, y, z); }
    [[gnu::always_inline]] static D fnma(D x, D y, D z) { return _mm256_fnmadd_pd(x, y, z); }
    [[gnu::always_inline]] static void transpose(D* v) {
        const D t0 = _mm256_unpacklo_pd(v[0], v[1]), t1 = _mm256_unpackhi_pd(v[0], v[1]);
        const D t2 = _mm256_unpacklo_pd(v[2], v[3]), t3 = _mm256_unpackhi_pd(v[2], v[3]);
        v[0] = _mm256_permute2f128_pd(t0, t2, 0x20), v[1] = _mm256_permute2f128_pd(t1, t3, 0x20);
        v[2] = _mm256_permute2f128_pd(t0, t2, 0x31), v[3] = _mm256_permute2f128_pd(t1, t3, 0x31);
    }

    [[gnu::always_inline]] static I bits(D x) { return _mm256_castpd_si256(x); }
    [[gnu::always_inline]] static I broadcast_int(u64 x) { return _mm256_set1_epi64x(static_cast<long long>(x)); }
    [[gnu::always_inline]] static I load_int(const u64* p) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    }
    [[gnu::always_inline]] static void store_int(u64* p, I x) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), x);
    }
    [[gnu::always_inline]] static I add_int(I x, I y) { return _mm256_add_epi64(x, y); }
    [[gnu::always_inline]] static I and_int(I x, I y) { return _mm256_and_si256(x, y); }
    [[gnu::always_inline]] static I or_int(I x, I y) { return _mm256_or_si256(x, y); }
    template <int N>
    [[gnu::always_inline]] static I left(I x) {
        return _mm256_slli_epi64(x, N);
    }
    template <int N>
    [[gnu::always_inline]] static I right(I x) {
        return _mm256_srli_epi64(x, N);
    }
    // Larger of two magnitudes (patterns without sign); only the high halves count.
    [[gnu::always_inline]] static I larger(I x, I y) { return _mm256_max_epu32(x, y); }
};
