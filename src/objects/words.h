#pragma once
// What the number classes do with bare word arrays (least significant word first).

#include <cstring>

#include "frame/errors.h"
#include "frame/fatal.h"
#include "frame/types.h"
#include "kernels/linear.h"

namespace kvt::objects {

// May overlap.
template <class W>
void copy_words(W* out, const W* in, u64 n) noexcept {
    if (n != 0 && out != in) std::memmove(out, in, n * sizeof(W));
}

template <class W>
void zero_words(W* out, u64 n) noexcept {
    if (n != 0) std::memset(out, 0, n * sizeof(W));
}

// x in words at out, one or (c32) two, both of them written; the length without a zero at the top. x is not zero.
template <class W>
u64 spread_words(W* out, u64 x) noexcept {
    out[0] = static_cast<W>(x);
    if constexpr (sizeof(W) == 8) {
        return 1;
    } else {
        out[1] = static_cast<W>(x >> 32);
        return 1 + (out[1] != 0);
    }
}

// Length without the zero words at the top.
template <class W>
u64 trimmed_length(const W* T, u64 L) noexcept {
    while (L > 0 && T[L - 1] == 0) --L;
    return L;
}

// C[0..n] = A[0..n) + B[0..n), the carry as its top word; the length without it where it is zero.
template <class W>
u64 add_words(W* C, const W* A, const W* B, u64 n) noexcept {
    const u32 top = kernels::add_nr(C, A, B, n, 0);
    C[n] = top;
    return n + top;
}

// Number of zero words at the bottom; L when there is nothing else.
template <class W>
u64 low_zero_words(const W* T, u64 L) noexcept {
    u64 n = 0;
    while (n < L && T[n] == 0) ++n;
    return n;
}

// -1, 0 or 1 as A is below, equal to or above B.
template <class W>
int compare_words(const W* A, const W* B, u64 n) noexcept {
    while (n > 0) {
        --n;
        if (A[n] != B[n]) return A[n] < B[n] ? -1 : 1;
    }
    return 0;
}

// The same for normalised numbers of different lengths.
template <class W>
int compare_words(const W* A, u64 LA, const W* B, u64 LB) noexcept {
    if (LA != LB) return LA < LB ? -1 : 1;
    return compare_words(A, B, LA);
}

// Words that lie between the start of a caller's buffer and the number in it.
template <class W>
u64 offset_in_buffer(const W* T, const W* buffer) noexcept {
    return (reinterpret_cast<std::uintptr_t>(T) - reinterpret_cast<std::uintptr_t>(buffer)) / sizeof(W);
}

template <class W>
bool overlap(const W* A, u64 LA, const W* B, u64 LB) noexcept {
    const auto a = reinterpret_cast<std::uintptr_t>(A), b = reinterpret_cast<std::uintptr_t>(B);
    return a < b + LB * sizeof(W) && b < a + LA * sizeof(W);
}

// Debug builds stop where a result overlaps an operand that must not be it.
template <class W>
void assert_apart([[maybe_unused]] const W* out, [[maybe_unused]] u64 n, [[maybe_unused]] const W* operand,
                  [[maybe_unused]] u64 L, [[maybe_unused]] const char* location) noexcept {
#ifndef NDEBUG
    if (overlap(out, n, operand, L))
        fatal_assertion(errors::invalid_parameters, location, "The result overlaps an operand.");
#endif
}

}  // namespace kvt::objects
