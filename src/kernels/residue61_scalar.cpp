#include <immintrin.h>

#include "kernels/residue61_table.h"

namespace kvt::kernels {
namespace {

#include "kernels/residue61.inl"

using Word = unsigned long long;

// Blocks that are added before the lanes are folded: the last lane, of 40 bits, has room for 2^24.
constexpr u64 blocks_per_fold = u64{1} << 16;

Word load(const unsigned char* p, unsigned lane) noexcept {
    Word word;
    __builtin_memcpy(&word, p + 8 * lane, 8);
    return word;
}

// Adds blocks into a 512-bit number; its last lane has 24 bits to spare.
void add_block(Word* sum, const unsigned char* p) noexcept {
    unsigned char c = _addcarry_u64(0, sum[0], load(p, 0), &sum[0]);
    c = _addcarry_u64(c, sum[1], load(p, 1), &sum[1]);
    c = _addcarry_u64(c, sum[2], load(p, 2), &sum[2]);
    c = _addcarry_u64(c, sum[3], load(p, 3), &sum[3]);
    c = _addcarry_u64(c, sum[4], load(p, 4), &sum[4]);
    c = _addcarry_u64(c, sum[5], load(p, 5), &sum[5]);
    c = _addcarry_u64(c, sum[6], load(p, 6), &sum[6]);
    _addcarry_u64(c, sum[7], load(p, 7) & last_lane_mask, &sum[7]);
}

u64 fold(const Word* sum) noexcept {
    u128 total = 0;
#pragma GCC unroll 8
    for (int lane = 0; lane < 8; ++lane) total += static_cast<u128>(sum[lane]) << (3 * lane);
    return reduce(total);
}

u64 residue(const void* bytes, u64 n) noexcept {
    const auto* p = static_cast<const unsigned char*>(bytes);
    u64 total = 0;
    for (;;) {
        Word sum[8] = {};
        const u64 blocks = whole_blocks(n, blocks_per_fold - 2);
        for (u64 i = 0; i < blocks; ++i) add_block(sum, p + block_bytes * i);
        p += block_bytes * blocks;
        n -= block_bytes * blocks;
        if (n < 64) {
            const Tail tail(p, n);
            add_block(sum, tail.bytes);
            add_block(sum, tail.bytes + block_bytes);
            return reduce(static_cast<u128>(total) + fold(sum));
        }
        total = reduce(static_cast<u128>(total) + fold(sum));
    }
}

}  // namespace

constinit const Residue61Kernels residue61_kernels_scalar{"scalar", residue};

}  // namespace kvt::kernels
