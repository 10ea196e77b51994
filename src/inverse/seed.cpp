#include "inverse/seed.h"

#include <cmath>

#include "kernels/float_state.h"
#include "objects/big_float.h"

namespace kvt::inverse {
namespace {

// Keeps the arithmetic on a value between the changes of the environment.
inline void pin(double& value) { __asm__ volatile("" : "+x"(value)::"memory"); }

template <class W>
objects::BigFloat<W> view(SmallFloat<W>& x) noexcept {
    return {x.w, x.n, x.exp, true, x.w, SmallFloat<W>::capacity_words};
}

// d * B^offset.
template <class W>
SmallFloat<W> from_double(double d, i64 offset) {
    SmallFloat<W> out;
    objects::BigFloat<W> words = view(out);
    objects::set_double(words, d, offset);
    out.n = words.L;
    out.exp = words.exp;
    return out;
}

}  // namespace

template <class W>
SmallFloat<W> reciprocal_seed(const W* T, u64 n, i64 exp) noexcept {
    constexpr u64 used_words = word_bits<W> == 64 ? 2 : 3;
    const kernels::FloatState environment;
    SmallFloat<W> top = top_words(T, n, exp, used_words);
    i64 position;
    double d = objects::to_double(view(top), position);
    pin(d);
    double r = 1.0 / d;
    pin(r);
    return from_double<W>(r, -position);
}

template <class W>
SmallFloat<W> inverse_sqrt_seed(W x) noexcept {
    const kernels::FloatState environment;
    double d = static_cast<double>(x);
    pin(d);
    double r = 1.0 / std::sqrt(d);
    pin(r);
    return from_double<W>(r, 0);
}

template SmallFloat<u32> reciprocal_seed(const u32*, u64, i64) noexcept;
template SmallFloat<u64> reciprocal_seed(const u64*, u64, i64) noexcept;
template SmallFloat<u32> inverse_sqrt_seed(u32) noexcept;
template SmallFloat<u64> inverse_sqrt_seed(u64) noexcept;

}  // namespace kvt::inverse
