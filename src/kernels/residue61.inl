// Blocks of 61 bytes are 488 = 8 * 61 bits, so 2^488 = 1 modulo M and every block has the same weight: blocks are
// added up as they are, in eight 64-bit lanes of which the last keeps five bytes. Lane l has the weight 2^(64 l) =
// 2^(3 l).

using u64 = std::uint64_t;
__extension__ typedef unsigned __int128 u128;

constexpr u64 block_bytes = 61;
constexpr u64 last_lane_mask = (u64{1} << 40) - 1;

// Blocks that can be loaded as 64 bytes without reading beyond the n bytes, at most `most`; leaves n < 64 otherwise.
u64 whole_blocks(u64 n, u64 most) noexcept {
    const u64 blocks = n < 64 ? 0 : (n - 64) / block_bytes + 1;
    return blocks < most ? blocks : most;
}

constexpr u64 modulus = (u64{1} << 61) - 1;

u64 reduce(u128 x) noexcept {
    for (int i = 0; i < 2; ++i) x = (x & modulus) + (x >> 61);
    const u64 r = static_cast<u64>(x & modulus) + static_cast<u64>(x >> 61);
    return r >= modulus ? r - modulus : r;
}

// The last bytes of a string, fewer than 64, as two zero-padded blocks.
struct Tail {
    alignas(64) unsigned char bytes[128] = {};
    Tail(const unsigned char* p, u64 n) noexcept { __builtin_memcpy(bytes, p, n); }
};
