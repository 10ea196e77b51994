#pragma once
// Sums and differences of word arrays that lie at word positions of a common axis. Only the words of a window are
// formed; what lies below it is dropped without rounding.
//
// The result may start on an operand's words or below them (out + i is then at or below that operand's word at
// bottom + i): the work goes upwards, and no word is written before it has been read. It must not overlap the other
// operand.

#include <algorithm>

#include "kernels/linear.h"
#include "objects/words.h"

namespace kvt::objects {

// Words at positions [low, high).
template <class W>
struct Span {
    const W* T;
    i64 low, high;

    bool covers(i64 position) const { return low <= position && position < high; }
    const W* at(i64 position) const { return T + (position - low); }
};

// End of the part from position at on in which both operands keep being there or not.
template <class W>
i64 part_end(const Span<W>& A, const Span<W>& B, i64 at, i64 top) noexcept {
    i64 end = top;
    for (i64 border : {A.low, A.high, B.low, B.high})
        if (border > at) end = std::min(end, border);
    return end;
}

template <class W>
const W* in_place(W* C, const W* X, u64 n) noexcept {
    if (X == C || !overlap(C, n, X, n)) return X;
    copy_words(C, X, n);
    return C;
}

// The n words from position at on of both operands, moved into the result's place C where a kernel would meet them
// shifted against it.
template <class W>
struct PlacedPair {
    const W *X, *Y;

    PlacedPair(W* C, const Span<W>& A, const Span<W>& B, i64 at, u64 n) noexcept : X(A.at(at)), Y(B.at(at)) {
        const bool same = X == Y;
        X = in_place(C, X, n);
        if (same)
            Y = X;
        else if (X != C)
            Y = in_place(C, Y, n);
    }
};

// Neither operand, from its word at bottom on, lies shifted against the result.
template <class W>
bool apart_or_same(const W* out, const Span<W>& A, const Span<W>& B, i64 bottom) noexcept {
    auto fits = [&](const W* X, i64 high) {
        const u64 n = static_cast<u64>(high - bottom);
        return X == out || !overlap(out, n, X, n);
    };
    return fits(A.at(bottom), A.high) && fits(B.at(bottom), B.high);
}

// out[0 .. top - bottom) = the window's words of A + B; returns the carry.
template <class W>
u32 add_window(W* out, const Span<W>& A, const Span<W>& B, i64 bottom, i64 top) noexcept {
    u32 carry = 0;
    // Numbers that fill the window: finding the parts takes longer than short sums.
    if (A.high == top && B.high == top && A.low <= bottom && B.low <= bottom && apart_or_same(out, A, B, bottom))
        return kernels::add_nr(out, A.at(bottom), B.at(bottom), static_cast<u64>(top - bottom), 0);
    for (i64 at = bottom; at < top;) {
        const i64 end = part_end(A, B, at, top);
        const u64 n = static_cast<u64>(end - at);
        W* C = out + (at - bottom);
        const bool a = A.covers(at), b = B.covers(at);
        if (a && b) {
            const PlacedPair<W> pair(C, A, B, at, n);
            carry = kernels::add_nr(C, pair.X, pair.Y, n, carry);
        } else if (a || b) {
            copy_words(C, a ? A.at(at) : B.at(at), n);
            carry = kernels::add1_ir(C, n, carry);
        } else {
            zero_words(C, n);
            C[0] = carry;
            carry = 0;
        }
        at = end;
    }
    return carry;
}

// out[0 .. top - bottom) = the window's words of A - B, modulo its size; returns the borrow.
template <class W>
u32 sub_window(W* out, const Span<W>& A, const Span<W>& B, i64 bottom, i64 top) noexcept {
    u32 borrow = 0;
    if (A.high == top && B.high == top && A.low <= bottom && B.low <= bottom && apart_or_same(out, A, B, bottom))
        return kernels::sub_nr(out, A.at(bottom), B.at(bottom), static_cast<u64>(top - bottom), 0);
    for (i64 at = bottom; at < top;) {
        const i64 end = part_end(A, B, at, top);
        const u64 n = static_cast<u64>(end - at);
        W* C = out + (at - bottom);
        const bool a = A.covers(at), b = B.covers(at);
        if (a && b) {
            const PlacedPair<W> pair(C, A, B, at, n);
            borrow = kernels::sub_nr(C, pair.X, pair.Y, n, borrow);
        } else if (a) {
            copy_words(C, A.at(at), n);
            borrow = kernels::sub1_ir(C, n, borrow);
        } else if (b) {
            const W* Y = B.at(at);
            u64 i = 0;
            while (i < n &&
                   borrow == 0) {  // the lowest words that are zero stay zero, the first other one is negated
                C[i] = static_cast<W>(0 - Y[i]);
                borrow = C[i++] != 0;
            }
            for (; i < n; ++i) C[i] = static_cast<W>(~Y[i]);
        } else {
            std::fill_n(C, n, borrow != 0 ? static_cast<W>(~W{0}) : W{0});
        }
        at = end;
    }
    return borrow;
}

}  // namespace kvt::objects
