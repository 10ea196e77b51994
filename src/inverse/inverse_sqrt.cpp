#include "inverse/inverse_sqrt.h"

#include "inverse/direct.h"
#include "inverse/direct_result.h"
#include "inverse/newton.h"
#include "inverse/progress.h"
#include "inverse/step_transforms.h"

namespace kvt::inverse {

using objects::BigFloat;

namespace {

// e / 2 in T [words]; e.L <= words, and not zero after halving.
template <class W>
BigFloat<W> halve(const BigFloat<W>& e, W* T, u64 words) noexcept {
    constexpr unsigned top_bit = word_bits<W> - 1;
    const u64 below = e.L < words;  // one word for the lowest bit
    if (below != 0) T[0] = static_cast<W>(e.T[0] << top_bit);
    for (u64 i = 0; i < e.L; ++i) {
        const W next = i + 1 < e.L ? e.T[i + 1] : W{0};
        T[i + below] = static_cast<W>(e.T[i] >> 1 | next << top_bit);
    }
    BigFloat<W> half = view(T, e.L + below, e.exp - static_cast<i64>(below));
    objects::strip_top_zeros(half);
    return half;
}

}  // namespace

template <class W>
void inverse_sqrt_step(const BasicParameters& params, BigFloat<W>& out, W x, const BigFloat<W>& R, u64 p, W* T,
                       const ProgressSink* sink) {
    const u64 h = half_precision(p);
    const i64 signed_h = static_cast<i64>(h), signed_p = static_cast<i64>(p);
    StepTransforms<W> transforms(params, p + 6);
    const objects::Unchanged<W> same_R(R, inverse_sqrt_texts.location);

    // S = x * R^2, formed whole above position -(p + 4): it is just below or above 1.
    Residual<W> residual{};
    BigFloat<W> half{};  // e / 2, in T; when there is room its lowest bit moves to a word below, else it is dropped
    objects::Unchanged<W> same_half;
    {
        Phase<W> phase(sink, " - 0S - ", h);
        const i64 top = 2 * objects::top_of(R);
        const i64 first = std::max(2 * R.exp, top - (signed_p + 3));
        u64 n = static_cast<u64>(top - first);
        transforms.keep(R);
        transforms.square(out.buffer, first, n);
        const W carry = kernels::mul_ir(out.buffer, n, x, W{0});
        if (carry != 0) {
            require_capacity(out.buffer_size, n + 1, "BigFloat::operator*=()");
            out.buffer[n++] = carry;
        }
        const BigFloat<W> S = view(out.buffer, n, first);
        for (i64 k = objects::top_of(S) - 1; k > 0; --k)
            if (objects::word_at(S, k) != 0) fail_guard(inverse_sqrt_texts, objects::word_at(S, k));
        const W unit = objects::word_at(S, i64{0});
        const i64 known = 2 - signed_h;
        for (i64 k = known; k < 0; ++k)
            if (objects::word_at(S, k) != static_cast<W>(unit - 1))
                fail_guard(inverse_sqrt_texts, objects::word_at(S, k));
        if (unit > 1) fail_guard(inverse_sqrt_texts, unit);
        if (first >= known) {
            if (unit != 1) fail_guard(inverse_sqrt_texts, unit);
            residual.over_estimate = true;  // nothing below the unit: exact
        } else {
            residual = residual_of_window(inverse_sqrt_texts, out.buffer, static_cast<u64>(known - first), first, h);
            if (residual.over_estimate != (unit == 1)) fail_guard(inverse_sqrt_texts, unit);
        }
        if (residual.e.L != 0) half = halve(objects::top_words(residual.e, h + 2), T, h + 2);
        same_half = {half, inverse_sqrt_texts.location};
    }
    if (half.L == 0) {
        objects::copy_words(out.buffer, R.T, R.L);
        same_R.require();
        set_result(out, R.L, R.exp, true);
        return;
    }

    Phase<W> phase(sink, residual.over_estimate ? " - O1M - " : " - U1M - ", h);
    const i64 base = objects::top_of(R) - (signed_p + 2);
    const u64 n = static_cast<u64>(objects::top_of(R) - base);
    transforms.multiply_last(half, out.buffer, base, n);
    const u64 L = combine(out.buffer, n, R, residual.over_estimate);
    same_R.require();
    same_half.require();
    set_nudged(out, L, base, true);
}

namespace {

void check_space(u64 out_words, u64 scratch_words, u64 p) {
    require_capacity(out_words, p + 4, inverse_sqrt_texts.location);
    const u64 needed = 2 * half_precision(p) + 6;
    if (scratch_words < needed) fail_space(inverse_sqrt_texts, scratch_words, needed);
}

template <class W>
void inverse_sqrt_recursive(const BasicParameters& params, BigFloat<W>& out, W x, u64 p, WordScratch<W> scratch,
                            const ProgressSink* sink) {
    if (p < inverse_sqrt_direct_limit<W>) return store(inverse_sqrt_direct(x, p, sink), out, true);
    const u64 h = half_precision(p);
    check_space(out.buffer_size, scratch.n, p);
    W* const T = scratch.words + (h + 4);
    BigFloat<W> R{scratch.words, 0, 0, true, scratch.words, h + 4};
    inverse_sqrt_recursive(params, R, x, h, {out.buffer, out.buffer_size}, sink);
    keep_top(R, h + 2);
    inverse_sqrt_step(params, out, x, R, p, T, sink);
}

}  // namespace

template <class W>
void inverse_sqrt(const BasicParameters& params, BigFloat<W>& out, W x, u64 p, WordScratch<W> scratch,
                  const ProgressSink* sink) {
    if (x == 0) raise_divide_by_zero(inverse_sqrt_direct_texts);
    p = clamp_precision(p);
    if (p < direct_limit_words) {
        check_direct_space(inverse_sqrt_direct_texts, p, out.buffer_size, p + 4, scratch.n, 2 * direct_half(p) + 5);
    } else {
        check_space(out.buffer_size, scratch.n, p);
        require_transforms<W>(params, p + 6);  // table and scratch are found too small before anything is written
    }
    inverse_sqrt_recursive(params, out, x, p, scratch, sink);
}

template void inverse_sqrt(const BasicParameters&, BigFloat<u32>&, u32, u64, WordScratch<u32>, const ProgressSink*);
template void inverse_sqrt(const BasicParameters&, BigFloat<u64>&, u64, u64, WordScratch<u64>, const ProgressSink*);
template void inverse_sqrt_step(const BasicParameters&, BigFloat<u32>&, u32, const BigFloat<u32>&, u64, u32*,
                                const ProgressSink*);
template void inverse_sqrt_step(const BasicParameters&, BigFloat<u64>&, u64, const BigFloat<u64>&, u64, u64*,
                                const ProgressSink*);

}  // namespace kvt::inverse
