#pragma once
// The text of a number in the making: a run of digits with a radix exponent, inside the caller's character buffer.
// Every step is applied at most once and in order: truncate, strip zeros, dot, sign, exponent. A step out of order
// raises a generic error with its own text. See docs/text.md.

#include "frame/types.h"

namespace kvt::text {

struct FloatString {
    char* text;     // first character; moves towards base when a character is prefixed
    u64 length;     // characters from text on
    i64 exponent;   // value = digits * radix^exponent
    bool positive;  // also set once the minus sign has been written
    char* base;     // start of the buffer; digits are put headroom characters behind it
    u64 capacity;   // bytes of the buffer
    bool dot_applied = false;
    bool sign_applied = false;
    bool exp_applied = false;
    bool formatting_set = false;

    // Room in front of the digits: minus sign, a leading 0 and the shift made by the point.
    static constexpr u64 headroom = 3;

    // Rounds to a multiple of radix^target: digits from half on round up, top is the largest digit. Characters are
    // compared as signed bytes, so only decimal digits may really be dropped. Where nothing at or above the target is
    // left, the text becomes 0 and the exponent stays.
    void truncate_at(i64 target, char half, char top);
    // Keeps d significant digits (leading zeros do not count), the rest is dropped without rounding.
    void truncate_digits(u64 d);
    void strip_zeros();
    void apply_dot(u64 k);  // a point behind the first k characters; the exponent then belongs to the units digit
    void apply_sign();
    void apply_exp(const char* marker);  // appends nothing when the exponent is 0

    // Positional notation of d digits. False: it needs an exponent (the digits are truncated already).
    bool format_fixed(u64 d);
    void format_sci(u64 d, const char* marker);
    void format_integer();  // no point and no exponent; fraction digits are rounded half up

    // The finished text, or null when a step that its value needs is missing.
    char* finished() const noexcept;

  private:
    void check_truncation() const;
    void check_strip() const;
    void close() noexcept;
};

}  // namespace kvt::text
