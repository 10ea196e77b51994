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
    void store(u64* out) const noexcept {
        _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(out), low);
        _mm256_storeu_si256(reinterpret_cast<__m256i_u*>(out + 4), high);
    }
};

// Sums of words, modulo 2^64, and of their upper halves; together they give the exact sum of a lane.
struct Sums {
    Lanes words{}, highs{};
    void add_block(const unsigned char* p) noexcept {
        const Lanes block = Lanes::load_block(p);
        words = words + block;
        highs = highs + block.high_halves();
    }
};

// Exact lane sum: lows + highs * 2^32, where lows = words - highs * 2^32 modulo 2^64 is below 2^(32 + 16).
u64 fold(const Sums& sums) noexcept {
    alignas(64) u64 words[8], highs[8];
    sums.words.store(words);
    sums.highs.store(highs);
    u128 total = 0;
#pragma GCC unroll 8
    for (int lane = 0; lane < 8; ++lane) {
        const u64 lows = words[lane] - (highs[lane] << 32);
        total += ((static_cast<u128>(highs[lane]) << 32) + lows) << (3 * lane);
    }
    return reduce(total);
}

u64 residue(const void* bytes, u64 n) noexcept {
    const auto* p = static_cast<const unsigned char*>(bytes);
    u64 total = 0;
    for (;;) {
        Sums sums;
        const u64 blocks = whole_blocks(n);
#pragma GCC unroll 4
        for (u64 i = 0; i < blocks; ++i) sums.add_block(p + block_bytes * i);
        p += block_bytes * blocks;
        n -= block_bytes * blocks;
        if (n < 64) {
            const Tail tail(p, n);
            sums.add_block(tail.bytes);
            sums.add_block(tail.bytes + block_bytes);
            return reduce(static_cast<u128>(total) + fold(sums));
        }
        total = reduce(static_cast<u128>(total) + fold(sums));
    }
}

}  // namespace

constinit const Residue61Kernels residue61_kernels_avx2{"avx2", residue};

}  // namespace kvt::kernels
