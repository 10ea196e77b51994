// BigFloat: setting, reading, comparing, words times a word.

#include "objects/big_float.h"

#include <algorithm>
#include <bit>

#include "frame/exceptions.h"
#include "objects/big_float_parts.h"
#include "objects/report.h"
#include "objects/words.h"

namespace kvt::objects {
namespace {

// x times m in place, after the capacity check.
template <class W>
void scale_words(BigFloat<W>& x, W m) noexcept {
    const W carry = kernels::mul_ir<W>(x.T, x.L, m, 0);
    x.T[x.L] = carry;
    x.L += carry != 0;
}

template <class W>
void require_carry_word(const BigFloat<W>& x) {
    require_capacity(x.buffer_size, x.L + offset_in_buffer(x.T, x.buffer) + 1, "BigFloat::operator*=()");
}

// In place: the words stay where they are.
template <class W>
void become_zero(BigFloat<W>& x) noexcept {
    x.L = 0;
    x.exp = 0;
    x.sign = true;
}

}  // namespace

template <class W>
void set_zero(BigFloat<W>& out) noexcept {
    out.T = out.buffer;
    become_zero(out);
}

template <class W>
void set_uL(BigFloat<W>& out, u64 x) noexcept {
    if (x == 0) {
        out.L = 0;
        return;
    }
    out.T = out.buffer;
    out.L = spread_words(out.T, x);
    out.exp = 0;
    out.sign = true;
}

template <class W>
void set_BigFloat(BigFloat<W>& out, const BigFloat<W>& x, u64 p) {
    if (x.L == 0) return set_zero(out);
    const BigFloat<W> top = top_words(x, kept_words(p));
    require_capacity(out.buffer_size, top.L, "BigFloat::set_BigFloat()");
    copy_words(out.buffer, top.T, top.L);
    out.T = out.buffer;
    out.L = top.L;
    out.exp = top.exp;
    out.sign = top.sign;
}

// Works on the bits of d, so it depends on no rounding mode.
template <class W>
void set_double(BigFloat<W>& out, double d, i64 e) {
    const u64 bits = std::bit_cast<u64>(d);
    const u64 field = bits >> 52 & 0x7ff;
    if (field == 0x7ff)
        raise(UnsupportedValueException(errors::unsupported_value, "BigFloat::set_double()",
                                        errors::title_unsupported));
    if (bits << 1 == 0) return set_zero(out);
    const u64 significand = (bits & 0xfffffffffffff) | (field != 0 ? u64{1} << 52 : 0);
    const i64 scale = static_cast<i64>(std::max<u64>(field, 1)) - 1075;
    const i64 up = scale & (word_bits<W> - 1);
    const u128 scaled = static_cast<u128>(significand) << up;

    constexpr u64 significand_words = 8 / sizeof(W);
    u64 L = sizeof(W) == 4 && significand >> 32 != 0 ? 2 : 1;
    const W carry = static_cast<W>(scaled >> (L * word_bits<W>));
    require_capacity(out.buffer_size, significand_words, "BigFloat::set_double()");
    if (carry != 0) require_capacity(out.buffer_size, L + 1, "BigFloat::operator*=()");
    out.T = out.buffer;
    for (u64 i = 0; i < L; ++i) out.T[i] = static_cast<W>(scaled >> (i * word_bits<W>));
    if (carry != 0) out.T[L++] = carry;
    out.L = L;
    out.exp = e + (scale - up) / static_cast<i64>(word_bits<W>);
    out.sign = bits >> 63 == 0;
}

template <class W>
double to_double(const BigFloat<W>& x, i64& exp_out) noexcept {
    exp_out = x.exp + static_cast<i64>(x.L);
    double sum = 0;
    double unit = 1;
    constexpr double word_unit = sizeof(W) == 4 ? 0x1p-32 : 0x1p-64;
    constexpr u64 most = sizeof(W) == 4 ? 3 : 2;
    for (u64 i = 0; i < std::min(most, x.L); ++i) {
        unit *= word_unit;
        sum += static_cast<double>(x.T[x.L - 1 - i]) * unit;
    }
    return x.sign ? sum : -sum;
}

template <class W>
void print(const BigFloat<W>& x) {
    Report()
        .field("sign", x.sign)
        .field("L", x.L)
        .field_signed("exp", x.exp)
        .field("buffer_size", x.buffer_size)
        .words(x.T, x.L)
        .print();
}

template <class W>
void get_range(const BigFloat<W>& x, W* out, i64 first, u64 count) noexcept {
    // Zeros below the number, its words, zeros above it; distances are computed where they cannot overflow.
    u64 below = 0, skipped = 0;
    if (x.exp > first)
        below = std::min(count, static_cast<u64>(x.exp) - static_cast<u64>(first));
    else
        skipped = static_cast<u64>(first) - static_cast<u64>(x.exp);
    const u64 present = skipped < x.L ? std::min(count - below, x.L - skipped) : 0;
    zero_words(out, below);
    if (present != 0) copy_words(out + below, x.T + skipped, present);
    zero_words(out + below + present, count - below - present);
}

template <class W>
void strip_tzs_all(BigFloat<W>& x) noexcept {
    const u64 zeros = low_zero_words(x.T, x.L);
    x.T += zeros;
    x.L -= zeros;
    x.exp += static_cast<i64>(zeros);
}

template <class W>
i32 cmp(const BigFloat<W>& A, const BigFloat<W>& B) noexcept {
    if (A.L == 0) return B.L == 0 ? 0 : B.sign ? -1 : 1;
    if (B.L == 0) return A.sign ? 1 : -1;
    if (A.sign != B.sign) return A.sign ? 1 : -1;
    const int magnitudes = compare_magnitudes(A, B);
    return A.sign ? magnitudes : -magnitudes;
}

template <class W>
void mp2(BigFloat<W>& x, i64 k) {
    if (x.L == 0 || k == 0) return;
    require_carry_word(x);
    const i64 bits = k & (word_bits<W> - 1);
    x.exp += (k - bits) / static_cast<i64>(word_bits<W>);
    if (bits != 0) scale_words(x, static_cast<W>(W{1} << bits));
}

template <class W>
void mul_uW(BigFloat<W>& x, W m) {
    if (x.L == 0 || m == 1) return;
    if (m == 0) return become_zero(x);
    require_carry_word(x);
    scale_words(x, m);
}

template <class W>
void set_mul_uW(BigFloat<W>& out, const BigFloat<W>& A, W m) {
    if (A.L == 0 || m == 0) return set_zero(out);
    require_capacity(out.buffer_size, A.L + 1, "BigFloat::set_mul_uW()");
    const u64 L = A.L;
    const W carry = kernels::mul_nr<W>(out.buffer, A.T, L, m, 0);
    out.exp = A.exp;
    out.sign = A.sign;
    out.T = out.buffer;
    out.T[L] = carry;
    out.L = L + (carry != 0);
}

template void set_zero(BigFloat<u32>&) noexcept;
template void set_uL(BigFloat<u32>&, u64) noexcept;
template void set_BigFloat(BigFloat<u32>&, const BigFloat<u32>&, u64);
template void set_double(BigFloat<u32>&, double, i64);
template double to_double(const BigFloat<u32>&, i64&) noexcept;
template void print(const BigFloat<u32>&);
template void get_range(const BigFloat<u32>&, u32*, i64, u64) noexcept;
template void strip_tzs_all(BigFloat<u32>&) noexcept;
template i32 cmp(const BigFloat<u32>&, const BigFloat<u32>&) noexcept;
template void mp2(BigFloat<u32>&, i64);
template void mul_uW(BigFloat<u32>&, u32);
template void set_mul_uW(BigFloat<u32>&, const BigFloat<u32>&, u32);

template void set_zero(BigFloat<u64>&) noexcept;
template void set_uL(BigFloat<u64>&, u64) noexcept;
template void set_BigFloat(BigFloat<u64>&, const BigFloat<u64>&, u64);
template void set_double(BigFloat<u64>&, double, i64);
template double to_double(const BigFloat<u64>&, i64&) noexcept;
template void print(const BigFloat<u64>&);
template void get_range(const BigFloat<u64>&, u64*, i64, u64) noexcept;
template void strip_tzs_all(BigFloat<u64>&) noexcept;
template i32 cmp(const BigFloat<u64>&, const BigFloat<u64>&) noexcept;
template void mp2(BigFloat<u64>&, i64);
template void mul_uW(BigFloat<u64>&, u64);
template void set_mul_uW(BigFloat<u64>&, const BigFloat<u64>&, u64);

}  // namespace kvt::objects
