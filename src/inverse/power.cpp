#include "inverse/power.h"

#include <bit>

#include "inverse/newton.h"
#include "inverse/progress.h"
#include "objects/big_float.h"

namespace kvt::inverse {

using objects::BigFloat;

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
