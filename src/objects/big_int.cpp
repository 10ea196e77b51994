// BigInt: setting, comparing, shifting, words times a word.

#include "objects/big_int.h"

#include <algorithm>

#include "frame/exceptions.h"
#include "objects/report.h"
#include "objects/words.h"

namespace kvt::objects {

namespace {

// In place: the words stay where they are.
template <class W>
void become_zero(BigInt<W>& x) noexcept {
    x.L = 0;
    x.sign = true;
}

}  // namespace

template <class W>
void set_zero(BigInt<W>& out) noexcept {
    out.T = out.buffer;
    become_zero(out);
}

template <class W>
void set_uL(BigInt<W>& out, u64 x) noexcept {
    if (x == 0) {
        out.L = 0;
        return;
    }
    out.T = out.buffer;
    out.L = spread_words(out.T, x);
    out.sign = true;
}

template <class W>
void set_uWs(BigInt<W>& out, const W* words, u64 n) {
    require_capacity(out.buffer_size, n, "BigInt::set_BasicInt()");
    out.T = out.buffer;
    copy_words(out.T, words, n);
    out.L = trimmed_length(out.T, n);
    out.sign = true;
}

template <class W>
void set_BigInt(BigInt<W>& out, const BigInt<W>& x) {
    if (x.L == 0) return set_zero(out);
    require_capacity(out.buffer_size, x.L, "BigInt::set_BigInt()");
    copy_words(out.buffer, x.T, x.L);
    out.L = x.L;
    out.sign = x.sign;
    out.T = out.buffer;
}

template <class W>
void print(const BigInt<W>& x) {
    Report().field("sign", x.sign).field("L", x.L).field("buffer_size", x.buffer_size).words(x.T, x.L).print();
}

template <class W>
void get_range(const BigInt<W>& x, W* out, u64 first, u64 count) noexcept {
    const u64 present = first < x.L ? std::min(count, x.L - first) : 0;
    if (present != 0) copy_words(out, x.T + first, present);
    zero_words(out + present, count - present);
}

template <class W>
i32 cmp(const BigInt<W>& A, const BigInt<W>& B) noexcept {
    if (A.L == 0) return B.L == 0 ? 0 : B.sign ? -1 : 1;
    if (B.L == 0) return A.sign ? 1 : -1;
    if (A.sign != B.sign) return A.sign ? 1 : -1;
    const int magnitudes = compare_words(A.T, A.L, B.T, B.L);
    return A.sign ? magnitudes : -magnitudes;
}

template <class W>
void shl(BigInt<W>& x, u64 bits) {
    if (x.L == 0 || bits == 0) return;
    const u64 q = bits / word_bits<W>;
    const unsigned r = static_cast<unsigned>(bits % word_bits<W>);
    require_capacity(x.buffer_size, x.L + q + offset_in_buffer(x.T, x.buffer) + 1, "BigInt::operator<<=()");
    W* T = x.T;
    const u64 L = x.L;
    if (r == 0) {
        copy_words(T + q, T, L);
        x.L = L + q;
    } else {
        const unsigned back = word_bits<W> - r;
        T[L + q] = T[L - 1] >> back;
        x.L = L + q + (T[L + q] != 0);
        for (u64 i = L - 1; i > 0; --i) T[i + q] = static_cast<W>(T[i] << r | T[i - 1] >> back);
        T[q] = static_cast<W>(T[0] << r);
    }
    zero_words(T, q);
}

template <class W>
void shr(BigInt<W>& x, u64 bits) noexcept {
    if (x.L == 0 || bits == 0) return;
    const u64 q = bits / word_bits<W>;
    const unsigned r = static_cast<unsigned>(bits % word_bits<W>);
    if (q >= x.L) return become_zero(x);
    W* T = x.T;
    x.L -= q;
    if (r == 0) {
        copy_words(T, T + q, x.L);
        return;
    }
    const unsigned back = word_bits<W> - r;
    for (u64 i = 0; i + 1 < x.L; ++i) T[i] = static_cast<W>(T[i + q] >> r | T[i + q + 1] << back);
    T[x.L - 1] = T[x.L - 1 + q] >> r;
    if (T[x.L - 1] == 0 && --x.L == 0) x.sign = true;
}

template <class W>
void mul_uW(BigInt<W>& x, W m) {
    if (x.L == 0) return;
    if (m == 0) return become_zero(x);
    require_capacity(x.buffer_size, x.L + offset_in_buffer(x.T, x.buffer) + 1, "BigInt::mul_uW()");
    const W carry = kernels::mul_ir<W>(x.T, x.L, m, 0);
    x.T[x.L] = carry;
    x.L += carry != 0;
}

template <class W>
void set_mul_uW(BigInt<W>& out, const BigInt<W>& A, W m) {
    if (A.L == 0 || m == 0) return set_zero(out);
    require_capacity(out.buffer_size, A.L + 1, "BigInt::set_mul_uW()");
    const u64 L = A.L;
    const W carry = kernels::mul_nr<W>(out.buffer, A.T, L, m, 0);
    out.sign = A.sign;
    out.T = out.buffer;
    out.T[L] = carry;
    out.L = L + (carry != 0);
}

template void set_zero(BigInt<u32>&) noexcept;
template void set_uL(BigInt<u32>&, u64) noexcept;
template void set_uWs(BigInt<u32>&, const u32*, u64);
template void set_BigInt(BigInt<u32>&, const BigInt<u32>&);
template void print(const BigInt<u32>&);
template void get_range(const BigInt<u32>&, u32*, u64, u64) noexcept;
template i32 cmp(const BigInt<u32>&, const BigInt<u32>&) noexcept;
template void shl(BigInt<u32>&, u64);
template void shr(BigInt<u32>&, u64) noexcept;
template void mul_uW(BigInt<u32>&, u32);
template void set_mul_uW(BigInt<u32>&, const BigInt<u32>&, u32);

template void set_zero(BigInt<u64>&) noexcept;
template void set_uL(BigInt<u64>&, u64) noexcept;
template void set_uWs(BigInt<u64>&, const u64*, u64);
template void set_BigInt(BigInt<u64>&, const BigInt<u64>&);
template void print(const BigInt<u64>&);
template void get_range(const BigInt<u64>&, u64*, u64, u64) noexcept;
template i32 cmp(const BigInt<u64>&, const BigInt<u64>&) noexcept;
template void shl(BigInt<u64>&, u64);
template void shr(BigInt<u64>&, u64) noexcept;
template void mul_uW(BigInt<u64>&, u64);
template void set_mul_uW(BigInt<u64>&, const BigInt<u64>&, u64);

}  // namespace kvt::objects
