#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "multiply/ntt64/kernel_table.h"

namespace kvt::multiply::ntt64 {
namespace {
#include "multiply/ntt64/kernels.inl"
}  // namespace

constinit const Kernels kernels_scalar{
    "scalar", 64,     2,   cut, twiddles, inverse_twiddles, forward, inverse, {radix<3>, radix<5>, radix<7>},
    multiply, square, join};

}  // namespace kvt::multiply::ntt64
