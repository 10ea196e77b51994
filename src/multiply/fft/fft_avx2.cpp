// The floating-point transform's kernels for AVX2 and FMA.

#include <immintrin.h>

#include "multiply/fft/fft_table.h"

namespace kvt::multiply {
namespace {
// Each builds on the ones before it.
// clang-format off
#include "multiply/fft/vector_types.inl"
#include "multiply/fft/vector_avx2.inl"
#include "multiply/fft/cutter_avx2.inl"
#include "multiply/fft/butterflies.inl"
#include "multiply/fft/roots.inl"
#include "multiply/fft/lane_roots.inl"
#include "multiply/fft/leaf16.inl"
#include "multiply/fft/leaves.inl"
#include "multiply/fft/tree.inl"
#include "multiply/fft/first_pass.inl"
#include "multiply/fft/cut.inl"
#include "multiply/fft/carry.inl"
// clang-format on
}  // namespace

constinit const FftKernels fft_kernels_avx2{"avx2",  4,      32,      cut,      split, join, forward,
                                            product, square, inverse, multiply, last,  carry};

}  // namespace kvt::multiply
