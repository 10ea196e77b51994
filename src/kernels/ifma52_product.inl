// Column sums of a product in limbs: column k is the sum of low(a[i] b[k-i]) + high(a[i] b[k-1-i]). Four vectors of
// eight columns make a tile; for each limb of a, one broadcast and, per vector, one load of b shifted by i limbs and
// two multiply-adds. a is the shorter operand.
//
// A vector of columns k .. k+7 takes the limbs i with k - nb < i <= k + 7: the tile's ends are ragged, and its
// vectors come and go one by one. b has a vector of zeros before and after it.

constexpr int tile_vectors = 4;

struct Tile {
    __m512i low[tile_vectors], high[tile_vectors];
};

// One limb of a times vectors from .. to of b. The barrier keeps the compiler from loading a vector once for each of
// its multiply-adds: loads that cross a cache line would be the limit.
template <int from, int to>
inline __attribute__((always_inline)) void accumulate_limb(Tile& tile, const u64* limb, const u64* b) noexcept {
    const __m512i factor = _mm512_set1_epi64(static_cast<long long>(*limb));
#pragma GCC unroll 4
    for (int v = from; v <= to; ++v) {
        __m512i columns = _mm512_loadu_si512(b + 8 * v);
        __asm__("" : "+v"(columns));
        tile.low[v] = _mm512_madd52lo_epu64(tile.low[v], factor, columns);
        tile.high[v] = _mm512_madd52hi_epu64(tile.high[v], factor, columns);
    }
}

// Adds limbs first .. last of a to the vectors from .. to of the tile whose column 0 is at b[0].
template <int from, int to>
inline __attribute__((always_inline)) void accumulate(Tile& tile, const u64* a, const u64* b, i64 first,
                                                      i64 last) noexcept {
    if constexpr (from == to) {
        // A multiply-add takes four cycles: a second set of accumulators keeps a single vector busy.
        Tile second;
        second.low[from] = second.high[from] = _mm512_setzero_si512();
        i64 i = first;
        for (; i + 2 <= last; i += 2) {
            accumulate_limb<from, to>(tile, a + i, b - i);
            accumulate_limb<from, to>(second, a + i + 1, b - i - 1);
        }
        if (i < last) accumulate_limb<from, to>(tile, a + i, b - i);
        tile.low[from] = _mm512_add_epi64(tile.low[from], second.low[from]);
        tile.high[from] = _mm512_add_epi64(tile.high[from], second.high[from]);
    } else {
        for (i64 i = first; i < last; ++i) accumulate_limb<from, to>(tile, a + i, b - i);
    }
}

i64 clamp(i64 x, i64 n) noexcept { return x < 0 ? 0 : x > n ? n : x; }

// Adds limbs begin[v] .. end[v] of a to vector v of the tile; both ascend with v.
inline __attribute__((always_inline)) void accumulate_ragged(Tile& tile, const u64* a, const u64* b, const i64* begin,
                                                             const i64* end) noexcept {
    if (begin[3] <= end[0]) {
        accumulate<0, 0>(tile, a, b, begin[0], begin[1]);
        accumulate<0, 1>(tile, a, b, begin[1], begin[2]);
        accumulate<0, 2>(tile, a, b, begin[2], begin[3]);
        accumulate<0, 3>(tile, a, b, begin[3], end[0]);
        accumulate<1, 3>(tile, a, b, end[0], end[1]);
        accumulate<2, 3>(tile, a, b, end[1], end[2]);
        accumulate<3, 3>(tile, a, b, end[2], end[3]);
    } else {
        accumulate<0, 0>(tile, a, b, begin[0], end[0]);
        accumulate<1, 1>(tile, a, b, begin[1], end[1]);
        accumulate<2, 2>(tile, a, b, begin[2], end[2]);
        accumulate<3, 3>(tile, a, b, begin[3], end[3]);
    }
}

template <class Out>
inline __attribute__((always_inline)) void write(Out& out, const Tile& tile) noexcept {
    out.put(tile.low[0], tile.high[0]);
    if (!out.full()) out.put(tile.low[1], tile.high[1]);
    if (!out.full()) out.put(tile.low[2], tile.high[2]);
    if (!out.full()) out.put(tile.low[3], tile.high[3]);
}

Tile empty_tile() noexcept {
    Tile tile;
#pragma GCC unroll 4
    for (int v = 0; v < tile_vectors; ++v) tile.low[v] = tile.high[v] = _mm512_setzero_si512();
    return tile;
}

// Out is a LimbWriter or a ColumnStore (ifma52_karatsuba.inl).
template <class Out>
void multiply_limbs(Out out, const u64* a, i64 na, const u64* b, i64 nb) noexcept {
    for (i64 k = 0; !out.full(); k += 8 * tile_vectors) {
        Tile tile = empty_tile();
        const auto begin = [&](int v) { return clamp(k + 8 * v - nb + 1, na); };
        const auto end = [&](int v) { return clamp(k + 8 * v + 8, na); };
        const i64 begins[] = {begin(0), begin(1), begin(2), begin(3)}, ends[] = {end(0), end(1), end(2), end(3)};
        accumulate_ragged(tile, a, b + k, begins, ends);
        write(out, tile);
    }
}

