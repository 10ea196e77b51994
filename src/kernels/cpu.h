#pragma once
// Which instruction sets this machine (and its operating system) lets us use, and the two levels chosen from them.

#include "frame/types.h"

namespace kvt::kernels {

// Vector kernels, each level including the ones before it.
enum class VectorLevel : u8 {
    scalar,      // baseline x86-64
    avx2,        // AVX2, FMA, BMI2
    avx512,      // AVX-512 F, BW, DQ, VL
    avx512ifma,  // and IFMA, VBMI, VBMI2 (Ice Lake, Zen 4 and later)
};

// Word kernels (64-bit multiply and carry chains).
enum class WordLevel : u8 {
    scalar,
    adx,  // BMI2 and ADX
};

struct Levels {
    VectorLevel vector = VectorLevel::scalar;
    WordLevel word = WordLevel::scalar;
};

// What CPUID and XCR0 allow, read once.
Levels supported_levels() noexcept;

// The levels in use: the supported ones, unless a test or benchmark capped them. A public operation reads them once
// and passes them (or the kernel table chosen by them) down.
// Zero, the lowest levels, until the library is loaded.
namespace detail {
extern Levels active;
}
inline Levels active_levels() noexcept { return detail::active; }

// For tests and benchmarks: use at most these from now on. Not to be called while an operation runs.
void cap_levels(Levels cap) noexcept;
inline constexpr Levels no_cap{VectorLevel::avx512ifma, WordLevel::adx};

const char* level_name(VectorLevel level) noexcept;
const char* level_name(WordLevel level) noexcept;

}  // namespace kvt::kernels
