#include "inverse/direct.h"

#include "frame/fatal.h"
#include "inverse/seed.h"
#include "inverse/short_quotient.h"

namespace kvt::inverse {
namespace {

// How far the product P of an approximation is from 1.
template <class W>
struct Residual {
    bool over_estimate;  // P >= 1
    SmallFloat<W> e;     // |P - 1|, top word non-zero; n = 0: exact
};

// P must be below 2, and its distance from 1 below B^(2-h).
template <class W>
Residual<W> residual_from_one(const EngineTexts& texts, const SmallFloat<W>& P, u64 h) {
    if (P.top() > 1) fail_guard(texts, P.at(P.top() - 1));
    const W unit = P.at(0);
    if (unit > 1) fail_guard(texts, unit);

    Residual<W> out{unit == 1, {}};
    if (out.over_estimate) {
        out.e = P;
        if (P.exp <= 0) out.e.n = static_cast<u64>(-P.exp);  // the fraction
        out.e.trim_top();
    } else {
        out.e = one_minus(P);
        if (out.e.n == 0) fatal_exit(texts.strip_zero);
    }
    const i64 top = out.e.top();
    if (out.e.n != 0 && top > 2 - static_cast<i64>(h)) fail_residual(texts, out.over_estimate, top, h);
    return out;
}

// R +- C to p + 2 words below R's top, then nudged up by one unit in its lowest word: exact quotients come out at or
// above their value, so their digits print right.
template <class W>
SmallFloat<W> corrected(const SmallFloat<W>& R, const SmallFloat<W>& C, bool over_estimate, u64 p) {
    const i64 base = R.top() - static_cast<i64>(p + 2);
    SmallFloat<W> out = over_estimate ? subtract(R, C, p + 2) : add(R, C, p + 2);
    if (out.exp > base) {
        const u64 low = static_cast<u64>(out.exp - base);
        std::copy_backward(out.w, out.w + out.n, out.w + out.n + low);
        std::fill_n(out.w, low, W{0});
        out.n += low;
        out.exp = base;
    }
    u64 i = 0;
    while (i < out.n && ++out.w[i] == 0) ++i;
    if (i == out.n) out.w[out.n++] = 1;
    return out;
}

}  // namespace

template <class W>
void fail_reciprocal(const EngineTexts& texts, const SmallFloat<W>& x, const SmallFloat<W>& R, u64 p,
                     u64 difference) {
    residual_from_one(texts, multiply(x, R, std::min(p, direct_limit_words)), direct_half(p));
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
SmallFloat<W> inverse_sqrt_direct_step(W x, const SmallFloat<W>& R, u64 p, u64 h) {
    SmallFloat<W> S = multiply(R, R, p);
    scale(S, x);
    Residual<W> residual = residual_from_one(inverse_sqrt_direct_texts, S, h);
    if (residual.e.n == 0) return R;
    SmallFloat<W> half = residual.e;  // e / 2, as e * (B / 2) one word lower
    half.exp -= 1;
    scale(half, static_cast<W>(W{1} << (word_bits<W> - 1)));
    half.trim_low();
    half.keep_top(h + 2);
    return corrected(R, multiply(R, half, p), residual.over_estimate, p);
}

template <class W>
SmallFloat<W> inverse_sqrt_direct(W x, u64 p) {
    if (p == 0) return inverse_sqrt_seed(x);
    const u64 h = direct_half(p);
    SmallFloat<W> R = inverse_sqrt_direct(x, h);
    R.keep_top(h + 2);
    return inverse_sqrt_direct_step(x, R, p, h);
}

template SmallFloat<u32> reciprocal_direct(const EngineTexts&, const objects::BigFloat<u32>&, u64);
template SmallFloat<u64> reciprocal_direct(const EngineTexts&, const objects::BigFloat<u64>&, u64);
template void fail_reciprocal(const EngineTexts&, const SmallFloat<u32>&, const SmallFloat<u32>&, u64, u64);
template void fail_reciprocal(const EngineTexts&, const SmallFloat<u64>&, const SmallFloat<u64>&, u64, u64);
template SmallFloat<u32> inverse_sqrt_direct(u32, u64);
template SmallFloat<u64> inverse_sqrt_direct(u64, u64);
template SmallFloat<u32> inverse_sqrt_direct_step(u32, const SmallFloat<u32>&, u64, u64);
template SmallFloat<u64> inverse_sqrt_direct_step(u64, const SmallFloat<u64>&, u64, u64);

}  // namespace kvt::inverse
