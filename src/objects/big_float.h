#pragma once
// Signed floating-point number with an exponent in whole words, in words that the caller owns. See docs/objects.md.

#include "frame/parameters.h"
#include "frame/types.h"

namespace kvt::objects {

// Value: the sum of T[i] * W^(exp + i). A non-zero value has a non-zero top word, low words may be zero. T lies in
// buffer (strip_tzs_all moves it up), or elsewhere for an operand that is only read.
template <class W>
struct BigFloat {
    W* T;
    u64 L;
    i64 exp;    // words
    bool sign;  // true: zero or positive
    W* buffer;
    u64 buffer_size;  // words
};
static_assert(sizeof(BigFloat<u64>) == 48 && offsetof(BigFloat<u64>, L) == 8 && offsetof(BigFloat<u64>, exp) == 16 &&
              offsetof(BigFloat<u64>, sign) == 24 && offsetof(BigFloat<u64>, buffer) == 32 &&
              offsetof(BigFloat<u64>, buffer_size) == 40);
static_assert(sizeof(BigFloat<u32>) == 48 && offsetof(BigFloat<u32>, L) == 8 && offsetof(BigFloat<u32>, exp) == 16 &&
              offsetof(BigFloat<u32>, sign) == 24 && offsetof(BigFloat<u32>, buffer) == 32 &&
              offsetof(BigFloat<u32>, buffer_size) == 40);

// Guard words kept beyond a precision of p words.
inline constexpr u64 big_float_extra_words = 2;
// Block of the sums in the build report. They run through their operands once and keep no work array of that size.
inline constexpr u64 big_float_addition_words = 128;
// Results of precision p hold at most this many words. Larger p mean all of it.
constexpr u64 kept_words(u64 p) noexcept {
    constexpr u64 all = u64{1} << 62;
    return (p < all ? p : all) + big_float_extra_words;
}

// ---- setting, reading, words times a word ----

template <class W>
void set_zero(BigFloat<W>& out) noexcept;
template <class W>
void set_uL(BigFloat<W>& out, u64 x) noexcept;  // 0 changes L alone; else writes one word, in c32 two
template <class W>
void set_BigFloat(BigFloat<W>& out, const BigFloat<W>& x, u64 p);
template <class W>
void set_double(BigFloat<W>& out, double d, i64 e);  // d * W^e, exact
template <class W>
double to_double(const BigFloat<W>& x, i64& exp_out) noexcept;

template <class W>
void print(const BigFloat<W>& x);
template <class W>
void get_range(const BigFloat<W>& x, W* out, i64 first, u64 count) noexcept;
template <class W>
void strip_tzs_all(BigFloat<W>& x) noexcept;
template <class W>
i32 cmp(const BigFloat<W>& A, const BigFloat<W>& B) noexcept;

template <class W>
void mp2(BigFloat<W>& x, i64 k);
template <class W>
void mul_uW(BigFloat<W>& x, W m);
template <class W>
void set_mul_uW(BigFloat<W>& out, const BigFloat<W>& A, W m);

// ---- sums of precision p: out may be the operand that reaches lower, where its words start at out's buffer ----

template <class W>
void set_add(BigFloat<W>& out, const BigFloat<W>& A, const BigFloat<W>& B, u64 p);
template <class W>
void set_sub(BigFloat<W>& out, const BigFloat<W>& A, const BigFloat<W>& B, u64 p);

// ---- products of precision p: the top words of the exact product of the operands' top kept_words(p) words ----

template <class W>
u64 big_float_mul_Psize(u64 LA, u64 LB, u64 p, u64 tasks);
template <class W>
void set_sqr(BigFloat<W>& out, const BasicParameters& params, const BigFloat<W>& A, u64 p);
template <class W>
void set_mul(BigFloat<W>& out, const BasicParameters& params, const BigFloat<W>& A, const BigFloat<W>& B, u64 p);
template <class W>
void set_sqr_ip(BigFloat<W>& x, const BasicParameters& params, u64 p);
template <class W>
void set_mul_ip(BigFloat<W>& x, const BasicParameters& params, const BigFloat<W>& B, u64 p);
template <class W>
void set_mul_AB_BC(BigFloat<W>& out_AB, BigFloat<W>& out_BC, const BasicParameters& params, const BigFloat<W>& A,
                   const BigFloat<W>& B, const BigFloat<W>& C, u64 p);

}  // namespace kvt::objects
