#pragma once
// Division of short numbers by the schoolbook method. Words of 64 bits; both word widths come here.

#include "frame/types.h"

namespace kvt::kernels {

// q[0..n) = A / D rounded down, A[0..n) = the remainder, where A has 2n words and D n.
//   complement  D's words inverted; D's top bit is set, n >= 2
//   A           its upper half is below D; the upper half is lost
void divide_words(u64* q, u64* A, const u64* complement, u64 n) noexcept;

}  // namespace kvt::kernels
