#pragma once
// Reading integers from decimal digits: upper * r^s + lower, with the powers' transforms kept per level.

#include "frame/parameters.h"
#include "objects/big_int.h"

namespace kvt::text {

// Words that any number of so many decimal digits fits in.
template <class W>
u64 decimal_words(u64 digits) noexcept;

// Scratch bytes (aligned to the word) of reading so many digits. Raises the generic error when no multiplication
// algorithm is long enough.
template <class W>
u64 read_decimal_bytes(u64 digits, u64 tasks);

// out := the number of the digits, which are '0'..'9' (checked by the caller) and do not start with a zero;
// out has room for decimal_words(digits). Returns the length. Long numbers are checked against the digits' residue.
// queried >= count: the digits that the scratch was asked for; it may be less than what `count` of them ask for.
template <class W>
u64 read_decimal_digits(const BasicParameters& params, W* out, const char* digits, u64 count, u64 queried,
                        u64 residue);

// An optional sign and digits, at least one; nothing else. Raises Serialization::ParseException ("Invalid character
// at position N.", N counted from 0), before anything is written.
template <class W>
void set_string_dec(const BasicParameters& params, objects::BigInt<W>& out, const char* text, u64 chars);

[[noreturn]] void raise_invalid_character(const char* location, u64 position);

}  // namespace kvt::text
