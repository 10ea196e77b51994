#pragma once
// What a product takes, by each way of forming it: estimates in picoseconds, measured on Zen 4. Only their ratios
// count; they choose between ways that give the same words.

#include "multiply/engine_algorithm.h"

namespace kvt::multiply {

// Direct product of LA by LB <= LA 64-bit words, or square of LA words (LB = LA), at the active levels.
u64 direct_cost(u64 LA, u64 LB, bool square) noexcept;

// Up to so many bits a direct product is sure to win.
u64 direct_bits(const EngineRung& rung) noexcept;

// Folding is not considered below: there the choice itself takes what it gains.
u64 shortest_fold_bits() noexcept;

// One-shot product of a plan; a square; a product with an operand that is transformed already; a transform alone.
struct TransformCost {
    u64 product, square, kept_product, forward;
};
TransformCost transform_cost(const EngineRung& rung, const TransformPlan& plan) noexcept;

}  // namespace kvt::multiply
