// BigFloat: products of limited precision.
//
// A truncated product keeps the top K words of the exact product of the cut operands: significant words, so that a
// product whose top word is zero moves the window one word down. The transforms have to be told the window before the
// product is there, so the top word is found from the operands' two top words: they decide it but for one case, in
// which the words below tell.

#include <algorithm>

#include "frame/console.h"
#include "frame/exceptions.h"
#include "frame/fatal.h"
#include "frame/format.h"
#include "objects/big_float.h"
#include "objects/big_float_parts.h"
#include "objects/inverse_product.h"
#include "objects/products.h"
#include "objects/shared_factor.h"
#include "objects/words.h"

namespace kvt::objects {
namespace {

// Products of at most this many words are formed whole on the stack when only a window of them is kept.
constexpr u64 stack_product_words = 24;

enum class TopWord { non_zero, zero, zero_or_one };

// Top word of the product of A and B (top words not zero). With a and b the two top words of each, the product lies
// in [a*b, a*b + 2*W^2) in units of the fourth word from the top.
template <class W>
TopWord top_word_of_product(const BigFloat<W>& A, const BigFloat<W>& B) noexcept {
    const W a[2] = {A.L > 1 ? A.T[A.L - 2] : W{0}, A.T[A.L - 1]};
    const W b[2] = {B.L > 1 ? B.T[B.L - 2] : W{0}, B.T[B.L - 1]};
    W product[4];
    kernels::mulB(product, a, 2, b, 2);
    if (product[3] != 0) return TopWord::non_zero;
    return product[2] < static_cast<W>(~W{0} - 2) ? TopWord::zero : TopWord::zero_or_one;
}

// out[0..count) = words first.. of A * B; out may overlap the operands.
template <class W>
void form_window(const BasicParameters& params, W* out, u64 first, u64 count, const BigFloat<W>& A,
                 const BigFloat<W>& B) {
    const u64 n = A.L + B.L;
    if (n > stack_product_words) return multiply::mulp_p(params, out, first, count, A.T, A.L, B.T, B.L);
    W whole[stack_product_words];
    if (A.T == B.T && A.L == B.L)
        kernels::sqrB(whole, A.T, A.L);
    else
        kernels::mulB(whole, A.T, A.L, B.T, B.L);
    copy_words(out, whole + first, count);
}

// Writes the words of a product of which K are kept; window(out, first, count) forms words first.. of it.
template <class W, class Window>
void keep_top_words(BigFloat<W>& out, const BigFloat<W>& A, const BigFloat<W>& B, u64 K, bool sign, Window&& window) {
    const u64 n = A.L + B.L;
    const i64 exp = A.exp + B.exp;
    u64 first = 0;
    if (n <= K) {
        window(out.buffer, 0, n);
    } else {
        const TopWord top = top_word_of_product(A, B);
        first = n - K - (top != TopWord::non_zero);
        window(out.buffer, first, K);
        // In doubt the product is just below or just above W^(n-1): its second word is near W or near 0.
        if (top == TopWord::zero_or_one && out.buffer[K - 1] < 2) {
            copy_words(out.buffer, out.buffer + 1, K - 1);
            out.buffer[K - 1] = 1;
            ++first;
        }
    }
    out.T = out.buffer;
    out.L = trimmed_length(out.T, std::min(n, K));
    out.exp = exp + static_cast<i64>(first);
    out.sign = sign;
}

enum class Result { apart, in_place };

template <class W>
void multiply_top(BigFloat<W>& out, const BasicParameters& params, const BigFloat<W>& whole_A,
                  const BigFloat<W>& whole_B, u64 p, const char* location, Result result) {
    if (whole_A.L == 0 || whole_B.L == 0) return set_zero(out);
    const u64 limit = kept_words(p);
    const BigFloat<W> A = top_words(whole_A, limit), B = top_words(whole_B, limit);
    const u64 n = A.L + B.L, K = std::min(n, limit);
    require_capacity(out.buffer_size, K, location);
    if (result == Result::apart) {
        assert_apart(out.buffer, K, A.T, A.L, location);
        assert_apart(out.buffer, K, B.T, B.L, location);
    }
    keep_top_words(out, A, B, K, A.sign == B.sign, [&](W* words, u64 first, u64 count) {
        if (n > K || result == Result::in_place)
            form_window(params, words, first, count, A, B);
        else if (A.T == B.T && A.L == B.L)
            form_square(params, words, A.T, A.L);
        else
            form_product(params, words, A.T, A.L, B.T, B.L);
    });
}

}  // namespace

template <class W>
u64 big_float_mul_Psize(u64 LA, u64 LB, u64 p, u64 tasks) {
    const u64 limit = kept_words(p);
    MulSizeRecord record;
    multiply::mul_Psize<W>(record, std::min(LA, limit) + std::min(LB, limit), tasks);
    return record.scratch_bytes;
}

template <class W>
void set_sqr(BigFloat<W>& out, const BasicParameters& params, const BigFloat<W>& A, u64 p) {
    multiply_top(out, params, A, A, p, "BigFloat::set_sqr()", Result::apart);
}

template <class W>
void set_mul(BigFloat<W>& out, const BasicParameters& params, const BigFloat<W>& A, const BigFloat<W>& B, u64 p) {
    multiply_top(out, params, A, B, p, "BigFloat::set_mul()", Result::apart);
}

template <class W>
void set_sqr_ip(BigFloat<W>& x, const BasicParameters& params, u64 p) {
    multiply_top(x, params, x, x, p, "BigFloat::set_sqr()", Result::in_place);
}

template <class W>
void set_mul_ip(BigFloat<W>& x, const BasicParameters& params, const BigFloat<W>& B, u64 p) {
    multiply_top(x, params, x, B, p, "BigFloat::set_mul()", Result::in_place);
}

template <class W>
void set_mul_AB_BC(BigFloat<W>& out_AB, BigFloat<W>& out_BC, const BasicParameters& params, const BigFloat<W>& A,
                   const BigFloat<W>& B, const BigFloat<W>& C, u64 p) {
    const u64 limit = kept_words(p);
    const BigFloat<W> a = top_words(A, limit), b = top_words(B, limit), c = top_words(C, limit);
    if (!shares_factor<W>(params, a.L, b.L, c.L)) {
        require_capacity(out_BC.buffer_size, b.L == 0 || c.L == 0 ? 0 : std::min(b.L + c.L, limit),
                         "BigFloat::set_mul()");
        set_mul(out_AB, params, A, B, p);
        set_mul(out_BC, params, B, C, p);
        return;
    }
    require_capacity(out_AB.buffer_size, std::min(a.L + b.L, limit), "BigFloat::set_mul()");
    require_capacity(out_BC.buffer_size, std::min(b.L + c.L, limit), "BigFloat::set_mul()");
    const multiply::TransformHelper<W> helper(params, b.L + std::max(a.L, c.L));
    const auto factor = helper.forward_first(b.T, b.L);
    auto multiply_by = [&](BigFloat<W>& out, const BigFloat<W>& x) {
        auto other = helper.forward_second(x.T, x.L);
        keep_top_words(out, x, b, std::min(x.L + b.L, limit), x.sign == b.sign,
                       [&](W* words, u64 first, u64 count) { helper.product(other, factor, words, first, count); });
    };
    multiply_by(out_AB, a);
    multiply_by(out_BC, c);
}

template <class W>
void set_inverse_fmul(BigFloat<W>& out, const multiply::TransformHelper<W>& helper, TransformedFloat<W>& a,
                      const TransformedFloat<W>& b, i64 ie, i64 te) {
    if (a.words.setup != &helper || b.words.setup != &helper)
        fatal_exit("BigFloat::set_inverse_fmul(): Mismatching Transform Parameters");
    if (a.words.words == 0 || b.words.words == 0) return set_zero(out);
    const u64 n = a.words.words + b.words.words;
    const i64 exp = a.exp + b.exp;
    const i64 low = std::max(ie, exp), high = std::min(te, exp + static_cast<i64>(n));
    if (high <= low) return set_zero(out);
    const u64 first = static_cast<u64>(low - exp), count = static_cast<u64>(high - low);
    if (first < helper.spoiled_words(n) || first + count > helper.wrap_words()) {
        kvt::print("ie = " + to_decimal_signed(ie) + "\nte = " + to_decimal_signed(te) + "\n", 'R');
        fatal_exit("BigFloat::set_inverse_fmul(): Truncated Range\n\n");
    }
    require_capacity(out.buffer_size, count, "BigFloat::set_inverse_fmul()");
    const bool sign = a.sign == b.sign;
    helper.product(a.words, b.words, out.buffer, first, count);
    out.T = out.buffer;
    out.L = trimmed_length(out.T, count);
    out.exp = low;
    out.sign = sign || out.L == 0;
}

template u64 big_float_mul_Psize<u32>(u64, u64, u64, u64);
template void set_sqr(BigFloat<u32>&, const BasicParameters&, const BigFloat<u32>&, u64);
template void set_mul(BigFloat<u32>&, const BasicParameters&, const BigFloat<u32>&, const BigFloat<u32>&, u64);
template void set_sqr_ip(BigFloat<u32>&, const BasicParameters&, u64);
template void set_mul_ip(BigFloat<u32>&, const BasicParameters&, const BigFloat<u32>&, u64);
template void set_mul_AB_BC(BigFloat<u32>&, BigFloat<u32>&, const BasicParameters&, const BigFloat<u32>&,
                            const BigFloat<u32>&, const BigFloat<u32>&, u64);
template void set_inverse_fmul(BigFloat<u32>&, const multiply::TransformHelper<u32>&, TransformedFloat<u32>&,
                               const TransformedFloat<u32>&, i64, i64);

template u64 big_float_mul_Psize<u64>(u64, u64, u64, u64);
template void set_sqr(BigFloat<u64>&, const BasicParameters&, const BigFloat<u64>&, u64);
template void set_mul(BigFloat<u64>&, const BasicParameters&, const BigFloat<u64>&, const BigFloat<u64>&, u64);
template void set_sqr_ip(BigFloat<u64>&, const BasicParameters&, u64);
template void set_mul_ip(BigFloat<u64>&, const BasicParameters&, const BigFloat<u64>&, u64);
template void set_mul_AB_BC(BigFloat<u64>&, BigFloat<u64>&, const BasicParameters&, const BigFloat<u64>&,
                            const BigFloat<u64>&, const BigFloat<u64>&, u64);
template void set_inverse_fmul(BigFloat<u64>&, const multiply::TransformHelper<u64>&, TransformedFloat<u64>&,
                               const TransformedFloat<u64>&, i64, i64);

}  // namespace kvt::objects
