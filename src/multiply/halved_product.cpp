#include "multiply/halved_product.h"

#include "multiply/cost.h"
#include "multiply/folded_product.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {

template <class W>
u64 halved_cost(const EngineRung& rung, u64 LA, u64 LB, bool square, u64 scratch_bytes, u64 tasks) noexcept {
    constexpr u64 none = ~u64{0};
    const u64 bits = (LA + LB) * word_bits<W>, l = (LA + 1) / 2;
    if (rung.shorter == nullptr || bits <= longest_fold_bits(rung.shorter->block_bits) ||
        bits > longest_halved_bits(rung.shorter->block_bits) || LB < LA - LA / 16)
        return none;
    if (rung.shorter->source().plan(rung.shorter->block_bits).wrap_sign != -1) return none;  // a small step there
    const EngineRung& half_rung = rung_for(rung, 2 * l * word_bits<W>);
    const TransformPlan plan = half_rung.source().plan(2 * l * word_bits<W>);
    const u64 half_tasks = useful_tasks(tasks, plan.min_bits);
    const u64 half_bytes = one_shot_scratch_bytes(half_rung, plan, half_tasks);
    if (scratch_bytes < half_bytes + difference_bytes(bits)) return none;

    const TransformCost transform = transform_cost(half_rung, plan);
    u64 half = square ? transform.square : transform.product;
    const FoldPlan fold = plan_fold<W>(half_rung, plan, l, l, square, half, half_bytes, half_tasks);
    if (fold.rung != nullptr) half = fold.cost;
    // The linear passes are on one task.
    return 3 * half + tasks * 1'500 * (bits / 64);
}

template u64 halved_cost<u32>(const EngineRung&, u64, u64, bool, u64, u64) noexcept;
template u64 halved_cost<u64>(const EngineRung&, u64, u64, bool, u64, u64) noexcept;

}  // namespace kvt::multiply
