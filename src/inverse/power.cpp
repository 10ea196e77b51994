#include "inverse/power.h"

#include <bit>

#include "inverse/newton.h"
#include "inverse/progress.h"
#include "kernels/direct.h"
#include "objects/big_float.h"
#include "objects/products.h"

namespace kvt::inverse {

using objects::BigFloat;

namespace {

// Powers of at most this many words are formed on the stack, of words alone: as records short ones take twice as long.
constexpr u64 most_stack_words = 40;  // of 64 bits

// x^n for n, x >= 2 to K significant words, without zero words at the bottom; out has room for K + 1 words, and there
// are no more than K + 1.
template <class W>
void power_on_stack(BigFloat<W>& out, W x, u64 n, u64 K, const ProgressSink* sink) noexcept {
    // As long as the power is a word.
    u64 bit = std::bit_floor(n) >> 1;
    W word = x;
    for (; bit != 0; bit >>= 1) {
        const DoubleWord<W> square = static_cast<DoubleWord<W>>(word) * word;
        const DoubleWord<W> product =
            static_cast<DoubleWord<W>>(static_cast<W>(square)) * ((n & bit) != 0 ? x : W{1});
        if (square >> word_bits<W> != 0 || product >> word_bits<W> != 0) break;
        if (sink != nullptr) sink->show(sink->context, decimal_digits_of<W>(1));
        word = static_cast<W>(product);
    }

    W buffers[2][2 * most_stack_words * (8 / sizeof(W)) + 1];
    u64 scratch[most_stack_words];
    W* T = buffers[0];
    u64 L = 1;
    i64 exp = 0;
    T[0] = word;
    unsigned next = 1;
    for (; bit != 0; bit >>= 1) {
        if (sink != nullptr) sink->show(sink->context, decimal_digits_of<W>(L));
        const u64 cut = L > K ? L - K : 0;
        W* const square = buffers[next];
        next ^= 1;
        L -= cut;
        if (L < objects::direct_operand_words)
            kernels::sqrB(square, T + cut, L);
        else
            kernels::direct_square(square, T + cut, L, scratch);
        L *= 2;
        L -= square[L - 1] == 0;
        u64 dropped = L > K ? L - K : 0;
        while (square[dropped] == 0) ++dropped;
        T = square + dropped;
        L -= dropped;
        exp = 2 * (exp + static_cast<i64>(cut)) + static_cast<i64>(dropped);
        if ((n & bit) == 0) continue;
        const W carry = kernels::mul_ir(T, L, x, W{0});
        if (carry != 0) T[L++] = carry;
    }
    std::copy(T, T + L, out.buffer);
    out.T = out.buffer;
    out.L = L;
    out.exp = exp;
}

// The word exponent of x^n, which is squared and joined with others', stays below 2^62.
template <class W>
void require_exponent(W x, u64 n) {
    if (n >> 56 == 0) return;
    const auto bits = static_cast<u128>(n) * static_cast<unsigned>(std::bit_width(x));
    if (bits / word_bits<W> >= u64{1} << 62)
        raise_generic(errors::unsupported_value, "BigFloatR_pow_uW_uL()", "The power's exponent is too large.");
}

template <class W>
bool fits_on_stack(u64 K) noexcept {
    return K <= most_stack_words * (8 / sizeof(W)) &&
           kernels::direct_square_scratch_bytes<W>(K) <= 8 * most_stack_words;
}

}  // namespace

template <class W>
void power(const BasicParameters& params, BigFloat<W>& out, W x, u64 n, u64 p, const ProgressSink* sink) {
    p = clamp_precision(p);
    require_capacity(out.buffer_size, 1, "BigFloatR_pow_uW_uL()");
    const W start = n == 0 ? W{1} : x;
    out.T = out.buffer;
    out.L = start != 0;
    out.exp = 0;
    out.sign = true;
    out.T[0] = start;
    if (n < 2 || start < 2) return;  // 0 and 1 are their own powers
    require_exponent(x, n);

    const u64 K = objects::kept_words(p);
    if (fits_on_stack<W>(K) && K < out.buffer_size) return power_on_stack(out, x, n, K, sink);
    for (u64 bit = std::bit_floor(n) >> 1; bit != 0; bit >>= 1) {
        const u64 digits = decimal_digits_of<W>(out.L);
        if (sink != nullptr) sink->show(sink->context, digits);
        objects::set_sqr_ip(out, params, p);
        objects::strip_tzs_all(out);
        if ((n & bit) != 0) objects::mul_uW(out, x);
    }
}

template <class W>
void power_signed(const BasicParameters& params, BigFloat<W>& out, W x, i64 n, u64 p, WordScratch<W> scratch,
                  const ProgressSink* sink) {
    if (n >= 0) {
        power(params, out, x, static_cast<u64>(n), p, sink);
        return;
    }
    p = clamp_precision(p);
    require_capacity(scratch.n, 2 * p + 9, "BigFloatR_pow_uW_sL_P()");
    if (x == 0) raise_divide_by_zero(reciprocal_direct_texts);
    require_reciprocal_capacity(out, p);
    BigFloat<W> T{scratch.words, 0, 0, true, scratch.words, p + 3};
    power(params, T, x, 0 - static_cast<u64>(n), p, sink);
    reciprocal(params, out, T, p, {scratch.words + (p + 3), scratch.n - (p + 3)}, sink);
}

template void power(const BasicParameters&, BigFloat<u32>&, u32, u64, u64, const ProgressSink*);
template void power(const BasicParameters&, BigFloat<u64>&, u64, u64, u64, const ProgressSink*);
template void power_signed(const BasicParameters&, BigFloat<u32>&, u32, i64, u64, WordScratch<u32>,
                           const ProgressSink*);
template void power_signed(const BasicParameters&, BigFloat<u64>&, u64, i64, u64, WordScratch<u64>,
                           const ProgressSink*);

}  // namespace kvt::inverse
