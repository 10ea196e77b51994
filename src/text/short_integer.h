#pragma once
// Quadratic conversions of short integers, the ends of every recursion.

#include "frame/types.h"

namespace kvt::text {

// Writes the integer of n 64-bit words (n >= 1, destroyed) in decimal without leading zeros, ending before end;
// returns the first character. At most 20 * n characters.
char* write_short_decimal(char* end, u64* words, u64 n) noexcept;

// Reads `count` decimal digits into out, which has room for words_of_digits(count) 64-bit words; returns the number
// of words written, zero top words dropped. ok becomes false when a character is no digit.
u64 read_short_decimal(u64* out, const char* text, u64 count, bool& ok) noexcept;

// 64-bit words that any number of `count` decimal digits fits in.
constexpr u64 words_of_digits(u64 count) noexcept {
    return static_cast<u64>(static_cast<u128>(count) * 3402 / 65536) + 1;
}

}  // namespace kvt::text
