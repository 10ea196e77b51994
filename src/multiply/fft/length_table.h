#pragma once
// Lengths of the floating-point transform: how many real points, and how many bits of input each carries.

#include "frame/types.h"

namespace kvt::multiply {

// One row. points = radix << exponent, capacity_bits = points * bits.
struct FftParameters {
    u64 radix;  // 1, 3, 5 or 7 (no row has 7)
    u64 exponent;
    u64 bits;
    u64 code;  // 4 * exponent of the next power of two, less 1, 2, 3 quarters of an octave
    u64 points;
    u64 capacity_bits;
    u64 index;  // of the row, or of the row that it is part of
};

inline constexpr u64 fft_rows = 71;

// Radix, exponent and points of a length code; bits and capacity are left 0. Codes below 8 are unused: radix 0.
FftParameters decode_fft_code(u64 code);

// With a 2^halvings-th of a row's points, of as many bits; `points` is 0 where that is no length.
FftParameters shorter_fft(const FftParameters& row, u64 halvings);

// Rows grow strictly in capacity.
const FftParameters& fft_row(u64 index);

// The first row whose capacity is at least this many bits. More than the last row's is a generic error.
const FftParameters& choose_fft(u64 bits);

}  // namespace kvt::multiply
