#include "kernels/residue61.h"

#include <cstring>

#include "kernels/cpu.h"
#include "kernels/residue61_table.h"

namespace kvt::kernels {
namespace {

// Short arrays, by Horner from the top: 2^64 = 2^3, so up to 20 words stay below 2^(64 + 60) without a reduction.
constexpr u64 short_halves = 40;

u64 short_residue(const u8* bytes, u64 n) noexcept {
    u128 sum = 0;
    if (n % 2 != 0) {
        u32 half;
        std::memcpy(&half, bytes + 4 * (n - 1), 4);
        sum = half;
    }
    for (u64 i = n / 2; i-- > 0;) {
        u64 word;
        std::memcpy(&word, bytes + 8 * i, 8);
        sum = (sum << 3) + word;
    }
    const u64 low = static_cast<u64>(sum) & residue_modulus;
    return residue_add(residue_reduce(low), residue_reduce(static_cast<u64>(sum >> 61)));
}

}  // namespace

u64 residue_of(const void* bytes, u64 n) noexcept {
    constexpr const Residue61Kernels* tables[] = {&residue61_kernels_scalar, &residue61_kernels_avx2,
                                                  &residue61_kernels_avx2, &residue61_kernels_avx2};
    if (n <= short_halves) return short_residue(static_cast<const u8*>(bytes), n);
    return tables[static_cast<unsigned>(active_levels().vector)]->residue(bytes, 4 * n);
}

}  // namespace kvt::kernels
