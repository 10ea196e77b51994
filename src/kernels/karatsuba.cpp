#include "kernels/karatsuba.h"

#include <cstring>
#include <utility>

namespace kvt::kernels {

u64 karatsuba_mul_threshold = 18;
u64 karatsuba_sqr_threshold = 19;
u64 karatsuba_adx_mul_threshold = 25;
u64 karatsuba_adx_sqr_threshold = 38;

namespace {

template <class W>
void copy(W* C, const W* A, u64 n) noexcept {
    std::memcpy(C, A, n * sizeof(W));
}

// M = A0 B0 + A1 B1 -+ S, which is A0 B1 + A1 B0, takes the place of S, its top word that of a carry.
template <class W, bool minus>
void combine(W* C, W* S, u64 l, u64 high) noexcept {
    const u32 first = minus ? sub_nr(S, C, S, 2 * l, 0) : add_nr(S, C, S, 2 * l, 0);
    const u32 second = add1_ir(S + high, 2 * l - high, add_ir(S, C + 2 * l, high, 0));
    const u32 third = add_ir(C + l, S, 2 * l, 0);
    const u32 top = minus ? second + third - first : second + third + first;
    if (top == 0) return;
    W& word = C[3 * l];
    word = static_cast<W>(word + top);
    if (word < top) add1_ir(C + 3 * l + 1, high - l - 1, 1);
}

// C[0..n) += S[0..n), the carry rippled through the following words up to end.
template <class W>
void add_below(W* C, const W* S, u64 n, u64 end) noexcept {
    add1_ir(C + n, end - n, add_ir(C, S, n, 0));
}

}  // namespace

template <class W>
bool half_difference(W* D, const W* A, u64 l, u64 h) noexcept {
    const W* low = A;
    const W* high = A + l;
    u64 above = l;
    while (above > h && low[above - 1] == 0) --above;
    bool smaller = false;
    if (above == h) {
        u64 i = h;
        while (i > 0 && low[i - 1] == high[i - 1]) --i;
        smaller = i > 0 && low[i - 1] < high[i - 1];
    }
    u32 borrow = smaller ? sub_nr(D, high, low, h, 0) : sub_nr(D, low, high, h, 0);
    for (u64 i = h; i < l; ++i) {
        D[i] = static_cast<W>(low[i] - borrow);
        borrow = borrow > low[i];
    }
    return smaller;
}

template <class W>
void combine_halves(W* C, W* S, u64 l, u64 high, bool same_sign) noexcept {
    if (same_sign)
        combine<W, true>(C, S, l, high);
    else
        combine<W, false>(C, S, l, high);
}

template <class W>
void sqrK(W* C, const W* A, u64 L, W* S) noexcept {
    const u64 split = sqr_split_words<W>();
    if (L < split) return sqrB(C, A, L);
    const u64 h = L / 2, l = L - h;
    half_difference(C, A, l, h);
    if (l >= split) {
        sqrK(S, C, l, S + 2 * l);
        sqrK(C, A, l, S + 2 * l);
        sqrK(C + 2 * l, A + l, h, S + 2 * l);
    } else {
        sqrB(S, C, l);
        sqrB(C, A, l);
        sqrB(C + 2 * l, A + l, h);
    }
    combine<W, true>(C, S, l, 2 * h);
}

template <class W>
void mulK_balanced(W* C, const W* A, const W* B, u64 L, W* S) noexcept {
    const u64 split = mul_split_words<W>();
    if (L < split) return mulB(C, A, L, B, L);
    const u64 h = L / 2, l = L - h;
    const bool a_smaller = half_difference(C, A, l, h);
    const bool b_smaller = half_difference(C + l, B, l, h);
    if (l >= split) {
        mulK_balanced(S, C, C + l, l, S + 2 * l);
        mulK_balanced(C, A, B, l, S + 2 * l);
        mulK_balanced(C + 2 * l, A + l, B + l, h, S + 2 * l);
    } else {
        mulB(S, C, l, C + l, l);
        mulB(C, A, l, B, l);
        mulB(C + 2 * l, A + l, h, B + l, h);
    }
    combine_halves(C, S, l, 2 * h, a_smaller == b_smaller);
}

template <class W>
void mulK(W* C, const W* A, u64 LA, const W* B, u64 LB, W* S) noexcept {
    if (LA == LB) return mulK_balanced(C, A, B, LA, S);
    if (LA < LB) {
        std::swap(A, B);
        std::swap(LA, LB);
    }
    const u64 n = LB;
    if (n < mul_split_words<W>()) return mulB(C, A, LA, B, n);

    // Blocks of n words of A. A block's product overlaps the next one's by n words, so every second one is formed in
    // S and added; the words above p + n are those of the block before it.
    const auto block_to = [&](W* out, u64 position, W* scratch) { mulK_balanced(out, A + position, B, n, scratch); };
    u64 p = 0, rest = LA - n;
    if (rest < n) {
        mulK(C + n, A + n, rest, B, n, S);
        block_to(S, 0, S + 2 * n);
        copy(C, S, n);
        add_below(C + n, S + n, n, LA);
        return;
    }
    block_to(C, 0, S);
    p = n;
    // From here on C[0..p+n) is written, and words p.. of A (rest of them) remain.
    while (rest >= 3 * n) {
        block_to(C + p + n, p + n, S);
        block_to(S, p, S + 2 * n);
        add_below(C + p, S, 2 * n, 3 * n);
        p += 2 * n;
        rest -= 2 * n;
    }
    const auto single_block = [&] {
        block_to(S, p, S + 2 * n);
        const u32 carry = add_ir(C + p, S, n, 0);
        copy(C + p + n, S + n, n);
        add1_ir(C + p + n, n, carry);
        p += n;
        rest -= n;
    };
    if (rest > 2 * n) single_block();
    if (rest == n) return single_block();
    mulK(C + p + n, A + p + n, rest - n, B, n, S);
    block_to(S, p, S + 2 * n);
    add_below(C + p, S, 2 * n, rest + n);
}

template bool half_difference(u32*, const u32*, u64, u64) noexcept;
template bool half_difference(u64*, const u64*, u64, u64) noexcept;
template void combine_halves(u32*, u32*, u64, u64, bool) noexcept;
template void combine_halves(u64*, u64*, u64, u64, bool) noexcept;
template void sqrK(u32*, const u32*, u64, u32*) noexcept;
template void sqrK(u64*, const u64*, u64, u64*) noexcept;
template void mulK_balanced(u32*, const u32*, const u32*, u64, u32*) noexcept;
template void mulK_balanced(u64*, const u64*, const u64*, u64, u64*) noexcept;
template void mulK(u32*, const u32*, u64, const u32*, u64, u32*) noexcept;
template void mulK(u64*, const u64*, u64, const u64*, u64, u64*) noexcept;

}  // namespace kvt::kernels
