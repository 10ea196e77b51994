#pragma once
// Linear kernels on word arrays of either width. A 32-bit array is handled as 64-bit words with, for odd lengths, a
// last 32-bit word: little-endian bytes make that the same number.
//
// The letters of a name: i in place (the first array is operand and destination), n new destination (given first);
// r returns the carry or borrow that leaves the L words, p propagates it into the words above without bound (the
// caller guarantees a word that absorbs it); 1 adds a single carry. Flags count as 1 when not zero. Arrays may be the
// same, and must not overlap otherwise.

#include "frame/types.h"
#include "kernels/word.h"

namespace kvt::kernels {

template <class W>
void add1_ip(W* A, u32 carry) noexcept {
    if (carry == 0) return;
    while (++*A == 0) ++A;
}

template <class W>
u32 add1_ir(W* A, u64 L, u32 carry) noexcept {
    if (carry == 0) return 0;
    for (u64 i = 0; i < L; ++i)
        if (++A[i] != 0) return 0;
    return 1;
}

// The borrow's counterparts of add1_ip and add1_ir.
template <class W>
void sub1_ip(W* A, u32 borrow) noexcept {
    if (borrow == 0) return;
    while ((*A)-- == 0) ++A;
}

template <class W>
u32 sub1_ir(W* A, u64 L, u32 borrow) noexcept {
    if (borrow == 0) return 0;
    for (u64 i = 0; i < L; ++i)
        if (A[i]-- != 0) return 0;
    return 1;
}

template <class W>
u32 add_nr(W* C, const W* A, const W* B, u64 L, u32 carry) noexcept {
    const auto& kernels = active_word_kernels();
    if constexpr (sizeof(W) == 8) {
        return kernels.add(C, A, B, L, carry != 0);
    } else {
        u64 sum = kernels.add(C, A, B, L / 2, carry != 0);
        if (L % 2 == 0) return static_cast<u32>(sum);
        sum += static_cast<u64>(A[L - 1]) + B[L - 1];
        C[L - 1] = static_cast<W>(sum);
        return static_cast<u32>(sum >> 32);
    }
}

template <class W>
u32 sub_nr(W* C, const W* A, const W* B, u64 L, u32 borrow) noexcept {
    const auto& kernels = active_word_kernels();
    if constexpr (sizeof(W) == 8) {
        return kernels.sub(C, A, B, L, borrow != 0);
    } else {
        const u64 low_borrow = kernels.sub(C, A, B, L / 2, borrow != 0);
        if (L % 2 == 0) return static_cast<u32>(low_borrow);
        const u64 difference = static_cast<u64>(A[L - 1]) - B[L - 1] - low_borrow;
        C[L - 1] = static_cast<W>(difference);
        return static_cast<u32>(difference >> 63);
    }
}

template <class W>
u32 add_ir(W* A, const W* B, u64 L, u32 carry) noexcept {
    return add_nr(A, A, B, L, carry);
}

template <class W>
u32 sub_ir(W* A, const W* B, u64 L, u32 borrow) noexcept {
    return sub_nr(A, A, B, L, borrow);
}

template <class W>
void add_ip(W* A, const W* B, u64 L, u32 carry) noexcept {
    add1_ip(A + L, add_ir(A, B, L, carry));
}

template <class W>
void sub_ip(W* A, const W* B, u64 L, u32 borrow) noexcept {
    sub1_ip(A + L, sub_ir(A, B, L, borrow));
}

// C[0..L) = A[0..L) * m + carry; returns the final carry word. L may be 0 in both widths.
template <class W>
W mul_nr(W* C, const W* A, u64 L, W m, W carry) noexcept {
    const auto& kernels = active_word_kernels();
    if constexpr (sizeof(W) == 8) {
        return kernels.mul(C, A, L, m, carry);
    } else {
        // With m below 2^32 the carry of every 64-bit step is below 2^32 too.
        u64 product = kernels.mul(C, A, L / 2, m, carry);
        if (L % 2 == 0) return static_cast<W>(product);
        product += static_cast<u64>(A[L - 1]) * m;
        C[L - 1] = static_cast<W>(product);
        return static_cast<W>(product >> 32);
    }
}

template <class W>
W mul_ir(W* A, u64 L, W m, W carry) noexcept {
    return mul_nr(A, A, L, m, carry);
}

// C[0..L) += A[0..L) * m + carry; returns the final carry word.
template <class W>
W addmul_ir(W* C, const W* A, u64 L, W m, W carry) noexcept {
    const auto& kernels = active_word_kernels();
    if constexpr (sizeof(W) == 8) {
        return kernels.addmul(C, A, L, m, carry);
    } else {
        u64 product = kernels.addmul(C, A, L / 2, m, carry);
        if (L % 2 == 0) return static_cast<W>(product);
        product += static_cast<u64>(A[L - 1]) * m + C[L - 1];
        C[L - 1] = static_cast<W>(product);
        return static_cast<W>(product >> 32);
    }
}

}  // namespace kvt::kernels
