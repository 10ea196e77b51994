#include "multiply/engine.h"

#include <cstring>

#include "kernels/residue61.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {

// For the engines whose plans grow with the length.
u64 TransformEngine::most_kept_bytes(u64 min_bits, u64 tasks) const {
    return kept_scratch_bytes(plan(min_bits), useful_tasks(tasks, min_bits));
}

TransformPlan TransformEngine::plan_part(const TransformPlan&, u64) const { return {}; }

void TransformEngine::product_keeping(const TransformPlan& plan, const GlobalTwiddleTable& table, const void* a,
                                      Residue a_residue, Operand b, void* operand, Window out, bool check, void* work,
                                      u64 tasks) const {
    Residue b_residue = a_residue;
    if (b.bytes == nullptr)
        std::memcpy(operand, a, plan.operand_bytes);
    else
        b_residue = forward(plan, table, b, operand, work, tasks);
    multiply(plan, table, operand, a, work, tasks);
    const Residue expected{kernels::residue_mul(a_residue.value, b_residue.value)};
    inverse(plan, table, operand, out, check ? &expected : nullptr, work, tasks);
}

}  // namespace kvt::multiply
