#pragma once
// Decimal text of integers of middle length: multiplied by a stored inverse of a power of ten instead of divided.
//
// With k = 19 * j digits below, x / 10^k = I + F. P = (2x + 1) * T, T = 10^-k / 2 rounded up to n + 2 words, is I + F +
// half a unit of the last digit: far enough from every digit's edge that truncated words do not matter. I is written
// the same way, F yields j digit words by repeated multiplication by 10^19, and what is left of F must be one half.

#include "frame/types.h"

namespace kvt::text {

inline constexpr u64 longest_medium_words = 384;

// Scratch words for n 64-bit words. From 57 words on the product may be one that takes scratch for its halves.
constexpr u64 medium_scratch_words(u64 n) noexcept { return n < 57 ? 8 * n + 16 : 11 * n + 192; }

// Writes the integer of n <= longest_medium_words 64-bit words (destroyed) in decimal without leading zeros, ending
// before end; returns the first character, or null when the conversion's own check failed.
char* write_medium_decimal(char* end, u64* words, u64 n, u64* scratch) noexcept;

}  // namespace kvt::text
