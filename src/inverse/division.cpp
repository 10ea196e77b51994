// Division by a reciprocal of half the precision and one correction of the quotient:
// Q = a * R, D = a - b * Q, result Q + R * D.

#include "frame/console.h"
#include "frame/format.h"
#include "inverse/direct.h"
#include "inverse/direct_result.h"
#include "inverse/newton.h"
#include "inverse/progress.h"
#include "inverse/reciprocal.h"
#include "inverse/short_quotient.h"
#include "inverse/step_transforms.h"
#include "objects/big_float.h"

namespace kvt::inverse {

using objects::BigFloat;

namespace {

constexpr const char* location = "BigFloatR_div_P()";

[[noreturn]] void fail_division(u64 top_a, u64 top_b) {
    ConsoleText()
        .line("BigFloatR_div_P(): Convergence Failure", 'R')
        .line("topA  0x" + to_hexadecimal(top_a), 'w')
        .line("topB  0x" + to_hexadecimal(top_b))
        .print();
    raise_generic(errors::convergence_failure, nullptr, "BigFloatR_div_P(): Computation Failed");
}

template <class W>
void divide_short(SmallFloat<W>& quotient, const BigFloat<W>& a, const BigFloat<W>& b, u64 p) {
    const u64 difference = short_quotient(quotient, a, b, p);
    if (difference == 0) return;
    if (p < direct_limit_words) fail_guard(reciprocal_direct_texts, difference);
    fail_division(difference, 0);
}

template <class W>
void divide_direct(BigFloat<W>& out, const BigFloat<W>& a, const BigFloat<W>& b, u64 p, WordScratch<W> scratch) {
    // The reciprocal takes the first p + 3 words, its recursion would take the rest.
    const u64 rest = scratch.n > p + 3 ? scratch.n - (p + 3) : 0;
    check_direct_space(reciprocal_direct_texts, p, scratch.n, p + 3, rest, 2 * direct_half(p) + 5);
    SmallFloat<W> quotient;
    divide_short(quotient, a, b, p);
    require_capacity(out.buffer_size, quotient.n, "BigFloat::set_mul()");
    store(quotient, out, a.sign == b.sign);
}

// D := a - b * Q over the h + 4 words below position `known`, where a and b * Q agree; returns whether D < 0.
// The difference is formed modulo B^(h+4), and its top word must be a sign.
template <class W>
bool quotient_residual(const BasicParameters& params, W* D, const BigFloat<W>& a, const BigFloat<W>& b,
                       const BigFloat<W>& Q, i64 known, u64 p, u64 h) {
    const u64 n = h + 4;
    const i64 first = known - static_cast<i64>(n);
    StepTransforms<W> transforms(params, p + 9);
    transforms.keep(Q);
    transforms.multiply(b, D, first, n);
    const W top_product = D[n - 1];
    BigFloat<W> difference = view(D, n, first);
    BigFloat<W> numerator = a;
    numerator.sign = true;
    objects::set_rsub(difference, numerator, BigFloat<W>(difference), first, n);
    const W sign_word = D[n - 1];
    if (sign_word != 0 && sign_word != static_cast<W>(~W{0}))
        fail_division(top_product, objects::word_at(a, known - 1));
    if (sign_word == 0) return false;
    objects::complement(difference);
    return true;
}

}  // namespace

template <class W>
void divide_by_reciprocal(const BasicParameters& params, BigFloat<W>& out, const BigFloat<W>& a, const BigFloat<W>& b,
                          const BigFloat<W>& R, u64 p, W* q, W* D, const ProgressSink* sink) {
    const u64 h = half_precision(p);
    const objects::Unchanged<W> same_R(R, location);
    BigFloat<W> Q{q, 0, 0, true, q, h + 2};
    objects::Unchanged<W> same_Q;
    {
        Phase<W> phase(sink, " - 0M - ", h);
        objects::set_mul(Q, params, a, R, h);
        same_Q = {Q, location};
    }
    const i64 known = a.exp + static_cast<i64>(a.L) - static_cast<i64>(h) + 3;
    BigFloat<W> residual = view(D, h + 4, known - static_cast<i64>(h + 4));
    objects::Unchanged<W> same_D;
    bool negative;
    {
        Phase<W> phase(sink, " - 1M - ", h);
        negative = quotient_residual(params, D, a, objects::top_words(b, p + 2), Q, known, p, h);
        objects::strip_top_zeros(residual);
        // |D| < 8 * B^-(h+1) * |a|, truncations included.
        const i64 limit = known - 3, top = objects::top_of(residual);
        if (residual.L != 0 && top >= limit && (top > limit || residual.T[residual.L - 1] > largest_residual_word<W>))
            fail_division(residual.T[residual.L - 1], objects::word_at(a, top - 1));
        same_D = {residual, location};
    }

    // The correction goes to the low end of out, then Q is added above it.
    i64 base = Q.exp;
    BigFloat<W> C{out.buffer, 0, 0, true, out.buffer, out.buffer_size};
    {
        Phase<W> phase(sink, " - 2M - ", h);
        if (residual.L != 0) {
            objects::set_mul(C, params, R, residual, h);
            base = std::max(std::min(Q.exp, C.exp), objects::top_of(Q) - static_cast<i64>(p + 1));
        }
    }
    const u64 n = static_cast<u64>(objects::top_of(Q) - base);
    place(C, out.buffer, base, n);
    const u64 L = combine(out.buffer, n, Q, negative);
    same_R.require();
    same_Q.require();
    same_D.require();
    set_result(out, L, base, a.sign == b.sign);
}

template <class W>
void divide(const BasicParameters& params, BigFloat<W>& out, const BigFloat<W>& a, const BigFloat<W>& b, u64 p,
            WordScratch<W> scratch, const ProgressSink* sink) {
    if (a.L == 0) return objects::set_zero(out);  // whatever b is
    if (b.L == 0) raise_divide_by_zero(reciprocal_direct_texts);
    objects::check_normalization(a);
    objects::check_normalization(b);
    p = clamp_precision(p);
    if (p < direct_limit_words) {
        divide_direct(out, a, b, p, scratch);
        return;
    }

    // The order of these checks is that of the steps of a long division.
    const u64 h = half_precision(p);
    require_capacity(out.buffer_size, p + 2, location);
    require_capacity(scratch.n, p + 2 * h + 10, location);
    require_transforms<W>(params, p + 9);  // table and scratch are found too small before anything is written
    if (p < division_quotient_limit<W>()) {
        SmallFloat<W> quotient;
        divide_short(quotient, a, b, p);
        show_steps<W>(h, sink);
        for (const char* tag : {" - 0M - ", " - 1M - ", " - 2M - "}) Phase<W>(sink, tag, h);
        store(quotient, out, a.sign == b.sign);
        return;
    }

    // Scratch: R [h + 3], Q [h + 2], D [h + 4]; the reciprocal borrows the space of Q and D.
    W* const q = scratch.words + (h + 3);
    // No word of a below the window of D counts.
    const objects::Unchanged<W> same_a(objects::top_words(a, 2 * h + 1), location);
    const objects::Unchanged<W> same_b(objects::top_words(b, p + 2), location);
    BigFloat<W> R{scratch.words, 0, 0, true, scratch.words, h + 3};
    reciprocal(params, R, b, h, {q, 2 * h + 6}, sink);
    keep_top(R, h + 2);
    divide_by_reciprocal(params, out, a, b, R, p, q, q + (h + 2), sink);
    same_a.require();
    same_b.require();
}

template void divide(const BasicParameters&, BigFloat<u32>&, const BigFloat<u32>&, const BigFloat<u32>&, u64,
                     WordScratch<u32>, const ProgressSink*);
template void divide(const BasicParameters&, BigFloat<u64>&, const BigFloat<u64>&, const BigFloat<u64>&, u64,
                     WordScratch<u64>, const ProgressSink*);

template void divide_by_reciprocal(const BasicParameters&, BigFloat<u32>&, const BigFloat<u32>&, const BigFloat<u32>&,
                                   const BigFloat<u32>&, u64, u32*, u32*, const ProgressSink*);
template void divide_by_reciprocal(const BasicParameters&, BigFloat<u64>&, const BigFloat<u64>&, const BigFloat<u64>&,
                                   const BigFloat<u64>&, u64, u64*, u64*, const ProgressSink*);

}  // namespace kvt::inverse
