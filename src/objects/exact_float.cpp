// ExactFloat: sums, differences, shifts.

#include "objects/exact_float.h"

#include <algorithm>

#include "frame/exceptions.h"
#include "objects/checksums.h"
#include "objects/report.h"
#include "objects/window.h"

namespace kvt::objects {
namespace {

template <class W>
Span<W> span_of(const ExactFloat<W>& x) noexcept {
    return {x.T, x.exp, x.exp + static_cast<i64>(x.L)};
}

template <class W>
bool within(const ExactFloat<W>& inner, const ExactFloat<W>& outer) noexcept {
    const Span<W> i = span_of(inner), o = span_of(outer);
    return inner.L <= outer.L && o.low <= i.low && i.high <= o.high;
}

template <class W>
int compare(const Span<W>& A, const Span<W>& B) noexcept {
    if (A.high != B.high) return A.high < B.high ? -1 : 1;
    const i64 common = std::max(A.low, B.low);
    if (const int order = compare_words(A.at(common), B.at(common), static_cast<u64>(A.high - common)); order != 0)
        return order;
    const Span<W>& longer = A.low < B.low ? A : B;
    const u64 rest = static_cast<u64>(common - longer.low);
    if (low_zero_words(longer.T, rest) == rest) return 0;
    return A.low < B.low ? 1 : -1;
}

// Raises unless A > B.
template <class W>
void require_greater(const Span<W>& A, const Span<W>& B, const char* location) {
    const bool A_zero = A.low == A.high, B_zero = B.low == B.high;
    const int order = A_zero || B_zero ? static_cast<int>(B_zero) - static_cast<int>(A_zero) : compare(A, B);
    if (order < 0) raise(UnsupportedValueException(errors::negative_value, location, errors::negative_encountered));
    if (order == 0) raise(UnsupportedValueException(errors::unsupported_value, location, errors::zero_encountered));
}

template <class W>
void copy(ExactFloat<W>& out, const ExactFloat<W>& x) noexcept {
    copy_words(out.buffer, x.T, x.L);
    out.T = out.buffer;
    out.L = x.L;
    out.exp = x.exp;
    out.hash = x.hash;
}

}  // namespace

template <class W>
void add_to(ExactFloat<W>& out, const ExactFloat<W>& x) {
    if (x.L > out.L || out.T + out.L >= out.buffer + out.buffer_size || !within(x, out))
        fatal_assertion(errors::invalid_parameters, "ExactFloat::operator+=()");
    const u64 L = out.L, offset = static_cast<u64>(x.exp - out.exp), end = offset + x.L;
    W* T = out.T;
    const u32 carry = kernels::add_ir(T + offset, x.T, x.L, 0);
    T[L] = kernels::add1_ir(T + end, L - end, carry);
    out.L = L + (T[L] != 0);
    out.hash = kernels::residue_add(out.hash, x.hash);
}

template <class W>
void sub_to(ExactFloat<W>& out, const ExactFloat<W>& x) {
    if (!within(x, out)) fatal_assertion(errors::invalid_parameters, "ExactFloat::operator-=()");
    require_greater(span_of(out), span_of(x), "ExactFloat::operator-=()");
    const u64 offset = static_cast<u64>(x.exp - out.exp), end = offset + x.L;
    const u32 borrow = kernels::sub_ir(out.T + offset, x.T, x.L, 0);
    kernels::sub1_ir(out.T + end, out.L - end, borrow);
    out.L = trimmed_length(out.T, out.L);
    out.hash = kernels::residue_sub(out.hash, x.hash);
}

template <class W>
void set_add(ExactFloat<W>& out, const ExactFloat<W>& A, const ExactFloat<W>& B) {
    constexpr const char* location = "ExactFloat::set_add()";
    if (A.L == 0 || B.L == 0) {
        const ExactFloat<W>& x = A.L == 0 ? B : A;
        require_capacity(out.buffer_size, x.L + 1, location);
        return copy(out, x);
    }
    const Span<W> a = span_of(A), b = span_of(B);
    const i64 bottom = std::min(a.low, b.low), top = std::max(a.high, b.high);
    const u64 L = static_cast<u64>(top - bottom);
    require_capacity(out.buffer_size, L + 1, location);
    const bool apart = a.high < b.low || b.high < a.low;
    const u64 hash = kernels::residue_add(A.hash, B.hash);
    const u32 carry = add_window(out.buffer, a, b, bottom, top);
    if (!apart) out.buffer[L] = carry;
    out.T = out.buffer;
    out.L = L + carry;
    out.exp = bottom;
    out.hash = hash;
}

template <class W>
void set_sub(ExactFloat<W>& out, const ExactFloat<W>& A, const ExactFloat<W>& B) {
    constexpr const char* location = "ExactFloat::set_sub()";
    const Span<W> a = span_of(A), b = span_of(B);
    require_greater(a, b, location);
    if (B.L == 0) {
        require_capacity(out.buffer_size, A.L, location);
        return copy(out, A);
    }
    const i64 bottom = std::min(a.low, b.low);
    const u64 L = static_cast<u64>(a.high - bottom);
    require_capacity(out.buffer_size, L, location);
    const u64 hash = kernels::residue_sub(A.hash, B.hash);
    sub_window(out.buffer, a, b, bottom, a.high);
    out.T = out.buffer;
    out.L = trimmed_length(out.T, L);
    out.exp = bottom;
    out.hash = hash;
}

template <class W>
void mp2(ExactFloat<W>& x, i64 k) {
    constexpr const char* location = "ExactFloat::operator<<=()";
    require_capacity(x.buffer_size, x.L, location);
    if (x.L == 0) return;
    const i64 bits = k & (word_bits<W> - 1);
    if (bits != 0) {
        // Only a carry that is there takes a word of its own.
        const u64 L = x.L;
        if (x.T[L - 1] >> (word_bits<W> - bits) != 0)
            require_capacity(x.buffer_size, L + offset_in_buffer(x.T, x.buffer) + 1, location);
        const W carry = kernels::mul_ir<W>(x.T, L, static_cast<W>(W{1} << bits), 0);
        if (carry != 0) x.T[x.L++] = carry;
    }
    x.exp += (k - bits) / static_cast<i64>(word_bits<W>);
    x.hash = kernels::residue_shift(x.hash, k);
}

template <class W>
void strip_tzs_all(ExactFloat<W>& x) noexcept {
    const u64 zeros = low_zero_words(x.T, x.L);
    x.T += zeros;
    x.L -= zeros;
    x.exp += static_cast<i64>(zeros);
}

template <class W>
u64 checksum(const ExactFloat<W>& x) noexcept {
    return checksum_of(x.T, x.L, x.exp);
}

template <class W>
void print(const ExactFloat<W>& x) {
    Report()
        .field("L", x.L)
        .field_signed("exp", x.exp)
        .checksum(x.hash, x.hash == checksum(x))
        .field("buffer_size", x.buffer_size)
        .words(x.T, x.L)
        .print();
}

template void add_to(ExactFloat<u32>&, const ExactFloat<u32>&);
template void sub_to(ExactFloat<u32>&, const ExactFloat<u32>&);
template void set_add(ExactFloat<u32>&, const ExactFloat<u32>&, const ExactFloat<u32>&);
template void set_sub(ExactFloat<u32>&, const ExactFloat<u32>&, const ExactFloat<u32>&);
template void mp2(ExactFloat<u32>&, i64);
template void strip_tzs_all(ExactFloat<u32>&) noexcept;
template u64 checksum(const ExactFloat<u32>&) noexcept;
template void print(const ExactFloat<u32>&);

template void add_to(ExactFloat<u64>&, const ExactFloat<u64>&);
template void sub_to(ExactFloat<u64>&, const ExactFloat<u64>&);
template void set_add(ExactFloat<u64>&, const ExactFloat<u64>&, const ExactFloat<u64>&);
template void set_sub(ExactFloat<u64>&, const ExactFloat<u64>&, const ExactFloat<u64>&);
template void mp2(ExactFloat<u64>&, i64);
template void strip_tzs_all(ExactFloat<u64>&) noexcept;
template u64 checksum(const ExactFloat<u64>&) noexcept;
template void print(const ExactFloat<u64>&);

}  // namespace kvt::objects
