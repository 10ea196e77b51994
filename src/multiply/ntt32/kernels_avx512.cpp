#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "multiply/ntt32/kernels.h"

#define AI [[gnu::always_inline]] inline

namespace kvt::multiply::ntt32 {
namespace {
using u8 = std::uint8_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
// clang-format off
#include "multiply/ntt32/roots.inl"
#include "multiply/ntt32/vec_avx512.inl"
#include "multiply/ntt32/montgomery.inl"
// clang-format on
}  // namespace

constinit const KernelTable ntt32_avx512{"avx512",      r_bits,         {0, 0, 0, 1, 2, 2, 3, 3, 4, 4},
                                         top_forward,   top_inverse,    block_forward,
                                         block_inverse, block_multiply, block_product,
                                         join,          add_streams};

}  // namespace kvt::multiply::ntt32
