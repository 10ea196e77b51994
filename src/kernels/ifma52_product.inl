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

void multiply_limbs(void* C, u64 bytes, const u64* a, i64 na, const u64* b, i64 nb) noexcept {
    LimbWriter out(C, bytes);
    for (i64 k = 0; !out.full(); k += 8 * tile_vectors) {
        Tile tile;
#pragma GCC unroll 4
        for (int v = 0; v < tile_vectors; ++v) tile.low[v] = tile.high[v] = _mm512_setzero_si512();
        const auto begin = [&](int v) { return clamp(k + 8 * v - nb + 1, na); };
        const auto end = [&](int v) { return clamp(k + 8 * v + 8, na); };
        const i64 b0 = begin(0), b1 = begin(1), b2 = begin(2), b3 = begin(3);
        const i64 e0 = end(0), e1 = end(1), e2 = end(2), e3 = end(3);
        if (b3 <= e0) {
            accumulate<0, 0>(tile, a, b + k, b0, b1);
            accumulate<0, 1>(tile, a, b + k, b1, b2);
            accumulate<0, 2>(tile, a, b + k, b2, b3);
            accumulate<0, 3>(tile, a, b + k, b3, e0);
            accumulate<1, 3>(tile, a, b + k, e0, e1);
            accumulate<2, 3>(tile, a, b + k, e1, e2);
            accumulate<3, 3>(tile, a, b + k, e2, e3);
        } else {
            accumulate<0, 0>(tile, a, b + k, b0, e0);
            accumulate<1, 1>(tile, a, b + k, b1, e1);
            accumulate<2, 2>(tile, a, b + k, b2, e2);
            accumulate<3, 3>(tile, a, b + k, b3, e3);
        }
        out.put(tile.low[0], tile.high[0]);
        if (!out.full()) out.put(tile.low[1], tile.high[1]);
        if (!out.full()) out.put(tile.low[2], tile.high[2]);
        if (!out.full()) out.put(tile.low[3], tile.high[3]);
    }
}

u64 vectors(u64 limbs) noexcept { return (limbs + 7) / 8; }

void multiply(void* C, const void* A, u64 a_bytes, const void* B, u64 b_bytes, void* scratch) noexcept {
    if (a_bytes > b_bytes) return multiply(C, B, b_bytes, A, a_bytes, scratch);
    const u64 na = ifma52_limbs(a_bytes), nb = ifma52_limbs(b_bytes);
    auto* a = reinterpret_cast<u64*>((reinterpret_cast<std::uintptr_t>(scratch) + 63) & ~std::uintptr_t{63});
    u64* b = a + 8 * vectors(na) + 8;
    load_limbs(a, static_cast<const unsigned char*>(A), a_bytes);
    load_limbs(b, static_cast<const unsigned char*>(B), b_bytes);
    _mm512_store_si512(b - 8, _mm512_setzero_si512());
    _mm512_store_si512(b + 8 * vectors(nb), _mm512_setzero_si512());
    multiply_limbs(C, a_bytes + b_bytes, a, static_cast<i64>(na), b, static_cast<i64>(nb));
}

void square(void* C, const void* A, u64 bytes, void* scratch) noexcept { multiply(C, A, bytes, A, bytes, scratch); }
