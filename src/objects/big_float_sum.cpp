// BigFloat: sums and differences.

#include <algorithm>

#include "frame/exceptions.h"
#include "objects/big_float.h"
#include "objects/big_float_parts.h"
#include "objects/window.h"

namespace kvt::objects {
namespace {

template <class W>
Span<W> span_of(const BigFloat<W>& x) noexcept {
    return {x.T, x.exp, top_of(x)};
}

// Lowest position that a sum of precision p keeps: p + 1 words below its top, unless both operands end higher.
template <class W>
i64 bottom_of(const BigFloat<W>& A, const BigFloat<W>& B, i64 top, u64 p) noexcept {
    i64 lowest;
    if (__builtin_sub_overflow(top, static_cast<i64>(kept_words(p) - 1), &lowest)) lowest = INT64_MIN;
    return std::max(std::min(A.exp, B.exp), lowest);
}

template <class W>
void finish(BigFloat<W>& out, u64 L, i64 exp, bool sign) noexcept {
    out.T = out.buffer;
    out.L = trimmed_length(out.T, L);
    out.exp = out.L != 0 ? exp : 0;
    out.sign = sign || out.L == 0;
}

// A + B where B counts with the given sign.
template <class W>
void add_signed(BigFloat<W>& out, const BigFloat<W>& A, const BigFloat<W>& B, bool sign_B, u64 p) {
    if (A.L == 0) {
        set_BigFloat(out, B, p);
        if (out.L != 0) out.sign = sign_B;
        return;
    }
    if (B.L == 0) return set_BigFloat(out, A, p);
    if (A.sign == sign_B) return set_uadd(out, A, B, p, A.sign);
    const int order = compare_magnitudes(A, B);
    if (order == 0) return set_zero(out);
    if (order > 0)
        set_usub(out, A, B, p, A.sign);
    else
        set_usub(out, B, A, p, sign_B);
}

}  // namespace

template <class W>
int compare_magnitudes(const BigFloat<W>& A, const BigFloat<W>& B) noexcept {
    if (top_of(A) != top_of(B)) return top_of(A) < top_of(B) ? -1 : 1;
    const u64 n = std::min(A.L, B.L);
    if (const int order = compare_words(A.T + (A.L - n), B.T + (B.L - n), n); order != 0) return order;
    if (low_zero_words(A.T, A.L - n) < A.L - n) return 1;
    if (low_zero_words(B.T, B.L - n) < B.L - n) return -1;
    return 0;
}

template <class W>
void set_uadd(BigFloat<W>& out, const BigFloat<W>& A, const BigFloat<W>& B, u64 p, bool sign) {
    const i64 top = std::max(top_of(A), top_of(B));
    const i64 bottom = bottom_of(A, B, top, p);
    const u64 L = static_cast<u64>(top - bottom);
    require_capacity(out.buffer_size, L + 1, "BigFloat::set_uadd()");
    const u32 carry = add_window(out.buffer, span_of(A), span_of(B), bottom, top);
    out.buffer[L] = carry;
    out.T = out.buffer;
    out.L = L + carry;
    out.exp = bottom;
    out.sign = sign;
}

template <class W>
void set_usub(BigFloat<W>& out, const BigFloat<W>& A, const BigFloat<W>& B, u64 p, bool sign) {
    const i64 top = top_of(A);
    const i64 bottom = bottom_of(A, B, top, p);
    const u64 L = static_cast<u64>(top - bottom);
    require_capacity(out.buffer_size, L, "BigFloat::set_usub()");
    sub_window(out.buffer, span_of(A), span_of(B), bottom, top);
    finish(out, L, bottom, sign);
}

template <class W>
void set_rsub(BigFloat<W>& out, const BigFloat<W>& A, const BigFloat<W>& B, i64 bottom, u64 n) {
    require_capacity(out.buffer_size, n, "BigFloat::set_rsub()");
    const i64 top = bottom + static_cast<i64>(n);
    const Span<W> a = span_of(A), b = span_of(B);
    const bool sign_A = A.sign || A.L == 0, sign_B = B.sign || B.L == 0;
    out.T = out.buffer;
    out.L = n;
    out.exp = bottom;
    out.sign = true;
    if (sign_A && sign_B)
        sub_window(out.T, a, b, bottom, top);
    else if (!sign_A && !sign_B)
        sub_window(out.T, b, a, bottom, top);
    else
        add_window(out.T, a, b, bottom, top);
    if (!sign_A && sign_B) complement(out);
}

template <class W>
bool complement(BigFloat<W>& x) noexcept {
    const u64 zeros = low_zero_words(x.T, x.L);
    if (zeros == x.L) return true;
    x.T[zeros] = static_cast<W>(0 - x.T[zeros]);
    for (u64 i = zeros + 1; i < x.L; ++i) x.T[i] = static_cast<W>(~x.T[i]);
    return false;
}

template <class W>
void add_one_unit(BigFloat<W>& x) {
    u64 ones = 0;
    while (ones < x.L && x.T[ones] == static_cast<W>(~W{0})) ++ones;
    if (ones == x.L)
        require_capacity(x.buffer_size, x.L + offset_in_buffer(x.T, x.buffer) + 1, "BigFloat::set_double()");
    zero_words(x.T, ones);
    if (ones == x.L)
        x.T[x.L++] = 1;
    else
        ++x.T[ones];
}

template <class W>
void check_normalization(const BigFloat<W>& x) noexcept {
    if (x.L != 0 && x.T[x.L - 1] == 0) fatal_exit("BigFloat::check_normalization(): Top word is zero.");
}

template <class W>
void set_add(BigFloat<W>& out, const BigFloat<W>& A, const BigFloat<W>& B, u64 p) {
    const u64 L = A.L;
    if (L == B.L && A.exp == B.exp && A.sign == B.sign && L != 0 && L < kept_words(p) && L < out.buffer_size &&
        apart_or_same(out.buffer, span_of(A), span_of(B), A.exp)) [[likely]] {
        // Numbers that cover the same positions, without the general case's search for a window.
        const i64 exp = A.exp;
        const bool sign = A.sign;
        out.L = add_words(out.buffer, A.T, B.T, L);
        out.T = out.buffer;
        out.exp = exp;
        out.sign = sign;
        return;
    }
    add_signed(out, A, B, B.sign, p);
}

template <class W>
void set_sub(BigFloat<W>& out, const BigFloat<W>& A, const BigFloat<W>& B, u64 p) {
    add_signed(out, A, B, !B.sign, p);
}

template int compare_magnitudes(const BigFloat<u32>&, const BigFloat<u32>&) noexcept;
template void set_uadd(BigFloat<u32>&, const BigFloat<u32>&, const BigFloat<u32>&, u64, bool);
template void set_usub(BigFloat<u32>&, const BigFloat<u32>&, const BigFloat<u32>&, u64, bool);
template void set_rsub(BigFloat<u32>&, const BigFloat<u32>&, const BigFloat<u32>&, i64, u64);
template bool complement(BigFloat<u32>&) noexcept;
template void add_one_unit(BigFloat<u32>&);
template void check_normalization(const BigFloat<u32>&) noexcept;
template void set_add(BigFloat<u32>&, const BigFloat<u32>&, const BigFloat<u32>&, u64);
template void set_sub(BigFloat<u32>&, const BigFloat<u32>&, const BigFloat<u32>&, u64);

template int compare_magnitudes(const BigFloat<u64>&, const BigFloat<u64>&) noexcept;
template void set_uadd(BigFloat<u64>&, const BigFloat<u64>&, const BigFloat<u64>&, u64, bool);
template void set_usub(BigFloat<u64>&, const BigFloat<u64>&, const BigFloat<u64>&, u64, bool);
template void set_rsub(BigFloat<u64>&, const BigFloat<u64>&, const BigFloat<u64>&, i64, u64);
template bool complement(BigFloat<u64>&) noexcept;
template void add_one_unit(BigFloat<u64>&);
template void check_normalization(const BigFloat<u64>&) noexcept;
template void set_add(BigFloat<u64>&, const BigFloat<u64>&, const BigFloat<u64>&, u64);
template void set_sub(BigFloat<u64>&, const BigFloat<u64>&, const BigFloat<u64>&, u64);

}  // namespace kvt::objects
