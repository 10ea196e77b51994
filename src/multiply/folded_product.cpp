#include "multiply/folded_product.h"

#include <algorithm>

#include "kernels/linear.h"
#include "multiply/cost.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {
namespace {

// Below, the choice itself costs too much.
constexpr u64 shortest_fold_bits = 64 * 300;

// The longest transform of a rung that is too short for a product of so many bits.
TransformPlan plan_below(const EngineRung& rung, u64 bits) {
    const TransformEngine& engine = rung.source();
    if (bits > rung.block_bits) return engine.plan(rung.block_bits);
    TransformPlan plan = engine.plan(bits / 4 * 3);
    for (TransformPlan next = plan; next.capacity_bits < bits; next = engine.plan(next.capacity_bits + 1))
        plan = next;
    return plan;
}

}  // namespace

template <class W>
FoldPlan plan_fold(const EngineRung& rung, const TransformPlan& whole, u64 LA, u64 LB, bool square, u64 least,
                   u64 scratch_bytes, u64 tasks) noexcept {
    const u64 bits = (LA + LB) * word_bits<W>;
    if (whole.wrap_sign == 0 || bits < shortest_fold_bits) return {};
    // A shorter rung is folded over as far as it reaches.
    const EngineRung* folding = rung.shorter;
    if (folding == nullptr || bits > longest_fold_bits(folding->block_bits)) folding = &rung;
    // Of the floating-point lengths, which are at most a quarter apart, the longer one has little to spare then.
    if (folding == &rung && whole.wrap_sign == -1 && bits > whole.capacity_bits / 16 * 15) return {};
    const TransformPlan plan = plan_below(*folding, bits);
    if (plan.wrap_sign == 0 || plan.wrap_bits >= bits || plan.wrap_bits % word_bits<W> != 0) return {};
    const u64 n = plan.wrap_bits / word_bits<W>, d = LA + LB - n;
    // A quarter of the length is what the lowest words' scratch surely fits where a shorter rung ends.
    const bool sum = plan.wrap_sign == 1;
    if (LA > n || d > n / (sum ? 8 : 2) || (sum && LB <= d)) return {};
    if (product_scratch_bytes(plan, tasks) > scratch_bytes) return {};

    const TransformCost cost = transform_cost(*folding, plan);
    // The linear passes, and the check that the transform cannot make.
    const u64 linear = 150'000 + 400 * (bits / 64);
    const u64 whole_cost = (square ? cost.square : cost.product) + linear;
    if (whole_cost >= least) return {};
    const u64 low_a = std::min(LA, d), low_b = std::min(LB, d);
    const u64 low_bits = (low_a + low_b) * word_bits<W>;
    const EngineRung* low_rung = folding;
    while (low_rung->shorter != nullptr && low_bits <= low_rung->shorter->block_bits) low_rung = low_rung->shorter;
    const TransformPlan low_plan = low_rung->source().plan(low_bits);
    if (product_scratch_bytes(low_plan, tasks) > scratch_bytes) return {};
    constexpr u64 halves = 8 / sizeof(W);
    const TransformCost low_cost = transform_cost(*low_rung, low_plan);
    const u64 low = std::min(square ? low_cost.square : low_cost.product,
                             direct_cost((low_a + halves - 1) / halves, (low_b + halves - 1) / halves, square));
    // Estimates err by some percent.
    if (whole_cost + low >= least / 100 * 95) return {};
    return {folding, low_rung, plan, whole_cost + low};
}

template <class W>
void unfold(W* C, u64 n, u64 d, W low) noexcept {
    // lo - hi is below zero where hi is larger: then 2^N + 1 was added to it, which makes the difference of the low
    // words hi - 1, and the sum with that reaches 2^N.
    const W top = C[n];
    C[n] = low;
    kernels::sub_nr(C + n, C + n, C, d, 0);
    u32 carry = kernels::add_ir(C, C + n, d, 0);
    carry = kernels::add1_ir(C + d, n - d, carry);
    kernels::add1_ir(C + n, d, carry | static_cast<u32>(top));
}

template <class W>
void unfold_sum(W* C, u64 n, u64 d) noexcept {
    // A sum of 2^N or more lost that and won 1: then the difference of the low words is hi + 1, and the sum less that
    // is below zero. It never is otherwise; nor is hi + 1 = 2^D, of D bits: the product would be above 2^(N + D) - 2^D.
    kernels::sub_nr(C + n, C, C + n, d, 0);
    u32 borrow = kernels::sub_ir(C, C + n, d, 0);
    borrow = kernels::sub1_ir(C + d, n - d, borrow);
    kernels::sub1_ir(C + n, d, borrow);
}

template FoldPlan plan_fold<u32>(const EngineRung&, const TransformPlan&, u64, u64, bool, u64, u64, u64) noexcept;
template FoldPlan plan_fold<u64>(const EngineRung&, const TransformPlan&, u64, u64, bool, u64, u64, u64) noexcept;
template void unfold_sum(u32*, u64, u64) noexcept;
template void unfold_sum(u64*, u64, u64) noexcept;
template void unfold(u32*, u64, u64, u32) noexcept;
template void unfold(u64*, u64, u64, u64) noexcept;

}  // namespace kvt::multiply
