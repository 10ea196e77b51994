#pragma once
// Direct products in radix 2^52 with the fused 52-bit multiply-add of AVX-512 IFMA. Quadratic, no allocation.

#include <cstddef>
#include <cstdint>

namespace kvt::kernels {

struct Ifma52Kernels {
    const char* isa;

    // C[0..a_bytes+b_bytes) = A * B, little-endian; any alignment; lengths at least 1, the shorter at most
    // ifma52_longest_bytes. C overlaps neither operand.  scratch [ifma52_scratch_bytes(a_bytes, b_bytes)]
    void (*multiply)(void* C, const void* A, std::uint64_t a_bytes, const void* B, std::uint64_t b_bytes,
                     void* scratch) noexcept;

    // C[0..2*bytes) = A * A.  scratch [ifma52_scratch_bytes(bytes, bytes)]
    void (*square)(void* C, const void* A, std::uint64_t bytes, void* scratch) noexcept;
};

extern const Ifma52Kernels ifma52_kernels_avx512ifma;

// A column adds up to two 52-bit halves a limb of the shorter operand, doubled in a square: 4 * limbs * 2^52 <= 2^64.
inline constexpr std::uint64_t ifma52_longest_limbs = 1024;
inline constexpr std::uint64_t ifma52_longest_bytes = ifma52_longest_limbs * 52 / 8;

constexpr std::uint64_t ifma52_limbs(std::uint64_t bytes) noexcept { return (8 * bytes + 51) / 52; }

// Limbs of each operand in vectors of eight; the longer one between two vectors of zeros; 63 bytes for alignment.
constexpr std::uint64_t ifma52_scratch_bytes(std::uint64_t a_bytes, std::uint64_t b_bytes) noexcept {
    return 64 * ((ifma52_limbs(a_bytes) + 7) / 8 + (ifma52_limbs(b_bytes) + 7) / 8 + 2) + 63;
}

}  // namespace kvt::kernels
