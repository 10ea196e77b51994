#pragma once
// Products and squares without a transform: the fastest of schoolbook, Karatsuba and the radix-2^52 product for the
// lengths and the active levels. The words are the same whichever it is.

#include "frame/types.h"
#include "kernels/schoolbook.h"

namespace kvt::kernels {

// Bytes of scratch for C[0..LA+LB) = A * B and for C[0..2L) = A * A at the active levels; 0 for schoolbook products
// and for the shorter radix-2^52 ones. Never more than karatsuba_entry_bytes(LA + LB) of the dispatcher's first
// entry.
template <class W>
u64 direct_multiply_scratch_bytes(u64 LA, u64 LB) noexcept;
template <class W>
u64 direct_square_scratch_bytes(u64 L) noexcept;

// Any lengths >= 1; C overlaps no operand; scratch at any alignment, contents lost.
template <class W>
void direct_multiply(W* C, const W* A, u64 LA, const W* B, u64 LB, void* scratch) noexcept;
template <class W>
void direct_square(W* C, const W* A, u64 L, void* scratch) noexcept;

// The same where `bytes` of scratch suffice, else by the schoolbook method.
template <class W>
void direct_multiply_within(W* C, const W* A, u64 LA, const W* B, u64 LB, void* scratch, u64 bytes) noexcept {
    if (direct_multiply_scratch_bytes<W>(LA, LB) <= bytes)
        direct_multiply(C, A, LA, B, LB, scratch);
    else
        mulB(C, A, LA, B, LB);
}
template <class W>
void direct_square_within(W* C, const W* A, u64 L, void* scratch, u64 bytes) noexcept {
    if (direct_square_scratch_bytes<W>(L) <= bytes)
        direct_square(C, A, L, scratch);
    else
        sqrB(C, A, L);
}

}  // namespace kvt::kernels
