#include "text/read_float.h"

#include <algorithm>

#include "frame/exceptions.h"
#include "inverse/newton.h"
#include "inverse/power.h"
#include "inverse/progress.h"
#include "inverse/sizes.h"
#include "objects/big_float_parts.h"
#include "objects/words.h"
#include "text/digits.h"
#include "text/number_text.h"
#include "text/radix_plan.h"
#include "text/read_decimal.h"
#include "text/truncation.h"

namespace kvt::text {

using objects::BigFloat;

namespace {

constexpr const char* dec_location = "BigFloat::set_string_dec()";
constexpr const char* hex_location = "BigFloat::set_string_hex()";

// At least one word: settle() raises the word behind the units.
template <class W>
u64 working_precision(u64 p) noexcept {
    return std::max<u64>(inverse::clamp_precision(p), 1) + guard_words<W>;
}

// Digits that matter at a precision of q words; the others are dropped.
template <class W>
u64 used_digits(u64 digits, u64 q) noexcept {
    const double limit = static_cast<double>(std::min(q, u64{1} << 48) + 2) * inverse::decimal_digits_per_word<W>;
    return std::min(digits, static_cast<u64>(limit) + 2);
}

// Scratch of a reading at q words: digits, M = their number, P = a power of ten, the division, all else.
template <class W>
struct Layout {
    u64 digits_bytes, number_words, power_words, division_words;
    u64 fixed_bytes() const noexcept {
        return area_bytes(digits_bytes) + words_area<W>(number_words) + words_area<W>(power_words) +
               words_area<W>(division_words);
    }
};

template <class W>
Layout<W> layout_of(u64 digits, u64 q) {
    return {digits, decimal_words<W>(digits), q + 3, inverse::division_sizes<W>(q, 1).scratch_words};
}

// Cuts the number to p + 2 words. Where the two behind p are zero, but for a unit, it has p words: 0.5 is exact. Else it
// is raised above what was written, so that truncated digits are those that were read (text/truncation.h).
template <class W>
void settle(BigFloat<W>& x, u64 p) {
    objects::strip_tzs_all(x);
    if (x.L <= p + 2) return;
    inverse::keep_top(x, p + 2);
    objects::add_one_unit(x);
    if (x.T[0] <= 1 && x.T[1] == 0) {
        x.T[0] = 0;
        objects::strip_tzs_all(x);
        return;
    }
    raise_word(x, 1);
}

}  // namespace

template <class W>
ReadSizes read_float_sizes(u64 chars, u64 p, u64 tasks) {
    const u64 q = working_precision<W>(p);
    const u64 digits = used_digits<W>(chars, q);
    const u64 products =
        std::max(inverse::transform_bytes<W>(2 * q + 6, tasks), inverse::transform_bytes<W>(q + 9, tasks));
    const u64 rest = std::max(products, read_decimal_bytes<W>(digits, tasks));
    return {q + 3, layout_of<W>(digits, q).fixed_bytes() + rest};
}

template <class W>
void set_string_dec(const BasicParameters& params, BigFloat<W>& out, const char* text, u64 chars, u64 p) {
    const NumberText number = parse_number(text, chars, 10, dec_location);
    if (number.significant_digits() == 0) return objects::set_zero(out);
    const u64 q = working_precision<W>(p);
    const u64 digits = used_digits<W>(number.significant_digits(), q);
    const Layout<W> layout = layout_of<W>(digits, q);
    require_capacity(out.buffer_size, q + 3, dec_location);
    require_capacity(params.memory_bytes, layout.fixed_bytes(), dec_location);

    u8* memory = static_cast<u8*>(params.memory);
    const auto carve = [&](u64 bytes) {
        u8* const area = memory;
        memory += area_bytes(bytes);
        return area;
    };
    char* const digit_text = reinterpret_cast<char*>(carve(layout.digits_bytes));
    W* const number_words = reinterpret_cast<W*>(carve(layout.number_words * sizeof(W)));
    W* const power_words = reinterpret_cast<W*>(carve(layout.power_words * sizeof(W)));
    W* const division_words = reinterpret_cast<W*>(carve(layout.division_words * sizeof(W)));
    const BasicParameters rest{params.table, memory, params.memory_bytes - layout.fixed_bytes(), params.tasks};

    number.copy_digits(digit_text, digits);
    const u64 residue = scan_decimal_digits(digit_text, 0, digits).residue;
    const u64 length = read_decimal_digits(rest, number_words, digit_text, digits, used_digits<W>(chars, q), residue);
    const BigFloat<W> M{number_words, length, 0, number.positive, number_words, length};
    const i64 exponent = number.exponent - static_cast<i64>(number.fraction_digits) +
                         static_cast<i64>(number.significant_digits() - digits);
    if (exponent == 0) {
        objects::set_BigFloat(out, M, q);
        return settle(out, q - guard_words<W>);
    }
    BigFloat<W> P{power_words, 0, 0, true, power_words, layout.power_words};
    inverse::power<W>(rest, P, W{10}, static_cast<u64>(exponent < 0 ? -exponent : exponent), q, nullptr);
    if (exponent > 0)
        objects::set_mul(out, rest, M, P, q);
    else
        inverse::divide<W>(rest, out, M, P, q, {division_words, layout.division_words}, nullptr);
    settle(out, q - guard_words<W>);
}

template <class W>
u64 set_string_hex_words(u64 chars, u64 p) noexcept {
    constexpr u64 per_word = 2 * sizeof(W);
    return std::min(chars / per_word + 2, objects::kept_words(p));
}

template <class W>
void set_string_hex(BigFloat<W>& out, const char* text, u64 chars, u64 p) {
    constexpr i64 per_word = 2 * sizeof(W);
    const NumberText number = parse_number(text, chars, 16, hex_location);
    const u64 digits = number.significant_digits();
    if (digits == 0) return objects::set_zero(out);
    const i64 lowest = number.exponent - static_cast<i64>(number.fraction_digits);  // power of 16 of the last digit
    const i64 exp = lowest >= 0 ? lowest / per_word : -((per_word - 1 - lowest) / per_word);
    const u64 offset = static_cast<u64>(lowest - exp * per_word);  // zero digits below the last one
    const u64 L = (digits + offset + per_word - 1) / per_word;
    const u64 kept = std::min(L, objects::kept_words(p));
    require_capacity(out.buffer_size, kept, hex_location);

    out.T = out.buffer;
    out.L = kept;
    out.exp = exp + static_cast<i64>(L - kept);
    out.sign = number.positive;
    objects::zero_words(out.T, kept);
    for (u64 i = 0; i < digits; ++i) {
        const char c = i < number.integer_digits ? number.integer[i] : number.fraction[i - number.integer_digits];
        const u64 place = offset + digits - 1 - i;
        const u64 word = place / per_word;
        if (word < L - kept) break;
        const W value = static_cast<W>(hex_digit_value(c));
        out.T[word - (L - kept)] |= static_cast<W>(value << (4 * (place % per_word)));
    }
}

template ReadSizes read_float_sizes<u32>(u64, u64, u64);
template ReadSizes read_float_sizes<u64>(u64, u64, u64);
template void set_string_dec(const BasicParameters&, BigFloat<u32>&, const char*, u64, u64);
template void set_string_dec(const BasicParameters&, BigFloat<u64>&, const char*, u64, u64);
template u64 set_string_hex_words<u32>(u64, u64) noexcept;
template u64 set_string_hex_words<u64>(u64, u64) noexcept;
template void set_string_hex(BigFloat<u32>&, const char*, u64, u64);
template void set_string_hex(BigFloat<u64>&, const char*, u64, u64);

}  // namespace kvt::text
