#include "inverse/direct.h"

#include "frame/fatal.h"
#include "inverse/newton.h"
#include "inverse/progress.h"
#include "inverse/seed.h"
#include "inverse/short_quotient.h"

namespace kvt::inverse {
namespace {

// 1 - P in place, for P < 1 (no word at position 0 or above): the two's complement of the whole fraction, whose zero
// words at the top count.
template <class W>
void subtract_from_one(SmallFloat<W>& P) noexcept {
    while (P.top() < 0) P.w[P.n++] = 0;
    u64 i = 0;
    while (i < P.n && P.w[i] == 0) ++i;
    if (i == P.n) {  // P = 0
        P.w[P.n++] = 1;
        return;
    }
    P.w[i] = static_cast<W>(0 - P.w[i]);
    while (++i < P.n) P.w[i] = static_cast<W>(~P.w[i]);
    P.trim_top();
}

// P := |P - 1| (n = 0: exact); returns whether P is an over-estimate, 1 or above. It must be below 2, and its distance
// from 1 below B^(2-h).
template <class W>
bool take_residual(const EngineTexts& texts, SmallFloat<W>& P, u64 h) {
    if (P.top() > 1) fail_guard(texts, P.at(P.top() - 1));
    const W unit = P.at(0);
    if (unit > 1) fail_guard(texts, unit);
    if (unit == 1) {
        if (P.exp <= 0) P.n = static_cast<u64>(-P.exp);  // the fraction
        P.trim_top();
    } else {
        subtract_from_one(P);
        if (P.n == 0) fatal_exit(texts.strip_zero);
    }
    const i64 top = P.top();
    if (P.n != 0 && top > 2 - static_cast<i64>(h)) fail_residual(texts, unit == 1, top, h);
    return unit == 1;
}

// R +- C to p + 2 words below R's top, then nudged up by one unit in its lowest word: exact quotients come out at or
// above their value, so their digits print right.
template <class W>
SmallFloat<W> corrected(SmallFloat<W>& R, const SmallFloat<W>& C, bool over_estimate, u64 p) noexcept {
    SmallFloat<W> out;
    out.exp = R.top() - static_cast<i64>(p + 2);
    const u64 dropped = C.exp < out.exp ? std::min(C.n, static_cast<u64>(out.exp - C.exp)) : 0;
    const u64 L = C.n - dropped;
    const u64 below = L != 0 ? static_cast<u64>(C.exp + static_cast<i64>(dropped) - out.exp) : 0;
    std::fill_n(out.w, below, W{0});
    copy_recent(out.w + below, C.w + dropped, L);
    std::fill_n(out.w + below + L, p + 2 - below - L, W{0});
    out.n = combine(out.w, p + 2, view(R.w, R.n, R.exp), over_estimate);
    if (kernels::add1_ir(out.w, out.n, 1) != 0) out.w[out.n++] = 1;
    return out;
}

// From the 52 bits of the seed three steps lead to more than 400: five 64-bit words need no step of their own at three.
template <class W>
constexpr u64 root_half(u64 p) noexcept {
    return word_bits<W> == 64 && p == 5 ? 2 : direct_half(p);
}

// The top words of e / 2, and one more for its lowest bit.
template <class W>
SmallFloat<W> half(const SmallFloat<W>& e, u64 words) noexcept {
    constexpr unsigned top_bit = word_bits<W> - 1;
    const u64 kept = std::min(e.n, words), dropped = e.n - kept;
    SmallFloat<W> out;
    out.exp = e.exp + static_cast<i64>(dropped) - 1;
    W low = 0;
    for (u64 i = 0; i < kept; ++i) {
        const W word = e.w[dropped + i];
        out.w[i] = static_cast<W>(low >> 1 | word << top_bit);
        low = word;
    }
    out.w[kept] = static_cast<W>(low >> 1);
    out.n = kept + 1;
    out.trim_top();
    return out;
}

}  // namespace

template <class W>
void fail_reciprocal(const EngineTexts& texts, const SmallFloat<W>& x, const SmallFloat<W>& R, u64 p,
                     u64 difference) {
    SmallFloat<W> P = multiply(x, R, std::min(p, direct_limit_words));
    take_residual(texts, P, direct_half(p));
    fail_guard(texts, difference);
}

template <class W>
SmallFloat<W> reciprocal_direct(const EngineTexts& texts, const objects::BigFloat<W>& x, u64 p) {
    SmallFloat<W> R;
    if (p == 0) {
        R = reciprocal_seed(x.T, x.L, x.exp);
        return R;
    }
    W unit = 1;
    const u64 difference = short_quotient<W>(R, {&unit, 1, 0, true, nullptr, 0}, x, p);
    if (difference != 0) [[unlikely]]
        fail_reciprocal(texts, top_words(x.T, x.L, x.exp, direct_limit_words), R, p, difference);
    return R;
}

template <class W>
SmallFloat<W> inverse_sqrt_direct_step(const EngineTexts& texts, W x, SmallFloat<W>& R, u64 p, u64 h,
                                       const ProgressSink* sink) {
    SmallFloat<W> e;
    bool over_estimate;
    {
        Phase<W> phase(sink, " - 0S - ", h);
        e = multiply(R, R, p + 2);
        scale(e, x);
        over_estimate = take_residual(texts, e, h);
    }
    if (e.n == 0) return R;
    Phase<W> phase(sink, over_estimate ? " - O1M - " : " - U1M - ", h);
    const SmallFloat<W> C = multiply(R, half(e, h + 2), p + 2);
    return corrected(R, C, over_estimate, p);
}

template <class W>
SmallFloat<W> inverse_sqrt_direct(W x, u64 p, const ProgressSink* sink) {
    if (p == 0) return inverse_sqrt_seed(x);
    const bool short_step = p < direct_limit_words;
    const u64 h = short_step ? root_half<W>(p) : half_precision(p);
    SmallFloat<W> R = inverse_sqrt_direct(x, h, sink);
    R.keep_top(h + 2);
    if (short_step) return inverse_sqrt_direct_step(inverse_sqrt_direct_texts, x, R, p, h, nullptr);
    return inverse_sqrt_direct_step(inverse_sqrt_texts, x, R, p, h, sink);
}

template SmallFloat<u32> reciprocal_direct(const EngineTexts&, const objects::BigFloat<u32>&, u64);
template SmallFloat<u64> reciprocal_direct(const EngineTexts&, const objects::BigFloat<u64>&, u64);
template void fail_reciprocal(const EngineTexts&, const SmallFloat<u32>&, const SmallFloat<u32>&, u64, u64);
template void fail_reciprocal(const EngineTexts&, const SmallFloat<u64>&, const SmallFloat<u64>&, u64, u64);
template SmallFloat<u32> inverse_sqrt_direct(u32, u64, const ProgressSink*);
template SmallFloat<u64> inverse_sqrt_direct(u64, u64, const ProgressSink*);
template SmallFloat<u32> inverse_sqrt_direct_step(const EngineTexts&, u32, SmallFloat<u32>&, u64, u64,
                                                  const ProgressSink*);
template SmallFloat<u64> inverse_sqrt_direct_step(const EngineTexts&, u64, SmallFloat<u64>&, u64, u64,
                                                  const ProgressSink*);

}  // namespace kvt::inverse
