#pragma once
// Small non-negative integer with a checksum, in words that the caller owns. See docs/objects.md.

#include "frame/types.h"
#include "threads/framework.h"

namespace kvt::objects {

template <class W>
struct BasicInt {
    W* T;  // results are written here
    u64 L;
    u64 hash;  // value modulo 2^61 - 1, reduced
    u64 buffer_size;
};
static_assert(sizeof(BasicInt<u64>) == 32 && offsetof(BasicInt<u64>, L) == 8 && offsetof(BasicInt<u64>, hash) == 16 &&
              offsetof(BasicInt<u64>, buffer_size) == 24);
static_assert(sizeof(BasicInt<u32>) == 32 && offsetof(BasicInt<u32>, buffer_size) == 24);

// Sums and differences take out = an operand; products take no operand inside out's words.

template <class W>
void set_addto(BasicInt<W>& out, const BasicInt<W>& x);
template <class W>
void set_add(BasicInt<W>& out, const BasicInt<W>& A, const BasicInt<W>& B);
template <class W>
void set_subto(BasicInt<W>& out, const BasicInt<W>& x);
template <class W>
void set_sub(BasicInt<W>& out, const BasicInt<W>& A, const BasicInt<W>& B);
template <class W>
void set_sqrB(BasicInt<W>& out, const BasicInt<W>& A);
template <class W>
void set_mulB(BasicInt<W>& out, const BasicInt<W>& A, const BasicInt<W>& B);

// The checksum of the words.
template <class W>
u64 checksum(const BasicInt<W>& x) noexcept;
template <class W>
void print(const BasicInt<W>& x);

// Decimal text by a quadratic algorithm, for numbers that are small. A text already held by out is freed.
template <class W>
void to_string(TextRecord& out, const BasicInt<W>& x);

}  // namespace kvt::objects
