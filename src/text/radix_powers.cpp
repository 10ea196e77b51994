#include "text/radix_powers.h"

#include <algorithm>
#include <cstring>

#include "kernels/linear.h"
#include "multiply/transform_checks.h"
#include "objects/big_int.h"

namespace kvt::text {
namespace {

// x := x / divisor, which is odd and divides x; from the bottom, by the divisor's inverse modulo the word base
// (Jebelean 1993).
template <class W>
void divide_exactly(W* x, u64 n, W divisor) noexcept {
    W inverse = divisor;  // right in three bits; every step doubles them
    for (unsigned bits = 3; bits < word_bits<W>; bits *= 2)
        inverse = static_cast<W>(inverse * (2 - divisor * inverse));
    W borrow = 0;
    for (u64 i = 0; i < n; ++i) {
        const W word = static_cast<W>(x[i] - borrow);
        const bool under = x[i] < borrow;
        x[i] = static_cast<W>(word * inverse);
        borrow = static_cast<W>((static_cast<DoubleWord<W>>(x[i]) * divisor >> word_bits<W>)+under);
    }
}

}  // namespace

template <class W>
void compute_powers(RadixPlan<W>& plan, const GlobalTwiddleTable& table, u8* powers_memory, u8* work) {
    if (plan.levels == 0) return;
    W* const power = reinterpret_cast<W*>(powers_memory);
    powers_memory += area_bytes(plan.level[plan.levels - 1].power_words * sizeof(W));

    u64 n = 1;
    power[0] = 1;
    for (u64 i = 0; i < plan.bottom; ++i) {
        const W carry = kernels::mul_ir(power, n, plan.odd, W{0});
        if (carry != 0) power[n++] = carry;
    }
    for (u64 i = 0; i < plan.levels; ++i) {
        RadixLevel<W>& level = plan.level[i];
        const multiply::TransformPlan& transform = level.transform;
        if (const unsigned shift = level.power_shift; shift != 0) {
            const W carry = kernels::mul_ir(power, n, static_cast<W>(W{1} << shift), W{0});
            if (carry != 0) power[n++] = carry;
        }
        level.power_transform = powers_memory;
        level.power_length = n;
        powers_memory += area_bytes(transform.operand_bytes);

        u8* const rest = work + area_bytes(transform.operand_bytes);
        const multiply::Residue residue = level.engine->forward(transform, table, multiply::operand_of(power, n),
                                                                level.power_transform, rest, plan.tasks);
        level.power_residue = residue;
        if (level.kept_words != 0) {
            std::memcpy(powers_memory, power, std::min(n, level.kept_words) * sizeof(W));
            level.power = reinterpret_cast<const W*>(powers_memory);
            powers_memory += words_area<W>(level.kept_words);
        }
        if (i + 1 == plan.levels) return;
        level.engine->product_keeping(transform, table, level.power_transform, residue, {nullptr, 0}, work,
                                      multiply::window_of(power, 0, 2 * n), true, rest, plan.tasks);
        objects::BigInt<W> square{power, 2 * n, true, power, 2 * n};
        objects::shr(square, 2 * level.power_shift);
        n = square.L;
        if (level.block_digit_words < 2 * level.half_digit_words) divide_exactly(power, n, plan.odd);
        while (power[n - 1] == 0) --n;
    }
}

template void compute_powers(RadixPlan<u32>&, const GlobalTwiddleTable&, u8*, u8*);
template void compute_powers(RadixPlan<u64>&, const GlobalTwiddleTable&, u8*, u8*);

}  // namespace kvt::text
