#pragma once
// Signed integer of any length in words that the caller owns. See docs/objects.md.

#include "frame/parameters.h"
#include "frame/types.h"

namespace kvt::objects {

// A non-zero value has a non-zero top word; zero has L = 0. T equals buffer after every set_ operation; a caller may
// point it elsewhere (a read-only view), and in-place operations keep it where it is.
template <class W>
struct BigInt {
    W* T;
    u64 L;
    bool sign;  // true: zero or positive
    W* buffer;
    u64 buffer_size;  // words
};
static_assert(sizeof(BigInt<u64>) == 40 && offsetof(BigInt<u64>, L) == 8 && offsetof(BigInt<u64>, sign) == 16 &&
              offsetof(BigInt<u64>, buffer) == 24 && offsetof(BigInt<u64>, buffer_size) == 32);
static_assert(sizeof(BigInt<u32>) == 40 && offsetof(BigInt<u32>, L) == 8 && offsetof(BigInt<u32>, sign) == 16 &&
              offsetof(BigInt<u32>, buffer) == 24 && offsetof(BigInt<u32>, buffer_size) == 32);

// Capacities are checked before anything is written. Linear operations take out = an operand whose words start at
// out's buffer; products take no operand inside out's buffer.

template <class W>
void set_zero(BigInt<W>& out) noexcept;
template <class W>
void set_uL(BigInt<W>& out, u64 x) noexcept;  // 0 changes L alone; else writes one word, in c32 two
template <class W>
void set_uWs(BigInt<W>& out, const W* words, u64 n);
template <class W>
void set_BigInt(BigInt<W>& out, const BigInt<W>& x);

template <class W>
void print(const BigInt<W>& x);
template <class W>
void get_range(const BigInt<W>& x, W* out, u64 first, u64 count) noexcept;
template <class W>
i32 cmp(const BigInt<W>& A, const BigInt<W>& B) noexcept;

template <class W>
void shl(BigInt<W>& x, u64 bits);
template <class W>
void shr(BigInt<W>& x, u64 bits) noexcept;
template <class W>
void mul_uW(BigInt<W>& x, W m);
template <class W>
void set_mul_uW(BigInt<W>& out, const BigInt<W>& A, W m);

template <class W>
void set_add(BigInt<W>& out, const BigInt<W>& A, const BigInt<W>& B);
template <class W>
void set_sub(BigInt<W>& out, const BigInt<W>& A, const BigInt<W>& B);

// Scratch bytes of a product of LA by LB words.
template <class W>
u64 big_int_mul_Psize(u64 LA, u64 LB, u64 tasks);
template <class W>
void set_sqr(BigInt<W>& out, const BasicParameters& params, const BigInt<W>& A);
template <class W>
void set_mul(BigInt<W>& out, const BasicParameters& params, const BigInt<W>& A, const BigInt<W>& B);

}  // namespace kvt::objects
