#include "text/number_text.h"

#include <algorithm>

#include "text/digits.h"
#include "text/read_decimal.h"

namespace kvt::text {
namespace {

constexpr i64 largest_exponent = i64{1} << 60;

// A cursor over the text; every failure names the position it stands at.
class Cursor {
  public:
    Cursor(const char* text, u64 chars, const char* location) : text_(text), chars_(chars), location_(location) {}

    bool at_end() const noexcept { return i_ == chars_; }
    const char* here() const noexcept { return text_ + i_; }
    [[noreturn]] void fail() const { raise_invalid_character(location_, i_); }

    bool take(char c) noexcept {
        if (at_end() || text_[i_] != c) return false;
        ++i_;
        return true;
    }

    bool take_either(char lower, char upper) noexcept { return take(lower) || take(upper); }

    // '+' or '-', if there; false for a minus.
    bool take_sign() noexcept {
        if (take('-')) return false;
        take('+');
        return true;
    }

    void skip_blanks() noexcept {
        while (take(' ')) {
        }
    }

    u64 take_digits(unsigned radix) noexcept {
        const u64 first = i_;
        if (radix == 10) {
            i_ = scan_decimal_digits(text_, i_, chars_).end;
        } else {
            while (!at_end() && is_hexadecimal(text_[i_])) ++i_;
        }
        return i_ - first;
    }

    i64 take_integer() {
        const bool positive = take_sign();
        i64 value = 0;
        const u64 first = i_;
        for (; !at_end() && text_[i_] >= '0' && text_[i_] <= '9'; ++i_) {
            const i64 digit = text_[i_] - '0';
            if (value > (largest_exponent - digit) / 10) fail();
            value = 10 * value + digit;
        }
        if (i_ == first) fail();
        return positive ? value : -value;
    }

  private:
    static bool is_hexadecimal(char c) noexcept { return hex_digit_value(c) < 16; }

    const char* text_;
    u64 chars_;
    const char* location_;
    u64 i_ = 0;
};

void expect(Cursor& cursor, const char* literal) {
    for (; *literal != '\0'; ++literal)
        if (!cursor.take(*literal)) cursor.fail();
}

}  // namespace

void NumberText::copy_digits(char* out, u64 count) const noexcept {
    const u64 whole = std::min(count, integer_digits);
    std::copy(integer, integer + whole, out);
    std::copy(fraction, fraction + (count - whole), out + whole);
}

NumberText parse_number(const char* text, u64 chars, unsigned radix, const char* location) {
    Cursor cursor(text, chars, location);
    NumberText out{};
    out.positive = cursor.take_sign();
    bool any_digit = false;
    if (radix == 16 && cursor.take('0')) any_digit = !cursor.take_either('x', 'X');
    out.integer = cursor.here();
    out.integer_digits = cursor.take_digits(radix);
    if (cursor.take('.')) {
        out.fraction = cursor.here();
        out.fraction_digits = cursor.take_digits(radix);
    } else {
        out.fraction = cursor.here();
    }
    any_digit |= out.integer_digits + out.fraction_digits != 0;
    if (!any_digit) cursor.fail();
    if (!cursor.at_end()) {
        if (radix == 10 && cursor.take_either('e', 'E')) {
            out.exponent = cursor.take_integer();
        } else {
            cursor.skip_blanks();
            expect(cursor, radix == 10 ? "*10^" : "*16^");
            cursor.skip_blanks();
            out.exponent = cursor.take_integer();
        }
        if (!cursor.at_end()) cursor.fail();
    }

    while (out.integer_digits > 0 && *out.integer == '0') ++out.integer, --out.integer_digits;
    if (out.integer_digits == 0) {
        while (out.fraction_digits > 0 && *out.fraction == '0') {
            ++out.fraction;
            --out.fraction_digits;
            --out.exponent;  // value = digits * radix^(exponent - fraction_digits) stays
        }
    }
    return out;
}

}  // namespace kvt::text
