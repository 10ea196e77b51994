#pragma once
// The written form of a number: sign, digits with an optional point, an optional exponent, as to_string_dec and
// to_string_hex write it ("-1.5 *10^ 42", "a.bc *16^ -7") and as people do ("-1.5e42").

#include "frame/types.h"

namespace kvt::text {

struct NumberText {
    bool positive;
    const char* integer;  // digits before the point
    u64 integer_digits;
    const char* fraction;  // digits after it
    u64 fraction_digits;
    i64 exponent;  // of the radix, as written

    // Without zeros in front; copies digits [0, count) of the whole digit string.
    u64 significant_digits() const noexcept { return integer_digits + fraction_digits; }
    void copy_digits(char* out, u64 count) const noexcept;
};

// radix is 10 or 16; hexadecimal takes an optional 0x and has no e-exponent. At least one digit is needed. Raises
// Serialization::ParseException, positions counted from 0.
NumberText parse_number(const char* text, u64 chars, unsigned radix, const char* location);

}  // namespace kvt::text
