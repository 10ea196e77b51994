#pragma once
// Non-negative floating-point number whose operations never round, with a checksum, in words that the caller owns.
// See docs/objects.md.

#include "frame/parameters.h"
#include "frame/types.h"

namespace kvt::objects {

// Value: the sum of T[i] * W^(exp + i).
template <class W>
struct ExactFloat {
    W* T;
    u64 L;
    i64 exp;   // words
    u64 hash;  // value modulo 2^61 - 1, reduced
    W* buffer;
    u64 buffer_size;  // words
};
static_assert(sizeof(ExactFloat<u64>) == 48 && offsetof(ExactFloat<u64>, L) == 8 &&
              offsetof(ExactFloat<u64>, exp) == 16 && offsetof(ExactFloat<u64>, hash) == 24 &&
              offsetof(ExactFloat<u64>, buffer) == 32 && offsetof(ExactFloat<u64>, buffer_size) == 40);
static_assert(sizeof(ExactFloat<u32>) == 48 && offsetof(ExactFloat<u32>, buffer_size) == 40);

// Products of fewer words than this are formed directly.
inline constexpr u64 exact_float_basecase_words = 20;

// In place; x lies inside the number's range of positions (fatal assertions).
template <class W>
void add_to(ExactFloat<W>& out, const ExactFloat<W>& x);
template <class W>
void sub_to(ExactFloat<W>& out, const ExactFloat<W>& x);

// out may be the operand that reaches lower, where its words start at out's buffer.
template <class W>
void set_add(ExactFloat<W>& out, const ExactFloat<W>& A, const ExactFloat<W>& B);
template <class W>
void set_sub(ExactFloat<W>& out, const ExactFloat<W>& A, const ExactFloat<W>& B);

template <class W>
void mp2(ExactFloat<W>& x, i64 k);
template <class W>
void strip_tzs_all(ExactFloat<W>& x) noexcept;  // x is not zero

template <class W>
void set_sqr(ExactFloat<W>& out, const BasicParameters& params, const ExactFloat<W>& A);
template <class W>
void set_mul(ExactFloat<W>& out, const BasicParameters& params, const ExactFloat<W>& A, const ExactFloat<W>& B);
// The result starts at word position extend where the product starts above it.
template <class W>
void set_mul_extend(ExactFloat<W>& out, const BasicParameters& params, const ExactFloat<W>& A, const ExactFloat<W>& B,
                    i64 extend);
template <class W>
void set_mul_AB_BC(ExactFloat<W>& out_AB, ExactFloat<W>& out_BC, const BasicParameters& params,
                   const ExactFloat<W>& A, const ExactFloat<W>& B, const ExactFloat<W>& C);
template <class W>
void set_mul_AB_BC_normalize(ExactFloat<W>& out_AB, ExactFloat<W>& out_BC, const BasicParameters& params,
                             const ExactFloat<W>& A, const ExactFloat<W>& B, const ExactFloat<W>& C);

// The checksum of the words and the exponent.
template <class W>
u64 checksum(const ExactFloat<W>& x) noexcept;
template <class W>
void print(const ExactFloat<W>& x);

}  // namespace kvt::objects
