#include <immintrin.h>

#include "kernels/ifma52_table.h"

namespace kvt::kernels {
namespace {

using u64 = std::uint64_t;
using i64 = std::int64_t;

#include "kernels/ifma52_convert.inl"

#include "kernels/ifma52_product.inl"

#include "kernels/ifma52_karatsuba.inl"

}  // namespace

constinit const Ifma52Kernels ifma52_kernels_avx512ifma{"avx512ifma", multiply, square, multiply_split, square_split};

}  // namespace kvt::kernels
