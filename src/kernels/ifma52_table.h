#pragma once
// Direct products in radix 2^52 with the fused 52-bit multiply-add of AVX-512 IFMA. Quadratic, no allocation.

#include <cstddef>
#include <cstdint>

namespace kvt::kernels {

struct Ifma52Kernels {
    const char* isa;

    // C[0..a_bytes+b_bytes) = A * B, little-endian; any alignment; lengths at least 1, the shorter at most
    // ifma52_longest_bytes (kernels/ifma52.h). C overlaps neither operand.
    // scratch [ifma52_scratch_bytes(a_bytes, b_bytes)]
    void (*multiply)(void* C, const void* A, std::uint64_t a_bytes, const void* B, std::uint64_t b_bytes,
                     void* scratch) noexcept;

    // C[0..2*bytes) = A * A.  scratch [ifma52_scratch_bytes(bytes, bytes)]
    void (*square)(void* C, const void* A, std::uint64_t bytes, void* scratch) noexcept;

    // The same with one level of Karatsuba. Lengths as ifma52_splits() wants them.
    // scratch [ifma52_split_scratch_bytes(longer bytes, operands)]
    void (*multiply_split)(void* C, const void* A, std::uint64_t a_bytes, const void* B, std::uint64_t b_bytes,
                           void* scratch) noexcept;
    void (*square_split)(void* C, const void* A, std::uint64_t bytes, void* scratch) noexcept;
};

extern const Ifma52Kernels ifma52_kernels_avx512ifma;

}  // namespace kvt::kernels
