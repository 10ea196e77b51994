#pragma once
// The word kernels: what add, subtract and multiply arrays of 64-bit words, once per instruction set. Arrays are
// little-endian bytes at any alignment, so that both word widths share them; n counts 64-bit words.

#include <cstddef>
#include <cstdint>

namespace kvt::kernels {

struct WordKernels {
    const char* isa;

    // C[0..n) = A[0..n) + B[0..n) + carry (0 or 1), or A - B - carry; returns the carry or borrow, 0 or 1. C may be A
    // or B; otherwise they are disjoint. n may be 0.
    std::uint32_t (*add)(void* C, const void* A, const void* B, std::uint64_t n, std::uint64_t carry) noexcept;
    std::uint32_t (*sub)(void* C, const void* A, const void* B, std::uint64_t n, std::uint64_t borrow) noexcept;

    // C[0..n) = A[0..n) * m + carry; returns the word that would stand at C[n]. C may be A. n may be 0.
    std::uint64_t (*mul)(void* C, const void* A, std::uint64_t n, std::uint64_t m, std::uint64_t carry) noexcept;

    // C[0..n) += A[0..n) * m + carry; returns the word that would stand at C[n].
    std::uint64_t (*addmul)(void* C, const void* A, std::uint64_t n, std::uint64_t m, std::uint64_t carry) noexcept;

    // C[0..LA+LB) = A * B by the schoolbook method; LA, LB >= 1; C overlaps neither.
    void (*multiply)(void* C, const void* A, std::uint64_t LA, const void* B, std::uint64_t LB) noexcept;

    // C[0..2L) = A * A; L >= 1.
    void (*square)(void* C, const void* A, std::uint64_t L) noexcept;
};

extern const WordKernels word_kernels_scalar, word_kernels_adx;

}  // namespace kvt::kernels
