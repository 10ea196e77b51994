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
#include "multiply/ntt32/ifma.inl"
#include "multiply/ntt32/ifma_passes.inl"
#include "multiply/ntt32/ifma_leaves.inl"
#include "multiply/ntt32/ifma_cut.inl"
#include "multiply/ntt32/ifma_ends.inl"
#include "multiply/ntt32/ifma_stages.inl"
// clang-format on
}  // namespace

constinit const KernelTable ntt32_avx512ifma = table_of("avx512ifma");

}  // namespace kvt::multiply::ntt32
