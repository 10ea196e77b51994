#include "text/float_string.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "frame/exceptions.h"
#include "frame/format.h"

namespace kvt::text {
namespace {

void refuse_if(bool wrong, const char* message) {
    if (wrong) raise_generic(errors::text_order, nullptr, message);
}

constexpr const char* formatting_set_before = "Formatting has already been set.";
constexpr const char* no_room_in_front = "T <= base_ptr";

}  // namespace

void FloatString::check_truncation() const {
    refuse_if(dot_applied, "Cannot truncate after dot.");
    refuse_if(sign_applied, "Cannot truncate after sign.");
    refuse_if(exp_applied, "Cannot truncate after exp.");
}

void FloatString::check_strip() const {
    refuse_if(sign_applied, "Cannot strip zeros after applying sign.");
    refuse_if(exp_applied, "Cannot strip zeros after applying exp.");
}

void FloatString::close() noexcept {
    text[length] = '\0';
    formatting_set = true;
}

void FloatString::truncate_at(i64 target, char half, char top) {
    check_truncation();
    const i64 keep = static_cast<i64>(length) - target + exponent;
    if (keep < 0) {
        text[0] = '0';
        length = 1;
        return;
    }
    if (keep >= static_cast<i64>(length)) return;
    const auto dropped = static_cast<signed char>(text[keep]);
    length = static_cast<u64>(keep);
    exponent = target;
    if (dropped < static_cast<signed char>(half)) return;
    for (i64 i = keep - 1; i >= 0; --i) {
        if (text[i] != top) {
            ++text[i];
            return;
        }
        text[i] = '0';
    }
    *--text = '1';
    ++length;
}

void FloatString::truncate_digits(u64 d) {
    u64 leading = 0;
    while (leading + 1 < length && text[leading] == '0') ++leading;
    const u64 significant = length - leading;
    if (significant <= d) return;
    length -= significant - d;
    exponent += static_cast<i64>(significant - d);
}

void FloatString::strip_zeros() {
    check_strip();
    while (length > 1 && text[0] == '0' && text[1] != '.') {
        ++text;
        --length;
    }
}

void FloatString::apply_dot(u64 k) {
    refuse_if(dot_applied, "Dot has already been applied.");
    refuse_if(sign_applied, "Cannot apply dot after sign.");
    refuse_if(exp_applied, "Cannot apply dot after exp.");
    refuse_if(text <= base, no_room_in_front);
    refuse_if(k > length, "Cannot apply dot after end of string.");
    exponent += static_cast<i64>(length - k);
    std::memmove(text - 1, text, k);
    --text;
    text[k] = '.';
    ++length;
    dot_applied = true;
}

void FloatString::apply_sign() {
    refuse_if(sign_applied, "Sign has already been applied.");
    if (!positive) {
        refuse_if(text <= base, no_room_in_front);
        *--text = '-';
        ++length;
        positive = true;
    }
    sign_applied = true;
}

void FloatString::apply_exp(const char* marker) {
    if (exponent != 0) {
        const std::string tail = marker + to_decimal_signed(exponent);
        const u64 room = static_cast<u64>(base + capacity - (text + length));
        require_capacity(room, tail.size() + 1, "FloatString::apply_exp()");
        std::memcpy(text + length, tail.data(), tail.size());
        length += tail.size();
    }
    exp_applied = true;
}

bool FloatString::format_fixed(u64 d) {
    refuse_if(formatting_set, formatting_set_before);
    check_truncation();
    truncate_digits(d);
    const i64 integer_digits = exponent + static_cast<i64>(length);
    if (exponent > 0 || integer_digits < 0) return false;
    if (integer_digits == 0) {
        *--text = '0';
        ++length;
    }
    apply_dot(static_cast<u64>(std::max<i64>(integer_digits, 1)));
    strip_zeros();
    apply_sign();
    close();
    return true;
}

void FloatString::format_sci(u64 d, const char* marker) {
    refuse_if(formatting_set, formatting_set_before);
    strip_zeros();
    check_truncation();
    truncate_digits(d);
    apply_dot(1);
    apply_sign();
    apply_exp(marker);
    close();
}

void FloatString::format_integer() {
    refuse_if(formatting_set, formatting_set_before);
    truncate_at(0, '5', '9');
    strip_zeros();
    apply_sign();
    close();
}

char* FloatString::finished() const noexcept {
    return positive && formatting_set && (exp_applied || exponent == 0) ? text : nullptr;
}

}  // namespace kvt::text
