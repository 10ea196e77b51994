#pragma once
// Products longer than a transform that wraps modulo F0 = 2^N + 1, by residues modulo F1 = 2^(N/2) + 1,
// F2 = 2^(N/4) + 1, F3 = 2^(N/8) + 1 as well: some of these, of as many bits as the product has above N. Each is 2
// modulo all that follow, so they are coprime, and joining residues takes differences and halvings (compare P. Gaudry,
// A. Kruppa, P. Zimmermann, A GMP-based implementation of Schoenhage-Strassen's large integer multiplication algorithm,
// 2007, where the moduli are 2^(aN) + 1 and 2^(bN) - 1).

#include "multiply/engine.h"

namespace kvt::multiply {

// The transforms of the further moduli, longest first; count is 0 where this cannot be done.
struct FermatPlan {
    TransformPlan transforms[3];
    u64 count = 0;
    u64 scratch_bytes = 0;
};

// For products of d words beyond those of `first`.
template <class W>
FermatPlan plan_fermat(const TransformEngine& engine, const TransformPlan& first, u64 d, u64 tasks) noexcept;

// The most words beyond n that are formed so.
constexpr u64 most_fermat_excess(u64 n) { return n / 8 * 7; }

// C[0..n] holds A * B modulo 2^N + 1 by `first`, n words of N bits and the word above them. Leaves the whole product in
// C[0..n+d), unchecked. Null B: the square of A. C overlaps no operand. memory: plan_fermat()'s scratch_bytes.
template <class W>
void complete_by_fermat(const TransformEngine& engine, const TransformPlan& first, const GlobalTwiddleTable& table,
                        const W* A, u64 LA, const W* B, u64 LB, W* C, u64 d, u8* memory, u64 tasks);

// C[0..n) and `top`, the word above, hold R, C[n..n+d) holds K: leaves R + (2^N + 1) K in C[0..n+d), which it fits.
template <class W>
void add_multiple(W* C, u64 n, u64 d, W top) noexcept;

}  // namespace kvt::multiply
