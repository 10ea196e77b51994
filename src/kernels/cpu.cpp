#include "kernels/cpu.h"

#include <cpuid.h>

#include <algorithm>

namespace kvt::kernels {
namespace {

struct Registers {
    u32 eax = 0, ebx = 0, ecx = 0, edx = 0;
};

Registers cpuid(u32 leaf) {
    Registers r;
    if (!__get_cpuid_count(leaf, 0, &r.eax, &r.ebx, &r.ecx, &r.edx)) return {};
    return r;
}

// XCR0: which register files the operating system saves. Only valid when OSXSAVE is set.
u64 enabled_state() {
    u32 low, high;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return static_cast<u64>(high) << 32 | low;
}

constexpr bool has(u32 reg, std::initializer_list<unsigned> bits) {
    return std::all_of(bits.begin(), bits.end(), [&](unsigned bit) { return reg >> bit & 1; });
}

Levels detect() {
    Levels levels;
    const Registers leaf1 = cpuid(1);
    const Registers leaf7 = cpuid(7);
    if (has(leaf7.ebx, {8 /* BMI2 */, 19 /* ADX */})) levels.word = WordLevel::adx;

    if (!has(leaf1.ecx, {27 /* OSXSAVE */, 28 /* AVX */, 12 /* FMA */})) return levels;
    const u64 state = enabled_state();
    constexpr u64 ymm_state = 0x06, zmm_state = 0xe6;
    if ((state & ymm_state) != ymm_state || !has(leaf7.ebx, {5 /* AVX2 */, 8 /* BMI2 */})) return levels;
    levels.vector = VectorLevel::avx2;

    if ((state & zmm_state) != zmm_state) return levels;
    if (!has(leaf7.ebx, {16 /* F */, 17 /* DQ */, 30 /* BW */, 31 /* VL */})) return levels;
    levels.vector = VectorLevel::avx512;

    if (has(leaf7.ebx, {21 /* IFMA */}) && has(leaf7.ecx, {1 /* VBMI */, 6 /* VBMI2 */}))
        levels.vector = VectorLevel::avx512ifma;
    return levels;
}

const Levels supported = detect();

}  // namespace

Levels detail::active = supported;

Levels supported_levels() noexcept { return supported; }

void cap_levels(Levels cap) noexcept {
    detail::active.vector = std::min(supported.vector, cap.vector);
    detail::active.word = std::min(supported.word, cap.word);
}

const char* level_name(VectorLevel level) noexcept {
    constexpr const char* names[] = {"scalar", "avx2", "avx512", "avx512ifma"};
    return names[static_cast<unsigned>(level)];
}

const char* level_name(WordLevel level) noexcept { return level == WordLevel::adx ? "adx" : "scalar"; }

}  // namespace kvt::kernels
