#pragma once
// Between digit words and characters, eight digits a step.

#include "frame/types.h"

namespace kvt::text {

// Writes value without leading zeros, ending before end; returns the first character.
char* write_digits_before(char* end, u64 value) noexcept;

// Value of `count` decimal digits (count <= 19). ok becomes false when a character is no digit; the value is then
// meaningless.
u64 read_digits(const char* text, unsigned count, bool& ok) noexcept;

// All digits of a digit word, 9 or 19, leading zeros included; reading takes the characters to be digits.
template <class W>
void write_digit_word(char* out, W value) noexcept;
template <class W>
W read_digit_word(const char* text) noexcept;

// The decimal digits from position `from` on: the first character that is none (chars where there is no such), and
// the digits' value modulo 2^61 - 1.
struct DigitRun {
    u64 end;
    u64 residue;
};
DigitRun scan_decimal_digits(const char* text, u64 from, u64 chars) noexcept;

// Values of hexadecimal digits in either case; 255 for every other character.
struct HexDigitTable {
    u8 value[256];
    constexpr HexDigitTable() : value() {
        for (unsigned c = 0; c < 256; ++c) {
            value[c] = c >= '0' && c <= '9'   ? static_cast<u8>(c - '0')
                       : c >= 'a' && c <= 'f' ? static_cast<u8>(c - 'a' + 10)
                       : c >= 'A' && c <= 'F' ? static_cast<u8>(c - 'A' + 10)
                                              : u8{0xff};
        }
    }
};
inline constexpr HexDigitTable hex_digit_table;
inline u64 hex_digit_value(char c) noexcept { return hex_digit_table.value[static_cast<u8>(c)]; }

}  // namespace kvt::text
