#include "multiply/crt_words.h"

#include <algorithm>
#include <cstring>

#include "kernels/linear.h"

namespace kvt::multiply {

bool all_equal(const u32* A, u64 n, u32 value) noexcept {
    return std::all_of(A, A + n, [&](u32 word) { return word == value; });
}

void reduce_cyclic(u32* out, const u32* A, u64 n, u64 N) noexcept {
    const u64 low = std::min(n, N), above = n - low;
    std::memcpy(out, A, 4 * low);
    std::memset(out + low, 0, 4 * (N - low));
    if (above == 0) return;
    u32 carry = kernels::add_nr(out, out, A + N, above, 0);
    carry = kernels::add1_ir(out + above, N - above, carry);
    kernels::add1_ir(out, N, carry);  // 2^L = 1; the sum was below 2^(L + 1) - 1, so it stops
}

bool reduce_negacyclic(u32* out, const u32* A, u64 n, u64 N) noexcept {
    const u64 low = std::min(n, N), above = n - low;
    std::memcpy(out, A, 4 * low);
    std::memset(out + low, 0, 4 * (N - low));
    if (above == 0) return false;
    u32 borrow = kernels::sub_nr(out, out, A + N, above, 0);
    borrow = kernels::sub1_ir(out + above, N - above, borrow);
    return kernels::add1_ir(out, N, borrow) != 0;  // 2^L was added; one more makes it 2^L + 1
}

bool negate_negacyclic(u32* out, const u32* A, u64 n, u64 N) noexcept {
    std::memset(out, 0, 4 * N);
    u32 borrow = kernels::sub_nr(out, out, A, n, 0);
    borrow = kernels::sub1_ir(out + n, N - n, borrow);
    return kernels::add1_ir(out, N, borrow) != 0;
}

void normalise_cyclic(u32* A, u64 N) noexcept {
    if (all_equal(A, N, ~u32{0})) std::memset(A, 0, 4 * N);
}

// P = Cn + (2^L + 1) h with h = (Cc - Cn) / 2 modulo 2^L - 1; halving is a rotation there.
void join_halves(u32* Cc, u32* Cn, bool top, u64 N) noexcept {
    u32 borrow = top ? kernels::sub1_ir(Cc, N, 1) : kernels::sub_nr(Cc, Cc, Cn, N, 0);
    kernels::sub1_ir(Cc, N, borrow);  // 2^L was added: one too many
    normalise_cyclic(Cc, N);
    const u32 lowest = Cc[0] & 1;
    for (u64 i = 0; i + 1 < N; ++i) Cc[i] = Cc[i] >> 1 | Cc[i + 1] << 31;
    Cc[N - 1] = Cc[N - 1] >> 1 | lowest << 31;
    const u32 carry = kernels::add_nr(Cn, Cn, Cc, N, 0);
    kernels::add1_ir(Cc, N, carry);
    if (top) kernels::add1_ir(Cc, N, 1);
}

}  // namespace kvt::multiply
