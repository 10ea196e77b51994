#include "multiply/folded_product.h"

#include <algorithm>

#include "kernels/linear.h"
#include "multiply/cost.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {
namespace {

// A product to be folded, and what it may use.
template <class W>
struct Request {
    u64 LA, LB;
    bool square;
    u64 scratch_bytes, tasks;

    u64 cost_of(const TransformCost& cost) const { return square ? cost.square : cost.product; }
};

// Of the product of the lowest `words` words of each factor.
template <class W>
u64 low_cost(const EngineRung& rung, u64 words, bool square) {
    constexpr u64 halves = 8 / sizeof(W);
    const TransformCost cost = transform_cost(rung, rung.source().plan(2 * words * word_bits<W>));
    const u64 rounded = (words + halves - 1) / halves;
    return std::min(square ? cost.square : cost.product, direct_cost(rounded, rounded, square));
}

// Folded over `plan` of a rung; no rung where it cannot be.
template <class W>
FoldPlan fold_over(const EngineRung& rung, const TransformPlan& plan, const Request<W>& r) {
    const u64 bits = (r.LA + r.LB) * word_bits<W>;
    if (plan.wrap_sign == 0 || plan.wrap_bits >= bits || plan.wrap_bits % word_bits<W> != 0) return {};
    const u64 n = plan.wrap_bits / word_bits<W>, d = r.LA + r.LB - n;
    const bool sum = plan.wrap_sign == 1;
    if (r.LA > n || d > (sum ? n / 4 : n / 4 * 3) || (sum && r.LB <= d)) return {};
    if (product_scratch_bytes(plan, r.tasks) > r.scratch_bytes) return {};

    const u64 half = std::min(d, n / 2), low_bits = 2 * half * word_bits<W>;
    const EngineRung* low_rung = &rung;
    while (low_rung->shorter != nullptr && low_bits <= low_rung->shorter->block_bits) low_rung = low_rung->shorter;
    if (one_shot_scratch_bytes(*low_rung, low_rung->source().plan(low_bits), r.tasks) > r.scratch_bytes) return {};
    u64 low = low_cost<W>(*low_rung, half, r.square);
    if (half < d) low += (r.square ? 1 : 2) * low_cost<W>(*low_rung, d - half, false);
    // The linear passes, and the check that the transform cannot make.
    const u64 linear = 150'000 + 400 * (bits / 64);
    return {&rung, low_rung, half, plan, r.cost_of(transform_cost(rung, plan)) + linear + low};
}

}  // namespace

u64 one_shot_scratch_bytes(const EngineRung& rung, const TransformPlan& plan, u64 tasks) noexcept {
    const u64 bytes = product_scratch_bytes(plan, tasks);
    const EngineRung* shorter = rung.shorter;
    if (shorter == nullptr || plan.min_bits <= shorter->block_bits ||
        plan.min_bits > longest_fold_bits(shorter->block_bits))
        return bytes;
    const TransformPlan longest = shorter->source().plan(shorter->block_bits);
    return longest.wrap_sign == -1 ? std::max(bytes, product_scratch_bytes(longest, 1)) : bytes;
}

template <class W>
FoldPlan plan_fold(const EngineRung& rung, const TransformPlan& whole, u64 LA, u64 LB, bool square, u64 least,
                   u64 scratch_bytes, u64 tasks) noexcept {
    const u64 bits = (LA + LB) * word_bits<W>;
    if (whole.wrap_sign == 0 || bits < shortest_fold_bits()) return {};
    const Request<W> request{LA, LB, square, scratch_bytes, tasks};
    FoldPlan best;
    // Estimates err by some percent, those of the number-theoretic transforms by more.
    const u64 worth = least / 100 * (whole.wrap_sign == -1 ? 97 : 94);
    const auto consider = [&](const FoldPlan& fold) {
        if (fold.rung == nullptr || fold.cost >= worth) return;
        if (best.rung == nullptr || fold.cost < best.cost) best = fold;
    };
    const EngineRung* shorter = rung.shorter;
    if (shorter != nullptr && bits <= longest_fold_bits(shorter->block_bits))
        consider(fold_over(*shorter, shorter->source().plan(shorter->block_bits), request));
    // Of the floating-point lengths, which are at most a quarter apart, the longer one has little to spare.
    if (whole.wrap_sign == -1 && bits > whole.capacity_bits / 16 * 15) return {};
    const TransformEngine& engine = rung.source();
    for (TransformPlan plan = engine.plan(bits / 4 * 3); plan.capacity_bits < bits;
         plan = engine.plan(plan.capacity_bits + 1))
        consider(fold_over(rung, plan, request));
    return best;
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
