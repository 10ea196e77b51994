#pragma once
// Residue of a byte string modulo M = 2^61 - 1, once per instruction set.

#include <cstddef>
#include <cstdint>

namespace kvt::kernels {

struct Residue61Kernels {
    const char* isa;

    // Value modulo M, reduced, of the little-endian number in bytes[0..n); any alignment, n may be 0.
    std::uint64_t (*residue)(const void* bytes, std::uint64_t n) noexcept;
};

extern const Residue61Kernels residue61_kernels_scalar, residue61_kernels_avx2;

}  // namespace kvt::kernels
