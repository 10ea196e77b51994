#include <immintrin.h>

#include "kernels/residue61_table.h"

namespace kvt::kernels {
namespace {

#include "kernels/residue61.inl"

// Eight lanes in two registers. 512-bit loads of 61-byte blocks gain nothing: each crosses a cache line.
struct Lanes {
    __m256i low = _mm256_setzero_si256(), high = _mm256_setzero_si256();

    static Lanes load_block(const unsigned char* p) noexcept {
        const auto* v = reinterpret_cast<const __m256i_u*>(p);
        const __m256i mask = _mm256_set_epi64x(static_cast<long long>(last_lane_mask), -1, -1, -1);
        return {_mm256_loadu_si256(v), _mm256_and_si256(_mm256_loadu_si256(v + 1), mask)};
    }
    Lanes high_halves() const noexcept { return {_mm256_srli_epi64(low, 32), _mm256_srli_epi64(high, 32)}; }
    friend Lanes operator+(Lanes a, Lanes b) noexcept {
        return {_mm256_add_epi64(a.low, b.low), _mm256_add_epi64(a.high, b.high)};
    }
    // Lanes weighted: lane l times 2^(3 l), added up. Exact below 2^64.
    u64 total() const noexcept {
        const __m256i sum = _mm256_add_epi64(_mm256_sllv_epi64(low, _mm256_set_epi64x(9, 6, 3, 0)),
                                             _mm256_sllv_epi64(high, _mm256_set_epi64x(21, 18, 15, 12)));
        const __m128i half = _mm_add_epi64(_mm256_castsi256_si128(sum), _mm256_extracti128_si256(sum, 1));
        return static_cast<u64>(_mm_cvtsi128_si64(half)) + static_cast<u64>(_mm_extract_epi64(half, 1));
    }
};

// Blocks that are added before the lanes are folded. Sums of as many 32-bit halves stay below 2^40, weighted below
// 2^61, and eight of those below 2^64.
constexpr u64 blocks_per_fold = u64{1} << 8;

// Sums of words, modulo 2^64, and of their upper halves; together they give the exact sum of a lane.
struct Sums {
    Lanes words{}, highs{};
    void add_block(const unsigned char* p) noexcept {
        const Lanes block = Lanes::load_block(p);
        words = words + block;
        highs = highs + block.high_halves();
    }
};

// The lower halves are the words less 2^32 times the upper ones, modulo 2^64.
u64 fold(const Sums& sums) noexcept {
    const Lanes lows{_mm256_sub_epi64(sums.words.low, _mm256_slli_epi64(sums.highs.low, 32)),
                     _mm256_sub_epi64(sums.words.high, _mm256_slli_epi64(sums.highs.high, 32))};
    return reduce((static_cast<u128>(sums.highs.total()) << 32) + lows.total());
}

// From byte n on a mask of the last n of 64 bytes.
struct TailMasks {
    unsigned char bytes[128] = {};
    constexpr TailMasks() {
        for (int i = 64; i < 128; ++i) bytes[i] = 0xff;
    }
};
alignas(64) constexpr TailMasks tail_masks;

// The last n < 64 of at least 64 bytes, which end at `end`.
u64 tail_residue(const unsigned char* end, u64 n) noexcept {
    const auto* v = reinterpret_cast<const __m256i_u*>(end - 64);
    const auto* mask = reinterpret_cast<const __m256i_u*>(tail_masks.bytes + n);
    Sums sums;
    sums.words = {_mm256_and_si256(_mm256_loadu_si256(v), _mm256_loadu_si256(mask)),
                  _mm256_and_si256(_mm256_loadu_si256(v + 1), _mm256_loadu_si256(mask + 1))};
    sums.highs = sums.words.high_halves();
    // They stand 64 - n bytes too high.
    const u64 shifted = fold(sums), k = 8 * (64 - n) % 61;
    return shifted >> k | (shifted << (61 - k) & modulus);
}

u64 residue(const void* bytes, u64 n) noexcept {
    const auto* p = static_cast<const unsigned char*>(bytes);
    if (n < 64) {
        const Tail tail(p, n);
        Sums sums;
        sums.add_block(tail.bytes);
        sums.add_block(tail.bytes + block_bytes);
        return fold(sums);
    }
    u64 total = 0;
    do {
        Sums sums;
        const u64 blocks = whole_blocks(n, blocks_per_fold);
#pragma GCC unroll 4
        for (u64 i = 0; i < blocks; ++i) sums.add_block(p + block_bytes * i);
        p += block_bytes * blocks;
        n -= block_bytes * blocks;
        total = reduce(static_cast<u128>(total) + fold(sums));
    } while (n >= 64);
    return reduce(static_cast<u128>(total) + tail_residue(p + n, n));
}

}  // namespace

constinit const Residue61Kernels residue61_kernels_avx2{"avx2", residue};

}  // namespace kvt::kernels
