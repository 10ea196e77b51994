#pragma once
// Schoolbook product and square. Every destination word is written, a top word that is zero included; the destination
// overlaps no operand; lengths are at least 1.

#include "kernels/linear.h"

namespace kvt::kernels {

// C[0..LA+LB) = A * B.
template <class W>
void mulB(W* C, const W* A, u64 LA, const W* B, u64 LB) noexcept {
    if constexpr (sizeof(W) == 8) {
        active_word_kernels().multiply(C, A, LA, B, LB);
    } else {
        // The 64-bit words' product first, then the rows of the last 32-bit words.
        const u64 a = LA & ~u64{1}, b = LB & ~u64{1};
        if (a == 0 || b == 0) {
            if (a == 0)
                C[LB] = mul_nr<W>(C, B, LB, A[0], 0);
            else
                C[LA] = mul_nr<W>(C, A, LA, B[0], 0);
            return;
        }
        active_word_kernels().multiply(C, A, a / 2, B, b / 2);
        if (LB != b) C[a + b] = addmul_ir<W>(C + b, A, a, B[b], 0);
        if (LA != a) C[a + LB] = addmul_ir<W>(C + a, B, LB, A[a], 0);
    }
}

// C[0..2L) = A * A; the same words as mulB(C, A, L, A, L).
template <class W>
void sqrB(W* C, const W* A, u64 L) noexcept {
    if constexpr (sizeof(W) == 8) {
        active_word_kernels().square(C, A, L);
    } else {
        const u64 a = L & ~u64{1};
        if (a == 0) {
            C[1] = mul_nr<W>(C, A, 1, A[0], 0);
            return;
        }
        active_word_kernels().square(C, A, a / 2);
        if (L == a) return;
        C[2 * a] = addmul_ir<W>(C + a, A, a, A[a], 0);
        C[2 * a + 1] = addmul_ir<W>(C + a, A, L, A[a], 0);
    }
}

}  // namespace kvt::kernels
