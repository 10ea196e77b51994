#pragma once
// The floating-point part of the twiddle table: cosines and sines of a quarter of the circle, at every level of the
// lengths 2^j, 3 * 2^j and 5 * 2^j. See docs/twiddle-table.md.

#include "multiply/twiddle_component.h"
#include "multiply/twiddle_table.h"

namespace kvt::multiply {

class FftComponent final : public TwiddleComponent {
  public:
    using TwiddleComponent::TwiddleComponent;
    void configure(u64 bits) override;
    void configure_code(u64 code, u64 bits);  // for products of bits, by a transform of this code (length_table.h)
    void fill(u8* at) override;
};

// One radix of a filled section. Level j holds the angles 2 pi i / (radix * 2^j), i in [0, radix * 2^(j-2)), four to
// a block of 64 bytes: cosines in slots 0-3, sines in slots 4-7. It starts at byte 4 * radix * 2^j of the sub-table.
struct FftTwiddles {
    const double* start;  // of the sub-table; null if absent
    u64 radix;
    u64 top;  // highest level; the lowest is 4

    const double* level(u64 j) const { return start + (radix << j) / 2; }
};

// radix 1, 3 or 5.
FftTwiddles fft_twiddles(const GlobalTwiddleTable& table, u64 radix);

}  // namespace kvt::multiply
