#pragma once
// Which way a product of the number classes goes: short ones directly, all others through the dispatcher.

#include "kernels/schoolbook.h"
#include "multiply/dispatch.h"

namespace kvt::objects {

// An operand shorter than this makes the product direct (BasicInt and ExactFloat have rules of their own).
inline constexpr u64 direct_operand_words = 10;

// C[0..LA+LB) = A * B; C overlaps no operand; lengths at least 1.
template <class W>
void form_product(const BasicParameters& params, W* C, const W* A, u64 LA, const W* B, u64 LB) {
    if (LA < direct_operand_words || LB < direct_operand_words)
        kernels::mulB(C, A, LA, B, LB);
    else
        multiply::mul_p(params, C, A, LA, B, LB);
}

// C[0..2L) = A * A.
template <class W>
void form_square(const BasicParameters& params, W* C, const W* A, u64 L) {
    if (L < direct_operand_words)
        kernels::sqrB(C, A, L);
    else
        multiply::sqr_p(params, C, A, L);
}

}  // namespace kvt::objects
