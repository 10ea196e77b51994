#include "inverse/reciprocal.h"

#include "inverse/direct.h"
#include "inverse/direct_result.h"
#include "inverse/newton.h"
#include "inverse/progress.h"
#include "inverse/step_transforms.h"

namespace kvt::inverse {

using objects::BigFloat;

namespace {

// The wrapped product does not show the words that are known. The two on top are looked at here, from the operands'
// three top words: a fault in the top of x or R would pass the guard word when x is short.
template <class W>
void check_top(const BigFloat<W>& x, const BigFloat<W>& R) {
    const auto top = [](const BigFloat<W>& y) { return top_words(y.T, y.L, y.exp, 3); };
    const SmallFloat<W> P = multiply(top(x), top(R), 4);
    const W unit = P.at(0);
    if (P.top() > 1 || unit > 1) fail_guard(reciprocal_texts, P.at(P.top() - 1));
    if (P.at(-1) != static_cast<W>(unit - 1)) fail_guard(reciprocal_texts, P.at(-1));
}

}  // namespace

template <class W>
void reciprocal_step(const BasicParameters& params, BigFloat<W>& out, const BigFloat<W>& x, const BigFloat<W>& R,
                     u64 p, W* T, const ProgressSink* sink) {
    const u64 h = half_precision(p);
    const i64 signed_h = static_cast<i64>(h), signed_p = static_cast<i64>(p);
    const BigFloat<W> cut_x = objects::top_words(x, p + 2);
    check_top(x, R);
    StepTransforms<W> transforms(params, p + 8);
    const objects::Unchanged<W> same_R(R, reciprocal_texts.location);
    transforms.keep(R);

    Residual<W> residual{};
    BigFloat<W> e{};  // its top words, in T
    objects::Unchanged<W> same_e;
    {
        Phase<W> phase(sink, " - 0M - ", h);
        const i64 known = 2 - signed_h;  // positions from here on are those of 1.000.. or 0.FFF..
        const i64 product_exp = cut_x.exp + R.exp;
        if (product_exp < known) {
            const i64 first = std::max(product_exp, -(signed_p + 4));
            const u64 count = static_cast<u64>(known - first);
            transforms.multiply(cut_x, out.buffer, first, count);
            residual = residual_of_window(reciprocal_texts, out.buffer, count, first, h);
        } else {
            // A product with no word below the known ones: nothing is left but 1 itself.
            const u64 count = cut_x.L + R.L;
            transforms.multiply(cut_x, out.buffer, product_exp, count);
            for (u64 i = 0; i < count; ++i) {
                const W expected = product_exp + static_cast<i64>(i) == 0;
                if (out.buffer[i] != expected) fail_guard(reciprocal_texts, out.buffer[i]);
            }
            residual.over_estimate = true;
        }
        const BigFloat<W> top_e = objects::top_words(residual.e, h + 2);
        objects::copy_words(T, top_e.T, top_e.L);
        e = view(T, top_e.L, top_e.exp);
        same_e = {e, reciprocal_texts.location};
    }
    if (e.L == 0) {
        objects::copy_words(out.buffer, R.T, R.L);
        same_R.require();
        set_result(out, R.L, R.exp, x.sign);
        return;
    }

    Phase<W> phase(sink, residual.over_estimate ? " - O1M - " : " - U1M - ", h);
    const i64 base = objects::top_of(R) - (signed_p + 2);
    const u64 n = static_cast<u64>(objects::top_of(R) - base);
    transforms.multiply_last(e, out.buffer, base, n);
    const u64 L = combine(out.buffer, n, R, residual.over_estimate);
    same_R.require();
    same_e.require();
    set_nudged(out, L, base, x.sign);
}

namespace {

// Operands are checked before any capacity: a zero or a value whose top word is zero has no reciprocal to speak of.
template <class W>
void check_operand(const BigFloat<W>& x) {
    if (x.L == 0) raise_divide_by_zero(reciprocal_direct_texts);
    objects::check_normalization(x);
}

template <class W>
void reciprocal_recursive(const BasicParameters& params, BigFloat<W>& out, const BigFloat<W>& x, u64 p,
                          WordScratch<W> scratch, const ProgressSink* sink) {
    if (p < direct_limit_words) return store(reciprocal_direct(reciprocal_direct_texts, x, p), out, x.sign);
    const u64 h = half_precision(p);
    if (p < reciprocal_quotient_limit<W>()) {
        const SmallFloat<W> quotient = reciprocal_direct(reciprocal_texts, x, p);
        show_steps<W>(p, sink);
        return store(quotient, out, x.sign);
    }
    require_capacity(out.buffer_size, p + 3, reciprocal_texts.location);
    require_capacity(scratch.n, 2 * h + 5, reciprocal_texts.location);
    W* const T = scratch.words + (h + 3);
    BigFloat<W> R{scratch.words, 0, 0, true, scratch.words, h + 3};
    reciprocal_recursive(params, R, x, h, {out.buffer, out.buffer_size}, sink);
    keep_top(R, h + 2);
    reciprocal_step(params, out, x, R, p, T, sink);
}

}  // namespace

template <class W>
void reciprocal(const BasicParameters& params, BigFloat<W>& out, const BigFloat<W>& x, u64 p, WordScratch<W> scratch,
                const ProgressSink* sink) {
    check_operand(x);
    p = clamp_precision(p);
    if (p < direct_limit_words) {
        check_direct_space(reciprocal_direct_texts, p, out.buffer_size, p + 3, scratch.n, 2 * direct_half(p) + 5);
        return reciprocal_recursive(params, out, x, p, scratch, sink);
    }
    require_capacity(out.buffer_size, p + 3, reciprocal_texts.location);
    require_capacity(scratch.n, 2 * half_precision(p) + 5, reciprocal_texts.location);
    require_transforms<W>(params, p + 8);  // table and scratch are found too small before anything is written
    if (p < reciprocal_quotient_limit<W>()) return reciprocal_recursive(params, out, x, p, scratch, sink);
    const objects::Unchanged<W> same_x(objects::top_words(x, p + 2), reciprocal_texts.location);
    reciprocal_recursive(params, out, x, p, scratch, sink);
    same_x.require();
}

template void reciprocal(const BasicParameters&, BigFloat<u32>&, const BigFloat<u32>&, u64, WordScratch<u32>,
                         const ProgressSink*);
template void reciprocal(const BasicParameters&, BigFloat<u64>&, const BigFloat<u64>&, u64, WordScratch<u64>,
                         const ProgressSink*);
template void reciprocal_step(const BasicParameters&, BigFloat<u32>&, const BigFloat<u32>&, const BigFloat<u32>&, u64,
                              u32*, const ProgressSink*);
template void reciprocal_step(const BasicParameters&, BigFloat<u64>&, const BigFloat<u64>&, const BigFloat<u64>&, u64,
                              u64*, const ProgressSink*);

}  // namespace kvt::inverse
