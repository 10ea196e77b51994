// Word kernels with mulx, adcx and adox.

#include "kernels/word_table.h"

namespace kvt::kernels {
namespace {

using u32 = std::uint32_t;
using u64 = std::uint64_t;
__extension__ typedef unsigned __int128 u128;
using Byte = unsigned char;

u64 load(const Byte* p) noexcept {
    u64 word;
    __builtin_memcpy(&word, p, 8);
    return word;
}

void store(Byte* p, u64 word) noexcept { __builtin_memcpy(p, &word, 8); }

#include "kernels/word_adx_linear.inl"

#include "kernels/word_adx_blocks.inl"

#include "kernels/word_adx_rows.inl"

#include "kernels/word_adx_squares.inl"

#include "kernels/word_adx_products.inl"

}  // namespace

constinit const WordKernels word_kernels_adx{"adx", add, sub, mul, addmul, multiply, square};

}  // namespace kvt::kernels
