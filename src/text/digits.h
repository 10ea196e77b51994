#pragma once
// Between digit words and characters, eight digits a step.

#include "frame/types.h"

namespace kvt::text {

// Writes exactly `count` decimal digits of value (below 10^count, count <= 19), leading zeros included.
void write_digits(char* out, u64 value, unsigned count) noexcept;

// Writes value without leading zeros, ending before end; returns the first character.
char* write_digits_before(char* end, u64 value) noexcept;

// Value of `count` decimal digits (count <= 19). ok becomes false when a character is no digit; the value is then
// meaningless.
u64 read_digits(const char* text, unsigned count, bool& ok) noexcept;

}  // namespace kvt::text
