#pragma once
// Products a little longer than a transform that wraps. The transform gives lo - s hi modulo 2^N + s, s its sign
// turned, where hi stands for the d words above the N bits; formed once more by themselves, the lowest d words of the
// product tell hi. Where lengths of transforms are far apart that costs less than the next one.

#include "multiply/engine_algorithm.h"
#include "multiply/fermat_product.h"

namespace kvt::multiply {

// rung is null where folding does not pay.
struct FoldPlan {
    const EngineRung* rung = nullptr;
    const EngineRung* low_rung = nullptr;  // forms the lowest words; null: by further moduli
    TransformPlan transform;               // of the N bits
    u64 cost = 0;
};

// For a product of LA by LB <= LA words, or the square of LA, whose plan by `rung` is `whole`: folded if that costs
// less than `least` and its scratch fits.
template <class W>
FoldPlan plan_fold(const EngineRung& rung, const TransformPlan& whole, u64 LA, u64 LB, bool square, u64 least,
                   u64 scratch_bytes, u64 tasks = 1) noexcept;

// The longest product in bits that the rung above one which reaches `bits` leaves to folding.
constexpr u64 longest_fold_bits(u64 bits) { return bits + most_fermat_excess(bits); }

// Scratch of a product. Where the shorter rung ends there is room to fold: what its longest products have.
u64 one_shot_scratch_bytes(const EngineRung& rung, const TransformPlan& plan, u64 tasks) noexcept;

// The most scratch of any length up to so many bits: of a product, and of two kept operands with the working bytes.
u64 most_scratch_bytes(const EngineRung& rung, u64 bits, u64 tasks);

// C[0..n] holds lo - hi modulo 2^N + 1, n words of N bits and the word above them; C[n+1..n+d) and `low` (its word 0)
// hold the lowest d <= n words of the product. Leaves the product in C[0..n+d).
template <class W>
void unfold(W* C, u64 n, u64 d, W low) noexcept;

// The same where C[0..n) holds lo + hi modulo 2^N - 1 and C[n..n+d) the lowest d words. The factors have more than d
// words each.
template <class W>
void unfold_sum(W* C, u64 n, u64 d) noexcept;

}  // namespace kvt::multiply
