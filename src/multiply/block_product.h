#pragma once
// Products of operands of very different lengths: the longer one is cut into blocks, and the shorter one is
// transformed once for all of them.

#include "multiply/engine_algorithm.h"

namespace kvt::multiply {

struct BlockPlan {
    const TransformEngine* engine = nullptr;  // null: nothing costs less
    TransformPlan transform;
    u64 block_words = 0;  // of the longer operand
    u64 scratch_bytes = 0;
};

// The cheapest way to cut LA words against LB <= LA, if it costs less than `least` (multiply/cost.h) and fits so many
// bytes of scratch.
template <class W>
BlockPlan plan_blocks(const EngineRung& rung, u64 LA, u64 LB, u64 least, u64 scratch_bytes, u64 tasks);

// C[0..LA+LB) = A * B.   memory [plan.scratch_bytes]; C overlaps neither operand nor memory.
template <class W>
void multiply_blocks(const BlockPlan& plan, const GlobalTwiddleTable& table, W* C, const W* A, u64 LA, const W* B,
                     u64 LB, u8* memory, u64 tasks);

}  // namespace kvt::multiply
