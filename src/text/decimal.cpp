#include "text/decimal.h"

#include <algorithm>
#include <cstring>

#include "frame/exceptions.h"
#include "kernels/residue61.h"
#include "text/decimal_core.h"
#include "text/digits.h"
#include "text/medium_integer.h"
#include "text/radix.h"
#include "text/radix_plan.h"

namespace kvt::text {

using objects::BigFloat;
using objects::BigInt;

namespace {

template <class W>
u64 integer_digit_words(u64 L) noexcept {
    return static_cast<u64>(static_cast<double>(L) * Decimal<W>::digit_words_per_word + 2);
}

template <class W>
u64 integer_buffer_bytes(u64 L) noexcept {
    return Decimal<W>::digits * integer_digit_words<W>(L) + 26;
}

template <class W>
u64 float_digit_words(u64 d) noexcept {
    return d / Decimal<W>::digits + 2;
}

template <class W>
u64 float_precision(u64 d) noexcept {
    return static_cast<u64>(static_cast<double>(d) * Decimal<W>::words_per_digit + 2);
}

char* write_literal(char* buffer, const char* text) noexcept {
    std::strcpy(buffer, text);
    return buffer;
}

// The digits after an integer's last one come from its scaling: anything but a run of 0 or 9 is a lost accuracy.
void check_fraction(const FloatString& digits) {
    constexpr u64 checked = 8;
    const char* fraction = digits.text + (digits.length - static_cast<u64>(-digits.exponent));
    const auto all = [&](char c) {
        return std::all_of(fraction, fraction + checked, [c](char x) { return x == c; });
    };
    if (!all('0') && !all('9'))
        raise_redundancy_failure("BigInt::to_string_dec()", "The scaled integer has a fraction.\n");
}

// Copies the words into 64-bit ones in the scratch memory and converts there.
template <class W>
char* write_directly(const BasicParameters& params, char* buffer, const BigInt<W>& x) {
    const u64 n = (x.L * sizeof(W) + 7) / 8;
    const u64 needed = alignment_slack<W> + 8 * (n + medium_scratch_words(n));
    require_capacity(params.memory_bytes, needed, "BigInt::to_string_dec()");
    u64* const words = reinterpret_cast<u64*>(aligned_memory<W>(params.memory));
    words[n - 1] = 0;
    std::memcpy(words, x.T, x.L * sizeof(W));
    char* const end = buffer + integer_buffer_bytes<W>(x.L) - 1;
    *end = '\0';
    char* first = write_medium_decimal(end, words, n, words + n);
    if (first == nullptr)
        raise_redundancy_failure("BigInt::to_string_dec()", "A digit's remainder is not one half.\n");
    if (!x.sign) *--first = '-';
    return first;
}

}  // namespace

template <class W>
TextSizes integer_decimal_sizes(u64 L, u64 tasks) {
    L = clamp_words<W>(L);
    return {integer_buffer_bytes<W>(L), decimal_core_bytes<W>(L, integer_digit_words<W>(L), tasks)};
}

template <class W>
TextSizes float_decimal_sizes(u64 d, u64 tasks) {
    d = std::max<u64>(d, 1);
    const u64 n = float_digit_words<W>(d);
    return {6 + Decimal<W>::digits * n + 25, decimal_core_bytes<W>(float_precision<W>(d), n, tasks)};
}

template <class W>
char* to_string_dec_scaled(const BasicParameters& params, char* buffer, const BigInt<W>& x, PhaseSeconds* times) {
    if (x.L == 0) return write_literal(buffer, "0");
    const BigFloat<W> value{x.T, x.L, 0, x.sign, x.T, x.L};
    const u64 residue = kernels::residue_of_words(x.T, x.L);
    FloatString digits = write_decimal_digits(params, buffer, integer_buffer_bytes<W>(x.L), value, x.L,
                                              integer_digit_words<W>(x.L), false, times);
    check_fraction(digits);
    digits.format_integer();
    const u64 first = !x.sign;
    if (scan_decimal_digits(digits.text, first, digits.length).residue != residue)
        raise_redundancy_failure("BigInt::to_string_dec()", "The text does not match its integer modulo 2^61 - 1.\n");
    return digits.finished();
}

template <class W>
char* to_string_dec(const BasicParameters& params, char* buffer, const BigInt<W>& x) {
    if (x.L == 0) return write_literal(buffer, "0");
    if (x.L * sizeof(W) <= 8 * longest_medium_words) return write_directly(params, buffer, x);
    return to_string_dec_scaled(params, buffer, x, nullptr);
}

template <class W>
char* to_string_dec(const BasicParameters& params, char* buffer, const BigFloat<W>& x, u64 d) {
    if (x.L == 0) return write_literal(buffer, "0.");
    d = std::max<u64>(d, 1);
    const u64 n = float_digit_words<W>(d);
    FloatString digits = write_decimal_digits(params, buffer, 6 + Decimal<W>::digits * n + 25, x,
                                              float_precision<W>(d), n, true, nullptr);
    if (!digits.format_fixed(d)) digits.format_sci(d, " *10^ ");
    return digits.finished();
}

template TextSizes integer_decimal_sizes<u32>(u64, u64);
template TextSizes integer_decimal_sizes<u64>(u64, u64);
template TextSizes float_decimal_sizes<u32>(u64, u64);
template TextSizes float_decimal_sizes<u64>(u64, u64);
template char* to_string_dec_scaled(const BasicParameters&, char*, const BigInt<u32>&, PhaseSeconds*);
template char* to_string_dec_scaled(const BasicParameters&, char*, const BigInt<u64>&, PhaseSeconds*);
template char* to_string_dec(const BasicParameters&, char*, const BigInt<u32>&);
template char* to_string_dec(const BasicParameters&, char*, const BigInt<u64>&);
template char* to_string_dec(const BasicParameters&, char*, const BigFloat<u32>&, u64);
template char* to_string_dec(const BasicParameters&, char*, const BigFloat<u64>&, u64);

}  // namespace kvt::text