// A square by symmetry: column k takes a[i] a[k-i] for i < k - i, doubled, and a[k/2]^2 for even k. In the vector of
// columns k .. k+7 the limbs i below k/2 serve all columns, the next four those from k + 2 (i - k/2) + 1 on.
inline __attribute__((always_inline)) void finish_square(Tile& tile, int v, const u64* a, i64 k) noexcept {
    const u64* const middle = a + k / 2;
#pragma GCC unroll 4
    for (int t = 0; t < 4; ++t) {
        const __m512i factor =
            _mm512_maskz_set1_epi64(static_cast<__mmask8>(0xfe << (2 * t)), static_cast<long long>(middle[t]));
        __m512i columns = _mm512_loadu_si512(middle - t);
        __asm__("" : "+v"(columns));
        tile.low[v] = _mm512_madd52lo_epu64(tile.low[v], factor, columns);
        tile.high[v] = _mm512_madd52hi_epu64(tile.high[v], factor, columns);
    }
    const __m512i diagonal =
        _mm512_maskz_permutexvar_epi64(0x55, _mm512_set_epi64(0, 3, 0, 2, 0, 1, 0, 0), _mm512_loadu_si512(middle));
    tile.low[v] = _mm512_madd52lo_epu64(_mm512_add_epi64(tile.low[v], tile.low[v]), diagonal, diagonal);
    tile.high[v] = _mm512_madd52hi_epu64(_mm512_add_epi64(tile.high[v], tile.high[v]), diagonal, diagonal);
}

template <class Out>
void square_limbs(Out out, const u64* a, i64 n) noexcept {
    for (i64 k = 0; !out.full(); k += 8 * tile_vectors) {
        Tile tile = empty_tile();
        const auto begin = [&](int v) { return clamp(k + 8 * v - n + 1, n); };
        const auto end = [&](int v) { return clamp(k / 2 + 4 * v, n); };
        const i64 begins[] = {begin(0), begin(1), begin(2), begin(3)}, ends[] = {end(0), end(1), end(2), end(3)};
        accumulate_ragged(tile, a, a + k, begins, ends);
        const i64 last = 2 * n - 1;  // vectors beyond it are not written, and their limbs not there
        finish_square(tile, 0, a, k);
        if (k + 8 <= last) finish_square(tile, 1, a, k + 8);
        if (k + 16 <= last) finish_square(tile, 2, a, k + 16);
        if (k + 24 <= last) finish_square(tile, 3, a, k + 24);
        write(out, tile);
    }
}

u64 limbs_of(u64 bytes) noexcept { return (8 * bytes + 51) / 52; }

u64 vectors(u64 limbs) noexcept { return (limbs + 7) / 8; }

u64* aligned_limbs(void* scratch) noexcept {
    return reinterpret_cast<u64*>((reinterpret_cast<std::uintptr_t>(scratch) + 63) & ~std::uintptr_t{63});
}

void multiply(void* C, const void* A, u64 a_bytes, const void* B, u64 b_bytes, void* scratch) noexcept {
    if (a_bytes > b_bytes) return multiply(C, B, b_bytes, A, a_bytes, scratch);
    const u64 na = limbs_of(a_bytes), nb = limbs_of(b_bytes);
    u64* a = aligned_limbs(scratch);
    u64* b = a + 8 * vectors(na) + 8;
    load_limbs(a, static_cast<const unsigned char*>(A), a_bytes);
    load_limbs(b, static_cast<const unsigned char*>(B), b_bytes);
    _mm512_store_si512(b - 8, _mm512_setzero_si512());
    _mm512_store_si512(b + 8 * vectors(nb), _mm512_setzero_si512());
    multiply_limbs(LimbWriter(C, a_bytes + b_bytes), a, static_cast<i64>(na), b, static_cast<i64>(nb));
}

// Limbs i up to n + 3 are read, and vectors that begin up to 3 limbs before the first: zeros on both sides.
void square(void* C, const void* A, u64 bytes, void* scratch) noexcept {
    const u64 n = limbs_of(bytes);
    u64* a = aligned_limbs(scratch) + 8;
    load_limbs(a, static_cast<const unsigned char*>(A), bytes);
    _mm512_store_si512(a - 8, _mm512_setzero_si512());
    _mm512_store_si512(a + 8 * vectors(n), _mm512_setzero_si512());
    _mm512_store_si512(a + 8 * vectors(n) + 8, _mm512_setzero_si512());
    square_limbs(LimbWriter(C, 2 * bytes), a, static_cast<i64>(n));
}
