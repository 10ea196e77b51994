#pragma once
// Products of operands of very different lengths: the longer one is cut into blocks, and the shorter one is
// transformed once for all of them.

#include "multiply/engine_algorithm.h"

namespace kvt::multiply {

struct BlockPlan {
    const TransformEngine* engine = nullptr;  // null: one transform of the whole product is better
    TransformPlan transform;
    u64 block_words = 0;  // of the longer operand
    u64 scratch_bytes = 0;
};

// Cuts LA words against LB <= LA, for scratch of so many bytes. whole is the plan of the whole product.
template <class W>
BlockPlan plan_blocks(const EngineRung& rung, const TransformPlan& whole, u64 LA, u64 LB, u64 scratch_bytes,
                      u64 tasks);

// C[0..LA+LB) = A * B.   memory [plan.scratch_bytes]; C overlaps neither operand nor memory.
template <class W>
void multiply_blocks(const BlockPlan& plan, const GlobalTwiddleTable& table, W* C, const W* A, u64 LA, const W* B,
                     u64 LB, u8* memory, u64 tasks);

}  // namespace kvt::multiply
