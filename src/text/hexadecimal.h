#pragma once
// Hexadecimal text of numbers, both ways. See docs/text.md.

#include "objects/big_float.h"
#include "objects/big_int.h"

namespace kvt::text {

// Characters per word.
template <class W>
inline constexpr u64 hex_digits = 2 * sizeof(W);

// Bytes that to_string_hex needs for an integer of L words. Sizes saturate.
template <class W>
constexpr u64 to_string_hex_bytes(u64 L) noexcept {
    return L < (~u64{0} - 26) / hex_digits<W> ? hex_digits<W> * L + 26 : ~u64{0};
}

// Writes into buffer; returns the first character of the text, which is zero-terminated.
template <class W>
char* to_string_hex(char* buffer, const objects::BigInt<W>& x);

// The same for d significant digits of a float (0 counts as 1), which are truncated.
template <class W>
constexpr u64 to_string_hex_float_bytes(u64 d) noexcept {
    constexpr u64 around = 6 + (sizeof(W) == 8 ? 58 : 42);
    const u64 digits = d / hex_digits<W> * hex_digits<W>;
    return digits < ~u64{0} - around ? digits + around : ~u64{0};
}
template <class W>
char* to_string_hex(char* buffer, const objects::BigFloat<W>& x, u64 d);

// Words that set_string_hex needs for a text of that many characters.
template <class W>
constexpr u64 set_string_hex_words(u64 chars) noexcept {
    return chars / hex_digits<W> + (chars % hex_digits<W> != 0);
}

// Reads an optional sign, an optional 0x or 0X, and digits in either case, at least one; nothing else. Raises
// Serialization::ParseException before anything is written.
template <class W>
void set_string_hex(objects::BigInt<W>& out, const char* text, u64 chars);

}  // namespace kvt::text
