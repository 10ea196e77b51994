#include "multiply/block_product.h"

#include <algorithm>
#include <cstring>

#include "kernels/linear.h"
#include "kernels/residue61.h"
#include "multiply/cost.h"
#include "multiply/transform_checks.h"

namespace kvt::multiply {
namespace {

// Room for LB words wherever the scratch starts.
template <class W>
u64 overlap_bytes(u64 LB) {
    return (LB + 1) * sizeof(W) - 1;
}

}  // namespace

template <class W>
BlockPlan plan_blocks(const EngineRung& rung, u64 LA, u64 LB, u64 least, u64 scratch_bytes, u64 tasks) {
    BlockPlan best;
    for (u64 blocks = 2; LA / blocks >= LB; blocks += (blocks + 1) / 2) {
        const u64 words = (LA + blocks - 1) / blocks;
        const u64 bits = (words + LB) * word_bits<W>;
        const EngineRung& block_rung = rung_for(rung, bits);
        const TransformEngine& engine = block_rung.source();
        const TransformPlan plan = engine.plan(bits);
        const TransformCost cost = transform_cost(block_rung, plan);
        const u64 sum = cost.forward + blocks * cost.kept_product;
        const u64 needed = kept_scratch_bytes(plan, useful_tasks(tasks, bits)) + overlap_bytes<W>(LB);
        if (sum >= least || needed > scratch_bytes) continue;
        least = sum;
        best = {&engine, plan, words, needed};
    }
    return best;
}

template <class W>
void multiply_blocks(const BlockPlan& plan, const GlobalTwiddleTable& table, W* C, const W* A, u64 LA, const W* B,
                     u64 LB, u8* memory, u64 tasks) {
    const TransformEngine& engine = *plan.engine;
    tasks = useful_tasks(tasks, plan.transform.min_bits);
    u8* short_operand = memory;
    u8* block_operand = memory + plan.transform.operand_bytes;
    u8* work = block_operand + plan.transform.operand_bytes;
    u8* end = memory + plan.scratch_bytes;
    W* overlap = reinterpret_cast<W*>(end - reinterpret_cast<std::uintptr_t>(end) % alignof(W)) - LB;

    const Residue short_residue =
        engine.forward(plan.transform, table, operand_of(B, LB), short_operand, work, tasks);
    for (u64 at = 0; at < LA; at += plan.block_words) {
        const u64 n = std::min(plan.block_words, LA - at);
        const Residue residue =
            engine.forward(plan.transform, table, operand_of(A + at, n), block_operand, work, tasks);
        engine.multiply(plan.transform, table, block_operand, short_operand, work, tasks);
        // The block's product starts on the last LB words of the one before it.
        if (at > 0) std::memcpy(overlap, C + at, LB * sizeof(W));
        const Residue expected{kernels::residue_mul(residue.value, short_residue.value)};
        engine.inverse(plan.transform, table, block_operand, window_of(C + at, 0, n + LB), &expected, work, tasks);
        if (at == 0) continue;
        const u32 carry = kernels::add_ir(C + at, overlap, LB, 0);
        kernels::add1_ir(C + at + LB, n, carry);
    }
}

template BlockPlan plan_blocks<u32>(const EngineRung&, u64, u64, u64, u64, u64);
template BlockPlan plan_blocks<u64>(const EngineRung&, u64, u64, u64, u64, u64);
template void multiply_blocks(const BlockPlan&, const GlobalTwiddleTable&, u32*, const u32*, u64, const u32*, u64,
                              u8*, u64);
template void multiply_blocks(const BlockPlan&, const GlobalTwiddleTable&, u64*, const u64*, u64, const u64*, u64,
                              u8*, u64);

}  // namespace kvt::multiply
