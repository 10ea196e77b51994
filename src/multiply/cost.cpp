#include "multiply/cost.h"

#include <algorithm>
#include <bit>

#include "kernels/cpu.h"
#include "kernels/ifma52.h"

namespace kvt::multiply {
namespace {

using kernels::VectorLevel;
using kernels::WordLevel;

u64 percent_at(const EngineRung& rung, VectorLevel level) noexcept {
    switch (level) {
        case VectorLevel::scalar: return rung.scalar_percent;
        case VectorLevel::avx2: return rung.avx2_percent;
        default: return 100;
    }
}

// What a transform takes whatever its length: set-up and both ends of every pass.
constexpr u64 fixed_transform_cost = 130'000;

u64 saturating_product(u64 a, u64 b) noexcept {
    const u128 p = u128{a} * b;
    return p >> 62 != 0 ? u64{1} << 62 : static_cast<u64>(p);
}

}  // namespace

u64 direct_cost(u64 LA, u64 LB, bool square) noexcept {
    const auto [vector, word] = kernels::active_levels();
    const u64 total = LA + LB;
    if (vector == VectorLevel::avx512ifma) {
        const u64 passes = square ? kernels::ifma52_square_passes : kernels::ifma52_multiply_passes;
        const bool split = kernels::ifma52_splits(8 * LB, 8 * LA, passes);
        const u64 column = split ? (square ? 43 : 83) : (square ? 57 : 105);
        return saturating_product(column * LB, LA) + (split ? (square ? 1100 : 900) : 700) * total;
    }
    // Karatsuba beyond some 40 words of the shorter operand.
    const bool adx = word == WordLevel::adx;
    const u64 column = adx ? 325 : 830;
    const u64 product = saturating_product(column * std::min(LB, 20 + LB / 2), LA);
    return (square ? product * (adx ? 73 : 95) / 100 : product) + 1000 * total;
}

u64 direct_bits(const EngineRung& rung) noexcept {
    return kernels::active_levels().vector == VectorLevel::avx512ifma ? rung.ifma_direct_bits : rung.direct_bits;
}

u64 shortest_fold_bits() noexcept {
    return 64 * (kernels::active_levels().vector == VectorLevel::avx512ifma ? 450 : 300);
}

TransformCost transform_cost(const EngineRung& rung, const TransformPlan& plan) noexcept {
    const VectorLevel level = kernels::active_levels().vector;
    const u64 longer = level >= VectorLevel::avx512 ? rung.odd_percent : rung.avx2_odd_percent;
    const u64 odd = std::has_single_bit(plan.points) ? 100 : longer;
    const u64 per_unit =
        (rung.base_cost + rung.level_cost * static_cast<u64>(std::bit_width(plan.points))) * odd / 100;
    const u64 product = saturating_product(plan.operand_bytes / 8, per_unit) / 100 * percent_at(rung, level);
    const u64 whole = product + fixed_transform_cost;
    return {whole, whole / 100 * 72, whole / 100 * 82, whole / 100 * 27};
}

}  // namespace kvt::multiply
