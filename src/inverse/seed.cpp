#include "inverse/seed.h"

#include <xmmintrin.h>

#include <bit>
#include <cmath>

namespace kvt::inverse {
namespace {

// The caller may have set another rounding mode, or denormals to zero; the seeds need the standard environment.
class StandardRounding {
  public:
    StandardRounding() : saved_(_mm_getcsr()) { _mm_setcsr(0x1f80); }
    ~StandardRounding() { _mm_setcsr(saved_); }

  private:
    u32 saved_;
};

// Keeps the arithmetic on a value between the changes of the environment.
inline void pin(double& value) { __asm__ volatile("" : "+x"(value)::"memory"); }

// A word as a double below 1, scaled by B^-1 .. B^-3.
template <class W>
double word_below_one(W word, int position) {
    double value = static_cast<double>(word);
    pin(value);
    return std::ldexp(value, -static_cast<int>(word_bits<W>) * position);
}

// d * B^offset for a positive normal d: the significand in words, then the remaining bit shift by a word product.
template <class W>
SmallFloat<W> from_double(double d, i64 offset) {
    const u64 bits = std::bit_cast<u64>(d);
    const u64 significand = (bits & ((u64{1} << 52) - 1)) | u64{1} << 52;
    const i64 scale_bits = static_cast<i64>(bits >> 52 & 0x7ff) - 1075;
    constexpr unsigned log2_word_bits = std::countr_zero(word_bits<W>);

    SmallFloat<W> out;
    for (u64 rest = significand; rest != 0; rest = word_bits<W> == 64 ? 0 : rest >> 32)
        out.w[out.n++] = static_cast<W>(rest);
    out.exp = offset + (scale_bits >> log2_word_bits);
    const unsigned shift = static_cast<unsigned>(scale_bits & (word_bits<W> - 1));
    if (shift != 0) scale(out, static_cast<W>(W{1} << shift));
    return out;
}

}  // namespace

template <class W>
SmallFloat<W> reciprocal_seed(const W* T, u64 n, i64 exp) noexcept {
    constexpr u64 used_words = word_bits<W> == 64 ? 2 : 3;
    StandardRounding environment;
    double d = 0;
    for (u64 i = 1; i <= used_words && i <= n; ++i) d += word_below_one(T[n - i], static_cast<int>(i));
    pin(d);
    double r = 1.0 / d;
    pin(r);
    return from_double<W>(r, -(exp + static_cast<i64>(n)));
}

template <class W>
SmallFloat<W> inverse_sqrt_seed(W x) noexcept {
    StandardRounding environment;
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
