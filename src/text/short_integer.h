#pragma once
// Quadratic conversion of short integers.

#include "frame/types.h"

namespace kvt::text {

// Writes the integer of n 64-bit words (n >= 1, destroyed) in decimal without leading zeros, ending before end;
// returns the first character. At most 20 * n characters.
char* write_short_decimal(char* end, u64* words, u64 n) noexcept;

}  // namespace kvt::text
