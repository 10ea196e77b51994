#include "objects/convert.h"

#include "frame/exceptions.h"
#include "objects/words.h"

namespace kvt::objects {
namespace {

template <class W>
void set_words(BigFloat<W>& out, const W* T, u64 L, i64 exp, bool sign, const char* location) {
    require_capacity(out.buffer_size, L, location);
    copy_words(out.buffer, T, L);
    out.T = out.buffer;
    out.L = L;
    out.exp = L != 0 ? exp : 0;
    out.sign = sign || L == 0;
}

}  // namespace

template <class W>
void set_BasicInt(BigInt<W>& out, const BasicInt<W>& x) {
    require_capacity(out.buffer_size, x.L, "BigInt::set_BasicInt()");
    copy_words(out.buffer, x.T, x.L);
    out.T = out.buffer;
    out.L = x.L;
    out.sign = true;
}

template <class W>
void set_BigFloat(BigInt<W>& out, const BigFloat<W>& x) {
    require_capacity(out.buffer_size, x.L, "BigInt::set_BigFloat()");
    // The sum cannot overflow for a number that fits in memory and has words above the point.
    const i64 above = x.exp > INT64_MAX - static_cast<i64>(x.L) ? INT64_MAX : x.exp + static_cast<i64>(x.L);
    if (x.L == 0 || above <= 0) return set_zero(out);
    constexpr i64 longest = i64{1} << 62;
    if (above > longest)
        fatal_assertion(errors::invalid_parameters, "BigInt::set_BigFloat()", "The exponent is too large.");
    const u64 L = static_cast<u64>(above);
    const u64 zeros = x.exp > 0 ? static_cast<u64>(x.exp) : 0;
    const u64 dropped = x.exp < 0 ? x.L - L : 0;
    copy_words(out.buffer + zeros, x.T + dropped, x.L - dropped);
    zero_words(out.buffer, zeros);
    out.T = out.buffer;
    out.L = L;
    out.sign = x.sign;
}

template <class W>
void set_BasicInt(BigFloat<W>& out, const BasicInt<W>& x) {
    set_words(out, x.T, x.L, 0, true, "BigFloat::set_BasicInt()");
}

template <class W>
void set_BigInt(BigFloat<W>& out, const BigInt<W>& x) {
    set_words(out, x.T, x.L, 0, x.sign, "BigFloat::set_BigInt()");
}

template <class W>
void set_ExactFloat(BigFloat<W>& out, const ExactFloat<W>& x) {
    set_words(out, x.T, x.L, x.exp, true, "BigFloat::set_ExactFloat()");
}

template void set_BasicInt(BigInt<u32>&, const BasicInt<u32>&);
template void set_BigFloat(BigInt<u32>&, const BigFloat<u32>&);
template void set_BasicInt(BigFloat<u32>&, const BasicInt<u32>&);
template void set_BigInt(BigFloat<u32>&, const BigInt<u32>&);
template void set_ExactFloat(BigFloat<u32>&, const ExactFloat<u32>&);

template void set_BasicInt(BigInt<u64>&, const BasicInt<u64>&);
template void set_BigFloat(BigInt<u64>&, const BigFloat<u64>&);
template void set_BasicInt(BigFloat<u64>&, const BasicInt<u64>&);
template void set_BigInt(BigFloat<u64>&, const BigInt<u64>&);
template void set_ExactFloat(BigFloat<u64>&, const ExactFloat<u64>&);

}  // namespace kvt::objects
